// Replaces functions that a loaded module imports, to watch its platform calls or to make them fail.
// SPDX-License-Identifier: MIT
#include "support/dll/import_patch.h"

namespace wpk::harness {
namespace {

template <class Type>
Type* At(HMODULE module, size_t offset) {
    return reinterpret_cast<Type*>(reinterpret_cast<char*>(module) + offset);
}

const IMAGE_IMPORT_DESCRIPTOR* Imports(HMODULE module) {
    const auto* headers = At<IMAGE_NT_HEADERS>(module, static_cast<size_t>(At<IMAGE_DOS_HEADER>(module, 0)->e_lfanew));
    return At<IMAGE_IMPORT_DESCRIPTOR>(
        module, headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
}

void Write(void** slot, void* value) {
    DWORD protection = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
    *static_cast<void* volatile*>(slot) = value;
    VirtualProtect(slot, sizeof *slot, protection, &protection);
}

}  // namespace

ImportPatch::ImportPatch(HMODULE module, const char* function, void* replacement) {
    for (const IMAGE_IMPORT_DESCRIPTOR* from = Imports(module); from->Name != 0; ++from) {
        // By address, not by name: an import by ordinal or through a forwarder is found as well.
        const HMODULE exporter = GetModuleHandleA(At<char>(module, from->Name));
        void* address = exporter ? AddressOf(GetProcAddress(exporter, function)) : nullptr;
        if (!address) continue;
        for (void** slot = At<void*>(module, from->FirstThunk); *slot; ++slot) {
            if (*slot != address) continue;
            original_ = address;
            slots_.push_back(slot);
            Write(slot, replacement);
        }
    }
}

ImportPatch::~ImportPatch() {
    for (void** slot : slots_) Write(slot, original_);
}

ImportPatch::ImportPatch(ImportPatch&& other) noexcept : slots_(std::move(other.slots_)), original_(other.original_) {
    other.slots_.clear();
}

}  // namespace wpk::harness
