// The table of everything that has a handle.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FAKE_PLATFORM_SRC_OBJECT_H
#define WPK_TESTS_FAKE_PLATFORM_SRC_OBJECT_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "windows.h"

namespace wpk::host {

enum class Kind { kSemaphore, kThread, kFile, kMapping, kKey, kEventSource, kSocket };

/// Something that handles lead to. It lives as long as a handle or a call in progress needs it.
class Object {
public:
    explicit Object(Kind kind) : kind_(kind) {}
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;

    Kind GetKind() const { return kind_; }
    /// One handle more, one less. Called by the table.
    void HandleOpened();
    void HandleClosed();

protected:
    bool HasHandle() const { return handles_ != 0; }
    /// The last handle has been closed; calls in progress may still use the object.
    virtual void LastHandleClosed() {}

private:
    Kind kind_;
    std::atomic<int> handles_{0};
};

/// Open handles of a kind.
int64_t LiveHandles(Kind kind);

// Slots are numbered from 1 and never used again. Finding one locks nothing but the slot itself.

uint32_t AddObject(std::shared_ptr<Object> object);
/// Null when the slot is closed or has never been used.
std::shared_ptr<Object> FindObject(uint32_t slot);
std::shared_ptr<Object> RemoveObject(uint32_t slot);

/// How many slots have been used, and the way back there if all later ones are closed: for runs under the scheduler,
/// of which there may be more than there are slots.
uint32_t UsedSlots();
void ReuseSlotsAfter(uint32_t slot);

/// A new handle to the object.
HANDLE OpenHandle(std::shared_ptr<Object> object);

inline HANDLE ToHandle(uint32_t slot) {
    return reinterpret_cast<HANDLE>(static_cast<uintptr_t>(slot) * 4);
}
/// 0 for what cannot be a handle of ours.
uint32_t ToSlot(const void* handle);

/// The object behind a handle. When there is none or it is of another kind: null, a misuse and ERROR_INVALID_HANDLE.
std::shared_ptr<Object> UseHandle(const char* call, const void* handle);
std::shared_ptr<Object> UseHandle(const char* call, const void* handle, Kind kind);

/// Closes a handle; false, as UseHandle, when there is none.
bool CloseSlot(const char* call, const void* handle);

}  // namespace wpk::host

#endif  // WPK_TESTS_FAKE_PLATFORM_SRC_OBJECT_H
