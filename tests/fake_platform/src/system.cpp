// The machine that the fake platform pretends to be: version, folders, modules and event log.
// SPDX-License-Identifier: MIT
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <utility>

#include "fake_platform/control.h"
#include "fake_platform/src/call.h"
#include "fake_platform/src/object.h"
#include "fake_platform/src/system.h"
#include "windows.h"

namespace wpk::host {
namespace {

struct Module {
    std::map<std::string, FARPROC> functions;
    int64_t references = 0;
    bool known = false;
    bool pinned = false;
};

struct Machine {
    uint32_t version = Version(6, 2);
    std::string tempDirectory = "/tmp/";
    std::string windowsDirectory = "C:\\Windows";
    std::string systemDirectory = "C:\\Windows\\System32";
    std::string userName = "user";
    std::vector<Event> events;
};

/// Never destroyed: static objects of the library ask for it before main and after it. A module's place is its handle,
/// so modules are forgotten but never taken out.
struct System {
    std::mutex mutex;
    Machine machine;
    std::map<std::string, Module> modules;
};

System& TheSystem() {
    static System& system = *new System;
    return system;
}

class EventSource : public Object {
public:
    explicit EventSource(std::string name) : Object(Kind::kEventSource), name_(std::move(name)) {}
    const std::string& Name() const { return name_; }

private:
    const std::string name_;
};

/// As the directory calls do: the length without the zero, or the size needed with it when the room is too small.
uint32_t CopyText(const std::string Machine::*text, char* buffer, uint32_t size) {
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    const std::string& source = system.machine.*text;
    const auto length = static_cast<uint32_t>(source.size());
    if (length == 0) return 0;
    if (size <= length) return length + 1;
    std::memcpy(buffer, source.c_str(), length + 1);
    return length;
}

void SetText(std::string Machine::*text, std::string value) {
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    system.machine.*text = std::move(value);
}

std::string ModuleName(std::string_view name) {
    std::string lower = Lower(name);
    if (lower.find('.') == std::string::npos) lower += ".dll";
    return lower;
}

/// With the mutex held; null and a misuse when the handle is none.
Module* UseModule(System& system, const char* call, HMODULE handle) {
    for (auto& [name, module] : system.modules) {
        if (static_cast<void*>(&module) == handle && module.references > 0) return &module;
    }
    RecordMisuse(std::string(call) + ": no loaded module");
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

HMODULE ToHandle(Module& module) {
    return static_cast<HMODULE>(static_cast<void*>(&module));
}

}  // namespace

void ResetMachine() {
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    system.machine = Machine();
    for (auto& [name, module] : system.modules) module.known = false;
}

int64_t LiveModules() {
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    int64_t references = 0;
    for (const auto& [name, module] : system.modules) references += module.references;
    return references;
}

std::vector<Event> EventLog() {
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    return system.machine.events;
}

void SetVersion(uint32_t version) {
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    system.machine.version = version;
}

void SetTempDirectory(std::string path) {
    SetText(&Machine::tempDirectory, std::move(path));
}

void SetWindowsDirectory(std::string path) {
    SetText(&Machine::windowsDirectory, std::move(path));
}

void SetSystemDirectory(std::string path) {
    SetText(&Machine::systemDirectory, std::move(path));
}

void SetUserName(std::string name) {
    SetText(&Machine::userName, std::move(name));
}

void AddModule(std::string_view name, std::map<std::string, FARPROC> functions) {
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    Module& module = system.modules[ModuleName(name)];
    module.known = true;
    module.functions = std::move(functions);
}

int64_t ModuleReferences(std::string_view name) {
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    return system.modules[ModuleName(name)].references;
}

bool ModulePinned(std::string_view name) {
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    return system.modules[ModuleName(name)].pinned;
}

}  // namespace wpk::host

using namespace wpk::host;

DWORD GetVersion() {
    const CallScope call(Call::kGetVersion);
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    return system.machine.version;
}

DWORD GetTempPathA(DWORD size, LPSTR buffer) {
    const CallScope call(Call::kGetTempPathA);
    return call.Fails() ? 0 : CopyText(&Machine::tempDirectory, buffer, size);
}

UINT GetWindowsDirectoryA(LPSTR buffer, UINT size) {
    const CallScope call(Call::kGetWindowsDirectoryA);
    return call.Fails() ? 0 : CopyText(&Machine::windowsDirectory, buffer, size);
}

UINT GetSystemDirectoryA(LPSTR buffer, UINT size) {
    const CallScope call(Call::kGetSystemDirectoryA);
    return call.Fails() ? 0 : CopyText(&Machine::systemDirectory, buffer, size);
}

BOOL GetUserNameA(LPSTR buffer, LPDWORD size) {
    const CallScope call(Call::kGetUserNameA);
    if (call.Fails()) return FALSE;
    const DWORD room = *size;
    const uint32_t length = CopyText(&Machine::userName, buffer, room);
    if (length == 0) return FALSE;
    // Unlike the others, this one counts the zero.
    *size = length < room ? length + 1 : length;
    if (length < room) return TRUE;
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
}

HMODULE LoadLibraryA(LPCSTR name) {
    const CallScope call(Call::kLoadLibraryA);
    if (call.Fails()) return nullptr;
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    const auto found = system.modules.find(ModuleName(name));
    if (found == system.modules.end() || !found->second.known) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    ++found->second.references;
    return ToHandle(found->second);
}

BOOL FreeLibrary(HMODULE handle) {
    const CallScope call(Call::kFreeLibrary);
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    Module* module = UseModule(system, "FreeLibrary", handle);
    if (!module) return FALSE;
    --module->references;
    return !call.Fails();
}

FARPROC GetProcAddress(HMODULE handle, LPCSTR name) {
    const CallScope call(Call::kGetProcAddress);
    if (call.Fails()) return nullptr;
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    const Module* module = UseModule(system, "GetProcAddress", handle);
    if (!module) return nullptr;
    const auto found = module->functions.find(name);
    if (found != module->functions.end()) return found->second;
    SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
}

BOOL GetModuleHandleExA(DWORD flags, LPCSTR nameOrAddress, HMODULE* handle) {
    const CallScope call(Call::kGetModuleHandleExA);
    *handle = nullptr;
    if (call.Fails()) return FALSE;
    const bool byAddress = (flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS) != 0;
    const std::string name = byAddress ? "wpk.dll" : ModuleName(nameOrAddress ? nameOrAddress : "program.exe");
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    Module& module = system.modules[name];
    if (!byAddress && module.references == 0 && !module.pinned) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return FALSE;
    }
    if (flags & GET_MODULE_HANDLE_EX_FLAG_PIN) {
        module.pinned = true;
    } else if (!(flags & GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT)) {
        ++module.references;
    }
    *handle = ToHandle(module);
    return TRUE;
}

HANDLE RegisterEventSourceA(LPCSTR, LPCSTR source) {
    const CallScope call(Call::kRegisterEventSourceA);
    if (call.Fails()) return nullptr;
    return OpenHandle(std::make_shared<EventSource>(source));
}

BOOL ReportEventA(HANDLE handle, WORD type, WORD category, DWORD id, PSID, WORD textCount, DWORD dataSize,
                  LPCSTR* texts, LPVOID) {
    const CallScope call(Call::kReportEventA);
    if (call.Fails()) return FALSE;
    const auto source = UseHandle("ReportEventA", handle, Kind::kEventSource);
    if (!source) return FALSE;
    System& system = TheSystem();
    const std::lock_guard lock(system.mutex);
    system.machine.events.push_back({static_cast<EventSource&>(*source).Name(), type, category, id,
                                     std::vector<std::string>(texts, texts + textCount), dataSize});
    return TRUE;
}

BOOL DeregisterEventSource(HANDLE handle) {
    const CallScope call(Call::kDeregisterEventSource);
    if (!UseHandle("DeregisterEventSource", handle, Kind::kEventSource)) return FALSE;
    return CloseSlot("DeregisterEventSource", handle) && !call.Fails();
}
