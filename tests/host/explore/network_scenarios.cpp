// The network comes and goes.
// SPDX-License-Identifier: MIT
#include "host/control.h"
#include "host/explore/library.h"
#include "host/explore/scenarios.h"
#include "host/scene.h"
#include "host/standin/scheduler.h"
#include "host/standin/scripted_socket.h"
#include "transport/connection.h"
#include "transport/sockets_interface.h"

namespace wpk::explore {

using namespace core;

using host::AwaitThreads;
using host::StartThread;
using host::Undisturbed;

namespace {

/// While one is open, it is the interface's; when none is, nothing is left that a clean-up has to wait for.
void UseASocket() {
    Connection connection;
    if (!connection.Connect("127.0.0.1", 80, /*cancelSemaphore=*/nullptr)) return;
    Expect(host::SocketStarts() > 0, "no clean-up comes before the last socket is closed");
    // Where the network has gone, the socket is closed instead.
    if (!connection.Send("x", 1)) return;
    Expect(host::SocketStarts() > 0, "no clean-up comes before the last socket is closed");
    connection.Close();
}

void ANetworkThatGoesUnderSockets() {
    {
        const Undisturbed start;
        host::SetSocketScript([](const std::string&) { return std::string(); });
        StartSockets();
    }
    for (int i = 0; i < 2; ++i) StartThread("user", UseASocket);
    StartThread("network", CleanUpSockets);
    AwaitThreads();
    Expect(host::SocketStarts() == 0, "no clean-up is lost");
}

/// The other end stays silent: only the loss of the network ends the wait, whenever the socket was opened.
void ANetworkThatGoesUnderAWait() {
    {
        const Undisturbed start;
        host::SetSocketScript([](const std::string&) { return std::string(); });
        StartSockets();
    }
    StartThread("user", [] {
        Connection connection;
        if (!connection.Connect("127.0.0.1", 80, /*cancelSemaphore=*/nullptr)) return;
        char byte = 0;
        Expect(connection.Receive(&byte, 1, Connection::kNoTimeout) == 0, "nothing is received");
    });
    StartThread("network", CleanUpSockets);
    AwaitThreads();
    Expect(host::SocketStarts() == 0, "no clean-up is lost");
}

void ANetworkThatGoesAndComesUnderSockets() {
    {
        const Undisturbed start;
        host::SetSocketScript([](const std::string&) { return std::string(); });
        StartSockets();
    }
    StartThread("user", UseASocket);
    StartThread("network", [] {
        CleanUpSockets();
        StartSockets();
        CleanUpSockets();
    });
    AwaitThreads();
    Expect(host::SocketStarts() == 0, "no clean-up is lost, and none comes twice");
}

/// Connections that the default callback has been told of.
struct Told {
    int comes = 0;
    int goes = 0;

    static void Note(WPK_CALLBACKSTRUCT* notification) {
        auto* told = static_cast<Told*>(notification->lpUserData);
        ++(notification->body.connection.dwConnected ? told->comes : told->goes);
    }
};

void AModemThatHangsUpUnderARequest() {
    Told told;
    Request request("Small");
    host::modem::Install();
    host::modem::Dial();
    WPK_INITSTRUCT settings = DirectSettings();
    settings.nConnectionType = WPK_CONNECTION_DIAL_UP;
    settings.lpfnCallback = Told::Note;
    settings.lpUserData = &told;
    {
        RunningLibrary library(settings);
        host::AwaitScheduled(
            "the network", [&] { return told.comes == 1; }, INFINITE);
        StartThread("sender", [&] { Expect(request.Send(library) != 0, "a request is taken"); });
        host::modem::HangUp();
        host::AwaitScheduled(
            "the network's end", [&] { return told.goes == 2; }, INFINITE);
        library.AwaitQuiet();
        Expect(host::SocketStarts() == 0, "the clean-up has come");
    }
    const int error = request.Error();
    Expect(error == 0 || error == WPK_ERROR_NO_NETWORK || error == WPK_ERROR_CONNECT || error == WPK_ERROR_EXCHANGE,
           "a request ends as the network's end explains");
}

}  // namespace

const Scenarios& NetworkScenarios() {
    static const Scenarios& all = *new Scenarios{
        {"a network that goes under two sockets", ANetworkThatGoesUnderSockets},
        {"a network that goes under a socket that waits", ANetworkThatGoesUnderAWait},
        {"a network that goes and comes under a socket", ANetworkThatGoesAndComesUnderSockets},
        {"a modem that hangs up under a request", AModemThatHangsUpUnderARequest},
    };
    return all;
}

}  // namespace wpk::explore
