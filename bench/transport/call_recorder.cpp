// Records the platform calls of a module, by thread, as they happen.
// SPDX-License-Identifier: MIT
#include "call_recorder.h"

#include <windows.h>

#include <cstring>

namespace bench {

namespace {

constexpr size_t kMaximumCalls = 1 << 20;
constexpr size_t kCodeSize = 1 << 16;

volatile uint64_t recordedCount = 0;
CallRecorder::Call recorded[kMaximumCalls];

/// Appends instructions to a piece of code.
class Assembler {
public:
    explicit Assembler(uint8_t* place) : place_(place) {}

    Assembler& Bytes(std::initializer_list<uint8_t> bytes) {
        for (const uint8_t byte : bytes) *place_++ = byte;
        return *this;
    }
    template <class Value>
    Assembler& Immediate(Value value) {
        std::memcpy(place_, &value, sizeof value);
        place_ += sizeof value;
        return *this;
    }
    uint8_t* End() const { return place_; }

private:
    uint8_t* place_;
};

/// The registers used carry no arguments and need not survive a call.
uint8_t* WriteDetour(uint8_t* place, uint32_t function, uintptr_t target) {
    return Assembler(place)
        .Bytes({0xB8})  // mov eax, 1
        .Immediate(uint32_t{1})
        .Bytes({0x49, 0xBA})  // mov r10, &recordedCount
        .Immediate(reinterpret_cast<uintptr_t>(&recordedCount))
        .Bytes({0xF0, 0x49, 0x0F, 0xC1, 0x02})  // lock xadd [r10], rax
        .Bytes({0x49, 0xBA})                    // mov r10, recorded
        .Immediate(reinterpret_cast<uintptr_t>(&recorded[0]))
        .Bytes({0x65, 0x44, 0x8B, 0x1C, 0x25, 0x48, 0, 0, 0})  // mov r11d, gs:[0x48]: the thread's id
        .Bytes({0x45, 0x89, 0x1C, 0xC2})                       // mov [r10 + rax * 8], r11d
        .Bytes({0x41, 0xC7, 0x44, 0xC2, 0x04})                 // mov dword [r10 + rax * 8 + 4], function
        .Immediate(function)
        .Bytes({0x49, 0xBB})  // mov r11, target
        .Immediate(target)
        .Bytes({0x41, 0xFF, 0xE3})  // jmp r11
        .End();
}

}  // namespace

CallRecorder::CallRecorder(const char* module) {
    auto* base = reinterpret_cast<uint8_t*>(GetModuleHandleA(module));
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    code_ = static_cast<uint8_t*>(VirtualAlloc(nullptr, kCodeSize, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE));

    const auto* from = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress);
    for (; from->Name != 0; ++from) {
        const std::string prefix = std::string(reinterpret_cast<const char*>(base + from->Name)) + "!";
        const auto* named = reinterpret_cast<const uint64_t*>(base + from->OriginalFirstThunk);
        auto* slot = reinterpret_cast<uintptr_t*>(base + from->FirstThunk);
        for (; *named != 0; ++named, ++slot) {
            const bool byNumber = (*named & IMAGE_ORDINAL_FLAG64) != 0;
            const auto* name = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + *named);
            Patch(slot, prefix + (byNumber ? std::to_string(*named & 0xFFFF) : name->Name));
        }
    }
}

void CallRecorder::Patch(uintptr_t* slot, const std::string& name) {
    uint8_t* const detour = code_;
    code_ = WriteDetour(detour, static_cast<uint32_t>(names_.size()), *slot);
    names_.push_back(name);
    DWORD protection = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
    *slot = reinterpret_cast<uintptr_t>(detour);
    VirtualProtect(slot, sizeof *slot, protection, &protection);
}

std::vector<CallRecorder::Call> CallRecorder::Take() {
    std::vector<Call> calls(recorded, recorded + recordedCount);
    recordedCount = 0;
    return calls;
}

}  // namespace bench
