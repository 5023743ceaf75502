// The front desk of a service.
// SPDX-License-Identifier: MIT
#include "service/front_desk.h"

namespace wpk {

namespace {

/// What the front desk thread returns.
constexpr uint32_t kExitRefused = 0;
constexpr uint32_t kExitStopped = 1;

const uint64_t* ArgumentsOf(const Message& request) {
    return reinterpret_cast<const uint64_t*>(static_cast<uintptr_t>(request.data));
}

}  // namespace

uint32_t FrontDesk::PostArguments(uint32_t count, const uint64_t* arguments) {
    if (stopping_ != 0 || count == 0) return 0;
    Message message;
    message.code = count;
    message.data = reinterpret_cast<uintptr_t>(arguments);
    const uint32_t replier = ThreadLib::SendFromAnyThread(deskId_, message);
    // A front desk that ended before it answered leaves the request as it was, under the sender's own id.
    return replier == 0 || replier == GetCurrentThreadId() ? 0 : message.code;
}

uint32_t FrontDesk::ProcessRequest(uint32_t /*client*/, uint32_t /*count*/, const uint64_t* /*arguments*/) {
    return 0;
}

uint32_t FrontDesk::StartDesk(const char* threadName) {
    if (!RunDeskThread(threadName)) return 0;
    started_ = Post(kCommandStart);
    if (started_ == 0) AwaitDeskEnd();
    return started_;
}

uint32_t FrontDesk::StopDesk() {
    const uint32_t answer = Post(kCommandStop);
    AwaitDeskEnd();
    started_ = 0;
    stopping_ = 0;
    return answer;
}

bool FrontDesk::RunDeskThread(const char* threadName) {
    deskId_ = ThreadLib::Create(FrontDeskFunc, this, threadName);
    if (deskId_ == 0) return false;
    // Taken while the thread cannot have ended yet: whoever stops or refuses the desk must be able to wait for its end.
    deskEnd_ = ThreadLib::OpenForWait(deskId_);
    if (deskEnd_ && ThreadLib::Resume(deskId_)) return true;
    ThreadLib::Terminate(deskId_);
    ForgetDesk();
    return false;
}

void FrontDesk::AwaitDeskEnd() {
    WaitForSingleObject(deskEnd_.Get(), INFINITE);
    ForgetDesk();
}

void FrontDesk::ForgetDesk() {
    // The system may give the id to another thread, which must get no posts.
    deskId_ = 0;
    deskEnd_.Reset();
}

void FrontDesk::Answer(uint32_t client, uint32_t code) const {
    Message answer;
    answer.code = code;
    ThreadLib::ReplyFor(client, deskId_, answer);
}

uint32_t FrontDesk::FrontDeskFunc(void* service) {
    return static_cast<FrontDesk*>(service)->RunDesk();
}

uint32_t FrontDesk::RunDesk() {
    for (;;) {
        Message request;
        const uint32_t client = ThreadLib::Receive(request);
        if (client == 0) continue;
        if (request.code == 0 || request.data == 0) {
            Answer(client, 0);
            continue;
        }
        switch (*ArgumentsOf(request)) {
            case kCommandStart: {
                stopping_ = 0;
                ThreadLib::SetName(deskId_, name_.CStr());
                const uint32_t accepted = Manager_StartUp();
                Answer(client, accepted);
                if (accepted == 0) return kExitRefused;
                break;
            }
            case kCommandStop:
                stopping_ = 1;
                StopServing(client);
                Answer(client, Manager_ShutDown());
                return kExitStopped;
            default:
                Serve(request);
        }
    }
}

}  // namespace wpk
