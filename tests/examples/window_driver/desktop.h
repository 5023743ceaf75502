// TestDesktop: a screen of its own for the tests, with a keyboard of its own.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_EXAMPLES_WINDOW_DRIVER_DESKTOP_H
#define WPK_TESTS_EXAMPLES_WINDOW_DRIVER_DESKTOP_H

#include <windows.h>

#include <string>

namespace window_driver {

/// What the tests do there disturbs nobody, and nobody disturbs it. Under Wine it leads to the X display that this
/// process was started with, whatever display other programs have, and Wine draws the windows' frames.
class TestDesktop {
public:
    /// Makes it, and has this thread look at it from now on. @throws std::runtime_error
    TestDesktop();
    ~TestDesktop();
    TestDesktop(const TestDesktop&) = delete;
    TestDesktop& operator=(const TestDesktop&) = delete;

    const std::wstring& Name() const { return name_; }
    HDESK Handle() const { return desktop_; }

private:
    std::wstring name_;
    HDESK desktop_ = nullptr;
};

}  // namespace window_driver

#endif  // WPK_TESTS_EXAMPLES_WINDOW_DRIVER_DESKTOP_H
