// MainWindow: takes the user's message and shows its outcome.
// SPDX-License-Identifier: MIT
#include "main_window.h"

#include <commctrl.h>

#include <stdexcept>
#include <utility>

#include "text.h"
#include "wpk_send/outcome.h"
#include "wpk_send/progress.h"

namespace desktop {
namespace {

constexpr UINT kMailMessage = WM_APP;
// The interval at which the mail is checked in any case: a message cannot be posted while the window's queue is full.
constexpr UINT_PTR kMailTimer = 1;
constexpr UINT kMailTimerMs = 1000;
// The progress bar counts in these, as sizes in bytes would not fit.
constexpr int kProgressSteps = 1000;
constexpr UINT kMaxPort = 65535;

void RegisterWindowClass(WNDPROC procedure) {
    WNDCLASSEXW window_class = {};
    window_class.cbSize = sizeof window_class;
    window_class.lpfnWndProc = procedure;
    window_class.hInstance = GetModuleHandleW(nullptr);
    window_class.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
    window_class.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    window_class.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    window_class.lpszClassName = kMainWindowClass;
    RegisterClassExW(&window_class);
}

}  // namespace

MainWindow::MainWindow(const Options& options) : options_(options) {
    RegisterWindowClass(Dispatch);
    CreateWindowExW(WS_EX_CONTROLPARENT, kMainWindowClass, L"WPK Desktop", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                    CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, /*hWndParent=*/nullptr,
                    /*hMenu=*/nullptr, GetModuleHandleW(nullptr), this);
    if (window_ == nullptr) {
        throw std::runtime_error(
            "The window could not be made: the system is short of memory. Close some programs, then "
            "start this one again.");
    }
    dpi_ = static_cast<int>(GetDpiForWindow(window_));
    CreateControls(window_);
    font_.Apply(window_, dpi_);
    reply_view_.emplace(GetDlgItem(window_, kReplyText), GetDlgItem(window_, kReplyTree));
    const Size size = WindowSize(window_, UsualInside(dpi_), dpi_);
    SetWindowPos(window_, /*hWndInsertAfter=*/nullptr, 0, 0, size.width, size.height, SWP_NOMOVE | SWP_NOZORDER);
    ArrangeControls(window_, dpi_, font_);
    FillFields();
}

MainWindow::~MainWindow() {
    if (window_ != nullptr) DestroyWindow(window_);
}

int MainWindow::Run(int how) {
    mailbox_ = new Mailbox(window_, kMailMessage);
    session_ = new Session(options_, *mailbox_);
    SetTimer(window_, kMailTimer, kMailTimerMs, /*lpTimerFunc=*/nullptr);
    ShowWindow(window_, how);
    SetFocus(GetDlgItem(window_, kMessage));
    return HandleMessages();
}

int MainWindow::HandleMessages() const {
    MSG message;
    while (GetMessageW(&message, /*hWnd=*/nullptr, 0, 0) > 0) {
        // Tab, mnemonics, Enter and Esc.
        if (IsDialogMessageW(window_, &message)) continue;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}

LRESULT CALLBACK MainWindow::Dispatch(HWND window, UINT message, WPARAM wide, LPARAM parameter) {
    if (message == WM_NCCREATE) {
        auto* created = static_cast<MainWindow*>(reinterpret_cast<CREATESTRUCTW*>(parameter)->lpCreateParams);
        created->window_ = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(created));
    }
    auto* self = reinterpret_cast<MainWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    // There is nothing to handle until all controls exist.
    if (self == nullptr || self->session_ == nullptr) return DefWindowProcW(window, message, wide, parameter);
    return self->Handle(window, message, wide, parameter);
}

LRESULT MainWindow::Handle(HWND window, UINT message, WPARAM wide, LPARAM parameter) {
    switch (message) {
        case kMailMessage:
        case WM_TIMER:
            OnMail();
            return 0;
        case WM_COMMAND:
            OnCommand(LOWORD(wide));
            return 0;
        case WM_SIZE:
            ArrangeControls(window_, dpi_, font_);
            return 0;
        case WM_GETMINMAXINFO: {
            const Size smallest = WindowSize(window_, SmallestInside(dpi_), dpi_);
            reinterpret_cast<MINMAXINFO*>(parameter)->ptMinTrackSize = {smallest.width, smallest.height};
            return 0;
        }
        case WM_DPICHANGED:
            OnDpiChanged(HIWORD(wide), *reinterpret_cast<const RECT*>(parameter));
            return 0;
        case DM_GETDEFID:
            // The meaning of Enter, unless the focus is on another button.
            return MAKELRESULT(kSend, DC_HASDEFID);
        case WM_NEXTDLGCTL:
            OnNextControl(wide, LOWORD(parameter) != 0);
            return 0;
        case WM_ACTIVATE:
            // The high word says whether the window is minimised.
            OnActivate(LOWORD(wide) != WA_INACTIVE && HIWORD(wide) == 0);
            return 0;
        case WM_CLOSE:
            OnClose();
            return 0;
        case WM_DESTROY:
            session_->Leave();
            window_ = nullptr;
            PostQuitMessage(0);
            return 0;
        default:
            return DefWindowProcW(window, message, wide, parameter);
    }
}

void MainWindow::FillFields() const {
    SetDlgItemTextW(window_, kServer, FromAnsi(options_.server).c_str());
    SetDlgItemInt(window_, kPort, options_.port, /*bSigned=*/FALSE);
    SetDlgItemTextW(window_, kService, FromAnsi(options_.service).c_str());
    SetDlgItemTextW(window_, kMessage, FromAnsi(options_.message).c_str());
    SendDlgItemMessageW(window_, kStatus, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(L"Ready"));
    // A permanent network is not reported; the others are, as soon as the library knows their state.
    const bool permanent = options_.connection_type == WPK_CONNECTION_PERMANENT;
    SendDlgItemMessageW(window_, kStatus, SB_SETTEXTW, 1, reinterpret_cast<LPARAM>(permanent ? L"Connected" : L""));
}

void MainWindow::OnCommand(int id) {
    // Enter and Esc arrive here even while the button is disabled.
    if (id == kSend && !session_->IsRunning()) Send();
    if (id == kCancel && session_->IsRunning()) session_->Cancel();
}

void MainWindow::OnActivate(bool active) {
    // The window restores the focus when it is activated, unless a reply has hidden or disabled that control meanwhile.
    if (active) {
        const bool usable = IsWindowEnabled(focus_) && IsWindowVisible(focus_);
        SetFocus(usable ? focus_ : GetDlgItem(window_, kMessage));
    } else if (const HWND focus = GetFocus(); IsChild(window_, focus)) {
        focus_ = focus;
    }
}

void MainWindow::OnNextControl(WPARAM wide, bool is_control) {
    // A dialog does this by itself; some systems' mnemonics rely on it.
    const HWND next = is_control ? reinterpret_cast<HWND>(wide) : GetNextDlgTabItem(window_, GetFocus(), wide != 0);
    SetFocus(next);
}

void MainWindow::OnDpiChanged(int dpi, const RECT& place) {
    dpi_ = dpi;
    font_.Apply(window_, dpi_);
    SetWindowPos(window_, /*hWndInsertAfter=*/nullptr, place.left, place.top, place.right - place.left,
                 place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
    ArrangeControls(window_, dpi_, font_);
}

void MainWindow::OnClose() {
    // An open dialog runs this code inside its own message loop, so the dialog has to return first.
    closing_ = true;
    if (credentials_dialog_.IsOpen()) {
        credentials_dialog_.Dismiss();
    } else {
        DestroyWindow(window_);
    }
}

void MainWindow::Send() {
    std::optional<Message> message = EnteredMessage();
    if (!message) return;
    sent_at_ = GetTickCount64();
    reply_view_->ShowText(L"");
    if (!session_->Send(std::move(*message))) return Say(FromAnsi(wpk_send::kNotSentText));
    ShowRunning(true);
    Say(L"Sent; waiting for the reply");
}

std::optional<Message> MainWindow::EnteredMessage() {
    const UINT port = GetDlgItemInt(window_, kPort, /*lpTranslated=*/nullptr, /*bSigned=*/FALSE);
    if (port == 0 || port > kMaxPort) {
        Say(L"The port is a number from 1 to 65535.");
        SetFocus(GetDlgItem(window_, kPort));
        return std::nullopt;
    }
    std::optional<std::string> server = EnteredName(kServer, L"the server");
    std::optional<std::string> service = server ? EnteredName(kService, L"the service") : std::nullopt;
    if (!service) return std::nullopt;
    return Message{std::move(*server), port, std::move(*service), ToUtf8(ControlText(window_, kMessage))};
}

std::optional<std::string> MainWindow::EnteredName(ControlId field, const std::wstring& whose) {
    std::optional<std::string> name = ToAnsi(ControlText(window_, field));
    if (name) return name;
    Say(L"The name of " + whose + L" holds a character that the system's code page lacks; enter another name.");
    SetFocus(GetDlgItem(window_, field));
    return std::nullopt;
}

void MainWindow::ShowRunning(bool running) {
    const HWND send = GetDlgItem(window_, kSend);
    const HWND cancel = GetDlgItem(window_, kCancel);
    const HWND to_disable = running ? send : cancel;
    EnableWindow(running ? cancel : send, TRUE);
    // A disabled control that keeps the focus swallows all keys.
    if (GetFocus() == to_disable) SetFocus(running ? cancel : send);
    EnableWindow(to_disable, FALSE);

    // The length is unknown before the reply begins: until then the bar only moves.
    const HWND bar = GetDlgItem(window_, kProgress);
    const LONG_PTR style = GetWindowLongPtrW(bar, GWL_STYLE) & ~PBS_MARQUEE;
    SetWindowLongPtrW(bar, GWL_STYLE, running ? style | PBS_MARQUEE : style);
    SendMessageW(bar, PBM_SETMARQUEE, running ? TRUE : FALSE, 0);
    SendMessageW(bar, PBM_SETPOS, 0, 0);
    // The control does not repaint itself when it becomes empty after moving.
    InvalidateRect(bar, /*lpRect=*/nullptr, /*bErase=*/TRUE);
}

void MainWindow::OnMail() {
    Mail mail = mailbox_->Take();
    if (mail.connected) ShowConnection(*mail.connected);
    if (mail.progress) ShowProgress(*mail.progress);
    if (mail.outcome) {
        session_->RequestHasEnded();
        ShowRunning(false);
        ShowOutcome(*mail.outcome);
    }
    // Last, as it handles further mail before it returns.
    if (mail.question) AskForCredentials(*mail.question);
}

void MainWindow::AskForCredentials(const std::string& refused_user) {
    Say(L"The proxy wants a user name and a password.");
    mailbox_->Answer(credentials_dialog_.Ask(window_, FromAnsi(options_.proxy_host), FromAnsi(refused_user)));
    if (closing_) {
        DestroyWindow(window_);
    } else {
        Say(L"Sent; waiting for the reply");
    }
}

void MainWindow::ShowConnection(bool connected) {
    SendDlgItemMessageW(window_, kStatus, SB_SETTEXTW, 1,
                        reinterpret_cast<LPARAM>(connected ? L"Connected" : L"Not connected"));
}

void MainWindow::ShowProgress(const Progress& progress) {
    if (progress.total == 0) return;
    const HWND bar = GetDlgItem(window_, kProgress);
    const LONG_PTR style = GetWindowLongPtrW(bar, GWL_STYLE);
    if ((style & PBS_MARQUEE) != 0) {
        SendMessageW(bar, PBM_SETMARQUEE, FALSE, 0);
        SetWindowLongPtrW(bar, GWL_STYLE, style & ~PBS_MARQUEE);
        SendMessageW(bar, PBM_SETRANGE32, 0, kProgressSteps);
    }
    SendMessageW(bar, PBM_SETPOS, static_cast<WPARAM>(ULONGLONG{progress.received} * kProgressSteps / progress.total),
                 0);
    Say(FromAnsi("Received " + wpk_send::SizeText(progress.received) + " of " + wpk_send::SizeText(progress.total)));
}

void MainWindow::ShowOutcome(const Outcome& outcome) {
    if (outcome.error != 0) {
        // The status bar has room for what has happened, but not for what to do.
        reply_view_->ShowText(FromAnsi(wpk_send::ErrorTextAndAdvice(outcome.error, "\r\n")));
        return Say(FromAnsi(wpk_send::ErrorText(outcome.error)));
    }
    if (outcome.no_memory)
        return Say(L"The reply has come, but there is too little memory to show it. Close some programs.");
    // Showing it also takes time.
    const ULONGLONG time = GetTickCount64() - sent_at_;
    reply_view_->Show(outcome.reply);
    Say(FromAnsi("Reply of " + wpk_send::SizeText(outcome.reply.length) + " after " + std::to_string(time) + " ms"));
}

void MainWindow::Say(const std::wstring& text) {
    SendDlgItemMessageW(window_, kStatus, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

}  // namespace desktop
