/** @file
 * WPK: send messages to named services on a central server.
 * SPDX-License-Identifier: MIT
 *
 * Load wpk.dll, initialise it once, then hand it messages from any thread. Every message travels as one HTTP POST on
 * a connection and a thread of its own; its outcome comes back through a callback. A whole program, in C:
 *
 *     #include <stdio.h>
 *     #include <stdlib.h>
 *     #include <windows.h>
 *     #include <wpk/wpk.h>
 *
 *     // Called on a thread of the library's.
 *     static void WPK_CALL OnNotification(WPK_CALLBACKSTRUCT* notification) {
 *         switch (notification->nReason) {
 *             case WPK_REASON_FAILURE:      // final
 *                 printf("failed with error %d\n", notification->body.failure.nError);
 *                 SetEvent(notification->lpUserData);
 *                 break;
 *             case WPK_REASON_REPLY:        // final
 *                 fwrite(notification->body.reply.lpData, 1, notification->body.reply.dwDataLength, stdout);
 *                 SetEvent(notification->lpUserData);
 *                 break;
 *             case WPK_REASON_PROGRESS:     // more of the reply has arrived
 *             case WPK_REASON_CONNECTION:   // the network has come or gone
 *             case WPK_REASON_CREDENTIALS:  // the proxy wants others; the request fails when they are left as they are
 *                 break;
 *         }
 *     }
 *
 *     int main(int argc, char** argv) {
 *         WPK_INITSTRUCT settings = {0};
 *         WPK_SENDSTRUCT message = {0};  // it and its texts stay as they are until the final notification comes
 *         HANDLE done = CreateEventA(NULL, TRUE, FALSE, NULL);
 *         settings.nConnectionType = WPK_CONNECTION_PERMANENT;
 *         settings.lpfnCallback = OnNotification;
 *         settings.lpUserData = done;
 *         message.lpszServer = "127.0.0.1";
 *         message.nPort = argc > 1 ? atoi(argv[1]) : 8080;
 *         message.lpszServiceName = "Echo";
 *         message.lpData = "hello";
 *         message.dwDataLength = 5;
 *         if (!WPK_Init(&settings) || !WPK_Send(&message)) return 1;  // no callback comes then
 *         WaitForSingleObject(done, INFINITE);
 *         return 0;
 *     }
 *
 * With message_server --port 8080 running, it prints "hello".
 *
 * No message is lost silently: every handle that WPK_Send returns ends in exactly one final notification.
 *
 * What it does not do: it does not retry, it does not queue, it does not encrypt, and it has no shut-down call. Once
 * WPK_Init has run its start-up, the module stays loaded until the process ends, even when it is freed: its threads
 * may be running at any moment.
 *
 * Threads: all three functions may be called from any thread, also from inside a callback, but not from DllMain or a
 * constructor or destructor of a static object of a DLL: the loader's lock is held there, no thread can start, and the
 * call would never return. Once the process is being taken down they return 0. None of them throws. Texts are in the
 * ANSI code page. The library needs 64-bit Windows 6.0 (Vista, Server 2008) or later.
 *
 * This header works in C and from C++98 on and includes no other header. The records and functions are the same
 * whatever packing and calling convention the including program is compiled with.
 */
#ifndef WPK_WPK_H
#define WPK_WPK_H

/* The version of this header, which is that of the whole package. */

/** Within a major version, programs and DLLs fit together whichever is newer. */
#define WPK_VERSION_MAJOR 1
/** Counts versions that bring something new. */
#define WPK_VERSION_MINOR 0
/** Counts versions that only mend. */
#define WPK_VERSION_PATCH 0
/** All three, with dots between. */
#define WPK_VERSION_STRING "1.0.0"

#if defined(_WIN32) && !defined(WPK_BUILDING_DLL)
#define WPK_API __declspec(dllimport)
#else
#define WPK_API
#endif

