/* Prints the same from wpk.h, as the C compiler for Windows lays it out. */
#include <stddef.h>
#include <stdio.h>
#include <wpk/wpk.h>

#define SIZE(name, bytes) printf("%s has %u bytes\n", name, (unsigned)(bytes))
#define FIELD(record, name) printf(#record ".%s %u\n", #name, (unsigned)offsetof(record, name))
/* What follows the head of a notification. */
#define BODY(name, member, field) \
    printf(name "." #field " %u\n", (unsigned)offsetof(WPK_CALLBACKSTRUCT, body.member.field))
/* The size of a notification of one reason alone: up to the end of its member, in words of eight bytes. */
#define BODY_SIZE(member) \
    ((offsetof(WPK_CALLBACKSTRUCT, body) + sizeof(((WPK_CALLBACKSTRUCT*)0)->body.member) + 7) / 8 * 8)

static void Member(const char* name, size_t bytes) {
    SIZE(name, bytes);
    printf("%s.head 0\n", name);
}

int main(void) {
    SIZE("WPK_INITSTRUCT", sizeof(WPK_INITSTRUCT));
    FIELD(WPK_INITSTRUCT, reserved);
    FIELD(WPK_INITSTRUCT, hInstance);
    FIELD(WPK_INITSTRUCT, nConnectionType);
    FIELD(WPK_INITSTRUCT, lpfnCallback);
    FIELD(WPK_INITSTRUCT, lpUserData);
    FIELD(WPK_INITSTRUCT, bBehindProxy);
    FIELD(WPK_INITSTRUCT, lpszProxyServer);
    FIELD(WPK_INITSTRUCT, nProxyPort);
    FIELD(WPK_INITSTRUCT, lpszProxyUser);
    FIELD(WPK_INITSTRUCT, lpszProxyPassword);
    SIZE("WPK_SENDSTRUCT", sizeof(WPK_SENDSTRUCT));
    FIELD(WPK_SENDSTRUCT, lpVirtualTable);
    FIELD(WPK_SENDSTRUCT, reserved);
    FIELD(WPK_SENDSTRUCT, nPort);
    FIELD(WPK_SENDSTRUCT, lpszServer);
    FIELD(WPK_SENDSTRUCT, lpszServiceName);
    FIELD(WPK_SENDSTRUCT, lpfnCallback);
    FIELD(WPK_SENDSTRUCT, lpUserData);
    FIELD(WPK_SENDSTRUCT, lpData);
    FIELD(WPK_SENDSTRUCT, dwDataLength);
    SIZE("Head", offsetof(WPK_CALLBACKSTRUCT, body));
    printf("Head.nReason %u\n", (unsigned)offsetof(WPK_CALLBACKSTRUCT, nReason));
    printf("Head.lpUserData %u\n", (unsigned)offsetof(WPK_CALLBACKSTRUCT, lpUserData));
    Member("Failure", BODY_SIZE(failure));
    BODY("Failure", failure, nError);
    BODY("Failure", failure, reserved);
    Member("Progress", BODY_SIZE(progress));
    BODY("Progress", progress, nError);
    BODY("Progress", progress, reserved);
    BODY("Progress", progress, nWord);
    BODY("Progress", progress, lpData);
    BODY("Progress", progress, dwReceived);
    BODY("Progress", progress, dwTotal);
    Member("Reply", BODY_SIZE(reply));
    BODY("Reply", reply, nError);
    BODY("Reply", reply, reserved);
    BODY("Reply", reply, lpData);
    BODY("Reply", reply, dwDataLength);
    Member("Connection", BODY_SIZE(connection));
    BODY("Connection", connection, dwConnected);
    Member("Credentials", BODY_SIZE(credentials));
    BODY("Credentials", credentials, szUser);
    BODY("Credentials", credentials, szPassword);
    BODY("Credentials", credentials, bRetry);
    return 0;
}
