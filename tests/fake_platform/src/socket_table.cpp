// The socket values, which are used again at once, the lowest free one first.
// SPDX-License-Identifier: MIT
#include "fake_platform/src/socket_table.h"

#include <atomic>
#include <string>
#include <utility>

#include "fake_platform/control.h"
#include "fake_platform/src/call.h"
#include "fake_platform/src/reusable_ids.h"

namespace wpk::host {
namespace {

/// Sockets have numbers of their own, far from those of the handles.
constexpr SOCKET kFirstSocket = 0x10000000;
ReusableIds numbers;
std::atomic<int64_t> starts{0};

uint64_t ToNumber(SOCKET socket) {
    return socket > kFirstSocket && socket % 4 == 0 ? (socket - kFirstSocket) / 4 : 0;
}

/// False when the number is not in use.
bool CloseNumber(uint64_t number, bool byHand) {
    const uint32_t slot = numbers.TakeSlot(number);
    const std::shared_ptr<Object> object = RemoveObject(slot);
    if (!object) return false;
    static_cast<Socket&>(*object).Close(byHand);
    object->HandleClosed();
    numbers.Free(static_cast<uint32_t>(number));
    return true;
}

}  // namespace

void StartInterface() {
    starts.fetch_add(1);
}

bool InterfaceStarted() {
    return starts.load(std::memory_order_relaxed) > 0;
}

bool CleanUpInterface() {
    int64_t before = starts.load();
    do {
        if (before == 0) return false;
    } while (!starts.compare_exchange_weak(before, before - 1));
    if (before > 1) return true;
    for (uint32_t number = 1; number <= numbers.Highest(); ++number) CloseNumber(number, /*by_hand=*/false);
    return true;
}

int64_t SocketStarts() {
    return starts.load();
}

SOCKET OpenSocket(std::shared_ptr<Socket> socket) {
    socket->HandleOpened();
    const uint32_t number = numbers.Claim();
    numbers.SetSlot(number, AddObject(std::move(socket)));
    return kFirstSocket + number * 4;
}

bool CloseSocket(SOCKET socket) {
    return CloseNumber(ToNumber(socket), /*by_hand=*/true);
}

int RefuseSocket(int error) {
    WSASetLastError(error);
    return SOCKET_ERROR;
}

SocketUse::SocketUse(const char* call, SOCKET socket) {
    if (!InterfaceStarted()) {
        WSASetLastError(WSANOTINITIALISED);
        return;
    }
    socket_ = std::static_pointer_cast<Socket>(FindObject(numbers.SlotOf(ToNumber(socket))));
    if (socket_) {
        socket_->Enter();
        return;
    }
    if (socket != INVALID_SOCKET) RecordMisuse(std::string(call) + ": no open socket");
    WSASetLastError(WSAENOTSOCK);
}

}  // namespace wpk::host