/* The calling convention of the functions and of the callback. */
#if defined(_WIN32)
#define WPK_CALL __cdecl
#else
#define WPK_CALL
#endif

#if defined(__clang__)
__extension__ typedef long long WPK_INT64;
#elif defined(_MSC_VER)
typedef __int64 WPK_INT64;
#elif defined(__GNUC__)
/* C++98 has no such type, and here the word for an extension does not keep the compiler from saying so. */
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wlong-long"
typedef long long WPK_INT64;
#pragma GCC diagnostic pop
#else
typedef long long WPK_INT64;
#endif

/* The library's own alignment, whatever the including program's is. */
#pragma pack(push, 8)

#ifdef __cplusplus
extern "C" {
#endif

/** How the library judges whether the network is there: WPK_INITSTRUCT::nConnectionType. */
enum WPK_CONNECTION_TYPE {
    /** Never: every request ends with WPK_ERROR_NO_NETWORK. The default callback is told once, with state 0. */
    WPK_CONNECTION_NEVER = 0,
    /** Dial-up: while a modem connection is up. The default callback is told of every change, and once at the start.
     * Each time it is told 0, one start of the sockets interface is taken back, the first time also: an application
     * that uses sockets itself starts the interface once more for that. docs/dial_up.md says all. */
    WPK_CONNECTION_DIAL_UP = 1,
    /** A permanent network (LAN): always, if the sockets interface starts. Nothing is told at the start. */
    WPK_CONNECTION_PERMANENT = 2,
    /** Dial-up where the system's remote access library "rasapi32.dll" can be loaded, else permanent. */
    WPK_CONNECTION_AUTOMATIC = 3
};

/** What a notification says: WPK_CALLBACKSTRUCT::nReason. */
enum WPK_REASON {
    /** The request has failed; `body.failure`. Final. */
    WPK_REASON_FAILURE = 0,
    /** More of the reply has arrived; `body.progress`. Called once for every piece that is received. */
    WPK_REASON_PROGRESS = 1,
    /** The whole reply is there; `body.reply`. Final.
     *
     * A reply of more than 10,240 bytes, a proxy's refusal included, is kept in a file while it arrives and until this
     * call returns. It lies in the current directory of the process, in the clear: keep that writable, on a local disk
     * and private. A file dialog may move it to a share or a removable disk; when that goes away, reading the data
     * faults. */
    WPK_REASON_REPLY = 2,
    /** The network has come or gone; `body.connection`. Belongs to no request. */
    WPK_REASON_CONNECTION = 3,
    /** The proxy wants credentials; `body.credentials` may be changed by the callback. */
    WPK_REASON_CREDENTIALS = 4
};

/** Why a request failed: `body.failure.nError`. */
enum WPK_ERROR {
    /** The request is unusable: no record, no server, a data length without data, or a proxy is wanted but not named.
     */
    WPK_ERROR_BAD_REQUEST = -1,
    /** There is no network connection. */
    WPK_ERROR_NO_NETWORK = -2,
    /** The server (or the proxy) could not be reached within 30 seconds. */
    WPK_ERROR_CONNECT = -3,
    /** WPK_Cancel has ended the request. */
    WPK_ERROR_CANCELLED = -4,
    /** The server speaks another version of the protocol, or is no server of this kind. */
    WPK_ERROR_BAD_VERSION = -5,
    /** The server has no service of that name. */
    WPK_ERROR_NO_SERVICE = -6,
    /** The exchange broke: a bad reply, an unknown status, a lost connection, too little memory or disk space, or a
     * long reply for which no file could be made in the current directory (WPK_REASON_REPLY says more). */
    WPK_ERROR_EXCHANGE = -7,
    /** The proxy wants credentials, and the application declined to supply others. */
    WPK_ERROR_PROXY_CREDENTIALS = -8
};

enum {
    /** Bytes in each text of a WPK_REASON_CREDENTIALS notification, the terminating zero included. */
    WPK_CREDENTIAL_SIZE = 256
};

/** One notification. The record lives on the library's stack and is valid only during the call. */
typedef struct WPK_CALLBACKSTRUCT {
    /** A WPK_REASON: which member of `body` is filled. All else is zero. */
    unsigned int nReason;
    /** The context given with the callback, unchanged. */
    void* lpUserData;
    /** What it says. Only the member that nReason names is filled. */
    union {
        /** WPK_REASON_FAILURE */
        struct {
            /** A WPK_ERROR. */
            int nError;
            unsigned int reserved;
        } failure;
        /** WPK_REASON_PROGRESS */
        struct {
            /** Always 0. */
            int nError;
            unsigned int reserved;
            /** Always 1. */
            WPK_INT64 nWord;
            /** The start of the reply; the first `dwReceived` bytes are there. Read only, and only during the call. */
            const void* lpData;
            /** Bytes received so far. */
            unsigned int dwReceived;
            /** Bytes that the server has announced. */
            unsigned int dwTotal;
        } progress;
        /** WPK_REASON_REPLY */
        struct {
            /** Always 0. */
            int nError;
            unsigned int reserved;
            /** The reply; null when it is empty. Valid only during the call: copy what you keep. */
            const void* lpData;
            /** Its length in bytes. */
            unsigned int dwDataLength;
        } reply;
        /** WPK_REASON_CONNECTION */
        struct {
            /** 1: a network connection is available; 0: none. */
            unsigned int dwConnected;
        } connection;
        /** WPK_REASON_CREDENTIALS: on entry the credentials last used, cut to the fields, and bRetry 0. Overwrite both
         * texts and set bRetry to have the request sent again with them; later requests use them too. */
        struct {
            char szUser[WPK_CREDENTIAL_SIZE];
            char szPassword[WPK_CREDENTIAL_SIZE];
            /** Non-zero: send again. 0: the request ends with WPK_ERROR_PROXY_CREDENTIALS. */
            unsigned int bRetry;
        } credentials;
    } body;
} WPK_CALLBACKSTRUCT;

/** The application's callback.
 *
 * Called for a request on the thread that carries it, for a connection state on a thread of the library's: never on
 * the thread that called WPK_Send. Callbacks of different requests run at the same time; those of one request follow
 * each other. No lock is held for a request's notifications, so the callback may take as long as it likes and may call
 * WPK_Send and WPK_Cancel, also for its own request. A connection notification must not wait for another one.
 *
 * It must return: an exception must not leave it, nor may it end with longjmp or ExitThread. An exception that leaves
 * it nevertheless is not sure to be caught, as the program's run-time library may be another one than this library's.
 * If it is caught, its request ends there, without another notification; one that leaves a dial-up connection
 * notification ends the watch over the network for good. A thread that is ended inside it leaves its request without an
 * end.
 *
 * Declare it with WPK_CALL where the program is compiled with another calling convention than __cdecl (/Gv). */
typedef void(WPK_CALL* WPK_CALLBACK)(WPK_CALLBACKSTRUCT* notification);

/** The settings of WPK_Init. Zero the record, then set what you need. Every text is copied. */
typedef struct WPK_INITSTRUCT {
    /** 0; not used. */
    WPK_INT64 reserved;
    /** The module instance of the application; kept, not used. */
    void* hInstance;
    /** A WPK_CONNECTION_TYPE. Usual: WPK_CONNECTION_PERMANENT. With any other number there is never a network. */
    WPK_INT64 nConnectionType;
    /** Gets connection states, and everything of requests that bring no callback of their own. Required: WPK_Init
     * takes null as well and gives 1, and then nobody is told how such a request has ended. */
    WPK_CALLBACK lpfnCallback;
    /** Handed back in every call of the default callback. */
    void* lpUserData;
    /** 1: every request goes through the HTTP proxy below; any other value: directly. */
    WPK_INT64 bBehindProxy;
    /** Host name or dotted IPv4 address of the proxy. */
    const char* lpszProxyServer;
    /** Its port. Usual: 80. Of a number above 65535 only the lower 16 bits count. */
    WPK_INT64 nProxyPort;
    /** User name for the proxy's Basic authentication; null or empty for none. */
    const char* lpszProxyUser;
    /** Password for the proxy's Basic authentication; null or empty for none. */
    const char* lpszProxyPassword;
} WPK_INITSTRUCT;

#ifdef __cplusplus
} /* extern "C" */
#endif

