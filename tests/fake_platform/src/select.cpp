// Waiting for sockets.
// SPDX-License-Identifier: MIT
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "fake_platform/src/call.h"
#include "fake_platform/src/scheduler.h"
#include "fake_platform/src/socket_table.h"
#include "fake_platform/src/thread.h"

namespace wpk::host {
namespace {

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
            const int descriptor = use->PollDescriptor();
            if (descriptor >= 0) items.push_back({descriptor, events_, 0});
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

}  // namespace

int Select(wpk_host_fd_set* readable, wpk_host_fd_set* writable, wpk_host_fd_set* failed,
           const wpk_host_timeval* timeout) {
    using Clock = std::chrono::steady_clock;
    Watched sets[] = {
        {readable, &Socket::Readable, POLLIN}, {writable, &Socket::Writable, POLLOUT}, {failed, &Socket::Failed, 0}};
    bool allEmpty = true;
    for (Watched& set : sets) {
        if (!set.Use()) return SOCKET_ERROR;
        allEmpty = allEmpty && set.Empty();
    }
    if (allEmpty) return RefuseSocket(WSAEINVAL);

    const double wanted = timeout ? static_cast<double>(timeout->tv_sec) * 1000 + timeout->tv_usec / 1000.0 : 0;
    const auto limit = std::chrono::duration<double, std::milli>(RealSelectMilliseconds(wanted));
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(limit);
    WaitScope wait;
    bool over = false;
    for (;;) {
        int count = 0;
        for (const Watched& set : sets) {
            if (set.AnyClosed()) return RefuseSocket(WSAENOTSOCK);
            count += set.Count();
        }
        if (wait.Dead()) return RefuseSocket(WSAEINTR);
        if (wait.AskedToStop()) {
            StopPoint();
            continue;
        }
        const auto left = std::chrono::duration<double, std::milli>(deadline - Clock::now()).count();
        over = over || (timeout && (wanted == 0 || (left <= 0 && !IsScheduled())));
        if (count > 0 || over) {
            if (!wait.End()) return RefuseSocket(WSAEINTR);
            for (Watched& set : sets) set.Store();
            return count;
        }
        if (IsScheduled()) {
            const auto changed = [&] {
                return wait.AskedToStop() || std::any_of(std::begin(sets), std::end(sets), [](const Watched& set) {
                           return set.AnyClosed() || set.Count() > 0;
                       });
            };
            over = !AwaitScheduled("select", changed, timeout ? static_cast<uint32_t>(wanted) : INFINITE);
            continue;
        }
        std::vector<pollfd> items;
        for (const Watched& set : sets) set.AddTo(items);
        const int step = timeout ? std::min(kSocketStep, static_cast<int>(left) + 1) : kSocketStep;
        poll(items.data(), items.size(), step);
    }
}

}  // namespace wpk::host
