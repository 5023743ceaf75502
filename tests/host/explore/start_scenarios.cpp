// Initialisations against each other and against calls.
// SPDX-License-Identifier: MIT
#include "host/control.h"
#include "host/explore/library.h"
#include "host/explore/scenarios.h"
#include "host/standin/scheduler.h"
#include "threadlib/threadlib.h"

namespace wpk::explore {

using namespace core;

using host::AwaitThreads;
using host::StartThread;

namespace {

void InitOnce(Library& library, int expected) {
    const WPK_INITSTRUCT settings = DirectSettings();
    Expect(library.Init(settings) == expected, "an initialisation ends as it must");
}

void TwoInitialisations() {
    Library library;
    for (int i = 0; i < 2; ++i) StartThread("initialiser", [&] { InitOnce(library, 1); });
    library.AwaitQuiet();
    Expect(host::SocketStarts() == 1, "the second one has changed nothing");
}

void AnInitialisationAgainstCalls() {
    Request request("Small");
    Library library;
    StartThread("initialiser", [&] { InitOnce(library, 1); });
    StartThread("sender", [&] {
        if (request.Send(library) != 0) request.AwaitFinal();
    });
    StartThread("canceller", [&] {
        const int accepted = library.Cancel(0xFFFFFFFF);
        Expect(accepted == 0 || library.IsInitialised(), "a cancel is accepted once there is a library");
    });
    library.AwaitQuiet();
    Expect(request.Error() == 0, "what was taken gets its reply");
}

/// It waits for the end of the initialisation, and is served.
void ASendDuringAnInitialisation() {
    Request request("Small");
    Library library;
    bool under_way = false;
    host::RunBefore("_beginthreadex", 1, [&] { under_way = true; });
    StartThread("initialiser", [&] { InitOnce(library, 1); });
    StartThread("sender", [&] {
        host::AwaitScheduled(
            "an initialisation", [&] { return under_way; }, INFINITE);
        Expect(request.Send(library) != 0, "a send during an initialisation is taken");
    });
    library.AwaitQuiet();
    Expect(request.Error() == 0, "what was taken gets its reply");
}

/// It changes nothing, and waits for the calls in progress all the same.
void ARepeatedInitialisationDuringASend() {
    Request request("Small");
    RunningLibrary library;
    // The send is answered after its worker has been made and resumed.
    bool in_progress = false;
    host::RunBefore("_beginthreadex", 1, [&] { in_progress = true; });
    host::RunBefore("ResumeThread", 1, [&] { in_progress = false; });
    StartThread("sender", [&] { Expect(request.Send(library) != 0, "a send is taken"); });
    StartThread("initialiser", [&] {
        const bool during = in_progress;
        InitOnce(library, 1);
        Expect(!during || !in_progress, "a repeated initialisation waits for the call in progress");
    });
    library.AwaitQuiet();
    Expect(request.Error() == 0, "what was taken gets its reply");
}

/// Then nothing of it is left, and the next one starts from the beginning.
void AFailingInitialisationAgainstCalls() {
    Request request("Small");
    Library library;
    host::FailCall("_beginthreadex", 1);
    StartThread("initialiser", [&] { InitOnce(library, 0); });
    StartThread("sender", [&] { Expect(request.Send(library) == 0, "nothing is sent without a library"); });
    AwaitThreads();
    host::ClearFaults();
    Expect(ThreadLib::Detach() == 0, "the thread layer is gone");
    Expect(request.Error() == 0, "what was refused is told nothing");
}

void AFailingInitialisationBesideAnother() {
    Request request("Small");
    Library library;
    host::FailCall("_beginthreadex", 1);
    int succeeded = 0;
    for (int i = 0; i < 2; ++i) {
        StartThread("initialiser", [&] {
            const WPK_INITSTRUCT settings = DirectSettings();
            succeeded += library.Init(settings);
        });
    }
    StartThread("sender", [&] {
        if (request.Send(library) != 0) request.AwaitFinal();
    });
    library.AwaitQuiet();
    Expect(succeeded == 1, "one fails, and the other one does what it has not done");
    Expect(request.Error() == 0, "what was taken gets its reply");
}

}  // namespace

const Scenarios& StartScenarios() {
    static const Scenarios& all = *new Scenarios{
        {"two initialisations", TwoInitialisations},
        {"an initialisation against calls", AnInitialisationAgainstCalls},
        {"a send during an initialisation", ASendDuringAnInitialisation},
        {"a repeated initialisation during a send", ARepeatedInitialisationDuringASend},
        {"a failing initialisation against calls", AFailingInitialisationAgainstCalls},
        {"a failing initialisation beside another, against a send", AFailingInitialisationBesideAnother},
    };
    return all;
}

}  // namespace wpk::explore
