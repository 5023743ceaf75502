// Windows Sockets 1.1: the calls.
// SPDX-License-Identifier: MIT
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "host/control.h"
#include "host/standin/call.h"
#include "host/standin/reusable_ids.h"
#include "host/standin/socket.h"
#include "host/standin/system.h"
#include "host/standin/thread.h"
#include "winsock_types.h"

namespace wpk::host {

namespace {

// Sockets have numbers of their own, far from those of the handles.
constexpr SOCKET kFirstSocket = 0x10000000;
ReusableIds numbers;
std::atomic<int64_t> starts{0};

struct Hosts {
    std::mutex mutex;
    std::map<std::string, std::string> addresses{{"localhost", "127.0.0.1"}};
};

Hosts& TheHosts() {
    static Hosts& hosts = *new Hosts;
    return hosts;
}

SOCKET ToSocket(uint32_t number) {
    return kFirstSocket + number * 4;
}

uint64_t ToNumber(SOCKET socket) {
    return socket > kFirstSocket && socket % 4 == 0 ? (socket - kFirstSocket) / 4 : 0;
}

int Refuse(int error) {
    WSASetLastError(error);
    return SOCKET_ERROR;
}

bool Started() {
    return starts.load(std::memory_order_relaxed) > 0;
}

/// A socket for the length of one call; empty, with the last error set, when the call cannot go on.
class SocketUse {
public:
    SocketUse(const char* call, SOCKET socket) {
        if (!Started()) {
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
    SocketUse(SocketUse&& other) noexcept : socket_(std::move(other.socket_)) {}
    ~SocketUse() {
        if (socket_) socket_->Leave();
    }

    explicit operator bool() const { return socket_ != nullptr; }
    Socket* operator->() const { return socket_.get(); }

private:
    std::shared_ptr<Socket> socket_;
};

/// False when the number is not in use.
bool CloseNumber(uint64_t number, bool by_hand) {
    const uint32_t slot = numbers.TakeSlot(number);
    const std::shared_ptr<Object> object = RemoveObject(slot);
    if (!object) return false;
    static_cast<Socket&>(*object).Close(by_hand);
    object->HandleClosed();
    numbers.Free(static_cast<uint32_t>(number));
    return true;
}

/// The sockets of one set that are ready.
class Watched {
public:
    Watched(wpk_host_fd_set* set, bool (Socket::*ready)(), short events) : set_(set), ready_(ready), events_(events) {}

    /// False when one of them is not a socket.
    bool Use() {
        for (unsigned i = 0; set_ && i < set_->fd_count; ++i) {
            uses_.emplace_back("select", set_->fd_array[i]);
            if (!uses_.back()) return false;
        }
        return true;
    }
    bool Empty() const { return uses_.empty(); }
    bool AnyClosed() const {
        return std::any_of(uses_.begin(), uses_.end(), [](const SocketUse& use) { return use->Closed(); });
    }
    void AddTo(std::vector<pollfd>& items) const {
        for (const SocketUse& use : uses_) {
            // For poll, a socket without a connection is always ready.
            if (use->MayBecomeReady()) items.push_back({use->Descriptor(), events_, 0});
        }
    }
    int Count() const {
        return static_cast<int>(std::count_if(uses_.begin(), uses_.end(),
                                              [this](const SocketUse& use) { return (use.operator->()->*ready_)(); }));
    }
    /// Leaves those in the set that are ready.
    void Store() {
        if (!set_) return;
        unsigned kept = 0;
        for (unsigned i = 0; i < set_->fd_count; ++i) {
            if ((uses_[i].operator->()->*ready_)()) set_->fd_array[kept++] = set_->fd_array[i];
        }
        set_->fd_count = kept;
    }

private:
    wpk_host_fd_set* set_;
    bool (Socket::*ready_)();
    short events_;
    std::vector<SocketUse> uses_;
};

int Select(wpk_host_fd_set* readable, wpk_host_fd_set* writable, wpk_host_fd_set* failed,
           const wpk_host_timeval* timeout) {
    using Clock = std::chrono::steady_clock;
    Watched sets[] = {
        {readable, &Socket::Readable, POLLIN}, {writable, &Socket::Writable, POLLOUT}, {failed, &Socket::Failed, 0}};
    bool all_empty = true;
    for (Watched& set : sets) {
        if (!set.Use()) return SOCKET_ERROR;
        all_empty = all_empty && set.Empty();
    }
    if (all_empty) return Refuse(WSAEINVAL);

    const double wanted = timeout ? static_cast<double>(timeout->tv_sec) * 1000 + timeout->tv_usec / 1000.0 : 0;
    const auto limit = std::chrono::duration<double, std::milli>(RealSelectMilliseconds(wanted));
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(limit);
    WaitScope wait;
    for (;;) {
        int count = 0;
        for (const Watched& set : sets) {
            if (set.AnyClosed()) return Refuse(WSAENOTSOCK);
            count += set.Count();
        }
        if (wait.Dead()) return Refuse(WSAEINTR);
        if (wait.AskedToStop()) {
            StopPoint();
            continue;
        }
        const auto left = std::chrono::duration<double, std::milli>(deadline - Clock::now()).count();
        if (count > 0 || (timeout && left <= 0)) {
            if (!wait.End()) return Refuse(WSAEINTR);
            for (Watched& set : sets) set.Store();
            return count;
        }
        std::vector<pollfd> items;
        for (const Watched& set : sets) set.AddTo(items);
        const int step = timeout ? std::min(kSocketStep, static_cast<int>(left) + 1) : kSocketStep;
        poll(items.data(), items.size(), step);
    }
}

}  // namespace

void ResetHosts() {
    Hosts& hosts = TheHosts();
    const std::lock_guard lock(hosts.mutex);
    hosts.addresses = {{"localhost", "127.0.0.1"}};
}

void AddHost(std::string_view name, std::string_view dotted_address) {
    Hosts& hosts = TheHosts();
    const std::lock_guard lock(hosts.mutex);
    hosts.addresses[std::string(name)] = dotted_address;
}

int64_t LiveSockets() {
    return LiveHandles(Kind::kSocket);
}

int64_t SocketStarts() {
    return starts.load();
}

}  // namespace wpk::host

using namespace wpk::host;

int WSAStartup(WORD version, LPWSADATA data) {
    const CallScope call(Call::kWSAStartup);
    if (call.Fails()) return static_cast<int>(call.Error());
    if (version == 0) return WSAVERNOTSUPPORTED;
    *data = {};
    data->wVersion = version;
    data->wHighVersion = MAKEWORD(2, 2);
    starts.fetch_add(1);
    return 0;
}

int WSACleanup() {
    const CallScope call(Call::kWSACleanup);
    if (call.Fails()) return SOCKET_ERROR;
    int64_t before = starts.load();
    do {
        if (before == 0) return Refuse(WSANOTINITIALISED);
    } while (!starts.compare_exchange_weak(before, before - 1));
    if (before > 1) return 0;
    for (uint32_t number = 1; number <= ReusableIds::kCount; ++number) CloseNumber(number, /*by_hand=*/false);
    return 0;
}

int WSAGetLastError() {
    return static_cast<int>(GetLastError());
}

void WSASetLastError(int error) {
    SetLastError(static_cast<DWORD>(error));
}

SOCKET wpk_host_socket(int family, int type, int protocol) {
    const CallScope call(Call::ksocket);
    if (call.Fails()) return INVALID_SOCKET;
    if (!Started()) return static_cast<SOCKET>(Refuse(WSANOTINITIALISED));
    if (family != 2 || type != 1 || (protocol != 0 && protocol != 6)) {
        return static_cast<SOCKET>(Refuse(WSAEAFNOSUPPORT));
    }
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_TCP);
    if (descriptor < 0) return static_cast<SOCKET>(Refuse(SocketErrorOf(errno)));
    auto object = std::make_shared<Socket>(descriptor);
    object->HandleOpened();
    const uint32_t number = numbers.Claim();
    numbers.SetSlot(number, AddObject(std::move(object)));
    return ToSocket(number);
}

int wpk_host_setsockopt(SOCKET socket, int level, int option, const char* value, int length) {
    const CallScope call(Call::ksetsockopt);
    if (call.Fails()) return SOCKET_ERROR;
    const SocketUse use("setsockopt", socket);
    if (!use) return SOCKET_ERROR;
    if (!value || length < 4) return Refuse(WSAEFAULT);
    // What the library sets is the only option there is.
    return level == 0xffff && option == 0x0100 ? 0 : Refuse(WSAENOPROTOOPT);
}

int ioctlsocket(SOCKET socket, long command, unsigned long* argument) {
    const CallScope call(Call::kioctlsocket);
    if (call.Fails()) return SOCKET_ERROR;
    const SocketUse use("ioctlsocket", socket);
    if (!use) return SOCKET_ERROR;
    if (static_cast<unsigned>(command) != 0x8004667eu) return Refuse(WSAEINVAL);
    use->SetBlocking(*argument == 0);
    return 0;
}

unsigned int wpk_host_inet_addr(const char* text) {
    in_addr address{};
    return inet_aton(text, &address) != 0 ? address.s_addr : 0xffffffffu;
}

unsigned short wpk_host_htons(unsigned short value) {
    return htons(value);
}

wpk_host_hostent* wpk_host_gethostbyname(const char* name) {
    const CallScope call(Call::kgethostbyname);
    if (call.Fails()) return nullptr;
    if (!Started()) {
        WSASetLastError(WSANOTINITIALISED);
        return nullptr;
    }
    // The answer belongs to the thread and lasts until its next question.
    thread_local in_addr address;
    thread_local char* addresses[] = {reinterpret_cast<char*>(&address), nullptr};
    thread_local char* no_aliases[] = {nullptr};
    thread_local wpk_host_hostent answer{nullptr, no_aliases, 2, 4, addresses};
    Hosts& hosts = TheHosts();
    const std::lock_guard lock(hosts.mutex);
    const auto found = hosts.addresses.find(name);
    const char* dotted = found == hosts.addresses.end() ? name : found->second.c_str();
    if (inet_aton(dotted, &address) != 0) return &answer;
    WSASetLastError(WSAHOST_NOT_FOUND);
    return nullptr;
}

int wpk_host_connect(SOCKET socket, const wpk_host_sockaddr* address, int length) {
    const CallScope call(Call::kconnect);
    if (call.Fails()) return SOCKET_ERROR;
    const SocketUse use("connect", socket);
    if (!use) return SOCKET_ERROR;
    wpk_host_sockaddr_in target{};
    if (length < static_cast<int>(sizeof target)) return Refuse(WSAEFAULT);
    std::memcpy(&target, address, sizeof target);
    if (target.sin_family != 2) return Refuse(WSAEAFNOSUPPORT);
    const int error = use->Connect(target.sin_addr.S_un.S_addr, target.sin_port);
    return error == 0 ? 0 : Refuse(error);
}

int wpk_host_select(int, wpk_host_fd_set* readable, wpk_host_fd_set* writable, wpk_host_fd_set* failed,
                    const wpk_host_timeval* timeout) {
    const CallScope call(Call::kselect);
    if (call.Fails()) return SOCKET_ERROR;
    return Started() ? Select(readable, writable, failed, timeout) : Refuse(WSANOTINITIALISED);
}

int wpk_host_send(SOCKET socket, const char* bytes, int length, int) {
    const CallScope call(Call::ksend);
    if (call.Fails()) return SOCKET_ERROR;
    const SocketUse use("send", socket);
    if (!use) return SOCKET_ERROR;
    int done = 0;
    const int error = use->Send(bytes, static_cast<size_t>(length), done);
    return error == 0 ? done : Refuse(error);
}

int wpk_host_recv(SOCKET socket, char* bytes, int length, int) {
    const CallScope call(Call::krecv);
    if (call.Fails()) return SOCKET_ERROR;
    const SocketUse use("recv", socket);
    if (!use) return SOCKET_ERROR;
    int done = 0;
    const int error = use->Receive(bytes, static_cast<size_t>(length), done);
    return error == 0 ? done : Refuse(error);
}

int closesocket(SOCKET socket) {
    const CallScope call(Call::kclosesocket);
    if (!Started()) return Refuse(WSANOTINITIALISED);
    if (!CloseNumber(ToNumber(socket), /*by_hand=*/true)) {
        if (socket != INVALID_SOCKET) RecordMisuse("closesocket: no open socket");
        return Refuse(WSAENOTSOCK);
    }
    return call.Fails() ? Refuse(static_cast<int>(call.Error())) : 0;
}

int __WSAFDIsSet(SOCKET socket, wpk_host_fd_set* set) {
    return std::find(set->fd_array, set->fd_array + set->fd_count, socket) != set->fd_array + set->fd_count;
}

void wpk_host_fd_add(SOCKET socket, wpk_host_fd_set* set) {
    if (__WSAFDIsSet(socket, set) || set->fd_count == 64) return;
    set->fd_array[set->fd_count++] = socket;
}

void wpk_host_fd_remove(SOCKET socket, wpk_host_fd_set* set) {
    SOCKET* end = set->fd_array + set->fd_count;
    set->fd_count = static_cast<unsigned>(std::remove(set->fd_array, end, socket) - set->fd_array);
}
