// The registry of the pretended registry.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>

#include "fake_platform/control.h"
#include "fake_platform/src/call.h"
#include "fake_platform/src/object.h"
#include "fake_platform/src/system.h"
#include "windows.h"

namespace wpk::host {

std::string Lower(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    return lower;
}

namespace {

/// A registry key: its root and its path, in lower case.
using KeyPath = std::pair<HKEY, std::string>;

/// Never destroyed: static objects of the library ask for it before main and after it.
struct Registry {
    std::mutex mutex;
    bool keyCreation = true;
    std::map<KeyPath, std::map<std::string, std::string>> keys;
};

Registry& TheRegistry() {
    static Registry& registry = *new Registry;
    return registry;
}

class Key : public Object {
public:
    explicit Key(KeyPath path) : Object(Kind::kKey), path_(std::move(path)) {}
    const KeyPath& Path() const { return path_; }

private:
    const KeyPath path_;
};

LSTATUS OpenKey(HKEY parent, const char* path, bool create, HKEY* key) {
    KeyPath wanted(parent, Lower(path ? path : ""));
    if (parent != HKEY_CURRENT_USER && parent != HKEY_LOCAL_MACHINE && parent != HKEY_USERS) {
        const auto object = UseHandle("RegOpenKeyExA", parent, Kind::kKey);
        if (!object) return ERROR_INVALID_HANDLE;
        const KeyPath& above = static_cast<Key&>(*object).Path();
        wanted = {above.first, above.second + "\\" + wanted.second};
    }
    Registry& registry = TheRegistry();
    {
        const std::lock_guard lock(registry.mutex);
        if (registry.keys.count(wanted) == 0) {
            if (!create) return ERROR_FILE_NOT_FOUND;
            if (!registry.keyCreation) return ERROR_ACCESS_DENIED;
            registry.keys[wanted];
        }
    }
    *key = static_cast<HKEY>(OpenHandle(std::make_shared<Key>(std::move(wanted))));
    return ERROR_SUCCESS;
}

LSTATUS QueryValue(const KeyPath& key, const char* name, DWORD* type, BYTE* data, DWORD* size) {
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    const auto& values = registry.keys[key];
    const auto found = values.find(Lower(name ? name : ""));
    if (found == values.end()) return ERROR_FILE_NOT_FOUND;
    if (type) *type = REG_SZ;
    if (!size) return data ? ERROR_INVALID_PARAMETER : ERROR_SUCCESS;
    const auto needed = static_cast<DWORD>(found->second.size());
    const DWORD room = std::exchange(*size, needed);
    if (!data) return ERROR_SUCCESS;
    if (room < needed) return ERROR_MORE_DATA;
    std::memcpy(data, found->second.data(), needed);
    return ERROR_SUCCESS;
}

}  // namespace

void ResetRegistry() {
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    registry.keyCreation = true;
    registry.keys.clear();
}

void SetRegistryValue(HKEY root, std::string_view path, std::string_view name, std::string_view data) {
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    // Texts are stored with their zero.
    registry.keys[{root, Lower(path)}][Lower(name)] = std::string(data) + '\0';
}

void AllowKeyCreation(bool allowed) {
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    registry.keyCreation = allowed;
}

}  // namespace wpk::host

using namespace wpk::host;

LSTATUS RegCreateKeyA(HKEY parent, LPCSTR path, PHKEY key) {
    const CallScope call(Call::kRegCreateKeyA);
    return call.Fails() ? static_cast<LSTATUS>(call.Error()) : OpenKey(parent, path, /*create=*/true, key);
}

LSTATUS RegOpenKeyExA(HKEY parent, LPCSTR path, DWORD, REGSAM, PHKEY key) {
    const CallScope call(Call::kRegOpenKeyExA);
    return call.Fails() ? static_cast<LSTATUS>(call.Error()) : OpenKey(parent, path, /*create=*/false, key);
}

LSTATUS RegQueryValueExA(HKEY handle, LPCSTR name, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size) {
    const CallScope call(Call::kRegQueryValueExA);
    if (call.Fails()) return static_cast<LSTATUS>(call.Error());
    const auto key = UseHandle("RegQueryValueExA", handle, Kind::kKey);
    if (!key) return ERROR_INVALID_HANDLE;
    return QueryValue(static_cast<Key&>(*key).Path(), name, type, data, size);
}

LSTATUS RegCloseKey(HKEY handle) {
    const CallScope call(Call::kRegCloseKey);
    if (!UseHandle("RegCloseKey", handle, Kind::kKey)) return ERROR_INVALID_HANDLE;
    CloseSlot("RegCloseKey", handle);
    return static_cast<LSTATUS>(call.Error());
}
