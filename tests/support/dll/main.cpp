// Entry point of every interface test program: runs its tests, or one scenario in a process of its own.
// SPDX-License-Identifier: MIT
#include "support/dll/process.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    const bool scenario = argc > 1 && std::string(argv[1]) == "--scenario";
    wpk::harness::EnterScratchFolder(/*clean=*/!scenario);
    WSADATA sockets;
    if (WSAStartup(MAKEWORD(2, 2), &sockets) != 0) wpk::harness::Die("no sockets");
    if (scenario) return wpk::harness::RunScenario(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    {
        // GoogleTest starts a thread of its own on the first use of a trace: now, before any test counts threads.
        SCOPED_TRACE("first");
    }
    return RUN_ALL_TESTS();
}
