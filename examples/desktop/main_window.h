// MainWindow: takes the user's message and shows its outcome.
// SPDX-License-Identifier: MIT
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "controls.h"
#include "credentials_dialog.h"
#include "mailbox.h"
#include "options.h"
#include "reply_view.h"
#include "session.h"

namespace desktop {

/// The name of its window class.
inline constexpr wchar_t kMainWindowClass[] = L"WpkDesktop";

/// The window's thread only.
class MainWindow {
public:
    /// Creates the window without showing it. @throws std::runtime_error if that fails.
    explicit MainWindow(const Options& options);
    ~MainWindow();
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;

    /// Initialises the library, shows the window and handles messages until it is closed. @return the exit status.
    /// @throws std::runtime_error if the library cannot be initialised.
    int Run(int how);

private:
    static LRESULT CALLBACK Dispatch(HWND window, UINT message, WPARAM wide, LPARAM parameter);
    LRESULT Handle(HWND window, UINT message, WPARAM wide, LPARAM parameter);
    int HandleMessages() const;

    void FillFields() const;
    void OnCommand(int id);
    void OnActivate(bool active);
    void OnNextControl(WPARAM wide, bool is_control);
    void OnDpiChanged(int dpi, const RECT& place);
    void OnClose();

    void Send();
    std::optional<Message> EnteredMessage();
    std::optional<std::string> EnteredName(ControlId field, const std::wstring& whose);
    void ShowRunning(bool running);

    void OnMail();
    void AskForCredentials(const std::string& refused_user);
    void ShowConnection(bool connected);
    void ShowProgress(const Progress& progress);
    void ShowOutcome(const Outcome& outcome);
    void Say(const std::wstring& text);

    HWND window_ = nullptr;
    int dpi_ = 96;
    const Options options_;
    MessageFont font_;
    HWND focus_ = nullptr;
    CredentialsDialog credentials_dialog_;
    bool closing_ = false;
    ULONGLONG sent_at_ = 0;
    std::optional<ReplyView> reply_view_;
    // The library uses both until the process ends, so they are never deleted.
    Mailbox* mailbox_ = nullptr;
    Session* session_ = nullptr;
};

}  // namespace desktop
