// A stand-in for the system's remote access library: it plays connections from a test's script and is as strict about
// its arguments as the real one.
// SPDX-License-Identifier: MIT
#include <windows.h>

#include <cstdint>
#include <cstring>

#include "interface/dial_up/rasapi32/stand_in.h"

namespace {

// The platform's records as 64-bit Windows has them since version 6.1; the header at hand knows older ones only.
#pragma pack(push, 4)
struct Connection {  // RASCONNA
    DWORD size;
    void* connection;
    char entryName[257];
    char deviceType[17];
    char deviceName[129];
    char phonebook[MAX_PATH];
    DWORD subEntry;
    GUID entry;
    DWORD flags;
    LUID luid;
    GUID correlation;
};

struct EndPoint {  // RASTUNNELENDPOINT
    DWORD type;
    unsigned char address[16];
};

struct Status {  // RASCONNSTATUSA
    DWORD size;
    DWORD state;
    DWORD error;
    char deviceType[17];
    char deviceName[129];
    char phoneNumber[129];
    EndPoint local;
    EndPoint remote;
    DWORD subState;
};
#pragma pack(pop)
static_assert(sizeof(Connection) == 724 && sizeof(Status) == 332, "layout of the platform");

constexpr DWORD kBufferTooSmall = 603;
constexpr DWORD kInvalidSize = 632;
constexpr unsigned int kTimes = 64;

SRWLOCK lock = SRWLOCK_INIT;
CONDITION_VARIABLE polled = CONDITION_VARIABLE_INIT;

/// All below: under the lock.
StandInScene scenes[STAND_IN_SCENES];
unsigned int sceneCount = 0;
bool looping = false;
unsigned int polls = 0;
ULONGLONG times[kTimes];
/// What the last enumeration has shown. Its handles carry the serial number: those of earlier ones are invalid.
StandInScene shown;
uintptr_t serial = 0;

class Hold {
public:
    Hold() { AcquireSRWLockExclusive(&lock); }
    ~Hold() { ReleaseSRWLockExclusive(&lock); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
};

void ShowNextScene() {
    const unsigned int number = polls++;
    times[number % kTimes] = GetTickCount64();
    ++serial;
    std::memset(&shown, 0, sizeof shown);
    if (sceneCount > 0) {
        const unsigned int last = sceneCount - 1;
        shown = scenes[looping ? number % sceneCount : (number < last ? number : last)];
    }
    WakeAllConditionVariable(&polled);
}

void* HandleOf(unsigned int index) {
    return reinterpret_cast<void*>(serial << 8 | (index + 1));
}

}  // namespace

extern "C" {

__declspec(dllexport) void StandIn_Play(const StandInScene* script, unsigned int count, int loop) {
    const Hold hold;
    sceneCount = count < STAND_IN_SCENES ? count : STAND_IN_SCENES;
    std::memcpy(scenes, script, sceneCount * sizeof *script);
    looping = loop != 0;
    polls = 0;
}

__declspec(dllexport) int StandIn_WaitForPolls(unsigned int count, unsigned int milliseconds) {
    const ULONGLONG end = GetTickCount64() + milliseconds;
    const Hold hold;
    while (polls < count) {
        const ULONGLONG now = GetTickCount64();
        if (now >= end) return 0;
        SleepConditionVariableSRW(&polled, &lock, static_cast<DWORD>(end - now), 0);
    }
    return 1;
}

__declspec(dllexport) unsigned int StandIn_PeriodBefore(unsigned int number) {
    const Hold hold;
    return static_cast<unsigned int>(times[number % kTimes] - times[(number - 1) % kTimes]);
}

__declspec(dllexport) DWORD WINAPI RasEnumConnectionsA(Connection* connections, DWORD* size, DWORD* count) {
    const Hold hold;
    ShowNextScene();
    if (!connections || !size || !count) return ERROR_INVALID_PARAMETER;
    if (connections[0].size != sizeof(Connection)) return kInvalidSize;
    if (shown.result != ERROR_SUCCESS) return shown.result;

    const DWORD needed = shown.count * static_cast<DWORD>(sizeof(Connection));
    const bool fits = *size >= needed;
    *size = needed;
    *count = shown.count;
    if (!fits) return kBufferTooSmall;
    for (unsigned int i = 0; i < shown.count; ++i) {
        Connection& connection = connections[i];
        std::memset(&connection, 0, sizeof connection);
        connection.size = sizeof connection;
        connection.connection = HandleOf(i);
        std::memcpy(connection.entryName, "Entry", 6);
        std::memcpy(connection.deviceType, shown.connections[i].deviceType, sizeof connection.deviceType);
    }
    return ERROR_SUCCESS;
}

__declspec(dllexport) DWORD WINAPI RasGetConnectStatusA(void* connection, Status* status) {
    const Hold hold;
    if (!status) return ERROR_INVALID_PARAMETER;
    if (status->size != sizeof(Status)) return kInvalidSize;
    for (unsigned int i = 0; i < shown.count; ++i) {
        if (connection != HandleOf(i)) continue;
        const StandInConnection& found = shown.connections[i];
        if (found.statusResult != ERROR_SUCCESS) return found.statusResult;
        status->state = found.state;
        std::memcpy(status->deviceType, found.deviceType, sizeof status->deviceType);
        return ERROR_SUCCESS;
    }
    return ERROR_INVALID_HANDLE;
}

}  // extern "C"
