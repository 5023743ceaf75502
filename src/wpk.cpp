// The interface: the layout of its records, and its functions.
// SPDX-License-Identifier: MIT
#include "wpk/wpk.h"

#include <cstddef>

#include "env/remote_access.h"
#include "library/call.h"
#include "library/instance.h"
#include "library/process_end.h"
#include "library/start_up.h"
#include "threadlib/pointer_word.h"

// The layout is part of the binary interface: applications are built with other compilers.
#define WPK_CHECK_OFFSET(type, field, offset) static_assert(offsetof(type, field) == (offset), #type "::" #field)
static_assert(sizeof(WPK_INITSTRUCT) == 80);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, hInstance, 8);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, nConnectionType, 16);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, lpfnCallback, 24);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, lpUserData, 32);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, bBehindProxy, 40);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, lpszProxyServer, 48);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, nProxyPort, 56);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, lpszProxyUser, 64);
WPK_CHECK_OFFSET(WPK_INITSTRUCT, lpszProxyPassword, 72);
static_assert(sizeof(WPK_CALLBACKSTRUCT) == 536);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, lpUserData, 8);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.failure.nError, 16);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.progress.nWord, 24);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.progress.lpData, 32);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.progress.dwReceived, 40);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.progress.dwTotal, 44);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.reply.lpData, 24);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.reply.dwDataLength, 32);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.connection.dwConnected, 16);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.credentials.szUser, 16);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.credentials.szPassword, 272);
WPK_CHECK_OFFSET(WPK_CALLBACKSTRUCT, body.credentials.bRetry, 528);
#undef WPK_CHECK_OFFSET

using namespace wpk::core;

// While the process is taken down, nobody is left who could answer a call: it would wait for ever.

int WPK_Init(const WPK_INITSTRUCT* settings) {
    if (!settings || IsProcessEnding()) return 0;
    return Initialise(theGlobalObject, *settings);
}

unsigned int WPK_Send(WPK_SENDSTRUCT* message) {
    if (!message || IsProcessEnding()) return 0;
    return Call(theGlobalObject, kCommandSend, WordOf(message));
}

int WPK_Cancel(unsigned int handle) {
    if (handle == 0 || IsProcessEnding()) return 0;
    return static_cast<int>(Call(theGlobalObject, kCommandCancel, handle));
}

// The system's RasEnumConnectionsA and RasGetConnectStatusA under names of the library's own, with their signatures and
// results, but without the need for the remote access library at load time. Its module is never freed, so nothing has
// to be done with it at unload.

static RemoteAccessLibrary theRemoteAccess;

extern "C" DWORD WINAPI WRAPPER_RasEnumConnections(RasConnection* connections, DWORD* bufferSize, DWORD* count) {
    return theRemoteAccess.EnumConnections(connections, bufferSize, count);
}

extern "C" DWORD WINAPI WRAPPER_RasGetConnectStatus(void* connection, RasConnectionStatus* status) {
    return theRemoteAccess.GetConnectStatus(connection, status);
}
