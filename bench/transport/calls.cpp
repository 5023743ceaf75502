// The platform calls that one request costs, by thread and name.
// SPDX-License-Identifier: MIT
//
// Usage: transport_calls PORT [REPLY_LENGTH]. Counts over many requests, one at a time, and prints what one of them
// costs, in the order in which each thread first calls.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <map>

#include "call_recorder.h"
#include "in_flight.h"
#include "library_client.h"

namespace bench {

namespace {

constexpr unsigned kRequests = 200;

/// How often a thread called each function, in the order of the first calls.
class Tally {
public:
    void Count(uint32_t function) {
        if (counts_[function]++ == 0) order_.push_back(function);
        ++total_;
    }

    void Print(const char* thread, const std::vector<std::string>& names) const {
        std::printf("%s: %.1f\n", thread, PerRequest(total_));
        for (const uint32_t function : order_) {
            std::printf("  %6.1f  %s\n", PerRequest(counts_.at(function)), names[function].c_str());
        }
    }

private:
    static double PerRequest(unsigned count) { return static_cast<double>(count) / kRequests; }

    std::map<uint32_t, unsigned> counts_;
    std::vector<uint32_t> order_;
    unsigned total_ = 0;
};

/// Whether a call may reach the system. Those of the C run-time library do not, but for the one that makes a thread.
bool IsPlatformCall(const std::string& name) {
    return name.find("msvcrt") == std::string::npos || name.find("_beginthreadex") != std::string::npos;
}

void CountCalls(const CallRecorder& recorder, const std::vector<CallRecorder::Call>& calls) {
    const uint32_t caller = GetCurrentThreadId();
    uint32_t desk = 0;
    Tally callerTally, deskTally, workerTally;
    for (const CallRecorder::Call& call : calls) {
        const std::string& name = recorder.Names()[call.function];
        if (!IsPlatformCall(name)) continue;
        // The front desk is the thread that makes the workers. Before it has made one, what others do belongs to an
        // earlier request.
        if (name == "msvcrt.dll!_beginthreadex") desk = call.thread;
        if (call.thread == caller) {
            callerTally.Count(call.function);
        } else if (call.thread == desk) {
            deskTally.Count(call.function);
        } else if (desk != 0) {
            workerTally.Count(call.function);
        }
    }
    callerTally.Print("Calling thread", recorder.Names());
    deskTally.Print("Front desk", recorder.Names());
    workerTally.Print("Worker", recorder.Names());
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
    using namespace bench;
    if (argc < 2) {
        std::fprintf(stderr, "usage: transport_calls PORT [REPLY_LENGTH]\n");
        return 2;
    }
    const uint32_t port = static_cast<uint32_t>(std::strtoul(argv[1], nullptr, 10));
    const uint32_t replyLength = argc > 2 ? static_cast<uint32_t>(std::strtoul(argv[2], nullptr, 10)) : 200;
    InitialiseLibrary();
    Run(StartInLibrary, {port, replyLength, 1, 1});

    CallRecorder recorder("wpk.dll");
    Run(StartInLibrary, {port, replyLength, kRequests, 1});
    CountCalls(recorder, recorder.Take());
}
