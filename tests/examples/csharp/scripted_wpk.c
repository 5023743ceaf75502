/* Stands in for wpk.dll where C# runs, which is here and not under Wine: a shared library of this machine with the
 * three functions, for the example's messages alone. Each request is a thread. To the service Echo it answers with the
 * message, after progress; to Fail with the error that the message says; to Sleep when it is cancelled. Refused takes
 * none. */
#include <pthread.h>
#include <stdlib.h>
#include <string.h>
#include <wpk/wpk.h>

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t change = PTHREAD_COND_INITIALIZER;
static int answering = 1;
static int waiting;
static unsigned int last_handle;
static unsigned int cancelled;
static int threads_open;

typedef struct Request {
    const WPK_SENDSTRUCT* message;
    unsigned int handle;
} Request;

/* Keeps answers back (0) or lets them go (1). */
void Scripted_Answer(int now) {
    pthread_mutex_lock(&lock);
    answering = now;
    pthread_cond_broadcast(&change);
    pthread_mutex_unlock(&lock);
}

/* Returns when so many requests wait to be answered. */
void Scripted_AwaitWaiting(int count) {
    pthread_mutex_lock(&lock);
    while (waiting != count) pthread_cond_wait(&change, &lock);
    pthread_mutex_unlock(&lock);
}

static int MayAnswer(const Request* request) {
    return strcmp(request->message->lpszServiceName, "Sleep") == 0 ? cancelled == request->handle : answering;
}

static void AwaitTurn(const Request* request) {
    pthread_mutex_lock(&lock);
    ++waiting;
    pthread_cond_broadcast(&change);
    while (!MayAnswer(request)) pthread_cond_wait(&change, &lock);
    --waiting;
    pthread_cond_broadcast(&change);
    pthread_mutex_unlock(&lock);
}

static void Notify(const WPK_SENDSTRUCT* message, WPK_CALLBACKSTRUCT* notification) {
    notification->lpUserData = message->lpUserData;
    message->lpfnCallback(notification);
}

static void Echo(const WPK_SENDSTRUCT* message) {
    WPK_CALLBACKSTRUCT progress = {0}, reply = {0};
    char* copy = malloc(message->dwDataLength + 1u);
    memcpy(copy, message->lpData, message->dwDataLength);
    progress.nReason = WPK_REASON_PROGRESS;
    progress.body.progress.dwTotal = message->dwDataLength;
    Notify(message, &progress);
    reply.nReason = WPK_REASON_REPLY;
    reply.body.reply.lpData = copy;
    reply.body.reply.dwDataLength = message->dwDataLength;
    Notify(message, &reply);
    free(copy);
}

static void Fail(const WPK_SENDSTRUCT* message, int error) {
    WPK_CALLBACKSTRUCT failure = {0};
    failure.nReason = WPK_REASON_FAILURE;
    failure.body.failure.nError = error;
    Notify(message, &failure);
}

/* The message is no text: it has no end of its own. */
static int NumberIn(const WPK_SENDSTRUCT* message) {
    char text[12] = "";
    memcpy(text, message->lpData, message->dwDataLength < sizeof text ? message->dwDataLength : sizeof text - 1);
    return atoi(text);
}

static void* Carry(void* argument) {
    Request* request = argument;
    AwaitTurn(request);
    if (strcmp(request->message->lpszServiceName, "Echo") == 0) {
        Echo(request->message);
    } else if (strcmp(request->message->lpszServiceName, "Sleep") == 0) {
        Fail(request->message, WPK_ERROR_CANCELLED);
    } else {
        Fail(request->message, NumberIn(request->message));
    }
    free(request);
    return NULL;
}

int WPK_Init(const WPK_INITSTRUCT* settings) {
    return settings->lpfnCallback != NULL && settings->nConnectionType == WPK_CONNECTION_PERMANENT;
}

unsigned int WPK_Send(WPK_SENDSTRUCT* message) {
    pthread_t thread;
    Request* request;
    unsigned int handle;
    if (strcmp(message->lpszServiceName, "Refused") == 0) return 0;
    request = malloc(sizeof *request);
    pthread_mutex_lock(&lock);
    handle = ++last_handle;
    pthread_mutex_unlock(&lock);
    request->message = message;
    request->handle = handle;
    if (pthread_create(&thread, NULL, Carry, request) != 0) abort();
    pthread_detach(thread);
    return handle;
}

/* Of a request whose thread is not held open, the handle may be another one's by now. */
int WPK_Cancel(unsigned int handle) {
    pthread_mutex_lock(&lock);
    if (threads_open > 0) cancelled = handle;
    pthread_cond_broadcast(&change);
    pthread_mutex_unlock(&lock);
    return 1;
}

void* OpenThread(unsigned int access, int inherit, unsigned int id) {
    (void)access, (void)inherit;
    pthread_mutex_lock(&lock);
    ++threads_open;
    pthread_mutex_unlock(&lock);
    return (void*)(size_t)id;
}

int CloseHandle(void* thread) {
    (void)thread;
    pthread_mutex_lock(&lock);
    --threads_open;
    pthread_mutex_unlock(&lock);
    return 1;
}
