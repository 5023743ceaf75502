// Mailbox: passes notifications from the library's threads to the window's thread, and the answer to a question back.
// SPDX-License-Identifier: MIT
#pragma once

#include <windows.h>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>

#include "reply.h"

namespace desktop {

/// For the proxy; in the ANSI code page, as in the library's records.
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
    int error = 0;  ///< a WPK_ERROR; 0: the reply has arrived
    Reply reply;
    bool no_memory = false;  ///< the reply has arrived, but there was no memory to show it
};

/// What has arrived since the window last took its mail.
struct Mail {
    std::optional<bool> connected;
    std::optional<Progress> progress;
    std::optional<std::string> question;  ///< the proxy asks; the user name that it has refused, or empty
    std::optional<Outcome> outcome;
};

/// The library's threads add entries and post one message; the window's thread takes all entries at once.
///
/// - The posted message carries no data. The mailbox owns its entries, so nothing is lost or leaked when the window is
///   destroyed with messages still in its queue.
/// - At most one posted message is in the queue, and newer progress replaces older: a fast reply of thousands of pieces
///   can neither fill the queue nor block the window's input.
/// - Only a thread that has asked a question ever waits, and it waits for the answer, not for the window: with
///   SendMessage, two threads would wait for each other as soon as the window waits as well, and a busy window would
///   never answer. Close() is an answer as well: "no".
///
/// The library may call back until the process ends, so a mailbox that it knows must never be destroyed.
class Mailbox {
public:
    /// @param knock the message that is posted to the window when there is mail.
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
    /// Answers the question in the mail; without a value: declined.
    void Answer(std::optional<Credentials> credentials);
    /// Call it before the window is destroyed: no message is posted any more, and every question is answered "no".
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
