// Modules and remote access of a machine made up for a test.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_UNIT_ENV_FAKE_MODULES_H
#define WPK_TESTS_UNIT_ENV_FAKE_MODULES_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "env/modem_poll.h"
#include "env/module_calls.h"

namespace wpk::test {

/// Modules by name with their functions. One lives at a time; its Calls() lead to it.
class FakeModules {
public:
    FakeModules();
    FakeModules(const FakeModules&) = delete;
    FakeModules& operator=(const FakeModules&) = delete;
    ~FakeModules();

    void Add(const std::string& module) { functions_[module]; }
    template <class Function>
    void Add(const std::string& module, const std::string& function, Function* address) {
        functions_[module][function] = reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(address));
    }
    void Remove(const std::string& module) { functions_.erase(module); }

    core::ModuleCalls Calls() const;

    /// "load x", "find f in x", "free x", in the order of the calls.
    std::vector<std::string> Trace() const;
    /// Loads that have not been freed.
    int Loaded(const std::string& module) const;

private:
    static HMODULE WINAPI Load(LPCSTR name);
    static FARPROC WINAPI Find(HMODULE module, LPCSTR name);
    static BOOL WINAPI Free(HMODULE module);
    void Note(const std::string& what);

    std::map<std::string, std::map<std::string, FARPROC>> functions_;
    /// The handle of a module is the address of its entry here.
    std::map<std::string, int> loaded_;
    std::vector<std::string> trace_;
};

/// One connection as the system shows it.
struct FakeConnection {
    std::string deviceType;
    DWORD state = core::kRasConnected;
    DWORD statusResult = ERROR_SUCCESS;
};

/// What one enumeration shows.
struct Scene {
    std::vector<FakeConnection> connections;
    DWORD enumerationResult = ERROR_SUCCESS;
};

inline Scene ModemIn(DWORD state) {
    return {{{"modem", state}}};
}
inline Scene Nothing() {
    return {};
}
inline Scene Failing() {
    return {{}, ERROR_NOT_ENOUGH_MEMORY};
}

/// Remote access that shows one scene after the other, a scene an enumeration; the last one stays.
namespace script {

void Play(std::vector<Scene> scenes);
/// Runs `action` inside the enumeration of that number since the last Play (1: the next one), on its thread.
void RunInEnumeration(uint32_t number, std::function<void()> action);
/// Waits until so many enumerations have been made in all.
void AwaitEnumerations(uint32_t count);
uint32_t Enumerations();

DWORD WINAPI EnumConnections(core::RasConnection* connections, DWORD* bufferSize, DWORD* count);
DWORD WINAPI GetConnectStatus(void* connection, core::RasConnectionStatus* status);

}  // namespace script

}  // namespace wpk::test

#endif
