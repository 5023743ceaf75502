// The whole library in a process that starts it anew for each schedule.
// SPDX-License-Identifier: MIT
#ifndef WPK_HOST_EXPLORE_LIBRARY_H
#define WPK_HOST_EXPLORE_LIBRARY_H

#include <functional>
#include <memory>
#include <string>

#include "wpk/wpk.h"

namespace wpk::core {
class GlobalObject;
}

namespace wpk::explore {

/// What the three functions of the interface lead to, with a state of its own. What it is asked goes to a pretended
/// server (see AnswerRequest). Its end expects that nobody waits and nothing is registered any more.
class Library {
public:
    Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library();

    /// As WPK_Init, WPK_Send and WPK_Cancel. From any thread.
    int Init(const WPK_INITSTRUCT& settings);
    unsigned Send(WPK_SENDSTRUCT& message);
    int Cancel(unsigned handle);

    /// Waits until only the threads are left that stay: one for each service that runs, and the Peeker.
    void AwaitQuiet();

    bool IsInitialised() const;

private:
    bool DetectsModems() const;
    void Stop();

    std::unique_ptr<core::GlobalObject> global_;
};

/// A permanent network.
WPK_INITSTRUCT DirectSettings();
/// The same behind a proxy.
WPK_INITSTRUCT ProxySettings();

/// One that is initialised, which no schedule disturbs.
class RunningLibrary : public Library {
public:
    explicit RunningLibrary(const WPK_INITSTRUCT& settings = DirectSettings());
};

/// The server's script, by the service that is asked for: "Small" is answered at once and "Silent" never; "Guarded" is
/// refused by the proxy unless it comes with the credentials "u" and "right".
std::string AnswerRequest(const std::string& received);

/// A message with the notifications it has got.
class Request {
public:
    explicit Request(const char* service);
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    /// Returns and keeps the handle.
    unsigned Send(Library& library);
    /// Waits for the final notification.
    void AwaitFinal() const;
    unsigned Handle() const { return handle_; }
    bool Sent() const { return sent_; }

    /// The final notification's error; 0 for a reply. There has been exactly one, and none for what was not taken.
    int Error() const;
    int Questions() const { return questions_; }

    WPK_SENDSTRUCT message;
    /// How the question for credentials is answered; null: declined.
    const char* password = nullptr;
    /// Called for every notification, before it is noted.
    std::function<void(const WPK_CALLBACKSTRUCT&)> on_notification;

private:
    static void Notify(WPK_CALLBACKSTRUCT* notification);
    void Note(WPK_CALLBACKSTRUCT& notification);

    unsigned handle_ = 0;
    bool sent_ = false;
    int finals_ = 0;
    int error_ = 0;
    int questions_ = 0;
};

}  // namespace wpk::explore

#endif  // WPK_HOST_EXPLORE_LIBRARY_H
