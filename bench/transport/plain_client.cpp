// The plain sockets program that the library is measured beside.
// SPDX-License-Identifier: MIT
#include "plain_client.h"

#include <winsock.h>

#include <windows.h>

#include <process.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "in_flight.h"

namespace bench {

namespace {

constexpr uint32_t kMaximumInMemory = 10240;

void AppendEntry(std::string& body, const char* key, const void* value, uint32_t length) {
    const uint32_t keyLength = static_cast<uint32_t>(std::strlen(key));
    body.append(reinterpret_cast<const char*>(&keyLength), sizeof keyLength).append(key);
    body.append(reinterpret_cast<const char*>(&length), sizeof length).append(static_cast<const char*>(value), length);
}

/// The socket of one exchange. Every send and every receive blocks; a looking one waits with select before each.
struct Stream {
    ~Stream() { closesocket(socket); }

    bool Await(bool writable) const {
        fd_set sockets{1, {socket}};
        timeval limit{60, 0};
        return !looks || select(0, writable ? nullptr : &sockets, writable ? &sockets : nullptr, nullptr, &limit) == 1;
    }
    bool Send(const std::string& text) const {
        const int length = static_cast<int>(text.size());
        return Await(true) && send(socket, text.data(), length, 0) == length;
    }
    int Receive(char* buffer, uint32_t size) const {
        return Await(false) ? recv(socket, buffer, static_cast<int>(size), 0) : 0;
    }

    SOCKET socket;
    bool looks;
};

bool SendRequest(const Stream& stream, const WPK_SENDSTRUCT& record) {
    const std::string line =
        std::string("POST http://") + record.lpszServer + ":" + std::to_string(record.nPort) + "/ HTTP/1.0\r\n";
    std::string body;
    AppendEntry(body, "WPK_IsBehindProxy", "NO", 2);
    AppendEntry(body, "WPK_ServiceName", record.lpszServiceName,
                static_cast<uint32_t>(std::strlen(record.lpszServiceName)));
    AppendEntry(body, "WPK_ServiceData", record.lpData, record.dwDataLength);
    const std::string headers = "User-Agent: WPK/1.00\r\nContent-Type: application/tagged-data\r\nContent-Length: " +
                                std::to_string(body.size()) + "\r\n";
    return stream.Send(line) && stream.Send(headers) && stream.Send("\r\n") && stream.Send(body);
}

/// Reads until the head is complete, which may bring the start of the body along. Returns where that is; 0 on failure.
uint32_t ReadHead(const Stream& stream, char* buffer, uint32_t size, uint32_t& filled) {
    while (filled < size - 1) {
        const int received = stream.Receive(buffer + filled, size - 1 - filled);
        if (received <= 0) return 0;
        filled += static_cast<uint32_t>(received);
        buffer[filled] = 0;
        if (const char* end = std::strstr(buffer, "\r\n\r\n")) return static_cast<uint32_t>(end + 4 - buffer);
    }
    return 0;
}

/// Memory for a reply, or a mapped file that goes when it is closed.
struct Room {
    explicit Room(uint32_t length) {
        if (length <= kMaximumInMemory) {
            memory = std::make_unique<char[]>(length);
            data = memory.get();
            return;
        }
        const std::string name = "plain" + std::to_string(GetCurrentThreadId());
        file = CreateFileA(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                           FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
        mapping = CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, length, nullptr);
        data = static_cast<char*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, length));
    }
    ~Room() {
        if (memory) return;
        UnmapViewOfFile(data);
        CloseHandle(mapping);
        CloseHandle(file);
    }

    std::unique_ptr<char[]> memory;
    HANDLE file = nullptr;
    HANDLE mapping = nullptr;
    char* data = nullptr;
};

void NotePiece(Request& request, uint32_t received) {
    if (request.firstLength == 0) {
        request.firstPiece = Now();
        request.firstLength = received;
    }
    if (received == request.replyLength) request.lastPiece = Now();
}

bool ReceiveReply(const Stream& stream, Request& request) {
    char buffer[16384];
    uint32_t filled = 0;
    const uint32_t begin = ReadHead(stream, buffer, sizeof buffer, filled);
    const char* length = begin > 0 ? std::strstr(buffer, "Content-Length: ") : nullptr;
    if (!length || std::strtoul(length + 16, nullptr, 10) != request.replyLength) return false;

    Room room(request.replyLength);
    if (!room.data) return false;
    uint32_t received = filled - begin;
    std::memcpy(room.data, buffer + begin, received);
    if (received > 0) NotePiece(request, received);
    while (received < request.replyLength) {
        const int more = stream.Receive(room.data + received, request.replyLength - received);
        if (more <= 0) return false;
        received += static_cast<uint32_t>(more);
        NotePiece(request, received);
    }
    // Here the library makes its final call: the reply is there, and nothing has been given back yet.
    Finish(request, true);
    return true;
}

bool Exchange(Request& request, bool looks) {
    const Stream stream{socket(AF_INET, SOCK_STREAM, 0), looks};
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<u_short>(request.record.nPort));
    address.sin_addr.s_addr = inet_addr(request.record.lpszServer);
    return connect(stream.socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
           SendRequest(stream, request.record) && ReceiveReply(stream, request);
}

template <bool looks>
unsigned __stdcall ExchangeThread(void* argument) {
    Request& request = *static_cast<Request*>(argument);
    if (!Exchange(request, looks)) Finish(request, false);
    return 0;
}

void Start(Request& request, unsigned(__stdcall* exchange)(void*)) {
    const uintptr_t thread = _beginthreadex(nullptr, 0, exchange, &request, 0, nullptr);
    if (thread == 0) return Finish(request, false);
    CloseHandle(reinterpret_cast<HANDLE>(thread));
}

}  // namespace

void InitialisePlain() {
    WSADATA data;
    if (WSAStartup(MAKEWORD(1, 1), &data) == 0) return;
    std::fprintf(stderr, "the sockets interface cannot be started\n");
    std::exit(1);
}

void StartPlain(Request& request) {
    Start(request, ExchangeThread<false>);
}

void StartLooking(Request& request) {
    Start(request, ExchangeThread<true>);
}

}  // namespace bench
