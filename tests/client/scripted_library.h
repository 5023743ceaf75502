// A stand-in for the three functions of wpk.dll whose every step a test dictates.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_CLIENT_SCRIPTED_LIBRARY_H
#define WPK_TESTS_CLIENT_SCRIPTED_LIBRARY_H

#include <wpk/client/options.h>
#include <wpk/wpk.h>

#include "support/dll/platform.h"

#include <functional>
#include <vector>

namespace wpk::client_test {

/// One at a time in the whole program; TheFunctions() are those of the one that exists.
class ScriptedLibrary {
public:
    ScriptedLibrary();
    ~ScriptedLibrary();
    ScriptedLibrary(const ScriptedLibrary&) = delete;
    ScriptedLibrary& operator=(const ScriptedLibrary&) = delete;

    Functions TheFunctions() const;

    /// What WPK_Init answers; 1 makes the library an initialised one.
    int initAnswer = 1;
    WPK_INITSTRUCT settings = {};
    /// What WPK_Send does and answers.
    std::function<unsigned int(WPK_SENDSTRUCT*)> onSend;
    /// What it was given last.
    const WPK_SENDSTRUCT* sent = nullptr;
    /// How many calls of WPK_Cancel are refused from now on, as in a shortage of threads.
    void RefuseCancels(int count);
    /// The handles that WPK_Cancel has accepted since the library was initialised.
    std::vector<unsigned int> Cancelled();
    /// Waits until there is one.
    bool WaitForCancel();

private:
    static int Init(const WPK_INITSTRUCT* settings);
    static unsigned int Send(WPK_SENDSTRUCT* message);
    static int Cancel(unsigned int handle);

    static ScriptedLibrary* current_;
    harness::Monitor monitor_;
    bool initialised_ = false;
    int refusals_ = 0;
    std::vector<unsigned int> cancelled_;
};

/// Notifications, delivered to the record's callback on the calling thread.
void TellFailure(const WPK_SENDSTRUCT& message, int error);
void TellReply(const WPK_SENDSTRUCT& message, const char* text);
void TellProgress(const WPK_SENDSTRUCT& message, const char* text, unsigned int total);

}  // namespace wpk::client_test

#endif  // WPK_TESTS_CLIENT_SCRIPTED_LIBRARY_H
