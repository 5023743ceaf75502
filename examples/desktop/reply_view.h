// ReplyView: the place where a reply is shown, as text or as a tree.
// SPDX-License-Identifier: MIT
#pragma once

#include <windows.h>

#include <string>

#include "reply.h"

namespace desktop {

/// Two controls in the same place, of which one is visible. The window's thread only.
class ReplyView {
public:
    ReplyView(HWND text, HWND tree) : text_(text), tree_(tree) {}

    void Show(const Reply& reply);
    void ShowText(const std::wstring& text);

private:
    void FillTree(const std::vector<OutlineLine>& lines);
    void Turn(HWND to, HWND from);

    HWND text_;
    HWND tree_;
};

}  // namespace desktop
