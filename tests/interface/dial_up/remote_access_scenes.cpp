// The scenes that the stand-in for remote access shows.
// SPDX-License-Identifier: MIT
#include "interface/dial_up/remote_access_scenes.h"

#include <algorithm>
#include <cstring>

#include "support/dll/import_patch.h"
#include "support/dll/process.h"

namespace wpk::harness {
namespace {

template <class Function>
Function* Find(HMODULE module, const char* name) {
    const FARPROC found = GetProcAddress(module, name);
    if (!found) Die(std::string("missing: ") + name);
    return FunctionAt<Function>(AddressOf(found));
}

template <class Function>
Function* FindInStandIn(const char* name) {
    const HMODULE module = LoadLibraryA("rasapi32.dll");
    if (!module) Die("no rasapi32.dll");
    return Find<Function>(module, name);
}

}  // namespace

StandInConnection Device(const std::string& type, unsigned int state, unsigned int statusResult) {
    StandInConnection device = {};
    std::memcpy(device.deviceType, type.c_str(), std::min(type.size(), sizeof device.deviceType));
    device.state = state;
    device.statusResult = statusResult;
    return device;
}

StandInScene Showing(const std::vector<StandInConnection>& connections) {
    StandInScene scene = {};
    scene.count = static_cast<unsigned int>(connections.size());
    std::copy(connections.begin(), connections.end(), scene.connections);
    return scene;
}

StandInScene ModemIn(unsigned int state) {
    return Showing({Device("modem", state)});
}

StandInScene Nothing() {
    return Showing({});
}

StandInScene Failing() {
    StandInScene scene = ModemIn(kConnected);
    scene.result = ERROR_NOT_ENOUGH_MEMORY;
    return scene;
}

void Play(const std::vector<StandInScene>& scenes, bool loop) {
    static auto* const play = FindInStandIn<decltype(StandIn_Play)>("StandIn_Play");
    play(scenes.data(), static_cast<unsigned int>(scenes.size()), loop);
}

bool WaitForPolls(unsigned int count) {
    static auto* const wait = FindInStandIn<decltype(StandIn_WaitForPolls)>("StandIn_WaitForPolls");
    return wait(count, kPatience) != 0;
}

unsigned int PeriodBefore(unsigned int number) {
    static auto* const period = FindInStandIn<decltype(StandIn_PeriodBefore)>("StandIn_PeriodBefore");
    return period(number);
}

Library LoadFromElsewhere() {
    const std::string path = ProgramFolder() + "..\\wpk.dll";
    if (!LoadLibraryA(path.c_str())) Die("cannot load " + path);
    return Library::Load();
}

Wrappers::Wrappers(const Library& library)
    : enumConnections(Find<DWORD WINAPI(void*, DWORD*, DWORD*)>(library.module(), "WRAPPER_RasEnumConnections")),
      getConnectStatus(Find<DWORD WINAPI(void*, void*)>(library.module(), "WRAPPER_RasGetConnectStatus")) {}

}  // namespace wpk::harness
