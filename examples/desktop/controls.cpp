// The controls of the window: their kinds, appearance and keys.
// SPDX-License-Identifier: MIT
#include "controls.h"

#include <commctrl.h>

#include <algorithm>

namespace desktop {
namespace {

struct Description {
    ControlId id;
    const wchar_t* window_class;
    const wchar_t* text;
    DWORD style;
    DWORD frame = 0;
};

constexpr DWORD kField = WS_TABSTOP | ES_AUTOHSCROLL;
constexpr DWORD kLines = WS_TABSTOP | WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL;
constexpr DWORD kTree = WS_TABSTOP | TVS_HASBUTTONS | TVS_HASLINES | TVS_LINESATROOT | TVS_SHOWSELALWAYS;

// In tab order. A label's mnemonic leads to the control after it.
constexpr Description kControls[] = {
    {kServerLabel, WC_STATICW, L"Se&rver:", 0},
    {kServer, WC_EDITW, L"", kField, WS_EX_CLIENTEDGE},
    {kPortLabel, WC_STATICW, L"&Port:", 0},
    {kPort, WC_EDITW, L"", kField | ES_NUMBER, WS_EX_CLIENTEDGE},
    {kServiceLabel, WC_STATICW, L"Ser&vice:", 0},
    {kService, WC_EDITW, L"", kField, WS_EX_CLIENTEDGE},
    {kMessageLabel, WC_STATICW, L"&Message (Ctrl+Enter begins a line):", 0},
    {kMessage, WC_EDITW, L"", kLines, WS_EX_CLIENTEDGE},
    {kProgress, PROGRESS_CLASSW, L"", PBS_SMOOTH},
    {kSend, WC_BUTTONW, L"&Send", WS_TABSTOP | BS_DEFPUSHBUTTON},
    {kCancel, WC_BUTTONW, L"Cancel", WS_TABSTOP | WS_DISABLED},
    {kReplyLabel, WC_STATICW, L"Rep&ly:", 0},
    {kReplyText, WC_EDITW, L"", kLines | ES_READONLY, WS_EX_CLIENTEDGE},
    {kReplyTree, WC_TREEVIEWW, L"", kTree, WS_EX_CLIENTEDGE},
    {kStatus, STATUSCLASSNAMEW, L"", SBARS_SIZEGRIP},
};

/// An edit control of several lines wants all keys, and answers Esc by closing its parent, which it takes for a dialog.
/// Here Enter belongs to Send, Esc to Cancel and Tab to the next control, as everywhere else; Ctrl+Enter begins a line
/// where one can be typed.
LRESULT CALLBACK HandleLines(HWND control, UINT message, WPARAM wide, LPARAM parameter, UINT_PTR, DWORD_PTR) {
    const LRESULT result = DefSubclassProc(control, message, wide, parameter);
    if (message != WM_GETDLGCODE) return result;
    const MSG* key = reinterpret_cast<const MSG*>(parameter);
    const bool read_only = (GetWindowLongPtrW(control, GWL_STYLE) & ES_READONLY) != 0;
    const bool line_break = !read_only && key != nullptr && key->message == WM_KEYDOWN && key->wParam == VK_RETURN &&
                            GetKeyState(VK_CONTROL) < 0;
    return line_break ? result : result & ~(DLGC_WANTALLKEYS | DLGC_WANTMESSAGE | DLGC_WANTTAB);
}

int LineHeight(HWND window, HFONT font) {
    const HDC context = GetDC(window);
    const HGDIOBJ before = SelectObject(context, font);
    TEXTMETRICW metrics = {};
    GetTextMetricsW(context, &metrics);
    SelectObject(context, before);
    ReleaseDC(window, context);
    return metrics.tmHeight;
}

int StatusHeight(HWND window) {
    RECT status;
    GetWindowRect(GetDlgItem(window, kStatus), &status);
    return status.bottom - status.top;
}

void Create(HWND window, const Description& control) {
    const DWORD shown = control.id == kReplyTree ? 0 : WS_VISIBLE;
    CreateWindowExW(control.frame, control.window_class, control.text, WS_CHILD | shown | control.style, 0, 0, 0, 0,
                    window, reinterpret_cast<HMENU>(static_cast<INT_PTR>(control.id)), GetModuleHandleW(nullptr),
                    /*lpParam=*/nullptr);
}

}  // namespace

void CreateControls(HWND window) {
    for (const Description& control : kControls) Create(window, control);
    for (const ControlId id : {kMessage, kReplyText}) {
        SetWindowSubclass(GetDlgItem(window, id), HandleLines, /*uIdSubclass=*/0, /*dwRefData=*/0);
    }
    // A long reply may be longer than what a user may type.
    SendDlgItemMessageW(window, kReplyText, EM_SETLIMITTEXT, 0, 0);
    SendDlgItemMessageW(window, kMessage, EM_SETLIMITTEXT, 0, 0);
    SendDlgItemMessageW(window, kPort, EM_SETLIMITTEXT, 5, 0);
}

void ArrangeControls(HWND window, int dpi, const MessageFont& font) {
    // The status bar positions itself at the bottom.
    SendDlgItemMessageW(window, kStatus, WM_SIZE, 0, 0);
    RECT inside;
    GetClientRect(window, &inside);
    const int parts[] = {std::max<int>(0, inside.right - Scaled(150, dpi)), -1};
    SendDlgItemMessageW(window, kStatus, SB_SETPARTS, 2, reinterpret_cast<LPARAM>(parts));
    const Layout layout = LayOut({inside.right, inside.bottom - StatusHeight(window)}, dpi, font.Height());
    HDWP moves = BeginDeferWindowPos(static_cast<int>(layout.size()));
    for (const auto& [id, place] : layout) {
        moves = DeferWindowPos(moves, GetDlgItem(window, id), /*hWndInsertAfter=*/nullptr, place.x, place.y,
                               place.width, place.height, SWP_NOZORDER | SWP_NOACTIVATE);
    }
    EndDeferWindowPos(moves);
    // A move may keep parts of a control's old image: some systems leave them unpainted.
    RedrawWindow(window, /*lprcUpdate=*/nullptr, /*hrgnUpdate=*/nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

Size WindowSize(HWND window, Size inside, int dpi) {
    RECT frame = {0, 0, inside.width, inside.height + StatusHeight(window)};
    AdjustWindowRectExForDpi(&frame, static_cast<DWORD>(GetWindowLongPtrW(window, GWL_STYLE)), /*bMenu=*/FALSE,
                             static_cast<DWORD>(GetWindowLongPtrW(window, GWL_EXSTYLE)), static_cast<UINT>(dpi));
    return {frame.right - frame.left, frame.bottom - frame.top};
}

void MessageFont::Apply(HWND window, int dpi) {
    NONCLIENTMETRICSW metrics = {};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoForDpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0, static_cast<UINT>(dpi));
    const HFONT font = CreateFontIndirectW(&metrics.lfMessageFont);
    for (const Description& control : kControls) {
        SendDlgItemMessageW(window, control.id, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
    }
    Delete();
    font_ = font;
    height_ = LineHeight(window, font);
}

std::wstring ControlText(HWND window, ControlId id) {
    const HWND control = GetDlgItem(window, id);
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(control)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(GetWindowTextW(control, text.data(), static_cast<int>(text.size()))));
    return text;
}

}  // namespace desktop
