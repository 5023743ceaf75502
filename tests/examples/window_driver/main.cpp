// window_driver: does in a window program what the lines on standard input say, with one line of answer to each.
// SPDX-License-Identifier: MIT
#include <windows.h>

#include <commctrl.h>

#include <cstdio>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "desktop.h"
#include "keyboard.h"
#include "screenshot.h"
#include "target.h"

namespace window_driver {
namespace {

std::unique_ptr<TestDesktop> desktop;
std::unique_ptr<Target> target;

std::wstring Widened(const std::string& text) {
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                                        wide.data(), static_cast<int>(wide.size()))));
    return wide;
}

/// UTF-8 on one line: "\n" stands for a line end, "\\" for a backslash.
std::string OneLine(const std::wstring& text) {
    std::string bytes(text.size() * 3, '\0');
    bytes.resize(
        static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                                static_cast<int>(bytes.size()), nullptr, nullptr)));
    std::string line;
    for (const char character : bytes) {
        if (character == '\\') line += "\\\\";
        if (character == '\n') line += "\\n";
        if (character != '\\' && character != '\n' && character != '\r') line += character;
    }
    return line;
}

int Number(std::istream& words) {
    int number = 0;
    if (!(words >> number)) throw std::runtime_error("a number is missing");
    return number;
}

std::wstring Rest(std::istream& words) {
    std::string rest;
    std::getline(words >> std::ws, rest);
    return Widened(rest);
}

std::string Place(HWND control) {
    RECT place;
    GetWindowRect(control, &place);
    MapWindowPoints(nullptr, GetParent(control), reinterpret_cast<POINT*>(&place), 2);
    std::ostringstream text;
    text << place.left << ' ' << place.top << ' ' << place.right - place.left << ' ' << place.bottom - place.top;
    return text.str();
}

std::string Tree(int id) {
    std::wstring text;
    for (const std::wstring& line : target->TreeLines(id)) text += line + L"\n";
    return OneLine(text);
}

using Command = std::function<std::string(std::istream&)>;

const std::map<std::string, Command>& Commands() {
    static const std::map<std::string, Command> commands = {
        {"start",
         [](std::istream& words) {
             target.reset();
             target = std::make_unique<Target>(*desktop, Rest(words));
             return std::string("ok");
         }},
        {"turn-to", [](std::istream& words) { return target->TurnTo(Rest(words)) ? "ok" : "none"; }},
        {"text", [](std::istream& words) { return OneLine(target->Text(Number(words))); }},
        {"status",
         [](std::istream& words) {
             const int id = Number(words);
             return OneLine(target->StatusText(id, Number(words)));
         }},
        {"tree", [](std::istream& words) { return Tree(Number(words)); }},
        {"set-text",
         [](std::istream& words) {
             const HWND control = target->Control(Number(words));
             SendMessageW(control, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(Rest(words).c_str()));
             return std::string("ok");
         }},
        {"click",
         [](std::istream& words) {
             PostMessageW(target->Control(Number(words)), BM_CLICK, 0, 0);
             return std::string("ok");
         }},
        {"enabled", [](std::istream& words) { return IsWindowEnabled(target->Control(Number(words))) ? "yes" : "no"; }},
        {"visible", [](std::istream& words) { return IsWindowVisible(target->Control(Number(words))) ? "yes" : "no"; }},
        {"style",
         [](std::istream& words) {
             return std::to_string(GetWindowLongPtrW(target->Control(Number(words)), GWL_STYLE));
         }},
        {"progress",
         [](std::istream& words) {
             return std::to_string(SendMessageW(target->Control(Number(words)), PBM_GETPOS, 0, 0));
         }},
        {"place", [](std::istream& words) { return Place(target->Control(Number(words))); }},
        {"focus", [](std::istream&) { return std::to_string(target->FocusedControl()); }},
        {"press",
         [](std::istream& words) {
             PressKeys(Rest(words));
             return std::string("ok");
         }},
        {"type",
         [](std::istream& words) {
             TypeText(Rest(words));
             return std::string("ok");
         }},
        {"resize",
         [](std::istream& words) {
             const int width = Number(words);
             SetWindowPos(target->Window(), nullptr, 0, 0, width, Number(words), SWP_NOMOVE | SWP_NOZORDER);
             return std::string("ok");
         }},
        {"dpi",
         [](std::istream& words) {
             const int dpi = Number(words);
             const int width = Number(words);
             target->ChangeDpi(dpi, width, Number(words));
             return std::string("ok");
         }},
        {"close",
         [](std::istream&) {
             PostMessageW(target->Window(), WM_CLOSE, 0, 0);
             return std::string("ok");
         }},
        {"end",
         [](std::istream& words) { return std::to_string(target->WaitForEnd(static_cast<DWORD>(Number(words)))); }},
        {"redraw",
         [](std::istream&) {
             RedrawWindow(target->Window(), /*lprcUpdate=*/nullptr, /*hrgnUpdate=*/nullptr,
                          RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
             return std::string("ok");
         }},
        {"picture",
         [](std::istream& words) {
             SaveScreenshot(target->Window(), Rest(words));
             return std::string("ok");
         }},
    };
    return commands;
}

std::string Answer(const std::string& line) {
    std::istringstream words(line);
    std::string name;
    words >> name;
    const auto command = Commands().find(name);
    if (command == Commands().end()) return "error: no such command";
    if (!target && name != "start") return "error: nothing is started";
    try {
        return command->second(words);
    } catch (const std::exception& error) {
        return std::string("error: ") + error.what();
    }
}

}  // namespace
}  // namespace window_driver

int main() try {
    window_driver::desktop = std::make_unique<window_driver::TestDesktop>();
    std::string line;
    while (std::getline(std::cin, line)) std::cout << window_driver::Answer(line) << std::endl;
    window_driver::target.reset();
    window_driver::desktop.reset();
} catch (const std::exception& error) {
    std::cout << "error: " << error.what() << std::endl;
    return 1;
}
