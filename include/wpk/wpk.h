/** @file
 * WPK: send messages to named services on a central server.
 * SPDX-License-Identifier: MIT
 *
 * Load wpk.dll, initialise it once, then send messages from any thread. Every message is one HTTP POST with its own
 * connection and its own thread; its outcome is delivered by a callback. A whole program, in C:
 *
 *     #include <stdio.h>
 *     #include <stdlib.h>
 *     #include <windows.h>
 *     #include <wpk/wpk.h>
 *
 *     // Called on one of the library's threads.
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
 *             case WPK_REASON_CREDENTIALS:  // the proxy wants others; the request fails if they are not changed
 *                 break;
 *         }
 *     }
 *
 *     int main(int argc, char** argv) {
 *         WPK_INITSTRUCT settings = {0};
 *         WPK_SENDSTRUCT message = {0};  // unchanged, with its texts, until the final notification
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
 * No message is lost silently: every request whose handle WPK_Send returns ends with exactly one final notification.
 *
 * What it does not do: it does not retry, queue or encrypt, and it has no shut-down call. Once WPK_Init has run its
 * start-up, the module stays loaded until the process ends, even if it is freed: its threads may be running at any
 * moment.
 *
 * Threads: all three functions may be called from any thread, including inside a callback, but not from DllMain or from
 * a constructor or destructor of a static object of a DLL: the loader lock is held there, so no thread can start and
 * the call would never return. While the process is ending they return 0. None of them throws. Texts are in the ANSI
 * code page. The library needs 64-bit Windows 6.0 (Vista, Server 2008) or later.
 *
 * This header works in C and from C++98 on and includes no other header. The records and functions do not depend on the
 * packing and calling convention that the including program is compiled with.
 */
#ifndef WPK_WPK_H
#define WPK_WPK_H

/* The version of this header and of the whole package. */

/** Within a major version, a program and a DLL fit together whichever of them is newer. */
#define WPK_VERSION_MAJOR 1
/** Counts versions that add something. */
#define WPK_VERSION_MINOR 0
/** Counts versions that only correct errors. */
#define WPK_VERSION_PATCH 0
/** All three, separated by dots. */
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
/* C++98 has no such type, and __extension__ does not suppress GCC's warning here. */
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wlong-long"
typedef long long WPK_INT64;
#pragma GCC diagnostic pop
#else
typedef long long WPK_INT64;
#endif

/* The library's alignment, independent of the including program's. */
#pragma pack(push, 8)

