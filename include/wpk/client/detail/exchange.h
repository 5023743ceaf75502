/// @file
/// One request from its sending to its outcome. Nothing here is for applications; Request is their handle to it.
// SPDX-License-Identifier: MIT
#ifndef WPK_CLIENT_DETAIL_EXCHANGE_H
#define WPK_CLIENT_DETAIL_EXCHANGE_H

#include <wpk/client/address.h>
#include <wpk/client/message.h>
#include <wpk/client/options.h>
#include <wpk/client/detail/send_buffer.h>
#include <wpk/client/detail/timekeeper.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace wpk {
inline namespace client {

/// Gets the outcome of one request: exactly once, on the thread that carries it.
using OutcomeFunction = std::function<void(const Outcome&)>;

namespace detail {

/// Whether a message of that size can travel: its length, that of the service's name and what the wire format puts
/// around both (docs/wire_format.md) are told as one 32-bit number.
constexpr bool FitsIntoRequest(std::size_t service, std::size_t body, bool behind_proxy) noexcept {
    constexpr std::size_t kLongest = 0xFFFFFFFF;
    const std::size_t around = behind_proxy ? 74 : 73;
    return service <= kLongest - around && body <= kLongest - around - service;
}

/// What a Client and the requests that it has sent share. Unchanged once the first request is sent.
struct Shared {
    Functions functions;
    AnsiText server;
    unsigned int port = 0;
    bool behind_proxy = false;
    std::chrono::milliseconds time_limit{0};
    decltype(Options::on_credentials) on_credentials;
    decltype(Options::on_exception) on_exception;
    const std::unique_ptr<Timekeeper> timekeeper = std::make_unique<Timekeeper>();

    /// From inside a handler.
    void TellException() const noexcept {
        if (!on_exception) return;
        try {
            on_exception(std::current_exception());
        } catch (...) {  // There is nobody left to tell; Options says so.
        }
    }
};

/// Owned by the request itself until its outcome has been told, and by every handle to it.
///
/// The final callback may come before WPK_Send is back with the handle, and a cancel before either. What both sides
/// look at is guarded by `mutex_`; everything else is written before WPK_Send and from then on belongs to the thread
/// that carries the request. No function of the application is called, or destroyed, with the lock held.
class Exchange {
public:
    /// Throws std::system_error; the outcome function is then never called.
    static std::shared_ptr<Exchange> Start(std::shared_ptr<const Shared> shared, Message message,
                                           OutcomeFunction on_outcome) {
        if (!on_outcome) Throw(Errc::kNoFunction);
        if (message.server.empty()) message.server = shared->server;
        if (message.port == 0) message.port = shared->port;
        CheckAddress("server", message.server.str(), message.port);
        if (!FitsIntoRequest(message.service.str().size(), message.body.size(), shared->behind_proxy)) {
            Throw(Errc::kMessageTooLong);
        }
        const Functions functions = shared->functions;
        const std::chrono::milliseconds time_limit = message.time_limit.value_or(shared->time_limit);
        const std::shared_ptr<Exchange> exchange(
            new Exchange(std::move(shared), std::move(message), std::move(on_outcome)));
        RetiredSends::All().Collect();
        exchange->KeepTo(time_limit);
        exchange->self_ = exchange;
        const unsigned int handle = functions.send(exchange->send_buffer_->Record());
        if (handle == 0) {
            exchange->self_.reset();
            Throw(Errc::kNotTaken);
        }
        exchange->TakeHandle(handle);
        return exchange;
    }

    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    void Cancel() noexcept {
        const std::lock_guard<std::mutex> lock(mutex_);
        WantCancel();
    }

    bool Done() const noexcept {
        const std::lock_guard<std::mutex> lock(mutex_);
        return done_;
    }

    /// True inside a function that is called for this request.
    bool OnOwnThread() const noexcept {
        const std::lock_guard<std::mutex> lock(mutex_);
        return !done_ && thread_ == CurrentThread();
    }

    /// Meanwhile it tries again and again what the library has refused when there was no thread for it: a cancel.
    void Wait() noexcept {
        constexpr std::chrono::milliseconds kNextTry{50};
        std::unique_lock<std::mutex> lock(mutex_);
        while (!done_) {
            if (!CancelIsDue()) {
                changed_.wait(lock);
                continue;
            }
            changed_.wait_for(lock, kNextTry);
            PassCancelOn();
        }
    }

private:
    Exchange(std::shared_ptr<const Shared> shared, Message message, OutcomeFunction on_outcome)
        : shared_(std::move(shared)),
          on_progress_(std::move(message.on_progress)),
          on_outcome_(std::move(on_outcome)),
          send_buffer_(std::make_unique<SendBuffer>(message.server.str(), message.port, message.service.str(),
                                                    std::move(message.body), &Exchange::OnNotification, this)) {}

    /// Everything that can fail happens here, before the request is sent.
    void KeepTo(std::chrono::milliseconds time_limit) {
        if (time_limit == std::chrono::milliseconds::zero()) return;
        try {
            limit_.emplace(*shared_->timekeeper, time_limit, [this] { return TimeIsUp(); });
        } catch (const std::system_error&) {
            Throw(Errc::kNotTaken);
        }
    }

    /// On the timekeeper's thread. False: the library has yet to be told.
    bool TimeIsUp() noexcept {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!shared_) return true;
        // Whoever has cancelled it before gets to hear that.
        if (!cancel_wanted_) timed_out_ = true;
        WantCancel();
        return cancel_accepted_;
    }

    void TakeHandle(unsigned int handle) noexcept {
        const std::lock_guard<std::mutex> lock(mutex_);
        handle_ = handle;
        // Somebody was quicker; unless the request has been quicker still.
        if (cancel_wanted_) WantCancel();
    }

    /// With the lock held.
    void WantCancel() noexcept {
        cancel_wanted_ = true;
        PassCancelOn();
        // Whoever waits for the end takes over what the library has refused.
        if (CancelIsDue()) changed_.notify_all();
    }

    /// Whether the library has yet to be told of a cancel, and can be. With the lock held.
    bool CancelIsDue() const noexcept { return cancel_wanted_ && !cancel_accepted_ && handle_ != 0 && shared_; }

    /// With the lock held. Until the library accepts it, and then never again: a handle that has ended may be another
    /// request's.
    void PassCancelOn() noexcept {
        if (CancelIsDue()) cancel_accepted_ = shared_->functions.cancel(handle_) != 0;
    }

    /// What the library has refused, if anything.
    void CancelAgain() noexcept {
        const std::lock_guard<std::mutex> lock(mutex_);
        PassCancelOn();
    }

    static std::string_view View(const void* data, unsigned int length) noexcept {
        return data ? std::string_view(static_cast<const char*>(data), length) : std::string_view();
    }

    /// What the library calls, on the thread that carries the request.
    static void WPK_CALL OnNotification(WPK_CALLBACKSTRUCT* notification) noexcept {
        Exchange& exchange = *static_cast<Exchange*>(notification->lpUserData);
        exchange.NoteThread();
        auto& body = notification->body;
        switch (notification->nReason) {
            case WPK_REASON_PROGRESS:
                return exchange.TellProgress(View(body.progress.lpData, body.progress.dwReceived),
                                             body.progress.dwTotal);
            case WPK_REASON_CREDENTIALS:
                return exchange.AskCredentials(*notification);
            case WPK_REASON_REPLY:
                return exchange.End(Outcome(View(body.reply.lpData, body.reply.dwDataLength)));
            case WPK_REASON_FAILURE:
                return exchange.End(Outcome(static_cast<Errc>(body.failure.nError)));
            default:
                return;
        }
    }

    void NoteThread() noexcept {
        const std::lock_guard<std::mutex> lock(mutex_);
        thread_ = CurrentThread();
    }

    void TellProgress(std::string_view arrived, unsigned int total) noexcept {
        CancelAgain();
        if (!on_progress_ || thrown_) return;
        try {
            on_progress_(Progress(arrived, total, *this));
        } catch (...) {
            thrown_ = std::current_exception();
            Cancel();
        }
    }

    void AskCredentials(WPK_CALLBACKSTRUCT& notification) noexcept {
        if (!shared_->on_credentials || thrown_) return;
        auto& fields = notification.body.credentials;
        try {
            const auto answer = shared_->on_credentials({AnsiText(fields.szUser), AnsiText(fields.szPassword)});
            if (!answer) return;
            Fill(fields.szUser, answer->user);
            Fill(fields.szPassword, answer->password);
            fields.bRetry = 1;
        } catch (...) {
            thrown_ = std::current_exception();
        }
    }

    static void Fill(char (&field)[WPK_CREDENTIAL_SIZE], const AnsiText& text) {
        if (text.str().size() >= WPK_CREDENTIAL_SIZE) Throw(Errc::kCredentialsTooLong);
        std::fill(std::begin(field), std::end(field), '\0');
        std::copy(text.str().begin(), text.str().end(), field);
    }

    /// The final notification. When a wait for the request is over, only its send buffer is left.
    void End(const Outcome& outcome) noexcept {
        const std::shared_ptr<Exchange> alive = std::move(self_);
        {
            const std::shared_ptr<const Shared> shared = TakeShared();
            limit_.reset();
            on_progress_ = nullptr;
            TellOutcome(outcome, *shared);
            on_outcome_ = nullptr;
            thrown_ = nullptr;
        }
        RetiredSends::All().Add(std::move(send_buffer_), cancel_accepted_);
        RetiredSends::All().Collect();
        const std::lock_guard<std::mutex> lock(mutex_);
        done_ = true;
        changed_.notify_all();
    }

    /// From here on there is nothing to cancel, and nobody changes `cancel_accepted_` and `timed_out_` any more.
    std::shared_ptr<const Shared> TakeShared() noexcept {
        const std::lock_guard<std::mutex> lock(mutex_);
        return std::move(shared_);
    }

    void TellOutcome(const Outcome& outcome, const Shared& shared) noexcept {
        try {
            if (thrown_) {
                on_outcome_(Outcome(Errc::kFunctionThrew, thrown_));
            } else if (timed_out_ && outcome.error() == Errc::kCancelled) {
                on_outcome_(Outcome(Errc::kTimedOut));
            } else {
                on_outcome_(outcome);
            }
        } catch (...) {
            shared.TellException();
        }
    }

    std::shared_ptr<const Shared> shared_;  // null from the final notification on
    std::function<void(const Progress&)> on_progress_;
    OutcomeFunction on_outcome_;
    std::unique_ptr<SendBuffer> send_buffer_;
    std::exception_ptr thrown_;
    std::shared_ptr<Exchange> self_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    unsigned int handle_ = 0;
    unsigned long thread_ = 0;  // 0 is no thread's id
    bool cancel_wanted_ = false;
    bool cancel_accepted_ = false;
    bool timed_out_ = false;  // before anybody has cancelled it
    bool done_ = false;

    std::optional<Timekeeper::Limit> limit_;  // the last member, so that it goes first
};

}  // namespace detail

inline void Progress::Cancel() const noexcept {
    exchange_.Cancel();
}

}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_DETAIL_EXCHANGE_H
