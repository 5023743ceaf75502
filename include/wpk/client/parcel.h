/// @file
/// What the library reads of a request, and how it is kept as long as the library may. Nothing here is for
/// applications.
// SPDX-License-Identifier: MIT
//
// A send record, its texts and its body must stay until the request's final callback has returned. Code inside that
// callback cannot free them, and nobody is told when it has returned. But each request has a thread of its own: when
// that has ended, the callback has returned. So a parcel that is done with is put aside together with a watch on its
// thread, and freed by whoever looks after the thread has ended: the next request that is sent or ends, a wait, the end
// of a Client.
//
// The watch of a request that has been cancelled stays open some seconds longer, though its message is given back: the
// library looks the handle of a cancel up after it has accepted it, and the handle is a thread's id, which the system
// gives to a new thread as soon as nobody has the old one open.
#ifndef WPK_CLIENT_PARCEL_H
#define WPK_CLIENT_PARCEL_H

#include <wpk/client/platform.h>
#include <wpk/wpk.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace wpk {
inline namespace client {
namespace detail {

/// A send record with everything that it points to. The body must not be longer than an unsigned int can say.
class Parcel {
public:
    Parcel(std::string server, unsigned int port, std::string service, std::string body, WPK_CALLBACK callback,
           void* context)
        : server_(std::move(server)), service_(std::move(service)), body_(std::move(body)) {
        record_.lpszServer = server_.c_str();
        record_.nPort = port;
        record_.lpszServiceName = service_.c_str();
        record_.lpfnCallback = callback;
        record_.lpUserData = context;
        record_.lpData = body_.data();
        record_.dwDataLength = static_cast<unsigned int>(body_.size());
    }
    Parcel(const Parcel&) = delete;
    Parcel& operator=(const Parcel&) = delete;

    WPK_SENDSTRUCT* Record() noexcept { return &record_; }

private:
    friend class ParcelsDone;

    using Clock = std::chrono::steady_clock;

    /// Whether nothing of it is needed any more. Its body, which may be large, goes as soon as the thread has ended.
    bool Over() noexcept {
        if (!thread_.Ended()) return false;
        std::string().swap(body_);
        return Clock::now() >= watched_until_;
    }

    std::string server_;
    std::string service_;
    std::string body_;
    WPK_SENDSTRUCT record_;
    ThreadWatch thread_;
    Clock::time_point watched_until_ = Clock::time_point::min();
    std::unique_ptr<Parcel> next_;
};

/// The parcels of this module whose requests have told their outcome. Any thread may call; nothing throws.
class ParcelsDone {
public:
    /// Never destroyed: requests may end while the process does.
    static ParcelsDone& All() {
        static ParcelsDone& all = *new ParcelsDone;
        return all;
    }

    /// Call it on the thread that carries the request, from its final callback.
    void Add(std::unique_ptr<Parcel> parcel, bool cancelled) noexcept {
        // For a cancel that has been accepted and still waits for its turn on a busy machine.
        constexpr std::chrono::seconds kLateCancel{5};
        parcel->thread_.WatchThisThread();
        if (cancelled) parcel->watched_until_ = Parcel::Clock::now() + kLateCancel;
        const std::lock_guard<std::mutex> lock(mutex_);
        parcel->next_ = std::move(first_);
        first_ = std::move(parcel);
    }

    /// Frees those whose threads have ended. Waits for nothing.
    void Collect() noexcept {
        std::unique_ptr<Parcel> ended = TakeEnded();
        // One by one: a chain would be destroyed by recursion.
        while (ended) ended = std::move(ended->next_);
    }

private:
    ParcelsDone() = default;

    std::unique_ptr<Parcel> TakeEnded() noexcept {
        std::unique_ptr<Parcel> ended;
        const std::lock_guard<std::mutex> lock(mutex_);
        for (std::unique_ptr<Parcel>* place = &first_; *place;) {
            if (!(*place)->Over()) {
                place = &(*place)->next_;
                continue;
            }
            std::unique_ptr<Parcel> one = std::move(*place);
            *place = std::move(one->next_);
            one->next_ = std::move(ended);
            ended = std::move(one);
        }
        return ended;
    }

    std::mutex mutex_;
    std::unique_ptr<Parcel> first_;
};

}  // namespace detail
}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_PARCEL_H