#ifdef __cplusplus
extern "C" {
#endif

/** How the library decides whether there is a network: WPK_INITSTRUCT::nConnectionType. */
enum WPK_CONNECTION_TYPE {
    /** Never: every request ends with WPK_ERROR_NO_NETWORK. The default callback is called once, with state 0. */
    WPK_CONNECTION_NEVER = 0,
    /** Dial-up: while a modem connection is up. The default callback is called for every change, and once at the start.
     * Each notification of state 0, the first included, undoes one WSAStartup. An application with sockets of its own
     * therefore calls WSAStartup once more; see docs/dial_up.md. */
    WPK_CONNECTION_DIAL_UP = 1,
    /** A permanent network (LAN): always, if WSAStartup succeeds. The default callback is not called at the start. */
    WPK_CONNECTION_PERMANENT = 2,
    /** Dial-up if the system's remote access library "rasapi32.dll" can be loaded, which nearly every Windows has; else
     * permanent. */
    WPK_CONNECTION_AUTOMATIC = 3
};

/** The reason of a notification: WPK_CALLBACKSTRUCT::nReason. */
enum WPK_REASON {
    /** The request failed; `body.failure`. Final. */
    WPK_REASON_FAILURE = 0,
    /** More of the reply has arrived; `body.progress`. Called once for each piece received. */
    WPK_REASON_PROGRESS = 1,
    /** The whole reply has arrived; `body.reply`. Final.
     *
     * A reply of more than 10,240 bytes, or a proxy's refusal of that length, is stored in a file until this call
     * returns. The file is in the current directory of the process and not encrypted: that directory must be writable,
     * on a local disk and private. A file dialog may change it to a share or a removable disk; if that disappears,
     * reading the data causes an in-page error. */
    WPK_REASON_REPLY = 2,
    /** The network has come or gone; `body.connection`. Belongs to no request; only for the default callback. */
    WPK_REASON_CONNECTION = 3,
    /** The proxy requires credentials; the callback may change `body.credentials`. */
    WPK_REASON_CREDENTIALS = 4
};

/** Why a request failed: `body.failure.nError`. WPK_ErrorText in error_text.h returns a sentence for each. */
enum WPK_ERROR {
    /** The request is unusable: the server or the proxy is not named, or there is a data length without data. */
    WPK_ERROR_BAD_REQUEST = -1,
    /** There is no network connection. */
    WPK_ERROR_NO_NETWORK = -2,
    /** The server (or the proxy) could not be reached within 30 seconds. */
    WPK_ERROR_CONNECT = -3,
    /** The request was cancelled, by WPK_Cancel. */
    WPK_ERROR_CANCELLED = -4,
    /** The server speaks another version of the protocol, or is no server of this kind. */
    WPK_ERROR_BAD_VERSION = -5,
    /** The server has no service of that name. */
    WPK_ERROR_NO_SERVICE = -6,
    /** The exchange with the server broke, or the server refused the message: a bad reply, an unknown status, a lost
     * connection, too little memory or disk space, or a long reply for which no file could be created in the current
     * directory (see WPK_REASON_REPLY). The server may have acted on the message. */
    WPK_ERROR_EXCHANGE = -7,
    /** The proxy wants a user name and a password, and got none that it accepts. */
    WPK_ERROR_PROXY_CREDENTIALS = -8
};

enum {
    /** Size of each text of a WPK_REASON_CREDENTIALS notification in bytes, including the terminating zero. */
    WPK_CREDENTIAL_SIZE = 256
};

/** One notification. The record is on the library's stack and is valid only during the call. */
typedef struct WPK_CALLBACKSTRUCT {
    /** A WPK_REASON: which member of `body` is set. Everything else is zero. */
    unsigned int nReason;
    /** The context given with the callback, unchanged. */
    void* lpUserData;
    /** The content. Only the member for nReason is set. */
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
            /** The start of the reply, of which the first `dwReceived` bytes have arrived. Read only; valid during the
             * call. */
            const void* lpData;
            /** Number of bytes received so far, 1 to dwTotal. */
            unsigned int dwReceived;
            /** Number of bytes that the server has announced. */
            unsigned int dwTotal;
        } progress;
        /** WPK_REASON_REPLY */
        struct {
            /** Always 0. */
            int nError;
            unsigned int reserved;
            /** The reply; null if it is empty. Read only; valid during the call: copy what you keep. */
            const void* lpData;
            /** Its length in bytes. */
            unsigned int dwDataLength;
        } reply;
        /** WPK_REASON_CONNECTION */
        struct {
            /** 1: a network connection is available; 0: none. */
            unsigned int dwConnected;
        } connection;
        /** WPK_REASON_CREDENTIALS: on entry the credentials last used, truncated to the fields, and bRetry 0. Overwrite
         * both zero-terminated texts and set bRetry to send the request again with them; later requests use them
         * too. */
        struct {
            char szUser[WPK_CREDENTIAL_SIZE];
            char szPassword[WPK_CREDENTIAL_SIZE];
            /** Non-zero: send the request again. 0: it ends with WPK_ERROR_PROXY_CREDENTIALS. */
            unsigned int bRetry;
        } credentials;
    } body;
} WPK_CALLBACKSTRUCT;

/** The application's callback.
 *
 * Called for a request on the request's own thread, for a connection state on one of the library's threads; never on
 * the thread that called WPK_Send. Callbacks of different requests run at the same time; those of one request run one
 * after the other. The library holds no lock during a request's notifications, so the callback may take as long as it
 * needs and may call WPK_Send and WPK_Cancel, even for its own request. It must not wait for its own request to end,
 * and a connection notification must not wait for another one.
 *
 * It must return: no exception may escape from it, and it must not end with longjmp or ExitThread. The library may be
 * unable to catch an escaped exception, because the program's run-time library may be a different one. If it catches
 * one, the request ends without another notification; an exception from a dial-up connection notification ends the
 * watch of the network permanently. If the thread is terminated inside the callback, its request never ends.
 *
 * Declare it with WPK_CALL if the program is compiled with a calling convention other than __cdecl (/Gv). */
typedef void(WPK_CALL* WPK_CALLBACK)(WPK_CALLBACKSTRUCT* notification);

