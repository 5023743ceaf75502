// The built wpk.dll, loaded the way an application loads it.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_DLL_LIBRARY_H
#define WPK_TESTS_SUPPORT_DLL_LIBRARY_H

#include "support/dll/platform.h"

#include "wpk/wpk.h"

#include <string>

namespace wpk::harness {

class Inbox;

/// One loaded module with its three functions. It is never freed unless a test frees it by hand.
class Library {
public:
    /// "wpk.dll" itself.
    static Library Load();

    static Library LoadFrom(std::string path);

    /// A copy of "wpk.dll" under a file name of its own. The loader takes it for another module, so its state is that
    /// of a library that was never initialised: a test can choose settings, or break imports, without touching others.
    static Library LoadFresh();

    HMODULE module() const { return module_; }
    const std::string& path() const { return path_; }

    int Init(const WPK_INITSTRUCT* settings) const { return init_(settings); }
    unsigned int Send(WPK_SENDSTRUCT* message) const { return send_(message); }
    int Cancel(unsigned int handle) const { return cancel_(handle); }

private:
    explicit Library(std::string path);

    std::string path_;
    HMODULE module_;
    decltype(&WPK_Init) init_;
    decltype(&WPK_Send) send_;
    decltype(&WPK_Cancel) cancel_;
};

/// Settings for a permanent network whose default callback fills `inbox`; without a proxy.
WPK_INITSTRUCT PermanentSettings(Inbox& inbox);

/// A fresh library, initialised with PermanentSettings. `inbox` must outlive it, that is: the process.
Library StartFresh();

}  // namespace wpk::harness

#endif  // WPK_TESTS_SUPPORT_DLL_LIBRARY_H
