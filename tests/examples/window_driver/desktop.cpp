// TestDesktop: a screen of its own for the tests, with a keyboard of its own.
// SPDX-License-Identifier: MIT
#include "desktop.h"

#include <stdexcept>

namespace window_driver {
namespace {

/// Where Wine looks up the size of a desktop; one that has none gets no window frames. Windows does not look here.
constexpr wchar_t kSizesKey[] = L"Software\\Wine\\Explorer\\Desktops";
constexpr wchar_t kSize[] = L"1280x1024";

}  // namespace

TestDesktop::TestDesktop() : name_(L"wpk_tests_" + std::to_wstring(GetCurrentProcessId())) {
    RegSetKeyValueW(HKEY_CURRENT_USER, kSizesKey, name_.c_str(), REG_SZ, kSize, sizeof kSize);
    desktop_ = CreateDesktopW(name_.c_str(), nullptr, nullptr, 0, GENERIC_ALL, nullptr);
    if (!desktop_ || !SetThreadDesktop(desktop_)) throw std::runtime_error("no desktop");
}

TestDesktop::~TestDesktop() {
    RegDeleteKeyValueW(HKEY_CURRENT_USER, kSizesKey, name_.c_str());
}

}  // namespace window_driver
