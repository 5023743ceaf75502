/// @file
/// What the library reads of a request, and how it is kept as long as the library may. Nothing here is for
/// applications.
// SPDX-License-Identifier: MIT
//
// A send record, its texts and its body must stay until the request's final callback has returned. Code inside that
// callback cannot free them, and there is no notification after its return. But each request has its own thread: when
// that has ended, the callback has returned. So a finished send buffer is put aside together with a watch on its
// thread, and freed when one of these finds the thread ended: the next request that is sent or ends, a wait, the end of
// a Client.
//
// The watch of a request that has been cancelled stays open some seconds longer, though its message is given back: the
// library looks the handle of a cancel up after it has accepted it, and the handle is a thread's id, which the system
// gives to a new thread as soon as nobody has the old one open.
#ifndef WPK_CLIENT_DETAIL_SEND_BUFFER_H
#define WPK_CLIENT_DETAIL_SEND_BUFFER_H

#include <wpk/client/detail/platform.h>
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
class SendBuffer {
public:
    SendBuffer(std::string server, unsigned int port, std::string service, std::string body, WPK_CALLBACK callback,
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
    SendBuffer(const SendBuffer&) = delete;
    SendBuffer& operator=(const SendBuffer&) = delete;

    WPK_SENDSTRUCT* Record() noexcept { return &record_; }

private:
    friend class RetiredSends;

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
    std::unique_ptr<SendBuffer> next_;
};

/// The send buffers of this module whose requests have ended. Any thread may call; nothing throws.
class RetiredSends {
public:
    /// Never destroyed: requests may end while the process does.
    static RetiredSends& All() {
        static RetiredSends& all = *new RetiredSends;
        return all;
    }

    /// Call it on the thread that carries the request, from its final callback.
    void Add(std::unique_ptr<SendBuffer> buffer, bool cancelled) noexcept {
        // For a cancel that has been accepted and still waits for its turn on a busy machine.
        constexpr std::chrono::seconds kLateCancel{5};
        buffer->thread_.WatchThisThread();
        if (cancelled) buffer->watched_until_ = SendBuffer::Clock::now() + kLateCancel;
        const std::lock_guard<std::mutex> lock(mutex_);
        buffer->next_ = std::move(first_);
        first_ = std::move(buffer);
    }

    /// Frees those whose threads have ended. Waits for nothing.
    void Collect() noexcept {
        std::unique_ptr<SendBuffer> ended = TakeEnded();
        // One by one: a chain would be destroyed by recursion.
        while (ended) ended = std::move(ended->next_);
    }

private:
    RetiredSends() = default;

    std::unique_ptr<SendBuffer> TakeEnded() noexcept {
        std::unique_ptr<SendBuffer> ended;
        const std::lock_guard<std::mutex> lock(mutex_);
        for (std::unique_ptr<SendBuffer>* place = &first_; *place;) {
            if (!(*place)->Over()) {
                place = &(*place)->next_;
                continue;
            }
            std::unique_ptr<SendBuffer> one = std::move(*place);
            *place = std::move(one->next_);
            one->next_ = std::move(ended);
            ended = std::move(one);
        }
        return ended;
    }

    std::mutex mutex_;
    std::unique_ptr<SendBuffer> first_;
};

}  // namespace detail
}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_DETAIL_SEND_BUFFER_H
