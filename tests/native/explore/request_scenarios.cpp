// Requests and cancels.
// SPDX-License-Identifier: MIT
#include "fake_platform/src/scheduler.h"
#include "native/explore/library.h"
#include "native/explore/scenarios.h"
#include "windows.h"

namespace wpk::explore {

using host::StartThread;

namespace {

void AwaitSent(const ExploredRequest& request) {
    host::AwaitScheduled(
        "a handle", [&] { return request.Sent(); }, INFINITE);
}

/// A thread that cancels the request as soon as it has a handle.
void StartCancel(Library& library, const ExploredRequest& request) {
    StartThread("canceller", [&] {
        AwaitSent(request);
        Expect(library.Cancel(request.Handle()) == 1, "a cancel is accepted");
    });
}

bool HasEnded(const ExploredRequest& request) {
    return request.Error() == 0 || request.Error() == WPK_ERROR_CANCELLED;
}

void TwoSends() {
    ExploredRequest first("Small");
    ExploredRequest second("Small");
    RunningLibrary library;
    for (ExploredRequest* request : {&first, &second}) {
        StartThread("sender", [&library, request] {
            Expect(request->Send(library) != 0, "a request is taken");
            request->AwaitFinal();
        });
    }
    library.AwaitIdle();
    Expect(first.Error() == 0 && second.Error() == 0, "both get their reply");
}

void ACancelAgainstTheEnd() {
    ExploredRequest request("Small");
    RunningLibrary library;
    StartCancel(library, request);
    request.Send(library);
    library.AwaitIdle();
    Expect(HasEnded(request), "a cancelled request ends with its reply or as cancelled");
}

/// Wherever the request stands: its thread's start, the connect, the send, the read.
void ACancelOfARequestWithoutAReply() {
    ExploredRequest request("Silent");
    RunningLibrary library;
    StartCancel(library, request);
    request.Send(library);
    library.AwaitIdle();
    Expect(request.Error() == WPK_ERROR_CANCELLED, "a cancelled request ends as cancelled");
    Expect(host::ScheduledTime() < 60000, "the cancel has ended it, not its time-out");
}

void TwoCancels() {
    ExploredRequest request("Silent");
    RunningLibrary library;
    for (int i = 0; i < 2; ++i) StartCancel(library, request);
    request.Send(library);
    library.AwaitIdle();
    Expect(request.Error() == WPK_ERROR_CANCELLED, "a cancelled request ends as cancelled");
}

/// The cancel is for the first request, whose handle the second one may have by then.
void AHandleThatIsUsedAgain() {
    ExploredRequest first("Small");
    ExploredRequest second("Small");
    RunningLibrary library;
    StartCancel(library, first);
    first.Send(library);
    first.AwaitFinal();
    second.Send(library);
    library.AwaitIdle();
    Expect(HasEnded(first) && HasEnded(second), "each request ends with its reply or as cancelled");
    Expect(first.Error() == 0 || second.Error() == 0, "one cancel is for one request");
}

void ACancelAgainstTheQuestion() {
    ExploredRequest request("Guarded");
    request.password = "right";
    RunningLibrary library(ProxySettings());
    StartCancel(library, request);
    request.Send(library);
    library.AwaitIdle();
    Expect(HasEnded(request), "a cancelled request ends with its reply or as cancelled");
    Expect(request.Questions() <= 1, "right credentials are not asked for again");
}

/// Both are asked, or one of them goes with what the other one has been told.
void CredentialsForTwo() {
    ExploredRequest first("Guarded");
    ExploredRequest second("Guarded");
    first.password = second.password = "right";
    RunningLibrary library(ProxySettings());
    for (ExploredRequest* request : {&first, &second}) {
        StartThread("sender", [&library, request] { Expect(request->Send(library) != 0, "a request is taken"); });
    }
    library.AwaitIdle();
    Expect(first.Error() == 0 && second.Error() == 0, "both get their reply");
    const int questions = first.Questions() + second.Questions();
    Expect(questions == 1 || questions == 2, "none is asked twice");
}

void ACallbackThatSends() {
    ExploredRequest first("Small");
    ExploredRequest second("Small");
    RunningLibrary library;
    first.onNotification = [&](const WPK_CALLBACKSTRUCT& notification) {
        if (notification.nReason != WPK_REASON_REPLY) return;
        Expect(second.Send(library) != 0, "a callback sends");
        Expect(second.Handle() != first.Handle(), "two requests under way have two handles");
    };
    first.Send(library);
    library.AwaitIdle();
    Expect(first.Error() == 0 && second.Error() == 0, "both get their reply");
}

void ACallbackThatCancelsBesideAnother() {
    ExploredRequest request("Small");
    RunningLibrary library;
    request.onNotification = [&](const WPK_CALLBACKSTRUCT& notification) {
        if (notification.nReason != WPK_REASON_PROGRESS) return;
        Expect(library.Cancel(GetCurrentThreadId()) == 1, "a callback cancels its own request");
    };
    StartCancel(library, request);
    request.Send(library);
    library.AwaitIdle();
    Expect(HasEnded(request), "a cancelled request ends with its reply or as cancelled");
}

/// Nothing is told any more then, but all that the request held is given back.
void ACallbackThatThrowsAgainstACancel() {
    ExploredRequest request("Small");
    RunningLibrary library;
    request.onNotification = [&](const WPK_CALLBACKSTRUCT& notification) {
        if (notification.nReason == WPK_REASON_PROGRESS) throw 1;
    };
    StartCancel(library, request);
    request.Send(library);
    library.AwaitIdle();
}

}  // namespace

const Scenarios& RequestScenarios() {
    static const Scenarios& all = *new Scenarios{
        {"two sends", TwoSends},
        {"a cancel against the end", ACancelAgainstTheEnd},
        {"a cancel of a request without a reply", ACancelOfARequestWithoutAReply},
        {"two cancels", TwoCancels},
        {"a request's handle is used again", AHandleThatIsUsedAgain},
        {"a cancel against the question for credentials", ACancelAgainstTheQuestion},
        {"credentials for two requests", CredentialsForTwo},
        {"a callback that sends", ACallbackThatSends},
        {"a callback that cancels, beside another cancel", ACallbackThatCancelsBesideAnother},
        {"a callback that throws, against a cancel", ACallbackThatThrowsAgainstACancel},
    };
    return all;
}

}  // namespace wpk::explore
