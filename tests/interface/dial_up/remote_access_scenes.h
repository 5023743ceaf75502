// The scenes that the stand-in for remote access shows, and the library that looks at them.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_INTERFACE_DIAL_UP_REMOTE_ACCESS_SCENES_H
#define WPK_TESTS_INTERFACE_DIAL_UP_REMOTE_ACCESS_SCENES_H

#include <string>
#include <vector>

#include "interface/dial_up/rasapi32/stand_in.h"
#include "support/dll/library.h"

namespace wpk::harness {

/// Stages of a connection.
constexpr unsigned int kOpenPort = 0;
constexpr unsigned int kAuthenticate = 5;
constexpr unsigned int kConnected = 0x2000;
constexpr unsigned int kDisconnected = 0x2001;

StandInConnection Device(const std::string& type, unsigned int state, unsigned int statusResult = 0);
StandInScene Showing(const std::vector<StandInConnection>& connections);
StandInScene ModemIn(unsigned int state);
StandInScene Nothing();
StandInScene Failing();

void Play(const std::vector<StandInScene>& scenes, bool loop = false);
/// Waits until so many enumerations have been made since the last Play.
bool WaitForPolls(unsigned int count);
unsigned int PeriodBefore(unsigned int number);

/// "wpk.dll" from the folder above this program's, where no search would find it: an application may have loaded it
/// from anywhere.
Library LoadFromElsewhere();

/// The exported wrappers, as a program that knows them sees them.
struct Wrappers {
    explicit Wrappers(const Library& library);
    DWORD(WINAPI* enumConnections)(void* connections, DWORD* size, DWORD* count);
    DWORD(WINAPI* getConnectStatus)(void* connection, void* status);
};

}  // namespace wpk::harness

#endif  // WPK_TESTS_INTERFACE_DIAL_UP_REMOTE_ACCESS_SCENES_H
