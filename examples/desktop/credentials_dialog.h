// CredentialsDialog: asks for the user name and the password for the proxy.
// SPDX-License-Identifier: MIT
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "mailbox.h"

namespace desktop {

/// The window's thread only.
class CredentialsDialog {
public:
    /// Shows the dialog and returns when it is closed; meanwhile the thread handles messages as usual.
    /// @param proxy the proxy's host, for the text.
    /// @param refused_user the name that the proxy has refused; empty when none was sent.
    /// @return nothing when the user cancels, or Dismiss is called.
    std::optional<Credentials> Ask(HWND owner, const std::wstring& proxy, const std::wstring& refused_user);

    bool IsOpen() const { return dialog_ != nullptr; }

    /// Ends the dialog as if the user had cancelled it.
    void Dismiss();

private:
    static INT_PTR CALLBACK Dispatch(HWND dialog, UINT message, WPARAM wide, LPARAM parameter);
    INT_PTR Handle(UINT message, WPARAM wide);
    void Fill();
    /// False if the library could not take the input; the dialog says so.
    bool Take();
    std::optional<std::string> TakeField(int id, const std::wstring& name) const;
    std::wstring FieldText(int id) const;

    HWND dialog_ = nullptr;
    std::wstring question_;
    std::wstring user_;
    std::optional<Credentials> answer_;
};

}  // namespace desktop