/** One message. The caller owns it and everything it points to, and keeps both unchanged from WPK_Send until the
 * request's final callback. Once that has begun, the library does not look at them any more: the callback may free
 * them, or wake a thread that does. Until then the library reads it; where lpfnCallback is null it writes the default
 * callback and context into it. In C++ the constructor zeroes every field but the port; in C zero the record, the
 * first word (the place of the class's virtual table) included, and set nPort to 80. */
#ifdef __cplusplus
class WPK_SENDSTRUCT {
public:
    WPK_SENDSTRUCT()
        : reserved(),
          nPort(80),
          lpszServer(),
          lpszServiceName(),
          lpfnCallback(),
          lpUserData(),
          lpData(),
          dwDataLength() {}
    virtual ~WPK_SENDSTRUCT() {}

#else
typedef struct WPK_SENDSTRUCT {
    const void* lpVirtualTable;
#endif
    /** 0; not used. */
    unsigned int reserved;
    /** Server port, 1 to 65535. Of any other number only the lower 16 bits count; a proxy is given it as it stands. */
    unsigned int nPort;
    /** Host name or dotted IPv4 address of the server. Required. It is not checked: through a proxy it travels as it
     * stands in the request's first line, so that CR LF in it becomes header lines. Check a name that comes from
     * outside. */
    const char* lpszServer;
    /** The service on the server that is to handle the message. Null counts as empty. */
    const char* lpszServiceName;
    /** This request's callback; null: the default callback with its context. */
    WPK_CALLBACK lpfnCallback;
    /** Handed back unchanged in every callback of this request. */
    void* lpUserData;
    /** The message, any bytes. May be null when dwDataLength is 0. */
    const void* lpData;
    /** Its length in bytes. */
    unsigned int dwDataLength;
#ifdef __cplusplus
};
#else
} WPK_SENDSTRUCT;
#endif

