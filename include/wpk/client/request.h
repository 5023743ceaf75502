/// @file
/// Handles to a request that is under way.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_REQUEST_H
#define WPK_CLIENT_REQUEST_H

#include <wpk/client/detail/exchange.h>

#include <memory>
#include <system_error>
#include <utility>

namespace wpk {
inline namespace client {

/// A request that has been sent. Destroying the handle lets go of the request, which runs on: use ScopedRequest where
/// it should be cancelled instead. Handles may be copied; all copies mean the same request. An empty one (default-made)
/// means none that is cancelled or waited for in vain: it counts as ended.
///
/// Different handles may be used by different threads at the same time, also when they mean the same request.
class Request {
public:
    Request() = default;
    /// For the layer itself.
    explicit Request(std::shared_ptr<detail::Exchange> exchange) noexcept : exchange_(std::move(exchange)) {}

    /// Asks for the end of the request, and returns without waiting for it. The outcome still comes, once:
    /// Errc::kCancelled within 250 ms wherever the request waits for the network, unless it was past that point. May be
    /// called from anywhere, also from inside the request's own functions; after the end, and a second time, it does
    /// nothing. Not from DllMain.
    ///
    /// The library refuses when there is no thread for it. Then the cancel is tried again by the next call, with the
    /// next piece of the reply, and every 50 ms while somebody waits for the request or after its time limit.
    void Cancel() const noexcept {
        if (exchange_) exchange_->Cancel();
    }

    /// True when the request has ended: its functions are not running, have been destroyed, and will not be called.
    bool Ended() const noexcept { return !exchange_ || exchange_->Done(); }

    /// Waits until the request has Ended(). Throws std::system_error with std::errc::resource_deadlock_would_occur when
    /// it is called from inside one of the request's own functions.
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

/// A request that does not outlive this object: its functions may refer to whatever lives longer than the object does.
///
///     wpk::ScopedRequest request = client.Send(message, [this](const wpk::Outcome& outcome) { ... });
///
/// The destructor cancels the request and waits until it has ended: up to 250 ms, and as long as a look-up of the
/// server's name and the request's functions take; longer where the library refuses the cancel, as there is no
/// thread for it, until it accepts one. Inside one of the request's own functions it cancels and does not wait. Moved,
/// not copied; one thread at a time. Never destroyed in DllMain, nor as a static object of a DLL: see docs/client.md.
class ScopedRequest {
public:
    ScopedRequest() = default;
    /// Takes the request over; what is moved from is empty then.
    ///@{
    ScopedRequest(Request request) noexcept : request_(std::move(request)) {}
    ScopedRequest(ScopedRequest&& other) noexcept : request_(std::exchange(other.request_, Request())) {}
    ///@}
    /// What was held before is cancelled and waited for first.
    ScopedRequest& operator=(ScopedRequest&& other) noexcept {
        if (this == &other) return *this;
        End();
        request_ = std::exchange(other.request_, Request());
        return *this;
    }
    ~ScopedRequest() { End(); }

    /// As those of Request.
    ///@{
    void Cancel() const noexcept { request_.Cancel(); }
    bool Ended() const noexcept { return request_.Ended(); }
    void Wait() const { request_.Wait(); }
    ///@}

    /// Lets go: the request runs on, and nothing happens when this object is destroyed.
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
