// Keeps so many requests in flight and measures them.
// SPDX-License-Identifier: MIT
#ifndef WPK_BENCH_TRANSPORT_IN_FLIGHT_H
#define WPK_BENCH_TRANSPORT_IN_FLIGHT_H

#include <windows.h>

#include <vector>

#include "request.h"

namespace bench {

/// The time in microseconds.
double Now();

double Median(std::vector<double> values);

/// How many requests may run at once. Its lock and its wake-up stay inside the process: no cost worth measuring is
/// added to any client.
class InFlight {
public:
    explicit InFlight(unsigned limit) : limit_(limit) {}

    void Enter();
    void Leave();
    void WaitEmpty();

private:
    void WaitBelow(unsigned limit);

    unsigned limit_;
    unsigned count_ = 0;
    SRWLOCK lock_ = SRWLOCK_INIT;
    CONDITION_VARIABLE left_ = CONDITION_VARIABLE_INIT;
};

/// Called by a client at the end of a request.
void Finish(Request& request, bool delivered);

struct Order {
    uint32_t port;
    uint32_t replyLength;
    unsigned count;
    unsigned inFlight;
};

struct Block {
    std::vector<Request> requests;
    double duration;
};

/// Runs so many requests; ends the program when one is not delivered.
Block Run(Starter start, const Order& order);

}  // namespace bench

#endif
