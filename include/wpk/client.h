/// @file
/// Messages from modern C++: a thin, header-only layer on the three functions of wpk.h. C++17.
// SPDX-License-Identifier: MIT
//
// It is for programs that would rather have futures, functions and owned texts than records, callbacks and lifetimes.
// docs/client.md is the guide.
//
//     #include <wpk/client.h>
//
//     wpk::Options options;
//     options.server = "server.example";
//     wpk::Client client(std::move(options));                         // one for the whole process
//     std::string reply = client.Send({"Echo", "hello"}).get().body;  // from any thread, as often as you like
//
// The same, told instead of waited for:
//
//     client.Send({"Echo", "hello"}, [](const wpk::Outcome& outcome) {
//         if (outcome) Use(outcome.body());                           // not copied, valid during this call
//     });
//
// A failing call:
//
//     try {
//         client.Send({"Ecko", "hello"}).get();
//     } catch (const std::system_error& error) {
//         // error.code() == wpk::Errc::kNoService; error.what(): "the server has no service of that name"
//     }
//
// What it does not do: it does nothing in the background (threads and connections are those of wpk.dll) but keep time,
// on one thread that the first message with a time limit starts; it does not retry, queue or encrypt; and it cannot
// shut the library down, because nothing can.
//
// Whose threads: functions that you give are called on threads of the library's, those of one request one after the
// other on a thread of the request's own, those of different requests at the same time. No lock is held, so they may
// take their time, send, and cancel (on_connection is different: see Options). No exception leaves the layer towards
// the library: see Message::on_progress, Options::on_credentials and Options::on_exception for where each one goes.
//
// Whose memory: whatever you hand in is copied or moved, and temporaries are fine. The layer keeps a message, as the
// library demands, until the request's last callback has returned, and gives it back when the next request is sent or
// ends, at a wait, or with the Client. What a function gets as an argument is valid during that call.
//
// The module (program or DLL) that includes this header must stay loaded while a request runs, and, once a Client has
// been made, until the process ends: the library calls back into it.
#ifndef WPK_CLIENT_H
#define WPK_CLIENT_H

#include <wpk/client/detail/requirements.h>

#include <wpk/client/address.h>
#include <wpk/client/ansi_text.h>
#include <wpk/client/error.h>
#include <wpk/client/detail/exchange.h>
#include <wpk/client/detail/default_callback.h>
#include <wpk/client/message.h>
#include <wpk/client/options.h>
#include <wpk/client/request.h>
#include <wpk/wpk.h>

#include <cstddef>
#include <exception>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <utility>

