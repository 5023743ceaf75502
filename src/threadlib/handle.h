// Owners of the platform's handles: one template, one alias for each kind.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_HANDLE_H
#define WPK_THREADLIB_HANDLE_H

#include "threadlib/platform.h"

namespace wpk::core {

/// Owns one handle and closes it. Move-only; moving into an owner closes what it held. Closing keeps the caller's last
/// error, so that a failure can be examined after the clean-up. `Kind` gives Value, Invalid() and Close(Value): what
/// counts as "no handle" is 0 for some kinds and -1 for others.
template <class Kind>
class Unique {
public:
    using Value = typename Kind::Value;

    Unique() = default;
    explicit Unique(Value value) : value_(value) {}
    Unique(Unique&& other) noexcept : value_(other.Release()) {}
    Unique& operator=(Unique&& other) noexcept {
        if (this != &other) Reset(other.Release());
        return *this;
    }
    ~Unique() { Reset(); }

    Value Get() const { return value_; }
    explicit operator bool() const { return value_ != Kind::Invalid(); }

    /// Gives the handle away without closing it.
    Value Release() {
        const Value value = value_;
        value_ = Kind::Invalid();
        return value;
    }

    void Reset(Value value = Kind::Invalid()) {
        const Value old = value_;
        value_ = value;
        if (old == Kind::Invalid()) return;
        const DWORD error = GetLastError();
        Kind::Close(old);
        SetLastError(error);
    }

private:
    Value value_ = Kind::Invalid();
};

struct KernelHandleKind {
    using Value = HANDLE;
    static Value Invalid() { return nullptr; }
    static void Close(Value value) { CloseHandle(value); }
};

struct FileKind {
    using Value = HANDLE;
    static Value Invalid() { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) { CloseHandle(value); }
};

struct ViewKind {
    using Value = void*;
    static Value Invalid() { return nullptr; }
    static void Close(Value value) { UnmapViewOfFile(value); }
};

struct EventSourceKind {
    using Value = HANDLE;
    static Value Invalid() { return nullptr; }
    static void Close(Value value) { DeregisterEventSource(value); }
};

struct SocketKind {
    using Value = SOCKET;
    static Value Invalid() { return INVALID_SOCKET; }
    static void Close(Value value) { closesocket(value); }
};

using UniqueHandle = Unique<KernelHandleKind>;
using UniqueFile = Unique<FileKind>;
using UniqueView = Unique<ViewKind>;
using UniqueEventSource = Unique<EventSourceKind>;
using UniqueSocket = Unique<SocketKind>;

}  // namespace wpk::core

#endif
