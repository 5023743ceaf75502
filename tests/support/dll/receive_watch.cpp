// Tells how many bytes of replies a library has taken from the network, so that a peer can wait for that.
// SPDX-License-Identifier: MIT
#include "support/dll/receive_watch.h"

#include "support/dll/process.h"

namespace wpk::harness {
namespace {
ReceiveWatch* current = nullptr;
}

ReceiveWatch::ReceiveWatch(HMODULE library) : patch_(library, "recv", AddressOf(&ReceiveWatch::Receive)) {
    if (!patch_.Found()) Die("the library does not import recv");
    current = this;
}

ReceiveWatch::~ReceiveWatch() = default;

int WSAAPI ReceiveWatch::Receive(SOCKET socket, char* buffer, int length, int flags) {
    const int count = recv(socket, buffer, length, flags);
    const int error = WSAGetLastError();
    if (count > 0) {
        current->monitor_.Update([count] {
            current->bytes_ += static_cast<size_t>(count);
            ++current->calls_;
        });
    }
    WSASetLastError(error);
    return count;
}

void ReceiveWatch::Restart() {
    monitor_.Update([this] { bytes_ = calls_ = 0; });
}

bool ReceiveWatch::WaitForBytes(size_t count) {
    return monitor_.WaitUntil([&] { return bytes_ >= count; });
}

size_t ReceiveWatch::Bytes() {
    return monitor_.Update([this] { return bytes_; });
}

size_t ReceiveWatch::Calls() {
    return monitor_.Update([this] { return calls_; });
}

}  // namespace wpk::harness