namespace wpk {
inline namespace client {

/// The library, initialised; sends messages. Any thread may send, at the same time as others.
///
/// The library takes its settings once in the life of a process. A second Client, beside the first or after it, is
/// refused with Errc::kAlreadyInitialised; so is one in a process in which other code has called WPK_Init. Make one and
/// share it. In two cases a second Client cannot be told from the first, and sends with the first one's settings: when
/// two modules (program or DLLs) make one in the same moment, and when the system is out of threads or memory.
///
/// Destroying the Client does not touch requests that are under way: each still ends with its outcome, and its
/// functions are still called. Whoever wants them gone holds them as ScopedRequest. Nothing more is sent afterwards, as
/// there is no other Client.
class Client {
public:
    /// Initialises the library.
    ///
    /// Throws std::system_error: Errc::kBadAddress, of the default server or the proxy; Errc::kNoFunction;
    /// Errc::kAlreadyInitialised; or Errc::kNotInitialised (try again later). Everything is copied; on_connection may
    /// be called before the constructor is back. Not from DllMain, and not as a static object of a DLL: see
    /// docs/client.md.
    explicit Client(Options options, const Functions& functions = Functions::Linked())
        : shared_(Share(options, functions)), default_callback_(Initialise(std::move(options), shared_)) {}
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// When it is back, on_connection is not running and is not called any more (inside on_connection: when that has
    /// returned). No thread may be inside Send.
    ~Client() {
        default_callback_->Close();
        detail::RetiredSends::All().Collect();
    }

    /// Sends a message and returns at once; the future gets the reply, with bytes of its own, or throws
    /// std::system_error with an Errc below zero or Errc::kTimedOut; what a function of yours has thrown while the
    /// request ran; or std::bad_alloc for a reply that does not fit into memory. When it is ready, the message's
    /// progress function has been destroyed.
    ///
    /// Dropping the future neither waits nor cancels. Do not wait for it inside a function of the same request.
    ///
    /// Throws std::system_error when nothing has been sent: Errc::kBadAddress, Errc::kNotTaken, Errc::kMessageTooLong.
    [[nodiscard]] std::future<Reply> Send(Message message) const {
        Request unused;
        return Send(std::move(message), unused);
    }

    /// The same; `request` becomes the handle with which the request can be cancelled.
    [[nodiscard]] std::future<Reply> Send(Message message, Request& request) const {
        const auto promise = std::make_shared<std::promise<Reply>>();
        std::future<Reply> future = promise->get_future();
        request = Send(std::move(message), [promise](const Outcome& outcome) { Keep(*promise, outcome); });
        return future;
    }

    /// Sends a message and returns at once. `on_outcome` is called exactly once, on the thread that carries the
    /// request, possibly before this call is back; it is destroyed on that thread when it has returned. What it throws
    /// goes to Options::on_exception.
    ///
    /// Throws std::system_error when nothing has been sent: Errc::kBadAddress, Errc::kNotTaken, Errc::kMessageTooLong,
    /// Errc::kNoFunction. Then `on_outcome` is never called.
    Request Send(Message message, OutcomeFunction on_outcome) const {
        return Request(detail::Exchange::Start(shared_, std::move(message), std::move(on_outcome)));
    }

    /// Somebody must get the outcome.
    void Send(Message message, std::nullptr_t) const = delete;

private:
    static std::shared_ptr<const detail::Shared> Share(const Options& options, const Functions& functions) {
        if (!functions.init || !functions.send || !functions.cancel) detail::Throw(Errc::kNoFunction);
        if (!options.server.empty()) detail::CheckName("server", options.server.str());
        detail::CheckPort("server", options.port);
        if (options.proxy) detail::CheckAddress("proxy", options.proxy->server.str(), options.proxy->port);
        auto shared = std::make_shared<detail::Shared>();
        shared->functions = functions;
        shared->server = options.server;
        shared->port = options.port;
        shared->behind_proxy = options.proxy.has_value();
        shared->time_limit = options.time_limit;
        shared->on_credentials = options.on_credentials;
        shared->on_exception = options.on_exception;
        return shared;
    }

    static detail::DefaultCallback* Initialise(Options options, const std::shared_ptr<const detail::Shared>& shared) {
        // The library does not say whether it took the settings; of two that come at the same time, one would be told
        // nothing.
        static std::mutex& one_at_a_time = *new std::mutex;
        const std::unique_lock<std::mutex> lock(one_at_a_time, std::try_to_lock);
        if (!lock || IsInitialised(shared->functions)) detail::Throw(Errc::kAlreadyInitialised);

        auto default_callback = std::make_unique<detail::DefaultCallback>(std::move(options.on_connection), shared);
        const WPK_INITSTRUCT settings = Settings(options, *default_callback);
        if (!shared->functions.init(&settings)) detail::Throw(Errc::kNotInitialised);
        return default_callback.release();
    }

    /// Cancelling what is no request changes nothing, and is refused by a library that is not initialised. It is also
    /// refused when there is no thread for it, and nothing tells the two apart, before WPK_Init or after.
    static bool IsInitialised(const Functions& functions) {
        constexpr unsigned int kNoThreadHasThisId = 0xFFFFFFFF;
        return functions.cancel(kNoThreadHasThisId) != 0;
    }

    /// The texts are those of `options`.
    static WPK_INITSTRUCT Settings(const Options& options, detail::DefaultCallback& default_callback) {
        WPK_INITSTRUCT settings = {};
        settings.hInstance = options.instance;
        settings.nConnectionType = static_cast<int>(options.connection);
        settings.lpfnCallback = &detail::DefaultCallback::OnNotification;
        settings.lpUserData = &default_callback;
        if (!options.proxy) return settings;
        settings.bBehindProxy = 1;
        settings.lpszProxyServer = options.proxy->server.c_str();
        settings.nProxyPort = options.proxy->port;
        settings.lpszProxyUser = options.proxy->credentials.user.c_str();
        settings.lpszProxyPassword = options.proxy->credentials.password.c_str();
        return settings;
    }

    static void Keep(std::promise<Reply>& promise, const Outcome& outcome) {
        try {
            if (outcome.exception()) std::rethrow_exception(outcome.exception());
            if (!outcome) throw std::system_error(outcome.error());
            promise.set_value(Reply{std::string(outcome.body())});
        } catch (...) {
            promise.set_exception(std::current_exception());
        }
    }

    std::shared_ptr<const detail::Shared> shared_;
    detail::DefaultCallback* default_callback_;  // the library's for good
};

}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_H
