// Modules and remote access of a machine made up for a test.
// SPDX-License-Identifier: MIT
#include "fake_modules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <utility>

#include "threadlib/semaphore.h"

namespace wpk::test {

using namespace core;

namespace {

FakeModules* modules = nullptr;
/// Modules may be used from several threads at once.
const Semaphore& ModulesLock() {
    static const Semaphore lock(SemaphoreKind::kLock);
    return lock;
}

}  // namespace

FakeModules::FakeModules() {
    modules = this;
}

FakeModules::~FakeModules() {
    modules = nullptr;
}

ModuleCalls FakeModules::Calls() const {
    ModuleCalls calls;
    calls.loadLibrary = &Load;
    calls.getProcAddress = &Find;
    calls.freeLibrary = &Free;
    return calls;
}

std::vector<std::string> FakeModules::Trace() const {
    const ScopedLock lock(ModulesLock());
    return trace_;
}

int FakeModules::Loaded(const std::string& module) const {
    const ScopedLock lock(ModulesLock());
    const auto found = loaded_.find(module);
    return found == loaded_.end() ? 0 : found->second;
}

void FakeModules::Note(const std::string& what) {
    trace_.push_back(what);
}

HMODULE WINAPI FakeModules::Load(LPCSTR name) {
    const ScopedLock lock(ModulesLock());
    modules->Note(std::string("load ") + name);
    if (modules->functions_.count(name) == 0) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    const auto entry = modules->loaded_.try_emplace(name, 0).first;
    ++entry->second;
    return reinterpret_cast<HMODULE>(&*entry);
}

FARPROC WINAPI FakeModules::Find(HMODULE module, LPCSTR name) {
    const ScopedLock lock(ModulesLock());
    const std::string moduleName = reinterpret_cast<std::pair<const std::string, int>*>(module)->first;
    modules->Note(std::string("find ") + name + " in " + moduleName);
    const auto& functions = modules->functions_[moduleName];
    const auto found = functions.find(name);
    if (found != functions.end()) return found->second;
    SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
}

BOOL WINAPI FakeModules::Free(HMODULE module) {
    const ScopedLock lock(ModulesLock());
    auto* entry = reinterpret_cast<std::pair<const std::string, int>*>(module);
    modules->Note("free " + entry->first);
    EXPECT_GT(entry->second, 0) << entry->first << " is not loaded";
    --entry->second;
    // As on a real system: what was there before the call is not promised to be there after it.
    SetLastError(ERROR_INVALID_HANDLE);
    return TRUE;
}

namespace script {

namespace {

/// Guarded by the lock.
struct State {
    Semaphore lock{SemaphoreKind::kLock};
    Semaphore advanced{SemaphoreKind::kSignal};
    std::vector<Scene> scenes;
    uint32_t enumerations = 0;
    uint32_t actionNumber = 0;
    std::function<void()> action;
    /// What each thread's last enumeration has shown: its questions about connections are about that one, whatever
    /// other threads enumerate meanwhile. No thread_local: objects of threads that are ended by force are never
    /// destroyed.
    std::map<DWORD, Scene> shown;
};

State& TheState() {
    static State state;
    return state;
}

/// The next scene, which the calling thread is shown.
Scene TakeScene() {
    State& state = TheState();
    const ScopedLock lock(state.lock);
    const size_t index = std::min<size_t>(state.enumerations, state.scenes.size() - 1);
    ++state.enumerations;
    return state.shown[GetCurrentThreadId()] = state.scenes.at(index);
}

/// What is to be done in the enumeration that has just taken its scene; empty for nothing.
std::function<void()> TakeAction() {
    State& state = TheState();
    const ScopedLock lock(state.lock);
    if (state.enumerations != state.actionNumber) return {};
    return std::exchange(state.action, nullptr);
}

/// What the calling thread was shown last.
Scene ShownScene() {
    State& state = TheState();
    const ScopedLock lock(state.lock);
    return state.shown.at(GetCurrentThreadId());
}

}  // namespace

void Play(std::vector<Scene> scenes) {
    State& state = TheState();
    const ScopedLock lock(state.lock);
    state.scenes = std::move(scenes);
    state.enumerations = 0;
    state.action = nullptr;
}

void RunInEnumeration(uint32_t number, std::function<void()> action) {
    State& state = TheState();
    const ScopedLock lock(state.lock);
    state.actionNumber = number;
    state.action = std::move(action);
}

uint32_t Enumerations() {
    State& state = TheState();
    const ScopedLock lock(state.lock);
    return state.enumerations;
}

void AwaitEnumerations(uint32_t count) {
    while (Enumerations() < count) TheState().advanced.Wait();
}

DWORD WINAPI EnumConnections(RasConnection* connections, DWORD* bufferSize, DWORD* count) {
    const Scene scene = TakeScene();
    if (const std::function<void()> action = TakeAction()) action();
    TheState().advanced.Signal();

    EXPECT_EQ(connections[0].size, 724u);
    EXPECT_EQ(*bufferSize, 7240u);
    *count = static_cast<DWORD>(scene.connections.size());
    if (scene.connections.size() > 10) {
        *bufferSize = static_cast<DWORD>(scene.connections.size() * sizeof(RasConnection));
        return 603;  // the buffer is too small
    }
    for (size_t i = 0; i < scene.connections.size(); ++i) {
        const std::string& type = scene.connections[i].deviceType;
        std::memset(&connections[i], 0x7F, sizeof(RasConnection));
        connections[i].size = sizeof(RasConnection);
        connections[i].connection = reinterpret_cast<void*>(i + 1);
        std::memcpy(connections[i].deviceType, type.c_str(), std::min<size_t>(type.size() + 1, 17));
    }
    return scene.enumerationResult;
}

DWORD WINAPI GetConnectStatus(void* connection, RasConnectionStatus* status) {
    EXPECT_EQ(status->size, 332u);
    const FakeConnection shown = ShownScene().connections.at(reinterpret_cast<uintptr_t>(connection) - 1);
    EXPECT_EQ(shown.deviceType.size(), 5u) << "only modems are asked for their state";
    if (shown.statusResult == ERROR_SUCCESS) status->state = shown.state;
    return shown.statusResult;
}

}  // namespace script

}  // namespace wpk::test
