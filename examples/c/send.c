/* c_send: sends a message to a named service and writes the reply. C, from C90 on.
 * SPDX-License-Identifier: MIT */
#include <fcntl.h>
#include <io.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include <wpk/error_text.h>
#include <wpk/wpk.h>

/* What the callback reports to the main thread. */
typedef struct Outcome {
    HANDLE ended;
    int error;       /* a WPK_ERROR; 0: the reply has arrived */
    int not_written; /* the reply has arrived, but could not be written */
} Outcome;

static const char USAGE[] =
    "usage: c_send SERVER PORT SERVICE MESSAGE\n"
    "Exit status: 0 when the reply has been written, 1 when it could not be, 2 when the command line is wrong, 3 and "
    "4\n"
    "when the library could not be initialised or take the message, 11 to 18 for WPK_ERROR -1 to -8.\n";

static const char SHORTAGE[] = "the system is short of threads or memory; close some programs, then try again";

/* The port number in the text; 0 if there is none. */
static unsigned int PortOf(const char* text) {
    char* end;
    const long port = strtol(text, &end, 10);
    return end != text && *end == '\0' && port >= 1 && port <= 65535 ? (unsigned int)port : 0;
}

/* Whether everything was written. Most errors occur only when the buffers are flushed. */
static int WriteOut(const void* data, size_t length) {
    if (length > 0 && fwrite(data, 1, length, stdout) != length) return 0;
    return fflush(stdout) == 0;
}

/* Called on one of the library's threads. The reply's bytes are valid only during the call. */
static void OnNotification(WPK_CALLBACKSTRUCT* notification) {
    Outcome* outcome = (Outcome*)notification->lpUserData;
    switch (notification->nReason) {
        case WPK_REASON_REPLY:
            outcome->not_written = !WriteOut(notification->body.reply.lpData, notification->body.reply.dwDataLength);
            SetEvent(outcome->ended);
            break;
        case WPK_REASON_FAILURE:
            outcome->error = notification->body.failure.nError;
            SetEvent(outcome->ended);
            break;
        default:
            /* Progress and connection states; an unanswered request for proxy credentials is declined. */
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
    /* The callback may still be running when the event is set, so what it uses is static. Static records are also
     * zeroed, which the library requires; in C++ the constructor does it. */
    static WPK_SENDSTRUCT message;
    static Outcome outcome;
    const unsigned int port = argc == 5 ? PortOf(argv[2]) : 0;

    if (argc == 2 && strcmp(argv[1], "--version") == 0) {
        printf("c_send %s\n", WPK_VERSION_STRING);
        return 0;
    }
    if (argc == 2 && strcmp(argv[1], "--help") == 0) {
        printf("%s", USAGE);
        return 0;
    }
    if (port == 0) {
        fprintf(stderr, "c_send: %s\n%s", argc == 5 ? "PORT is no number from 1 to 65535" : "it takes four arguments",
                USAGE);
        return 2;
    }
    /* The bytes of the reply must be written unchanged. */
    _setmode(_fileno(stdout), _O_BINARY);
    outcome.ended = CreateEventA(/*lpEventAttributes=*/NULL, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE,
                                 /*lpName=*/NULL);
    if (outcome.ended == NULL || !Initialise(&outcome)) {
        fprintf(stderr, "c_send: the library could not be initialised: %s\n", SHORTAGE);
        return 3;
    }
    message.lpszServer = argv[1];
    message.nPort = port;
    message.lpszServiceName = argv[3];
    message.lpData = argv[4];
    message.dwDataLength = (unsigned int)strlen(argv[4]);
    if (WPK_Send(&message) == 0) {
        fprintf(stderr, "c_send: the library could not take the message: %s\n", SHORTAGE);
        return 4;
    }
    WaitForSingleObject(outcome.ended, INFINITE);
    if (outcome.error != 0) {
        fprintf(stderr, "c_send: error %d: %s\n", outcome.error, WPK_ErrorText(outcome.error));
        return 10 - outcome.error;
    }
    if (outcome.not_written) {
        fprintf(stderr, "c_send: the reply could not be written; check where standard output goes, and the disk\n");
        return 1;
    }
    return 0;
}