/** The settings of WPK_Init. Zero the record, then set what you need. Every text is copied. */
typedef struct WPK_INITSTRUCT {
    /** 0; not used. */
    WPK_INT64 reserved;
    /** The module instance of the application; stored, not used. */
    void* hInstance;
    /** A WPK_CONNECTION_TYPE, usually WPK_CONNECTION_PERMANENT. With any other number there is never a network. */
    WPK_INT64 nConnectionType;
    /** The default callback. Gets connection states, and all notifications of requests without their own callback. Set
     * it: WPK_Init also accepts null and returns 1, but then the outcome of such a request is lost. */
    WPK_CALLBACK lpfnCallback;
    /** Passed unchanged to every call of the default callback. */
    void* lpUserData;
    /** 1: every request goes through the HTTP proxy below; any other value: directly. */
    WPK_INT64 bBehindProxy;
    /** Host name or dotted IPv4 address of the proxy. Required if bBehindProxy is 1. */
    const char* lpszProxyServer;
    /** Its port, 1 to 65535, usually 80. Only the lower 16 bits of any other number count. */
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
 * request's final callback. Once that has begun, the library no longer reads them: the callback may free them, or wake
 * a thread that does. If lpfnCallback is null, the library writes the default callback and context into the record. In
 * C++ the constructor zeroes every field except the port; in C zero the record, including the first word (the place of
 * the class's virtual table), and set nPort to 80. */
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
    /** Server port, 1 to 65535. Only the lower 16 bits of any other number count; a proxy gets the number unchanged. */
    unsigned int nPort;
    /** Host name or dotted IPv4 address of the server. Required. Not checked: a proxy gets it unchanged in the
     * request's first line, so CR LF in it becomes header lines. Check a name that comes from outside. */
    const char* lpszServer;
    /** The service on the server that is to handle the message; case-sensitive for the server. Null counts as empty. */
    const char* lpszServiceName;
    /** This request's callback. Null: the default callback with its context. */
    WPK_CALLBACK lpfnCallback;
    /** Passed unchanged to every callback of this request. */
    void* lpUserData;
    /** The message, any bytes. May be null if dwDataLength is 0. */
    const void* lpData;
    /** Its length in bytes. */
    unsigned int dwDataLength;
#ifdef __cplusplus
};
#else
} WPK_SENDSTRUCT;
#endif

#pragma pack(pop)

/* A program whose records would differ from the library's does not compile: an array of negative size is the only
 * assertion that all versions of C and C++ support. A class with a virtual table has no offsets before C++17; its size
 * reveals any other alignment as well. */
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

/** Initialises the library. Call it once, before anything else. A later call waits until the calls in progress on other
 * threads have returned. Do not call it from DllMain or with the loader lock held: it would wait forever.
 *
 * @param settings copied, with its texts; null is refused.
 * @return 1 if the library is initialised, including when it was before (the first settings then remain in force);
 *         0 if it could not be: everything has been undone, the library can be freed, and the call may be repeated. If
 *         a lock could not be created when the library was loaded, only loading it again helps. */
WPK_API int WPK_CALL WPK_Init(const WPK_INITSTRUCT* settings);

/** Starts a request and returns as soon as a thread has taken it. Do not call it from DllMain or with the loader lock
 * held: it would wait forever.
 *
 * @param message see WPK_SENDSTRUCT; it must stay valid until the final callback. Null is refused.
 * @return the request's handle, which is the id of that thread; the outcome is delivered by the callback, possibly
 *         before this call returns. 0 if the record is null, the library is not initialised or no thread could take the
 *         request; then there is no callback. If the thread that dispatches requests has ended, which can happen when
 *         memory runs out, the id of the calling thread is returned, and there is no callback either. The system may
 *         reuse a handle once its request has ended. */
WPK_API unsigned int WPK_CALL WPK_Send(WPK_SENDSTRUCT* message);

/** Cancels a request. The request still ends with its one final callback: WPK_ERROR_CANCELLED, within 250 ms wherever
 * it waits for the network, unless its outcome is already being delivered. The system's look-up of a host name cannot
 * be interrupted. Do not call it from DllMain or with the loader lock held: it would wait forever.
 *
 * The handle is looked up by a new thread after this call has returned. If the request ends at that moment, the system
 * may have reused its handle, which is a thread id, for a new request, which is then cancelled instead. So do not
 * cancel a request that may have ended, or keep the system from reusing the handle: open a handle to the request's
 * thread (OpenThread or DuplicateHandle in one of its callbacks) and close it some seconds after the cancel.
 *
 * @param handle what WPK_Send has returned.
 * @return 1 as soon as a thread has taken the cancel, even if the handle is unknown or its request has ended (which
 *         changes nothing); 0 if the handle is 0, the library is not initialised, or there was no thread or memory for
 *         the cancel: then the request continues, and the call may be repeated. */
WPK_API int WPK_CALL WPK_Cancel(unsigned int handle);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* WPK_WPK_H */
