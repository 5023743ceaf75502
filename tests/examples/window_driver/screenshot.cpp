// A picture of a window as it stands on the screen.
// SPDX-License-Identifier: MIT
#include "screenshot.h"

#include <objidl.h>

#include <gdiplus.h>

#include <stdexcept>

namespace window_driver {
namespace {

/// What the system's PNG encoder is known by.
constexpr CLSID kPngEncoder = {0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

HBITMAP ScreenPart(const RECT& part) {
    const int width = part.right - part.left;
    const int height = part.bottom - part.top;
    const HDC screen = GetDC(nullptr);
    const HDC memory = CreateCompatibleDC(screen);
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
    const HGDIOBJ before = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, width, height, screen, part.left, part.top, SRCCOPY);
    SelectObject(memory, before);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    return bitmap;
}

}  // namespace

void SaveScreenshot(HWND window, const std::wstring& file) {
    RECT place;
    GetWindowRect(window, &place);
    const HBITMAP bitmap = ScreenPart(place);
    Gdiplus::GdiplusStartupInput input;
    ULONG_PTR token = 0;
    Gdiplus::GdiplusStartup(&token, &input, nullptr);
    const Gdiplus::Status status = Gdiplus::Bitmap(bitmap, nullptr).Save(file.c_str(), &kPngEncoder, nullptr);
    Gdiplus::GdiplusShutdown(token);
    DeleteObject(bitmap);
    if (status != Gdiplus::Ok) throw std::runtime_error("the picture cannot be written");
}

}  // namespace window_driver
