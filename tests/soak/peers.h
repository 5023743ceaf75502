// The scripted peers of the load: each request to the actor says what is to be done to it, the others do one thing.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SOAK_PEERS_H
#define WPK_TESTS_SOAK_PEERS_H

#include "support/dll/peer.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace wpk::soak {

/// What the actor does with a request. It travels as the beginning of the message.
struct Action {
    enum What : unsigned {
        kReply,      // a good reply
        kSlowly,     // the same in pieces, with pauses
        kCut,        // the first bytes of a good reply, then the end of the connection
        kReset,      // the same with a reset
        kStall,      // the first bytes of a good reply, then nothing
        kWrongHead,  // the wrong head of that number
    };
    What what = kReply;
    size_t bodyLength = 0;
    size_t bodyOffset = 0;  // where in Bytes() the body begins
    size_t place = 0;       // the first bytes' count, the pieces' count, or the head's number

    std::string Text() const;
    static Action In(const std::string& message);
    /// The whole good reply.
    std::string Reply() const;
};

/// A reply with something wrong in its head, and the code that the request must end with; 0 when it is to be accepted.
struct WrongHead {
    const char* bytes;
    int error;
};
extern const WrongHead kWrongHeads[];
extern const size_t kWrongHeadCount;

class Peers {
public:
    explicit Peers(uint64_t seed);

    /// Does as the request says.
    unsigned short Actor() const { return actor_.Port(); }
    /// The same, after it has left the connection alone for a while.
    unsigned short LateActor() const { return lateActor_.Port(); }
    /// Ends the connection before it has answered anything: at once, amid the request, or behind it.
    unsigned short Cutter() const { return cutter_.Port(); }
    /// Takes the connection and reads nothing for a while, then everything, and never answers.
    unsigned short Deaf() const { return deaf_.Port(); }
    /// Does not even take the connection.
    unsigned short Full() const { return full_.Port(); }

    /// Waits until no peer has a connection.
    bool WaitUntilIdle();

private:
    size_t NextChoice(size_t limit);
    void CutEarly(harness::Connection& connection);

    uint64_t seed_;
    std::atomic<uint64_t> choices_{0};
    harness::Peer actor_;
    harness::Peer lateActor_;
    harness::Peer cutter_;
    harness::Peer deaf_;
    harness::FullListener full_;
};

}  // namespace wpk::soak

#endif  // WPK_TESTS_SOAK_PEERS_H
