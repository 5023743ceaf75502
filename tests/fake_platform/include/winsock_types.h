// Windows Sockets 1.1 under names that do not clash with the C library's; winsock.h gives them their usual names.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FAKE_PLATFORM_INCLUDE_WINSOCK_TYPES_H
#define WPK_TESTS_FAKE_PLATFORM_INCLUDE_WINSOCK_TYPES_H

#include "windows.h"

typedef UINT_PTR SOCKET;

struct wpk_host_in_addr {
    union {
        struct {
            unsigned char s_b1, s_b2, s_b3, s_b4;
        } S_un_b;
        unsigned int S_addr;
    } S_un;
};

struct wpk_host_sockaddr {
    unsigned short sa_family;
    char sa_data[14];
};

struct wpk_host_sockaddr_in {
    short sin_family;
    unsigned short sin_port;
    wpk_host_in_addr sin_addr;
    char sin_zero[8];
};

struct wpk_host_hostent {
    char* h_name;
    char** h_aliases;
    short h_addrtype;
    short h_length;
    char** h_addr_list;
};

/** Seconds and microseconds. */
struct wpk_host_timeval {
    long tv_sec;
    long tv_usec;
};

/** A counted list of sockets, not a bit set. */
struct wpk_host_fd_set {
    unsigned int fd_count;
    SOCKET fd_array[64];
};

typedef struct WSAData {
    WORD wVersion;
    WORD wHighVersion;
    unsigned short iMaxSockets;
    unsigned short iMaxUdpDg;
    char* lpVendorInfo;
    char szDescription[257];
    char szSystemStatus[129];
} WSADATA, *LPWSADATA;

int WSAStartup(WORD version, LPWSADATA data);
int WSACleanup();
int WSAGetLastError();
void WSASetLastError(int error);
SOCKET wpk_host_socket(int family, int type, int protocol);
int wpk_host_setsockopt(SOCKET socket, int level, int option, const char* value, int length);
int ioctlsocket(SOCKET socket, long command, unsigned long* argument);
unsigned int wpk_host_inet_addr(const char* text);
unsigned short wpk_host_htons(unsigned short value);
wpk_host_hostent* wpk_host_gethostbyname(const char* name);
int wpk_host_connect(SOCKET socket, const wpk_host_sockaddr* address, int length);
int wpk_host_select(int ignored, wpk_host_fd_set* readable, wpk_host_fd_set* writable, wpk_host_fd_set* failed,
                    const wpk_host_timeval* timeout);
int wpk_host_send(SOCKET socket, const char* bytes, int length, int flags);
int wpk_host_recv(SOCKET socket, char* bytes, int length, int flags);
int closesocket(SOCKET socket);
int __WSAFDIsSet(SOCKET socket, wpk_host_fd_set* set);
void wpk_host_fd_add(SOCKET socket, wpk_host_fd_set* set);
void wpk_host_fd_remove(SOCKET socket, wpk_host_fd_set* set);

#define WSABASEERR 10000
#define WSAEINTR 10004
#define WSAEBADF 10009
#define WSAEACCES 10013
#define WSAEFAULT 10014
#define WSAEINVAL 10022
#define WSAEMFILE 10024
#define WSAEWOULDBLOCK 10035
#define WSAEINPROGRESS 10036
#define WSAEALREADY 10037
#define WSAENOTSOCK 10038
#define WSAENOPROTOOPT 10042
#define WSAEAFNOSUPPORT 10047
#define WSAEADDRNOTAVAIL 10049
#define WSAENETDOWN 10050
#define WSAENETUNREACH 10051
#define WSAECONNABORTED 10053
#define WSAECONNRESET 10054
#define WSAENOBUFS 10055
#define WSAEISCONN 10056
#define WSAENOTCONN 10057
#define WSAESHUTDOWN 10058
#define WSAETIMEDOUT 10060
#define WSAECONNREFUSED 10061
#define WSAEHOSTUNREACH 10065
#define WSASYSNOTREADY 10091
#define WSAVERNOTSUPPORTED 10092
#define WSANOTINITIALISED 10093
#define WSAHOST_NOT_FOUND 11001

#define INVALID_SOCKET ((SOCKET)(~0))
#define SOCKET_ERROR (-1)

#endif  // WPK_TESTS_FAKE_PLATFORM_INCLUDE_WINSOCK_TYPES_H
