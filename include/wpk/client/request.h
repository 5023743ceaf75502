/// @file
/// Handles to a running request.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_REQUEST_H
#define WPK_CLIENT_REQUEST_H

#include <wpk/client/detail/exchange.h>

#include <memory>
#include <system_error>
#include <utility>

namespace wpk {
inline namespace client {

/// A handle to a request that has been sent. Destroying the handle does not affect the request; use ScopedRequest to
/// cancel it instead. Handles may be copied; all copies refer to the same request. A default-constructed handle refers
/// to no request: Cancel and Wait do nothing, Ended() is true.
///
///     wpk::Request request = client.Send({"Echo", "hello"}, OnOutcome);
///     request.Cancel();
///     request.Wait();  // OnOutcome has been called and has returned
///
/// Threads: different handles may be used by different threads at the same time, even if they refer to the same
/// request.
class Request {
public:
    Request() = default;
    /// For the layer itself.
    explicit Request(std::shared_ptr<detail::Exchange> exchange) noexcept : exchange_(std::move(exchange)) {}

    /// Asks for the end of the request and returns without waiting for it. The outcome is still delivered, once:
    /// Errc::kCancelled within 250 ms wherever the request waits for the network, or the outcome that was already being
    /// delivered. Any thread, including inside the request's own functions, but not in DllMain. After the end, or a
    /// second time, it does nothing.
    ///
    /// The library refuses a cancel if there is no thread for it. The cancel is then repeated by the next call, with
    /// the next piece of the reply, and every 50 ms while a thread waits for the request or after its time limit.
    void Cancel() const noexcept {
        if (exchange_) exchange_->Cancel();
    }

    /// True if the request has ended: its functions have been destroyed and will not be called again.
    bool Ended() const noexcept { return !exchange_ || exchange_->Done(); }

    /// Waits without limit until Ended() is true. Throws std::system_error with
    /// std::errc::resource_deadlock_would_occur if called inside one of the request's own functions.
    void Wait() const {
        if (!exchange_) return;
        if (exchange_->OnOwnThread()) {
            throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
        }
        exchange_->Wait();
        detail::RetiredSends::All().Collect();
    }

    /// True inside a function that is called for this request.
    bool IsCallingThisThread() const noexcept { return exchange_ && exchange_->OnOwnThread(); }

private:
    std::shared_ptr<detail::Exchange> exchange_;
};

/// A request that does not outlive this object: its functions may refer to anything that lives longer than this object.
///
///     wpk::ScopedRequest request = client.Send(message, [this](const wpk::Outcome& outcome) { ... });
///
/// The destructor cancels the request and waits until it has ended: up to 250 ms, plus the time for resolving the
/// server's name and for the request's functions. If the library refuses the cancel because there is no thread for it,
/// the destructor repeats it until it is accepted. Inside one of the request's own functions it cancels and does not
/// wait. Movable, not copyable; one thread at a time. Never destroy one in DllMain or as a static object of a DLL: see
/// docs/client.md.
class ScopedRequest {
public:
    ScopedRequest() = default;
    /// Takes over the request; a moved-from object is empty.
    ///@{
    ScopedRequest(Request request) noexcept : request_(std::move(request)) {}
    ScopedRequest(ScopedRequest&& other) noexcept : request_(std::exchange(other.request_, Request())) {}
    ///@}
    /// First cancels the request held before and waits for its end.
    ScopedRequest& operator=(ScopedRequest&& other) noexcept {
        if (this == &other) return *this;
        End();
        request_ = std::exchange(other.request_, Request());
        return *this;
    }
    ~ScopedRequest() { End(); }

    /// The same as for Request.
    ///@{
    void Cancel() const noexcept { request_.Cancel(); }
    bool Ended() const noexcept { return request_.Ended(); }
    void Wait() const { request_.Wait(); }
    ///@}

    /// Releases the request: it runs on, and destroying this object no longer affects it.
    Request Detach() noexcept { return std::exchange(request_, Request()); }

private:
    void End() noexcept {
        request_.Cancel();
        if (!request_.IsCallingThisThread()) request_.Wait();
    }

    Request request_;
};

}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_REQUEST_H
