// A scripted TCP peer inside the test, on the system's own sockets.
// SPDX-License-Identifier: MIT
#include "native/support/native_peer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

namespace wpk::host {

void NativePeer::Connection::Finish() {
    // What has not been read would turn the close into a reset, which can overtake the reply.
    shutdown(descriptor_, SHUT_WR);
    char rest[4096];
    pollfd item{descriptor_, POLLIN, 0};
    while (poll(&item, 1, 0) > 0 && recv(descriptor_, rest, sizeof rest, 0) > 0) continue;
}

std::string NativePeer::Connection::Read(size_t size) {
    while (ahead_.size() < size) {
        char buffer[4096];
        const ssize_t received = recv(descriptor_, buffer, sizeof buffer, 0);
        if (received <= 0) break;
        ahead_.append(buffer, static_cast<size_t>(received));
    }
    std::string bytes = ahead_.substr(0, size);
    ahead_.erase(0, size);
    return bytes;
}

std::string NativePeer::Connection::ReadRequest() {
    std::string request;
    while (request.find("\r\n\r\n") == std::string::npos) {
        const std::string byte = Read(1);
        if (byte.empty()) return request;
        request += byte;
    }
    static const std::string kLength = "Content-Length: ";
    const size_t at = request.find(kLength);
    if (at == std::string::npos) return request;
    return request + Read(std::strtoul(request.c_str() + at + kLength.size(), nullptr, 10));
}

bool NativePeer::Connection::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

void NativePeer::Connection::AwaitClose() {
    while (!Read(1).empty()) continue;
}

NativePeer::NativePeer(Script script, Serve serve)
    : script_(std::move(script)), serve_(serve), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(listener_, reinterpret_cast<const sockaddr*>(&address), size) != 0 || listen(listener_, 256) != 0 ||
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        std::perror("the peer cannot listen");
        std::abort();
    }
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { Listen(); });
}

NativePeer::~NativePeer() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        for (const int descriptor : open_) shutdown(descriptor, SHUT_RDWR);
    }
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
}

void NativePeer::AwaitServed() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return served_; });
}

void NativePeer::Listen() {
    std::vector<std::thread> servers;
    for (;;) {
        const int descriptor = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor < 0) break;
        ++accepted_;
        Open(descriptor);
        if (serve_ == Serve::kInTurn) {
            ServeOne(descriptor);
        } else {
            servers.emplace_back([this, descriptor] { ServeOne(descriptor); });
        }
    }
    for (std::thread& server : servers) server.join();
}

void NativePeer::ServeOne(int descriptor) {
    Connection connection(descriptor);
    script_(connection);
    connection.Finish();
    Close(descriptor);
}

void NativePeer::Open(int descriptor) {
    const std::lock_guard lock(mutex_);
    open_.insert(descriptor);
    if (stopping_) shutdown(descriptor, SHUT_RDWR);
}

void NativePeer::Close(int descriptor) {
    const std::lock_guard lock(mutex_);
    open_.erase(descriptor);
    close(descriptor);
    served_ = true;
    changed_.notify_all();
}

std::string ReplyBytes(std::string_view body, std::string_view status) {
    return "HTTP/1.0 " + std::string(status) +
           "\r\nServer: WPK/1.00\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + std::string(body);
}

}  // namespace wpk::host
