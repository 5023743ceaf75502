// The front desk of a service.
// SPDX-License-Identifier: MIT
#include "service/front_desk.h"

#include <utility>

#include "service/mservice.h"
#include "service/service.h"
#include "threadlib/pointer_word.h"

namespace wpk::core {

namespace {

/// What the front desk thread returns.
constexpr uint32_t kExitRefused = 0;
constexpr uint32_t kExitStopped = 1;

}  // namespace

template <class Kind>
uint32_t FrontDesk<Kind>::PostArguments(uint32_t count, const uint64_t* arguments) {
    if (Self().stopping_ != 0 || count == 0) return 0;
    Message message;
    message.code = count;
    message.data = WordOf(arguments);
    const uint32_t replier = ThreadLib::Send(deskId_, message);
    if (replier == 0) return 0;
    // An answer replaces the post. Without one there is the sender's id, which is all that a dead receiver leaves.
    return replier == GetCurrentThreadId() ? replier : message.code;
}

template <class Kind>
uint32_t FrontDesk<Kind>::ProcessRequest(uint32_t /*client*/, uint32_t /*count*/, const uint64_t* /*arguments*/) {
    return 0;
}

template <class Kind>
uint32_t FrontDesk<Kind>::StartDesk(const char* threadName) {
    if (!RunDeskThread(threadName)) return 0;
    started_ = Post(kCommandStart);
    if (started_ == 0) AwaitDeskEnd();
    return started_;
}

template <class Kind>
uint32_t FrontDesk<Kind>::StopDesk() {
    const uint32_t answer = Post(kCommandStop);
    AwaitDeskEnd();
    started_ = 0;
    Self().stopping_ = 0;
    return answer;
}

template <class Kind>
bool FrontDesk<Kind>::RunDeskThread(const char* threadName) {
    if (MakeDeskThread(threadName) && ThreadLib::Resume(deskId_)) return true;
    ThreadLib::Terminate(deskId_);
    ForgetDesk();
    return false;
}

/// All that the desk needs up to its answer to the start command is made before it runs: so nothing but an exception of
/// Manager_StartUp can end it before.
template <class Kind>
bool FrontDesk<Kind>::MakeDeskThread(const char* threadName) {
    deskId_ = ThreadLib::Create(FrontDeskFunc, this);
    if (deskId_ == 0) return false;
    ThreadLib::SetName(deskId_, threadName);
    DeskThread& desk = Self().desk_;
    // Taken while the thread cannot have ended yet: whoever stops or refuses the desk must be able to wait for its end.
    desk.end = ThreadLib::OpenForWait(deskId_);
    return desk.end && desk.record.EnsureReadySignal();
}

template <class Kind>
void FrontDesk<Kind>::AwaitDeskEnd() {
    WaitForSingleObject(Self().desk_.end.Get(), INFINITE);
    ForgetDesk();
}

template <class Kind>
void FrontDesk<Kind>::ForgetDesk() {
    // The system may give the id to another thread, which must get no posts.
    deskId_ = 0;
    Self().desk_ = DeskThread();
}

template <class Kind>
void FrontDesk<Kind>::Answer(uint32_t client, uint32_t code) const {
    Message answer;
    answer.code = code;
    ThreadLib::ReplyFor(client, deskId_, answer);
}

template <class Kind>
uint32_t FrontDesk<Kind>::FrontDeskFunc(void* service) {
    return static_cast<FrontDesk*>(service)->RunDesk();
}

template <class Kind>
uint32_t FrontDesk<Kind>::RunDesk() {
    Kind& self = Self();
    Message post = std::move(self.desk_.record);
    for (;;) {
        const uint32_t client = ThreadLib::Receive(post);
        if (client == 0) continue;
        if (post.code == 0 || post.data == 0) {
            Answer(client, 0);
            continue;
        }
        switch (*PointerFrom<const uint64_t>(post.data)) {
            case kCommandStart: {
                self.stopping_ = 0;
                ThreadLib::SetName(deskId_, self.name_.CStr());
                const uint32_t accepted = Manager_StartUp();
                Answer(client, accepted);
                if (accepted == 0) return kExitRefused;
                break;
            }
            case kCommandStop:
                self.stopping_ = 1;
                self.StopServing(client);
                Answer(client, Manager_ShutDown());
                return kExitStopped;
            default:
                self.Serve(post);
        }
    }
}

template class FrontDesk<MService>;
template class FrontDesk<Service>;

}  // namespace wpk::core
