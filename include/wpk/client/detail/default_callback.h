/// @file
/// Receives the notifications that the network comes and goes. Nothing here is for applications.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_DETAIL_DEFAULT_CALLBACK_H
#define WPK_CLIENT_DETAIL_DEFAULT_CALLBACK_H

#include <wpk/client/detail/exchange.h>
#include <wpk/wpk.h>

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace wpk {
inline namespace client {
namespace detail {

/// The context of the library's default callback. The library may call that as long as the process lives, so once the
/// library is initialised this object stays; Close() only ends the calls of the function.
class DefaultCallback {
public:
    DefaultCallback(std::function<void(bool)> on_connection, std::shared_ptr<const Shared> shared)
        : function_(std::make_shared<const std::function<void(bool)>>(std::move(on_connection))),
          shared_(std::move(shared)) {}
    DefaultCallback(const DefaultCallback&) = delete;
    DefaultCallback& operator=(const DefaultCallback&) = delete;

    /// What the library calls. Other reasons belong to requests that code beside the Client has sent without a callback
    /// of their own; a question for credentials is then declined.
    static void WPK_CALL OnNotification(WPK_CALLBACKSTRUCT* notification) noexcept {
        if (notification->nReason != WPK_REASON_CONNECTION) return;
        static_cast<DefaultCallback*>(notification->lpUserData)->Tell(notification->body.connection.dwConnected != 0);
    }

    /// When it is back, the function is not running and is not called any more; from inside the function, it is not
    /// called any more once it has returned.
    void Close() noexcept {
        const std::lock_guard<std::recursive_mutex> lock(mutex_);
        function_.reset();
        shared_.reset();
    }

private:
    void Tell(bool connected) noexcept {
        // Held during the call, so that Close() waits for it; the function's own thread may come in again and close.
        const std::lock_guard<std::recursive_mutex> lock(mutex_);
        const auto function = function_;
        const auto shared = shared_;
        if (!function || !*function) return;
        try {
            (*function)(connected);
        } catch (...) {
            shared->TellException();
        }
    }

    std::recursive_mutex mutex_;
    std::shared_ptr<const std::function<void(bool)>> function_;
    std::shared_ptr<const Shared> shared_;
};

}  // namespace detail
}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_DETAIL_DEFAULT_CALLBACK_H
