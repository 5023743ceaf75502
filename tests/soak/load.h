// The load itself: threads that send, one that cancels, one that sees every request to its end, one that ends servers.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SOAK_LOAD_H
#define WPK_TESTS_SOAK_LOAD_H

#include "soak/ledger.h"
#include "soak/traffic.h"

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <vector>

namespace wpk::soak {

/// A request to a dead port ends after 30 seconds: servers are left alone for so long before the end of a round.
constexpr DWORD kCalmBeforeEndMs = 33 * 1000;

class Load {
public:
    Load(const harness::Library& library, const Traffic& traffic, ServerProcess& dying, Ledger& ledger, uint64_t seed)
        : library_(library), traffic_(traffic), dying_(dying), ledger_(ledger), seed_(seed) {}

    /// Sends for so long, then waits until every request has ended. False when some do not end.
    bool RunRound(DWORD milliseconds);

private:
    using JobPointer = std::shared_ptr<Job>;

    void SendUntil(ULONGLONG end, Random& random);
    void SendOne(Random& random);
    void WaitForRoom();
    void CancelWhenDue();
    bool Collect();
    JobPointer TakeEnded(bool& allOver);
    void NoteStuck();
    void EndServersUntil(ULONGLONG end, Random& random);

    const harness::Library& library_;
    const Traffic& traffic_;
    ServerProcess& dying_;
    Ledger& ledger_;
    uint64_t seed_;
    uint64_t round_ = 0;

    harness::Monitor monitor_;  // of what follows
    bool sending_ = false;
    std::map<Job*, JobPointer> inFlight_;
    std::vector<Job*> ended_;

    harness::Monitor cancelsMonitor_;  // of what follows
    bool cancelling_ = false;
    std::multimap<ULONGLONG, std::weak_ptr<Job>> cancels_;
};

}  // namespace wpk::soak

#endif  // WPK_TESTS_SOAK_LOAD_H
