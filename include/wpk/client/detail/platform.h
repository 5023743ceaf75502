/// @file
/// The few system functions that the client layer calls, without <windows.h>. Nothing here is for applications.
// SPDX-License-Identifier: MIT
//
// They are declared here as <windows.h> declares them, so that header may be included before, after, or not at all.
#ifndef WPK_CLIENT_DETAIL_PLATFORM_H
#define WPK_CLIENT_DETAIL_PLATFORM_H

#include <wpk/client/detail/requirements.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace wpk {
inline namespace client {
namespace detail {

extern "C" {
__declspec(dllimport) unsigned long __stdcall GetCurrentThreadId(void);
__declspec(dllimport) void* __stdcall OpenThread(unsigned long access, int inherit, unsigned long id);
__declspec(dllimport) unsigned long __stdcall WaitForSingleObject(void* object, unsigned long milliseconds);
__declspec(dllimport) int __stdcall CloseHandle(void* object);
__declspec(dllimport) unsigned int __stdcall GetACP(void);
__declspec(dllimport) int __stdcall WideCharToMultiByte(unsigned int code_page, unsigned long flags,
                                                        const wchar_t* wide, int wide_length, char* bytes,
                                                        int byte_count, const char* substitute, int* substituted);
}

inline unsigned long CurrentThread() noexcept {
    return GetCurrentThreadId();
}

/// Tells whether a thread has ended, and keeps its id from being given to another one. Neither copied nor moved; one
/// thread at a time.
class ThreadWatch {
public:
    ThreadWatch() = default;
    ThreadWatch(const ThreadWatch&) = delete;
    ThreadWatch& operator=(const ThreadWatch&) = delete;
    ~ThreadWatch() {
        if (thread_) CloseHandle(thread_);
    }

    /// Call it once, on the thread to be watched.
    void WatchThisThread() noexcept {
        constexpr unsigned long kSynchronize = 0x00100000;
        thread_ = OpenThread(kSynchronize, /*inherit=*/0, GetCurrentThreadId());
    }

    /// A thread that the system does not let us watch counts as running for ever.
    bool Ended() const noexcept { return thread_ && WaitForSingleObject(thread_, /*milliseconds=*/0) == 0; }

private:
    void* thread_ = nullptr;
};

/// Converts a text to the ANSI code page; false when a character has no exact counterpart there. Its length must not
/// exceed the largest int.
inline bool WideToAnsi(std::wstring_view wide, std::string& bytes) {
    bytes.clear();
    if (wide.empty()) return true;
    // The system refuses the question after substitutes, and the wish for none, where the code page is UTF-8, which has
    // every character; it has another flag there, for surrogates without their other half.
    constexpr unsigned int kUtf8 = 65001;
    constexpr unsigned long kErrorOnInvalidCharacters = 0x80;
    constexpr unsigned long kNoBestFit = 0x400;
    const bool utf8 = GetACP() == kUtf8;
    const unsigned long flags = utf8 ? kErrorOnInvalidCharacters : kNoBestFit;
    int substituted = 0;
    const auto convert = [&](char* target, int size) {
        return WideCharToMultiByte(/*code_page=*/0, flags, wide.data(), static_cast<int>(wide.size()), target, size,
                                   /*substitute=*/nullptr, utf8 ? nullptr : &substituted);
    };
    const int size = convert(nullptr, 0);
    if (size <= 0 || substituted) return false;
    bytes.resize(static_cast<std::size_t>(size));
    return convert(bytes.data(), size) == size && !substituted;
}

}  // namespace detail
}  // namespace client
}  // namespace wpk

#endif  // WPK_CLIENT_DETAIL_PLATFORM_H
