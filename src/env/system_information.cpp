// The operating system's family and the machine's standard folders.
// SPDX-License-Identifier: MIT
#include "env/system_information.h"

#include <array>
#include <string_view>

namespace wpk::core {
namespace {

constexpr char kCurrentVersion[] = "Software\\Microsoft\\Windows\\CurrentVersion";
constexpr char kShellFolders[] = "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";
constexpr char kDefaultUserShellFolders[] =
    ".DEFAULT\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";

/// Room for one answer of the system, zeroed: a text counts up to its first zero, whatever length was reported.
class Answer {
public:
    static constexpr DWORD kSize = 10240;

    char* Data() { return bytes_.data(); }

    CountedText Text() const {
        const std::string_view all(bytes_.data(), bytes_.size());
        return CountedText(all.substr(0, all.find('\0')));
    }

private:
    std::array<char, kSize> bytes_{};
};

/// A registry key, made where it is missing, open as long as this object lives.
class RegistryKey {
public:
    RegistryKey(const SystemCalls& calls, HKEY root, const char* path) : calls_(calls) {
        if (calls_.regCreateKey(root, path, &key_) != ERROR_SUCCESS) key_ = nullptr;
    }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;
    ~RegistryKey() {
        if (key_ != nullptr) calls_.regCloseKey(key_);
    }

    explicit operator bool() const { return key_ != nullptr; }

    /// Reads a value of any type as it stands. False, and `text` as it was, when there is none.
    bool Read(const char* name, CountedText& text) const {
        Answer answer;
        DWORD size = Answer::kSize;
        const LSTATUS status = calls_.regQueryValueEx(key_, name, /*lpReserved=*/nullptr, /*lpType=*/nullptr,
                                                      reinterpret_cast<BYTE*>(answer.Data()), &size);
        if (status != ERROR_SUCCESS) return false;
        text = answer.Text();
        return true;
    }

private:
    const SystemCalls& calls_;
    HKEY key_ = nullptr;
};

uint32_t OsVersionFrom(DWORD version) {
    const DWORD major = version & 0xFF;
    const bool isNtFamily = (version & 0x80000000) == 0;
    if (!isNtFamily) return major == 3 || major == 4 ? SystemInformation::kOsWindows95 : SystemInformation::kOsUnknown;
    switch (major) {
        case 3:
            return SystemInformation::kOsNt3;
        case 4:
            return SystemInformation::kOsNt4;
        case 5:
            return SystemInformation::kOsNt5;
        default:
            return SystemInformation::kOsUnknown;
    }
}

bool IsNtVersion(uint32_t osVersion) {
    return (osVersion & 0xF0) != 0;
}

}  // namespace

SystemInformation::SystemInformation(const SystemCalls& calls) : calls_(calls) {
    Refresh();
}

uint32_t SystemInformation::Refresh() {
    osVersion_ = OsVersionFrom(calls_.getVersion());
    isNT_ = IsNtVersion(osVersion_) ? 1 : 0;
    if (isNT_ == 0) return 0;

    if (!ReadDirectories() || !ReadProgramFilesDirectory() || !ReadUserName() || !ReadUserFolders()) return 0;
    ReadDefaultUserFolders();
    ReadCommonFolders();
    return 1;
}

bool SystemInformation::ReadDirectories() {
    Answer temp;
    if (calls_.getTempPath(Answer::kSize, temp.Data()) == 0) return false;
    tempDirectory_ = temp.Text();

    Answer windows;
    if (calls_.getWindowsDirectory(windows.Data(), Answer::kSize) == 0) return false;
    windowsDirectory_ = windows.Text();

    Answer system;
    if (calls_.getSystemDirectory(system.Data(), Answer::kSize) == 0) return false;
    systemDirectory_ = system.Text();
    return true;
}

bool SystemInformation::ReadProgramFilesDirectory() {
    const RegistryKey key(calls_, HKEY_LOCAL_MACHINE, kCurrentVersion);
    return key && key.Read("ProgramFilesDir", programFilesDirectory_);
}

bool SystemInformation::ReadUserName() {
    Answer name;
    DWORD size = Answer::kSize;
    if (!calls_.getUserName(name.Data(), &size)) return false;
    userName_ = name.Text();
    return true;
}

bool SystemInformation::ReadUserFolders() {
    for (CountedText* text : {&desktop_, &appData_, &startMenu_, &startup_, &programs_}) *text = CountedText();

    const RegistryKey key(calls_, HKEY_CURRENT_USER, kShellFolders);
    if (!key || !key.Read("Desktop", desktop_)) return false;
    key.Read("AppData", appData_);  // the only one that a machine may do without
    return key.Read("Start Menu", startMenu_) && key.Read("Programs", programs_) && key.Read("Startup", startup_);
}

void SystemInformation::ReadDefaultUserFolders() {
    for (CountedText* text : {&defaultDesktop_, &defaultPrograms_}) *text = CountedText();

    const RegistryKey key(calls_, HKEY_USERS, kDefaultUserShellFolders);
    if (!key) return;
    key.Read("Desktop", defaultDesktop_);
    key.Read("Programs", defaultPrograms_);
}

void SystemInformation::ReadCommonFolders() {
    for (CountedText* text : {&commonDesktop_, &commonStartMenu_, &commonStartup_, &commonPrograms_}) {
        *text = CountedText();
    }

    const RegistryKey key(calls_, HKEY_LOCAL_MACHINE, kShellFolders);
    if (!key) return;
    key.Read("Common Desktop", commonDesktop_);
    key.Read("Common Start Menu", commonStartMenu_);
    key.Read("Common Startup", commonStartup_);
    key.Read("Common Programs", commonPrograms_);
}

}  // namespace wpk::core
