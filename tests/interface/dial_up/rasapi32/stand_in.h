// How a test tells the stand-in for the system's remote access library what to show. Both are in one process.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_INTERFACE_DIAL_UP_RASAPI32_STAND_IN_H
#define WPK_TESTS_INTERFACE_DIAL_UP_RASAPI32_STAND_IN_H

#ifdef __cplusplus
extern "C" {
#endif

struct StandInConnection {
    char deviceType[17];
    unsigned int state;
    /// Of the query for the state; 0 is success.
    unsigned int statusResult;
};

#define STAND_IN_CONNECTIONS 12u
#define STAND_IN_SCENES 16u

// What one enumeration shows.
struct StandInScene {
    /// Of the enumeration; 0 is success.
    unsigned int result;
    unsigned int count;
    struct StandInConnection connections[STAND_IN_CONNECTIONS];
};

// From now on shows one scene an enumeration. After the last one it stays, or (`loop`) begins again.
void StandIn_Play(const struct StandInScene* scenes, unsigned int count, int loop);

// Waits until so many enumerations have been made since the last Play; 0 when the time is over.
int StandIn_WaitForPolls(unsigned int count, unsigned int milliseconds);

// Milliseconds between the enumeration of that number since the last Play (1 is its second one) and the one before.
unsigned int StandIn_PeriodBefore(unsigned int number);

#ifdef __cplusplus
}
#endif

#endif  // WPK_TESTS_INTERFACE_DIAL_UP_RASAPI32_STAND_IN_H
