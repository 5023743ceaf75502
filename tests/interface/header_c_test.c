/* wpk.h in C90, with records of the program's own packed as PACKING says: every name is usable, and every field lies
 * where the library expects it.
 * SPDX-License-Identifier: MIT */
#include "wpk/wpk.h"

#include <stddef.h>

/* An array of negative size is the only assertion that C90 has at compile time. */
#define CHECK(name, condition) typedef char check_##name[(condition) ? 1 : -1]
#define AT(name, type, field, offset) CHECK(name, offsetof(type, field) == (offset))

CHECK(init_size, sizeof(WPK_INITSTRUCT) == 80);
AT(init_reserved, WPK_INITSTRUCT, reserved, 0);
AT(init_instance, WPK_INITSTRUCT, hInstance, 8);
AT(init_type, WPK_INITSTRUCT, nConnectionType, 16);
AT(init_callback, WPK_INITSTRUCT, lpfnCallback, 24);
AT(init_user_data, WPK_INITSTRUCT, lpUserData, 32);
AT(init_behind_proxy, WPK_INITSTRUCT, bBehindProxy, 40);
AT(init_proxy_server, WPK_INITSTRUCT, lpszProxyServer, 48);
AT(init_proxy_port, WPK_INITSTRUCT, nProxyPort, 56);
AT(init_proxy_user, WPK_INITSTRUCT, lpszProxyUser, 64);
AT(init_proxy_password, WPK_INITSTRUCT, lpszProxyPassword, 72);

CHECK(send_size, sizeof(WPK_SENDSTRUCT) == 64);
AT(send_virtual_table, WPK_SENDSTRUCT, lpVirtualTable, 0);
AT(send_reserved, WPK_SENDSTRUCT, reserved, 8);
AT(send_port, WPK_SENDSTRUCT, nPort, 12);
AT(send_server, WPK_SENDSTRUCT, lpszServer, 16);
AT(send_service, WPK_SENDSTRUCT, lpszServiceName, 24);
AT(send_callback, WPK_SENDSTRUCT, lpfnCallback, 32);
AT(send_user_data, WPK_SENDSTRUCT, lpUserData, 40);
AT(send_data, WPK_SENDSTRUCT, lpData, 48);
AT(send_length, WPK_SENDSTRUCT, dwDataLength, 56);

CHECK(callback_size, sizeof(WPK_CALLBACKSTRUCT) == 536);
AT(callback_reason, WPK_CALLBACKSTRUCT, nReason, 0);
AT(callback_user_data, WPK_CALLBACKSTRUCT, lpUserData, 8);
AT(failure_error, WPK_CALLBACKSTRUCT, body.failure.nError, 16);
AT(progress_error, WPK_CALLBACKSTRUCT, body.progress.nError, 16);
AT(progress_word, WPK_CALLBACKSTRUCT, body.progress.nWord, 24);
AT(progress_data, WPK_CALLBACKSTRUCT, body.progress.lpData, 32);
AT(progress_received, WPK_CALLBACKSTRUCT, body.progress.dwReceived, 40);
AT(progress_total, WPK_CALLBACKSTRUCT, body.progress.dwTotal, 44);
AT(reply_error, WPK_CALLBACKSTRUCT, body.reply.nError, 16);
AT(reply_data, WPK_CALLBACKSTRUCT, body.reply.lpData, 24);
AT(reply_length, WPK_CALLBACKSTRUCT, body.reply.dwDataLength, 32);
AT(connection_state, WPK_CALLBACKSTRUCT, body.connection.dwConnected, 16);
AT(credentials_user, WPK_CALLBACKSTRUCT, body.credentials.szUser, 16);
AT(credentials_password, WPK_CALLBACKSTRUCT, body.credentials.szPassword, 272);
AT(credentials_retry, WPK_CALLBACKSTRUCT, body.credentials.bRetry, 528);

CHECK(reasons, WPK_REASON_FAILURE == 0 && WPK_REASON_PROGRESS == 1 && WPK_REASON_REPLY == 2 &&
                   WPK_REASON_CONNECTION == 3 && WPK_REASON_CREDENTIALS == 4);
CHECK(types, WPK_CONNECTION_NEVER == 0 && WPK_CONNECTION_DIAL_UP == 1 && WPK_CONNECTION_PERMANENT == 2 &&
                 WPK_CONNECTION_AUTOMATIC == 3);
CHECK(errors, WPK_ERROR_BAD_REQUEST == -1 && WPK_ERROR_NO_NETWORK == -2 && WPK_ERROR_CONNECT == -3 &&
                  WPK_ERROR_CANCELLED == -4 && WPK_ERROR_BAD_VERSION == -5 && WPK_ERROR_NO_SERVICE == -6 &&
                  WPK_ERROR_EXCHANGE == -7 && WPK_ERROR_PROXY_CREDENTIALS == -8);

/* The packing is that of the compiler's options, and the header has left it as it was. */
struct Own {
    char letter;
    double number;
};
CHECK(own_packing, offsetof(struct Own, number) == (PACKING < 8 ? PACKING : 8));

/* What a C program hands to the library; the test program sends it. */
static void WPK_CALL Note(WPK_CALLBACKSTRUCT* notification) {
    int* outcome = (int*)notification->lpUserData;
    if (notification->nReason == WPK_REASON_REPLY) *outcome = (int)notification->body.reply.dwDataLength;
    if (notification->nReason == WPK_REASON_FAILURE) *outcome = notification->body.failure.nError;
}

#define JOIN(name, packing) name##packing
#define NAME(name, packing) JOIN(name, packing)

void NAME(FillRecordInC, PACKING)(WPK_SENDSTRUCT* message, unsigned int port, int* outcome);

void NAME(FillRecordInC, PACKING)(WPK_SENDSTRUCT* message, unsigned int port, int* outcome) {
    static const WPK_SENDSTRUCT zero = {0};
    *message = zero;
    message->nPort = port;
    message->lpszServer = "127.0.0.1";
    message->lpszServiceName = "Echo";
    message->lpfnCallback = Note;
    message->lpUserData = outcome;
    message->lpData = "from C";
    message->dwDataLength = 6;
}
