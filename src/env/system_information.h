// The operating system's family and the machine's standard folders.
// SPDX-License-Identifier: MIT
#ifndef WPK_ENV_SYSTEM_INFORMATION_H
#define WPK_ENV_SYSTEM_INFORMATION_H

#include <cstdint>

#include "env/system_calls.h"
#include "threadlib/counted_text.h"

namespace wpk::core {

/// Gathered once, when the object is built. Folders are gathered on NT 3 to NT 5 only: the system reports version 6
/// or later to every newer machine's programs, and there every text, the temporary directory included, stays empty.
/// What reads a folder copes with an empty text.
///
/// Texts are in the ANSI code page, as the system gives them. Any thread may read while nobody refreshes.
class SystemInformation {
public:
    enum OsVersion : uint32_t {
        kOsUnknown = 0,
        kOsWindows95 = 1,  ///< Windows 95, 98, Millennium, and Win32s before them
        kOsNt3 = 16,
        kOsNt4 = 32,
        kOsNt5 = 64  ///< 2000, XP, Server 2003
    };

    /// Starts with every text empty and refreshes. What could not be read stays empty.
    explicit SystemInformation(const SystemCalls& calls = SystemCalls());

    /// Reads everything again. Returns 1; or 0 when it stopped at something that is missing: the fields after it then
    /// keep what they held.
    uint32_t Refresh();

    /// An OsVersion.
    uint32_t GetOsVersion() const { return osVersion_; }
    /// 1 on NT 3 to NT 5, else 0.
    uint32_t IsNT() const { return isNT_; }
    /// Always 0.
    uint32_t Reserved() const { return reserved_; }

    CountedText WindowsDirectory() const { return windowsDirectory_; }
    /// Ends with a backslash unless it is empty.
    const CountedText& TempDirectory() const { return tempDirectory_; }
    CountedText SystemDirectory() const { return systemDirectory_; }
    CountedText UserName() const { return userName_; }
    CountedText ProgramFilesDirectory() const { return programFilesDirectory_; }

    // The current user's shell folders.
    CountedText Desktop() const { return desktop_; }
    CountedText AppData() const { return appData_; }
    CountedText StartMenu() const { return startMenu_; }
    CountedText Startup() const { return startup_; }
    CountedText Programs() const { return programs_; }

    // Those of the default user.
    CountedText DefaultDesktop() const { return defaultDesktop_; }
    /// Never filled, and neither is the next one.
    CountedText DefaultStartMenu() const { return defaultStartMenu_; }
    CountedText DefaultStartup() const { return defaultStartup_; }
    CountedText DefaultPrograms() const { return defaultPrograms_; }

    // Those of all users.
    CountedText CommonDesktop() const { return commonDesktop_; }
    CountedText CommonStartMenu() const { return commonStartMenu_; }
    CountedText CommonStartup() const { return commonStartup_; }
    CountedText CommonPrograms() const { return commonPrograms_; }

private:
    // Each returns false where gathering stops.
    bool ReadDirectories();
    bool ReadProgramFilesDirectory();
    bool ReadUserName();
    bool ReadUserFolders();
    // These two are content with whatever is there.
    void ReadDefaultUserFolders();
    void ReadCommonFolders();

    uint32_t osVersion_ = kOsUnknown;
    uint32_t isNT_ = 0;
    uint32_t reserved_ = 0;
    CountedText windowsDirectory_;
    CountedText tempDirectory_;
    CountedText systemDirectory_;
    CountedText userName_;
    CountedText desktop_;
    CountedText appData_;
    CountedText startMenu_;
    CountedText startup_;
    CountedText programs_;
    CountedText defaultDesktop_;
    CountedText defaultStartMenu_;
    CountedText defaultStartup_;
    CountedText defaultPrograms_;
    CountedText commonDesktop_;
    CountedText commonStartMenu_;
    CountedText commonStartup_;
    CountedText commonPrograms_;
    CountedText programFilesDirectory_;

    SystemCalls calls_;
};

}  // namespace wpk::core

#endif
