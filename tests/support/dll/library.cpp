// The built wpk.dll, loaded the way an application loads it.
// SPDX-License-Identifier: MIT
#include "support/dll/library.h"

#include "support/dll/inbox.h"
#include "support/dll/process.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace wpk::harness {
namespace {

template <class Function>
Function Find(HMODULE module, const char* name) {
    const FARPROC found = GetProcAddress(module, name);
    if (!found) Die(std::string("wpk.dll does not export ") + name);
    Function function;
    static_assert(sizeof function == sizeof found);
    std::memcpy(&function, &found, sizeof function);
    return function;
}

}  // namespace

Library::Library(std::string path) : path_(std::move(path)), module_(LoadLibraryA(path_.c_str())) {
    if (!module_) Die("cannot load " + path_);
    init_ = Find<decltype(&WPK_Init)>(module_, "WPK_Init");
    send_ = Find<decltype(&WPK_Send)>(module_, "WPK_Send");
    cancel_ = Find<decltype(&WPK_Cancel)>(module_, "WPK_Cancel");
}

Library Library::Load() {
    return Library("wpk.dll");
}

Library Library::LoadFrom(std::string path) {
    return Library(std::move(path));
}

Library Library::LoadFresh() {
    static std::atomic<int> count{0};
    const std::string copy = ScratchFolder() + "wpk_copy_" + std::to_string(++count) + ".dll";
    const std::string original = ProgramFolder() + "wpk.dll";
    if (!CopyFileA(original.c_str(), copy.c_str(), /*bFailIfExists=*/FALSE)) Die("cannot copy " + original);
    return Library(copy);
}

WPK_INITSTRUCT PermanentSettings(Inbox& inbox) {
    WPK_INITSTRUCT settings = {};
    settings.hInstance = GetModuleHandleA(nullptr);
    settings.nConnectionType = WPK_CONNECTION_PERMANENT;
    settings.lpfnCallback = &Inbox::Callback;
    settings.lpUserData = &inbox;
    settings.nProxyPort = 80;
    return settings;
}

Library StartFresh() {
    // The library may call its default callback as long as the process lives.
    static Inbox& everybody = *new Inbox;
    const Library library = Library::LoadFresh();
    const WPK_INITSTRUCT settings = PermanentSettings(everybody);
    if (library.Init(&settings) != 1) Die("WPK_Init failed");
    return library;
}

}  // namespace wpk::harness
