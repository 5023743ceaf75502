// CredentialsDialog: asks for the user name and the password for the proxy.
// SPDX-License-Identifier: MIT
#include "credentials_dialog.h"

#include <wpk/wpk.h>

#include <array>
#include <utility>

#include "resource.h"
#include "text.h"

namespace desktop {

std::optional<Credentials> CredentialsDialog::Ask(HWND owner, const std::wstring& proxy,
                                                  const std::wstring& refused_user) {
    question_ = refused_user.empty() ? L"The proxy " + proxy + L" wants a user name and a password."
                                     : L"The proxy " + proxy + L" refuses this user name and password.";
    user_ = refused_user;
    answer_.reset();
    DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_CREDENTIALS), owner, Dispatch,
                    reinterpret_cast<LPARAM>(this));
    dialog_ = nullptr;
    return std::exchange(answer_, std::nullopt);
}

void CredentialsDialog::Dismiss() {
    if (dialog_ != nullptr) EndDialog(dialog_, IDCANCEL);
}

INT_PTR CALLBACK CredentialsDialog::Dispatch(HWND dialog, UINT message, WPARAM wide, LPARAM parameter) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(dialog, DWLP_USER, parameter);
        reinterpret_cast<CredentialsDialog*>(parameter)->dialog_ = dialog;
    }
    // A few messages come before WM_INITDIALOG.
    auto* self = reinterpret_cast<CredentialsDialog*>(GetWindowLongPtrW(dialog, DWLP_USER));
    return self == nullptr ? FALSE : self->Handle(message, wide);
}

INT_PTR CredentialsDialog::Handle(UINT message, WPARAM wide) {
    if (message == WM_INITDIALOG) {
        Fill();
        return FALSE;  // The focus has been set.
    }
    if (message != WM_COMMAND) return FALSE;
    switch (LOWORD(wide)) {
        case IDOK:
            if (Take()) EndDialog(dialog_, IDOK);
            return TRUE;
        case IDCANCEL:
            EndDialog(dialog_, IDCANCEL);
            return TRUE;
        default:
            return FALSE;
    }
}

void CredentialsDialog::Fill() {
    SetDlgItemTextW(dialog_, IDC_QUESTION, question_.c_str());
    SetDlgItemTextW(dialog_, IDC_USER, user_.c_str());
    for (const int id : {IDC_USER, IDC_PASSWORD}) {
        SendDlgItemMessageW(dialog_, id, EM_SETLIMITTEXT, WPK_CREDENTIAL_SIZE - 1, 0);
    }
    SetFocus(GetDlgItem(dialog_, user_.empty() ? IDC_USER : IDC_PASSWORD));
}

bool CredentialsDialog::Take() {
    const std::optional<std::string> user = TakeField(IDC_USER, L"The user name");
    const std::optional<std::string> password = user ? TakeField(IDC_PASSWORD, L"The password") : std::nullopt;
    if (password) answer_ = Credentials{*user, *password};
    return password.has_value();
}

std::optional<std::string> CredentialsDialog::TakeField(int id, const std::wstring& name) const {
    std::optional<std::string> text = ToAnsi(FieldText(id));
    // A character may take several bytes, so a text that fits into the field may still be too long.
    if (text && text->size() < WPK_CREDENTIAL_SIZE) return text;
    const std::wstring trouble = text ? L" is too long to be sent: more than 255 bytes."
                                      : L" holds a character that the system's code page lacks, so it cannot be sent.";
    SetDlgItemTextW(dialog_, IDC_QUESTION, (name + trouble + L" Enter another one.").c_str());
    SetFocus(GetDlgItem(dialog_, id));
    return std::nullopt;
}

std::wstring CredentialsDialog::FieldText(int id) const {
    std::array<wchar_t, WPK_CREDENTIAL_SIZE> text;
    return {text.data(), GetDlgItemTextW(dialog_, id, text.data(), static_cast<int>(text.size()))};
}

}  // namespace desktop
