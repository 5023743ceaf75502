// What an application under load sends: requests of every kind and size, at random.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SOAK_TRAFFIC_H
#define WPK_TESTS_SOAK_TRAFFIC_H

#include "soak/job.h"
#include "soak/peers.h"
#include "soak/random.h"

namespace wpk::soak {

/// Any number of threads, each with a Random of its own.
class Traffic {
public:
    /// `steady` lives as long as the load; `dying` is ended and started again meanwhile.
    Traffic(const Peers& peers, ServerProcess& steady, ServerProcess& dying)
        : peers_(peers), steady_(steady), dying_(dying) {}

    Plan Next(Random& random) const;

private:
    struct Sort;
    static const Sort kSorts[];

    Plan ToServer(Random& random, const char* kind, const char* service, std::string message) const;
    Plan ToActor(Random& random, const char* kind, const Action& action) const;

    Plan Echo(Random& random) const;
    Plan Reverse(Random& random) const;
    Plan Generate(Random& random) const;
    Plan ShortSleep(Random& random) const;
    Plan LongSleep(Random& random) const;
    Plan UnknownService(Random& random) const;
    Plan BadMessage(Random& random) const;
    Plan Unusable(Random& random) const;
    Plan Reply(Random& random) const;
    Plan SlowReply(Random& random) const;
    Plan Cut(Random& random) const;
    Plan CutEarly(Random& random) const;
    Plan WrongHead(Random& random) const;
    Plan Stall(Random& random) const;
    Plan Deaf(Random& random) const;
    Plan NotAccepted(Random& random) const;

    const Peers& peers_;
    ServerProcess& steady_;
    ServerProcess& dying_;
};

}  // namespace wpk::soak

#endif  // WPK_TESTS_SOAK_TRAFFIC_H
