// Mailbox: the way from the library's threads to the window's thread, and back with the answer to a question.
// SPDX-License-Identifier: MIT
#pragma once

#include <windows.h>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>

#include "reply.h"

namespace desktop {

/// For the proxy; ANSI, as the library's records want them.
struct Credentials {
    std::string user;
    std::string password;
};

struct Progress {
    unsigned received;
    unsigned total;
};

/// How the request ended.
struct Outcome {
    int error = 0;  ///< a WPK_ERROR; 0: the reply has come
    Reply reply;
    bool no_memory = false;  ///< the reply has come, but there was no memory to show it
};

/// What has come since the window looked last.
struct Mail {
    std::optional<bool> connected;
    std::optional<Progress> progress;
    std::optional<std::string> question;  ///< the proxy asks; the user name that it has refused, or empty
    std::optional<Outcome> outcome;
};

/// Library threads put things in and knock with one posted message; the window's thread takes everything out at once.
///
/// - Nothing travels inside of the posted message. What is in the box is owned by it, so nothing is lost or leaked when
///   the window goes with messages still in its queue.
/// - One knock is on its way at a time, and newer progress replaces older: a fast reply of thousands of pieces can
///   neither fill the queue nor keep the window from its input.
/// - No thread ever waits for the window but the one that has asked a question, and that one waits for the answer, not
///   for the window: SendMessage would have two threads wait for each other as soon as the window waits as well, and
///   would wait for ever on a window that is busy. Close() is an answer, too: it is "no".
///
/// The library may call back until the process ends, so a mailbox that it knows must never be destroyed.
class Mailbox {
public:
    /// @param knock the message that the window is told with that there is mail.
    Mailbox(HWND window, UINT knock) : window_(window), knock_(knock) {}
    Mailbox(const Mailbox&) = delete;
    Mailbox& operator=(const Mailbox&) = delete;

    // Any thread but the window's. None of them fails; after Close() they do nothing.
    void PutConnection(bool connected);
    void PutProgress(Progress progress);
    void PutOutcome(Outcome outcome);
    /// Waits until the user has answered. @return nothing when the user declines, or the mailbox is closed.
    std::optional<Credentials> Ask(const std::string& refused_user);

    // The window's thread; none of them waits.
    Mail Take();
    /// To the question in the mail; without a value: declined.
    void Answer(std::optional<Credentials> credentials);
    /// To be called before the window is gone: no message is posted any more, and whoever asks is told "no".
    void Close();

private:
    enum class Question { kNone, kAsked, kAnswered };

    /// With the mutex held.
    void Knock();

    std::mutex mutex_;
    std::condition_variable answered_;
    HWND window_;
    UINT knock_;
    bool closed_ = false;
    bool knocked_ = false;
    Mail mail_;
    Question question_ = Question::kNone;
    std::optional<Credentials> answer_;
};

}  // namespace desktop
