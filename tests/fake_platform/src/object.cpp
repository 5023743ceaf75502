// The table of everything that has a handle.
// SPDX-License-Identifier: MIT
#include "fake_platform/src/object.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "fake_platform/src/call.h"

namespace wpk::host {
namespace {

struct Slot {
    std::mutex mutex;
    std::shared_ptr<Object> object;
};

constexpr uint32_t kChunkSize = 1024;
constexpr uint32_t kChunkCount = 16384;

using Chunk = std::array<Slot, kChunkSize>;

/// Chunks are made as they are needed and stay: a thread may come with an old handle at any time.
std::array<std::atomic<Chunk*>, kChunkCount> chunks{};
std::atomic<uint32_t> used{0};
std::array<std::atomic<int64_t>, 7> live{};

Chunk& ChunkOf(uint32_t index) {
    if (index >= kChunkCount) {
        std::fputs("the fake platform has run out of handles\n", stderr);
        std::abort();
    }
    std::atomic<Chunk*>& place = chunks[index];
    Chunk* chunk = place.load(std::memory_order_acquire);
    if (chunk) return *chunk;
    auto* fresh = new Chunk;
    if (place.compare_exchange_strong(chunk, fresh, std::memory_order_acq_rel)) return *fresh;
    delete fresh;
    return *chunk;
}

Slot* SlotAt(uint32_t slot) {
    if (slot == 0 || slot > used.load(std::memory_order_relaxed)) return nullptr;
    return &ChunkOf((slot - 1) / kChunkSize)[(slot - 1) % kChunkSize];
}

std::atomic<int64_t>& LiveOf(Kind kind) {
    return live[static_cast<size_t>(kind)];
}

void RecordBadHandle(const char* call, const void* handle, const char* what) {
    char text[128];
    std::snprintf(text, sizeof text, "%s: %s %p", call, what, handle);
    RecordMisuse(text);
    SetLastError(ERROR_INVALID_HANDLE);
}

}  // namespace

void Object::HandleOpened() {
    handles_.fetch_add(1);
    LiveOf(kind_).fetch_add(1, std::memory_order_relaxed);
}

void Object::HandleClosed() {
    LiveOf(kind_).fetch_sub(1, std::memory_order_relaxed);
    if (handles_.fetch_sub(1) == 1) LastHandleClosed();
}

int64_t LiveHandles(Kind kind) {
    return LiveOf(kind).load(std::memory_order_relaxed);
}

uint32_t AddObject(std::shared_ptr<Object> object) {
    const uint32_t slot = used.fetch_add(1, std::memory_order_relaxed) + 1;
    Slot& place = *SlotAt(slot);
    const std::lock_guard lock(place.mutex);
    place.object = std::move(object);
    return slot;
}

std::shared_ptr<Object> FindObject(uint32_t slot) {
    Slot* place = SlotAt(slot);
    if (!place) return nullptr;
    const std::lock_guard lock(place->mutex);
    return place->object;
}

std::shared_ptr<Object> RemoveObject(uint32_t slot) {
    Slot* place = SlotAt(slot);
    if (!place) return nullptr;
    const std::lock_guard lock(place->mutex);
    return std::exchange(place->object, nullptr);
}

uint32_t UsedSlots() {
    return used.load(std::memory_order_relaxed);
}

void ReuseSlotsAfter(uint32_t slot) {
    for (uint32_t later = UsedSlots(); later > slot; --later) {
        if (FindObject(later)) return;
    }
    used.store(slot, std::memory_order_relaxed);
}

HANDLE OpenHandle(std::shared_ptr<Object> object) {
    object->HandleOpened();
    return ToHandle(AddObject(std::move(object)));
}

uint32_t ToSlot(const void* handle) {
    const auto value = reinterpret_cast<uintptr_t>(handle);
    return value % 4 == 0 && value / 4 <= UINT32_MAX ? static_cast<uint32_t>(value / 4) : 0;
}

std::shared_ptr<Object> UseHandle(const char* call, const void* handle) {
    std::shared_ptr<Object> object = FindObject(ToSlot(handle));
    if (!object) RecordBadHandle(call, handle, "no open handle");
    return object;
}

std::shared_ptr<Object> UseHandle(const char* call, const void* handle, Kind kind) {
    std::shared_ptr<Object> object = UseHandle(call, handle);
    if (!object || object->GetKind() == kind) return object;
    RecordBadHandle(call, handle, "wrong kind of handle");
    return nullptr;
}

bool CloseSlot(const char* call, const void* handle) {
    const std::shared_ptr<Object> object = RemoveObject(ToSlot(handle));
    if (!object) {
        RecordBadHandle(call, handle, "no open handle");
        return false;
    }
    object->HandleClosed();
    return true;
}

}  // namespace wpk::host