#pragma pack(pop)

/* A program that would see other records than the library does not compile: an array of negative size is the one
 * assertion that all versions of C and C++ have. A class with a virtual table has no offsets before C++17; its size
 * tells any other alignment as well. */
#if defined(__GNUC__) || defined(__clang__)
#define WPK_OFFSET(record, field) __builtin_offsetof(record, field)
#else
#define WPK_OFFSET(record, field) ((WPK_INT64) & ((record*)0)->field)
#endif
#define WPK_ASSERT(name, condition) typedef char WPK_##name[(condition) ? 1 : -1]
WPK_ASSERT(INITSTRUCT_HAS_80_BYTES, sizeof(WPK_INITSTRUCT) == 80);
WPK_ASSERT(INITSTRUCT_HAS_ITS_CALLBACK_AT_24, WPK_OFFSET(WPK_INITSTRUCT, lpfnCallback) == 24);
WPK_ASSERT(INITSTRUCT_HAS_ITS_PASSWORD_AT_72, WPK_OFFSET(WPK_INITSTRUCT, lpszProxyPassword) == 72);
WPK_ASSERT(SENDSTRUCT_HAS_64_BYTES, sizeof(WPK_SENDSTRUCT) == 64);
#ifndef __cplusplus
WPK_ASSERT(SENDSTRUCT_HAS_ITS_SERVER_AT_16, WPK_OFFSET(WPK_SENDSTRUCT, lpszServer) == 16);
WPK_ASSERT(SENDSTRUCT_HAS_ITS_LENGTH_AT_56, WPK_OFFSET(WPK_SENDSTRUCT, dwDataLength) == 56);
#endif
WPK_ASSERT(CALLBACKSTRUCT_HAS_536_BYTES, sizeof(WPK_CALLBACKSTRUCT) == 536);
WPK_ASSERT(CALLBACKSTRUCT_HAS_ITS_CONTEXT_AT_8, WPK_OFFSET(WPK_CALLBACKSTRUCT, lpUserData) == 8);
WPK_ASSERT(CALLBACKSTRUCT_HAS_ITS_BODY_AT_16, WPK_OFFSET(WPK_CALLBACKSTRUCT, body) == 16);
WPK_ASSERT(PROGRESS_HAS_ITS_WORD_AT_24, WPK_OFFSET(WPK_CALLBACKSTRUCT, body.progress.nWord) == 24);
WPK_ASSERT(PROGRESS_HAS_ITS_TOTAL_AT_44, WPK_OFFSET(WPK_CALLBACKSTRUCT, body.progress.dwTotal) == 44);
WPK_ASSERT(REPLY_HAS_ITS_DATA_AT_24, WPK_OFFSET(WPK_CALLBACKSTRUCT, body.reply.lpData) == 24);
WPK_ASSERT(CREDENTIALS_HAVE_THEIR_RETRY_AT_528, WPK_OFFSET(WPK_CALLBACKSTRUCT, body.credentials.bRetry) == 528);
#undef WPK_ASSERT
#undef WPK_OFFSET

