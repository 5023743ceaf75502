/* c_send: sends a message to a named service and writes the reply. C, from C90 on.
 * SPDX-License-Identifier: MIT */
#include <fcntl.h>
#include <io.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include <wpk/wpk.h>

/* What the callback tells the main thread. */
typedef struct Outcome {
    HANDLE ended;
    int error; /* a WPK_ERROR; 0: the reply has come */
} Outcome;

/* Called on a thread of the library's. The reply's bytes are there only during the call. */
static void OnNotification(WPK_CALLBACKSTRUCT* notification) {
    Outcome* outcome = (Outcome*)notification->lpUserData;
    switch (notification->nReason) {
        case WPK_REASON_REPLY:
            if (notification->body.reply.dwDataLength > 0) {
                fwrite(notification->body.reply.lpData, 1, notification->body.reply.dwDataLength, stdout);
            }
            SetEvent(outcome->ended);
            break;
        case WPK_REASON_FAILURE:
            outcome->error = notification->body.failure.nError;
            SetEvent(outcome->ended);
            break;
        default:
            /* Progress and connection states; a question for proxy credentials that is not answered is declined. */
            break;
    }
}

static int Initialise(Outcome* outcome) {
    WPK_INITSTRUCT settings;
    memset(&settings, 0, sizeof settings);
    settings.nConnectionType = WPK_CONNECTION_PERMANENT;
    settings.lpfnCallback = OnNotification;
    settings.lpUserData = outcome;
    return WPK_Init(&settings);
}

int main(int argc, char** argv) {
    /* The library reads the record until the callback has returned, which may be after the event: so it is static.
     * Static records are zero, as C programs have to make them; in C++ the constructor does it. */
    static WPK_SENDSTRUCT message;
    static Outcome outcome;

    if (argc != 5) {
        fprintf(stderr, "usage: c_send SERVER PORT SERVICE MESSAGE\n");
        return 2;
    }
    /* No byte of the reply is to be changed on its way out. */
    _setmode(_fileno(stdout), _O_BINARY);
    outcome.ended = CreateEventA(/*lpEventAttributes=*/NULL, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE,
                                 /*lpName=*/NULL);
    if (outcome.ended == NULL || !Initialise(&outcome)) {
        fprintf(stderr, "c_send: the library could not be initialised\n");
        return 3;
    }
    message.lpszServer = argv[1];
    message.nPort = (unsigned int)atoi(argv[2]);
    message.lpszServiceName = argv[3];
    message.lpData = argv[4];
    message.dwDataLength = (unsigned int)strlen(argv[4]);
    if (WPK_Send(&message) == 0) {
        fprintf(stderr, "c_send: the library could not take the message\n");
        return 4;
    }
    WaitForSingleObject(outcome.ended, INFINITE);
    if (outcome.error != 0) fprintf(stderr, "c_send: failed with error %d\n", outcome.error);
    return outcome.error == 0 ? 0 : 10 - outcome.error;
}
