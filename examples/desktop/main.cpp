// desktop: a window that sends messages and shows their replies.
// SPDX-License-Identifier: MIT
#include <windows.h>

#include <commctrl.h>

#include <cstdlib>
#include <exception>

#include "common/usage.h"
#include "main_window.h"
#include "options.h"
#include "text.h"

namespace {

void ShowText(const char* text, UINT icon) {
    MessageBoxW(/*hWnd=*/nullptr, desktop::FromAnsi(text).c_str(), L"WPK Desktop", MB_OK | icon);
}

int Run(int how) {
    const INITCOMMONCONTROLSEX classes = {
        sizeof classes, ICC_STANDARD_CLASSES | ICC_BAR_CLASSES | ICC_PROGRESS_CLASS | ICC_TREEVIEW_CLASSES};
    InitCommonControlsEx(&classes);
    return desktop::MainWindow(desktop::ParseOptions(__argc, __argv)).Run(how);
}

}  // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int how) {
    try {
        return Run(how);
    } catch (const common::Usage& usage) {
        ShowText(usage.what(), MB_ICONINFORMATION);
        return usage.ExitStatus();
    } catch (const std::exception& error) {
        ShowText(error.what(), MB_ICONERROR);
    }
    return EXIT_FAILURE;
}
