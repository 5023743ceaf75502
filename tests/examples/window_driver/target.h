// Target: a window program, as the tests see it from outside.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_EXAMPLES_WINDOW_DRIVER_TARGET_H
#define WPK_TESTS_EXAMPLES_WINDOW_DRIVER_TARGET_H

#include <windows.h>

#include <string>
#include <vector>

#include "desktop.h"

namespace window_driver {

/// Memory in another process, for messages that carry pointers.
class RemoteMemory {
public:
    RemoteMemory(HANDLE process, size_t size);
    ~RemoteMemory();
    RemoteMemory(const RemoteMemory&) = delete;
    RemoteMemory& operator=(const RemoteMemory&) = delete;

    template <class T>
    T* At(size_t offset) const {
        return reinterpret_cast<T*>(address_ + offset);
    }
    void Write(size_t offset, const void* data, size_t size) const;
    void Read(size_t offset, void* data, size_t size) const;

private:
    HANDLE process_;
    char* address_;
};

/// Everything fails with a std::runtime_error that says what was not there.
class Target {
public:
    Target(const TestDesktop& desktop, const std::wstring& commandLine);
    ~Target();
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    /// The visible top-level window of that class becomes the one that all the rest is about.
    /// @return false when there is none (yet).
    bool TurnTo(const std::wstring& windowClass);

    HWND Window() const { return window_; }
    HWND Control(int id) const;
    std::wstring Text(int id) const;
    std::wstring StatusText(int id, int part) const;
    /// Two blanks a level.
    std::vector<std::wstring> TreeLines(int id) const;
    /// @return 0 while none of the program's controls would get a key.
    int FocusedControl() const;

    /// Tells the window that it has moved to a monitor of that resolution, where it should take this size.
    void ChangeDpi(int dpi, int width, int height) const;

    /// @return the exit status; -1 when the program still runs after that time.
    int WaitForEnd(DWORD milliseconds) const;

private:
    const TestDesktop& desktop_;
    PROCESS_INFORMATION process_ = {};
    HWND window_ = nullptr;
};

}  // namespace window_driver

#endif  // WPK_TESTS_EXAMPLES_WINDOW_DRIVER_TARGET_H