#ifdef __cplusplus
extern "C" {
#endif

/** Initialises the library. Call it once, before anything else. A later call waits until the calls that are in progress
 * in other threads have returned. Not from DllMain, nor with the loader lock held: it would wait for ever.
 *
 * @param settings copied; null is refused.
 * @return 1 when the library is initialised, also when it was before (the first settings then stay in force);
 *         0 when it could not be: everything is undone, the library can be freed, and the call may be repeated. Where
 *         a lock could not be made when the library was loaded, only loading it again helps. */
WPK_API int WPK_CALL WPK_Init(const WPK_INITSTRUCT* settings);

/** Starts a request and returns as soon as a thread has taken it. Not from DllMain, nor with the loader lock held: it
 * would wait for ever.
 *
 * @return the request's handle, which is the id of that thread; its outcome comes through the callback, possibly
 *         before this call returns. 0 when the record is null, the library is not initialised or no thread could take
 *         the request; then no callback comes. Should the thread that hands out requests have ended, as it may when
 *         memory runs out, the id of the calling thread is returned, and no callback comes either. A handle may be used
 *         again by the system once its request has ended. */
WPK_API unsigned int WPK_CALL WPK_Send(WPK_SENDSTRUCT* message);

/** Asks for the end of a request. The request still ends with its one final callback: WPK_ERROR_CANCELLED, within
 * 250 ms wherever it waits for the network, unless it was already past that point. Only the system's look-up of a host
 * name comes to its own end first. Not from DllMain, nor with the loader lock held: it would wait for ever.
 *
 * The handle is looked up by a thread that is started for that, after this call has returned. A request that ends in
 * that moment may have given its handle, the id of its thread, to a new one, which then is cancelled instead. So do not
 * cancel what may have ended, or keep the handle from being given out again: an open handle to the request's thread
 * (OpenThread or DuplicateHandle in one of its callbacks) does, until some seconds after the cancel.
 *
 * @return 1 as soon as a thread has taken the cancel, also for a handle that is unknown or has ended (which changes
 *         nothing); 0 when the handle is 0, when the library is not initialised, or when no thread (or no memory) was
 *         to be had for the cancel: then the request runs on, and the call may be repeated. */
WPK_API int WPK_CALL WPK_Cancel(unsigned int handle);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* WPK_WPK_H */
