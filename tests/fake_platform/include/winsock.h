// Windows Sockets 1.1, played by the fake platform for native builds.
// SPDX-License-Identifier: MIT
//
// The C library has calls and records of the same names with other shapes, and several standard headers bring them in.
// So its own headers come first, complete; from here on the names mean those of Windows. A file that needs the C
// library's sockets does not include this one.
#ifndef WPK_TESTS_FAKE_PLATFORM_INCLUDE_WINSOCK_H
#define WPK_TESTS_FAKE_PLATFORM_INCLUDE_WINSOCK_H

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/types.h>
#include <unistd.h>

#include "winsock_types.h"

#define in_addr wpk_host_in_addr
#define sockaddr wpk_host_sockaddr
#define sockaddr_in wpk_host_sockaddr_in
#define hostent wpk_host_hostent
#define timeval wpk_host_timeval
#define fd_set wpk_host_fd_set
#define socket wpk_host_socket
#define setsockopt wpk_host_setsockopt
#define inet_addr wpk_host_inet_addr
#define gethostbyname wpk_host_gethostbyname
#define connect wpk_host_connect
#define select wpk_host_select
#define send wpk_host_send
#define recv wpk_host_recv
#undef htons
#define htons wpk_host_htons
#undef s_addr
#define s_addr S_un.S_addr
#undef h_addr
#define h_addr h_addr_list[0]

typedef struct wpk_host_sockaddr SOCKADDR;
typedef struct wpk_host_sockaddr_in SOCKADDR_IN;
typedef struct wpk_host_hostent HOSTENT;

#undef FD_SETSIZE
#define FD_SETSIZE 64
#undef FD_ZERO
#define FD_ZERO(set) (((wpk_host_fd_set*)(set))->fd_count = 0)
#undef FD_SET
#define FD_SET(socketValue, set) wpk_host_fd_add((socketValue), (set))
#undef FD_CLR
#define FD_CLR(socketValue, set) wpk_host_fd_remove((socketValue), (set))
#undef FD_ISSET
#define FD_ISSET(socketValue, set) __WSAFDIsSet((socketValue), (set))

#undef AF_INET
#define AF_INET 2
#undef SOCK_STREAM
#define SOCK_STREAM 1
#undef IPPROTO_TCP
#define IPPROTO_TCP 6
#undef SOL_SOCKET
#define SOL_SOCKET 0xffff
#undef SO_OOBINLINE
#define SO_OOBINLINE 0x0100
#undef FIONBIO
#define FIONBIO 0x8004667eu
#undef INADDR_NONE
#define INADDR_NONE 0xffffffffu

#endif  // WPK_TESTS_FAKE_PLATFORM_INCLUDE_WINSOCK_H
