// The server that is measured against: a native program, so that no part of it runs under Wine.
// SPDX-License-Identifier: MIT
//
// Answers every request with as many bytes as the decimal number at the start of its message asks for. One thread, no
// copy of the reply for each connection: it shares the core with the programs under measurement and must cost little.
// Prints its port, then serves until it is ended.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

struct Connection {
    int socket;
    std::string request;
    std::string head;
    /// Of head and body together.
    size_t length = 0;
    size_t sent = 0;
};

const std::string kBody(1 << 20, 'x');

/// The length of a complete request; 0 while more is to come.
size_t RequestLength(const std::string& request) {
    static const std::string kLengthHeader = "Content-Length: ";
    const size_t end = request.find("\r\n\r\n");
    const size_t header = request.find(kLengthHeader);
    if (end == std::string::npos || header == std::string::npos) return 0;
    return end + 4 + std::strtoul(request.c_str() + header + kLengthHeader.size(), nullptr, 10);
}

/// What the message asks for. In the body it follows its key and its own length of four bytes.
size_t WantedReply(const std::string& request) {
    static const std::string kKey = "WPK_ServiceData";
    const size_t key = request.find(kKey);
    return key == std::string::npos ? 0 : std::strtoul(request.c_str() + key + kKey.size() + 4, nullptr, 10);
}

/// False when the connection is over.
bool ReadRequest(Connection& connection) {
    char buffer[16384];
    const ssize_t received = recv(connection.socket, buffer, sizeof buffer, 0);
    if (received <= 0) return received < 0 && errno == EAGAIN;
    connection.request.append(buffer, static_cast<size_t>(received));
    const size_t complete = RequestLength(connection.request);
    if (complete == 0 || connection.request.size() < complete) return true;

    const size_t wanted = WantedReply(connection.request);
    connection.head = "HTTP/1.0 200 OK\r\nServer: WPK/1.00\r\nContent-Length: " + std::to_string(wanted) + "\r\n\r\n";
    connection.length = connection.head.size() + wanted;
    // A reply that fits goes out in one piece.
    const size_t together = std::min(wanted, size_t{10240});
    connection.head.append(kBody, 0, together);
    return true;
}

/// False when the reply is complete or the connection is over.
bool SendReply(Connection& connection) {
    while (connection.sent < connection.length) {
        const bool inHead = connection.sent < connection.head.size();
        const char* next = inHead ? connection.head.data() + connection.sent : kBody.data();
        const size_t ready = inHead ? connection.head.size() - connection.sent
                                    : std::min(kBody.size(), connection.length - connection.sent);
        const ssize_t sent = send(connection.socket, next, ready, MSG_NOSIGNAL);
        if (sent < 0) return errno == EAGAIN;
        connection.sent += static_cast<size_t>(sent);
    }
    return false;
}

bool Serve(Connection& connection, int epoll) {
    if (connection.length == 0) {
        if (!ReadRequest(connection)) return false;
        if (connection.length == 0) return true;
        epoll_event waiting{};
        waiting.events = EPOLLOUT;
        waiting.data.ptr = &connection;
        if (!SendReply(connection)) return false;
        return epoll_ctl(epoll, EPOLL_CTL_MOD, connection.socket, &waiting) == 0;
    }
    return SendReply(connection);
}

void Accept(int listener, int epoll) {
    const int socket = accept4(listener, nullptr, nullptr, SOCK_NONBLOCK);
    if (socket < 0) return;
    auto* connection = new Connection{socket, {}, {}};
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.ptr = connection;
    epoll_ctl(epoll, EPOLL_CTL_ADD, socket, &event);
}

int Listen() {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(listener, SOMAXCONN) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        std::perror("peer");
        std::exit(1);
    }
    std::printf("%u\n", ntohs(address.sin_port));
    std::fflush(stdout);
    return listener;
}

}  // namespace

int main() {
    const int listener = Listen();
    const int epoll = epoll_create1(0);
    epoll_event event{};
    event.events = EPOLLIN;
    epoll_ctl(epoll, EPOLL_CTL_ADD, listener, &event);
    for (;;) {
        epoll_event events[64];
        const int count = epoll_wait(epoll, events, 64, -1);
        for (int i = 0; i < count; ++i) {
            auto* connection = static_cast<Connection*>(events[i].data.ptr);
            if (!connection) {
                Accept(listener, epoll);
            } else if (!Serve(*connection, epoll)) {
                close(connection->socket);
                delete connection;
            }
        }
    }
}
