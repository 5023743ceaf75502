// Target: a window program, as the tests see it from outside.
// SPDX-License-Identifier: MIT
#include "target.h"

#include <commctrl.h>

#include <array>
#include <stdexcept>

namespace window_driver {
namespace {

constexpr size_t kTextLength = 1024;

struct Search {
    DWORD process;
    std::wstring windowClass;
    HWND found;
};

BOOL CALLBACK Look(HWND window, LPARAM parameter) {
    Search& search = *reinterpret_cast<Search*>(parameter);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    std::array<wchar_t, 100> name = {};
    GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    if (process != search.process || search.windowClass != name.data() || !IsWindowVisible(window)) return TRUE;
    search.found = window;
    return FALSE;
}

void AddTreeLines(HWND tree, const RemoteMemory& memory, HTREEITEM first, size_t level,
                  std::vector<std::wstring>& lines) {
    for (HTREEITEM item = first; item != nullptr; item = TreeView_GetNextSibling(tree, item)) {
        TVITEMW query = {};
        query.mask = TVIF_TEXT | TVIF_HANDLE;
        query.hItem = item;
        query.pszText = memory.At<wchar_t>(sizeof query);
        query.cchTextMax = static_cast<int>(kTextLength);
        memory.Write(0, &query, sizeof query);
        SendMessageW(tree, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(memory.At<TVITEMW>(0)));
        std::array<wchar_t, kTextLength> text = {};
        memory.Read(sizeof query, text.data(), sizeof text);
        lines.push_back(std::wstring(2 * level, L' ') + text.data());
        AddTreeLines(tree, memory, TreeView_GetChild(tree, item), level + 1, lines);
    }
}

}  // namespace

RemoteMemory::RemoteMemory(HANDLE process, size_t size)
    : process_(process),
      address_(static_cast<char*>(
          VirtualAllocEx(process, /*lpAddress=*/nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE))) {
    if (!address_) throw std::runtime_error("no memory in the program");
}

RemoteMemory::~RemoteMemory() {
    VirtualFreeEx(process_, address_, 0, MEM_RELEASE);
}

void RemoteMemory::Write(size_t offset, const void* data, size_t size) const {
    if (!WriteProcessMemory(process_, address_ + offset, data, size, nullptr)) throw std::runtime_error("no writing");
}

void RemoteMemory::Read(size_t offset, void* data, size_t size) const {
    if (!ReadProcessMemory(process_, address_ + offset, data, size, nullptr)) throw std::runtime_error("no reading");
}

Target::Target(const TestDesktop& desktop, const std::wstring& commandLine) : desktop_(desktop) {
    std::wstring name = desktop.Name();
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.lpDesktop = name.data();
    std::wstring command = commandLine;
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, /*bInheritHandles=*/FALSE, 0, nullptr, nullptr,
                        &start, &process_)) {
        throw std::runtime_error("the program cannot be started");
    }
}

Target::~Target() {
    TerminateProcess(process_.hProcess, 1);
    CloseHandle(process_.hProcess);
    CloseHandle(process_.hThread);
}

bool Target::TurnTo(const std::wstring& windowClass) {
    Search search = {process_.dwProcessId, windowClass, nullptr};
    EnumDesktopWindows(desktop_.Handle(), Look, reinterpret_cast<LPARAM>(&search));
    if (search.found) window_ = search.found;
    return search.found != nullptr;
}

HWND Target::Control(int id) const {
    const HWND control = id == 0 ? window_ : GetDlgItem(window_, id);
    if (!control) throw std::runtime_error("there is no control " + std::to_string(id));
    return control;
}

std::wstring Target::Text(int id) const {
    const HWND control = Control(id);
    std::wstring text(static_cast<size_t>(SendMessageW(control, WM_GETTEXTLENGTH, 0, 0)) + 1, L'\0');
    text.resize(
        static_cast<size_t>(SendMessageW(control, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
    return text;
}

std::wstring Target::StatusText(int id, int part) const {
    const RemoteMemory memory(process_.hProcess, kTextLength * sizeof(wchar_t));
    SendMessageW(Control(id), SB_GETTEXTW, static_cast<WPARAM>(part), reinterpret_cast<LPARAM>(memory.At<wchar_t>(0)));
    std::array<wchar_t, kTextLength> text = {};
    memory.Read(0, text.data(), sizeof text);
    return text.data();
}

std::vector<std::wstring> Target::TreeLines(int id) const {
    const HWND tree = Control(id);
    const RemoteMemory memory(process_.hProcess, sizeof(TVITEMW) + kTextLength * sizeof(wchar_t));
    std::vector<std::wstring> lines;
    AddTreeLines(tree, memory, TreeView_GetRoot(tree), 0, lines);
    return lines;
}

int Target::FocusedControl() const {
    // The thread in the foreground is the one that gets keys.
    GUITHREADINFO info = {};
    info.cbSize = sizeof info;
    if (!GetGUIThreadInfo(/*idThread=*/0, &info) || !info.hwndFocus) return 0;
    const bool own = GetWindowThreadProcessId(info.hwndFocus, /*lpdwProcessId=*/nullptr) == process_.dwThreadId;
    return own ? GetDlgCtrlID(info.hwndFocus) : 0;
}

void Target::ChangeDpi(int dpi, int width, int height) const {
    const RECT place = {10, 10, 10 + width, 10 + height};
    const RemoteMemory memory(process_.hProcess, sizeof place);
    memory.Write(0, &place, sizeof place);
    SendMessageW(window_, WM_DPICHANGED, MAKEWPARAM(dpi, dpi), reinterpret_cast<LPARAM>(memory.At<RECT>(0)));
}

int Target::WaitForEnd(DWORD milliseconds) const {
    if (WaitForSingleObject(process_.hProcess, milliseconds) != WAIT_OBJECT_0) return -1;
    DWORD status = 0;
    GetExitCodeProcess(process_.hProcess, &status);
    return static_cast<int>(status);
}

}  // namespace window_driver
