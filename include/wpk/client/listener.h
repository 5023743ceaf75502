/// @file
/// Receives the notifications of connection changes. Not for applications.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_LISTENER_H
#define WPK_CLIENT_LISTENER_H

#include <wpk/client/exchange.h>
#include <wpk/wpk.h>

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace wpk {
inline namespace client {
namespace detail {

/// The context of the library's default callback. The library may call that until the process ends, so once the library
/// is initialised this object is never destroyed; Close() only makes it ignore calls.
class Listener {
public:
    Listener(std::function<void(bool)> on_connection, std::shared_ptr<const Shared> shared)
        : function_(std::make_shared<const std::function<void(bool)>>(std::move(on_connection))),
          shared_(std::move(shared)) {}
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// What the library calls. Other reasons belong to requests that other code has sent without a callback; a request
    /// for credentials is then declined.
    static void WPK_CALL OnNotification(WPK_CALLBACKSTRUCT* notification) noexcept {
        if (notification->nReason != WPK_REASON_CONNECTION) return;
        static_cast<Listener*>(notification->lpUserData)->Tell(notification->body.connection.dwConnected != 0);
    }

    /// After it has returned, the function is neither running nor called again. If called inside the function, that is
    /// so once the function has returned.
    void Close() noexcept {
        const std::lock_guard<std::recursive_mutex> lock(mutex_);
        function_.reset();
        shared_.reset();
    }

private:
    void Tell(bool connected) noexcept {
        // Held during the call, so that Close() waits for it; the function itself may call Close().
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

#endif  // WPK_CLIENT_LISTENER_H
