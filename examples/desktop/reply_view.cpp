// ReplyView: the place where a reply is shown, as text or as a tree.
// SPDX-License-Identifier: MIT
#include "reply_view.h"

#include <commctrl.h>

#include "text.h"

namespace desktop {
namespace {

HTREEITEM AddItem(HWND tree, HTREEITEM parent, const std::string& line) {
    std::wstring text = FromBytes(line);
    TVINSERTSTRUCTW item = {};
    item.hParent = parent;
    item.hInsertAfter = TVI_LAST;
    item.item.mask = TVIF_TEXT | TVIF_STATE;
    item.item.pszText = text.data();
    item.item.state = TVIS_EXPANDED;
    item.item.stateMask = TVIS_EXPANDED;
    return TreeView_InsertItem(tree, &item);
}

/// Drawing waits until all items are there.
class DrawingStopped {
public:
    explicit DrawingStopped(HWND window) : window_(window) { SendMessageW(window_, WM_SETREDRAW, FALSE, 0); }
    ~DrawingStopped() {
        SendMessageW(window_, WM_SETREDRAW, TRUE, 0);
        InvalidateRect(window_, nullptr, TRUE);
    }
    DrawingStopped(const DrawingStopped&) = delete;
    DrawingStopped& operator=(const DrawingStopped&) = delete;

private:
    HWND window_;
};

}  // namespace

void ReplyView::Show(const Reply& reply) {
    if (reply.outline.empty()) {
        ShowText(reply.text);
        return;
    }
    FillTree(reply.outline);
    Turn(tree_, text_);
}

void ReplyView::ShowText(const std::wstring& text) {
    SetWindowTextW(text_, text.c_str());
    TreeView_DeleteAllItems(tree_);
    Turn(text_, tree_);
}

void ReplyView::FillTree(const std::vector<OutlineLine>& lines) {
    const DrawingStopped stopped(tree_);
    TreeView_DeleteAllItems(tree_);
    std::vector<HTREEITEM> parents = {TVI_ROOT};
    for (const OutlineLine& line : lines) {
        parents.resize(static_cast<std::size_t>(line.level) + 1);
        parents.push_back(AddItem(tree_, parents.back(), line.text));
    }
    TreeView_SelectSetFirstVisible(tree_, TreeView_GetRoot(tree_));
}

void ReplyView::Turn(HWND to, HWND from) {
    const bool focused = GetFocus() == from;
    ShowWindow(to, SW_SHOW);
    ShowWindow(from, SW_HIDE);
    if (focused) SetFocus(to);
}

}  // namespace desktop
