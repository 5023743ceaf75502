// The user's terminal: is there one, and asking a question on it.
// SPDX-License-Identifier: MIT
#include "terminal.h"

#include <windows.h>

#include "interrupt.h"

namespace wpk_send {
namespace {

/// The terminal's input or output, opened by its name, which does not depend on redirected standard handles.
class ConsoleHandle {
public:
    explicit ConsoleHandle(const char* name)
        : handle_(CreateFileA(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              /*lpSecurityAttributes=*/nullptr, OPEN_EXISTING, /*dwFlagsAndAttributes=*/0,
                              /*hTemplateFile=*/nullptr)) {}
    ~ConsoleHandle() {
        if (*this) CloseHandle(handle_);
    }
    ConsoleHandle(const ConsoleHandle&) = delete;
    ConsoleHandle& operator=(const ConsoleHandle&) = delete;

    explicit operator bool() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return handle_; }

private:
    HANDLE handle_;
};

/// While it lives, key presses come one by one and nothing is shown by the system; Ctrl-C still interrupts.
class KeyByKey {
public:
    explicit KeyByKey(HANDLE input) : input_(input) {
        GetConsoleMode(input_, &mode_);
        SetConsoleMode(input_, ENABLE_PROCESSED_INPUT);
    }
    ~KeyByKey() { SetConsoleMode(input_, mode_); }
    KeyByKey(const KeyByKey&) = delete;
    KeyByKey& operator=(const KeyByKey&) = delete;

private:
    HANDLE input_;
    DWORD mode_ = 0;
};

void Show(HANDLE output, const std::string& text) {
    DWORD written = 0;
    WriteConsoleA(output, text.data(), static_cast<DWORD>(text.size()), &written, /*lpReserved=*/nullptr);
}

/// The character of the next key press; nothing when Ctrl-C or `give_up` comes instead. A read of a whole line would
/// not do: whether Ctrl-C and Ctrl-Z end it differs from system to system.
/// @param give_up may be null.
std::optional<char> ReadKey(HANDLE input, HANDLE give_up) {
    for (;;) {
        const HANDLE handles[] = {input, InterruptEvent(), give_up};
        const DWORD count = give_up == nullptr ? 2 : 3;
        if (WaitForMultipleObjects(count, handles, /*bWaitAll=*/FALSE, INFINITE) != WAIT_OBJECT_0) return std::nullopt;
        if (Interrupted()) return std::nullopt;
        INPUT_RECORD record;
        DWORD read = 0;
        if (!ReadConsoleInputA(input, &record, 1, &read) || read == 0) return std::nullopt;
        const bool pressed = record.EventType == KEY_EVENT && record.Event.KeyEvent.bKeyDown != FALSE;
        if (pressed && record.Event.KeyEvent.uChar.AsciiChar != 0) return record.Event.KeyEvent.uChar.AsciiChar;
    }
}

/// Nothing also when Ctrl-Z is the first key of the line.
std::optional<std::string> ReadLine(HANDLE input, HANDLE output, Echo echo, HANDLE give_up) {
    constexpr char kControlZ = '\x1A';
    std::string line;
    while (const std::optional<char> key = ReadKey(input, give_up)) {
        if (*key == '\r' || *key == '\n') return line;
        if (*key == kControlZ && line.empty()) return std::nullopt;
        if (*key == '\b' || *key == '\x7F') {
            if (line.empty()) continue;
            line.pop_back();
            if (echo == Echo::kShown) Show(output, "\b \b");
            continue;
        }
        line += *key;
        if (echo == Echo::kShown) Show(output, std::string(1, *key));
    }
    return std::nullopt;
}

bool IsTerminal(DWORD stream) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(stream), &mode) != FALSE;
}

}  // namespace

bool StandardInputIsTerminal() {
    return IsTerminal(STD_INPUT_HANDLE);
}

bool StandardErrorIsTerminal() {
    return IsTerminal(STD_ERROR_HANDLE);
}

std::optional<std::string> AskOnTerminal(const std::string& question, Echo echo, WaitHandle give_up) {
    const ConsoleHandle input("CONIN$");
    const ConsoleHandle output("CONOUT$");
    if (!input || !output) return std::nullopt;
    const KeyByKey mode(input.Get());
    Show(output.Get(), question);
    std::optional<std::string> line = ReadLine(input.Get(), output.Get(), echo, give_up);
    Show(output.Get(), "\r\n");
    return line;
}

std::optional<std::string> ReadFromTerminal(const std::string& hint) {
    const ConsoleHandle input("CONIN$");
    const ConsoleHandle output("CONOUT$");
    if (!input || !output) return std::nullopt;
    const KeyByKey mode(input.Get());
    InterruptEvent();  // The user may press Ctrl-C as soon as the hint is shown.
    Show(output.Get(), hint);
    std::string text;
    while (const std::optional<std::string> line =
               ReadLine(input.Get(), output.Get(), Echo::kShown, /*give_up=*/nullptr)) {
        Show(output.Get(), "\r\n");
        text += *line + "\n";
    }
    if (Interrupted()) return std::nullopt;
    return text;
}

}  // namespace wpk_send
