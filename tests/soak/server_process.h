// The sample server as a process of its own, which can be ended at any moment and started again.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SOAK_SERVER_PROCESS_H
#define WPK_TESTS_SOAK_SERVER_PROCESS_H

#include "support/dll/platform.h"

#include <string>

namespace wpk::soak {

class ServerProcess {
public:
    /// Where the server was at some moment, and how often it had been ended before.
    struct Snapshot {
        unsigned short port = 0;
        unsigned int ends = 0;
        bool up = false;
    };

    /// Starts it. Ends the whole program where that is impossible.
    ServerProcess();
    /// Ends it.
    ~ServerProcess();
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    /// Ends the process without a word to anybody. Its port is dead until Start, and stays so.
    void Kill();
    /// A new process, on a port of the system's choice. Returns when it listens.
    void Start();

    Snapshot Look();
    /// Whether the server was gone at that moment, or has been ended since.
    bool TroubledSince(const Snapshot& snapshot);
    unsigned int Ends();
    /// What is to be said of an end that nobody has asked for; empty when there was none. For the thread that calls
    /// Kill and Start, or when no other thread does.
    std::string OwnEnd();

private:
    void NoteOwnEnd();

    harness::Monitor monitor_;
    Snapshot now_;
    HANDLE process_ = nullptr;
    std::string ownEnd_;
};

}  // namespace wpk::soak

#endif  // WPK_TESTS_SOAK_SERVER_PROCESS_H
