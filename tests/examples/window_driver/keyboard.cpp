// The keyboard: keys as a user presses them, for whatever program has the focus.
// SPDX-License-Identifier: MIT
#include "keyboard.h"

#include <windows.h>

#include <map>
#include <stdexcept>
#include <vector>

namespace window_driver {
namespace {

WORD KeyCode(const std::wstring& name) {
    static const std::map<std::wstring, WORD> keys = {
        {L"Enter", VK_RETURN}, {L"Esc", VK_ESCAPE}, {L"Tab", VK_TAB},     {L"Shift", VK_SHIFT},
        {L"Ctrl", VK_CONTROL}, {L"Alt", VK_MENU},   {L"Space", VK_SPACE}, {L"End", VK_END},
    };
    if (const auto key = keys.find(name); key != keys.end()) return key->second;
    if (name.size() == 1) return static_cast<WORD>(name[0]);
    throw std::runtime_error("no such key");
}

INPUT Stroke(WORD key, WORD character, DWORD flags) {
    INPUT input = {};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
    input.ki.wScan = character != 0 ? character : static_cast<WORD>(MapVirtualKeyW(key, MAPVK_VK_TO_VSC));
    input.ki.dwFlags = flags;
    return input;
}

void Send(std::vector<INPUT> strokes) {
    const UINT count = static_cast<UINT>(strokes.size());
    if (SendInput(count, strokes.data(), sizeof(INPUT)) != count) throw std::runtime_error("no input is taken");
}

}  // namespace

void PressKeys(const std::wstring& keys) {
    std::vector<WORD> codes;
    for (size_t begin = 0; begin <= keys.size();) {
        const size_t end = std::min(keys.find(L'+', begin), keys.size());
        codes.push_back(KeyCode(keys.substr(begin, end - begin)));
        begin = end + 1;
    }
    std::vector<INPUT> strokes;
    for (const WORD code : codes) strokes.push_back(Stroke(code, 0, 0));
    for (auto code = codes.rbegin(); code != codes.rend(); ++code) strokes.push_back(Stroke(*code, 0, KEYEVENTF_KEYUP));
    Send(std::move(strokes));
}

void TypeText(const std::wstring& text) {
    std::vector<INPUT> strokes;
    for (const wchar_t character : text) {
        strokes.push_back(Stroke(0, static_cast<WORD>(character), KEYEVENTF_UNICODE));
        strokes.push_back(Stroke(0, static_cast<WORD>(character), KEYEVENTF_UNICODE | KEYEVENTF_KEYUP));
    }
    Send(std::move(strokes));
}

}  // namespace window_driver
