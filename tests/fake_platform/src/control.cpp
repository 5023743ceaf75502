// What is open, and the way back to the start.
// SPDX-License-Identifier: MIT
#include "fake_platform/control.h"

#include <ostream>
#include <tuple>

#include "fake_platform/src/call.h"
#include "fake_platform/src/file_objects.h"
#include "fake_platform/src/object.h"
#include "fake_platform/src/system.h"
#include "fake_platform/src/thread.h"

namespace wpk::host {
namespace {

auto Tie(const Live& live) {
    return std::tie(live.handles, live.files, live.mappings, live.views, live.sockets, live.keys, live.eventSources,
                    live.threads, live.modules);
}

}  // namespace

bool Live::operator==(const Live& other) const {
    return Tie(*this) == Tie(other);
}

bool Live::IsWithin(const Live& other) const {
    return handles <= other.handles && files <= other.files && mappings <= other.mappings && views <= other.views &&
           sockets <= other.sockets && keys <= other.keys && eventSources <= other.eventSources &&
           threads <= other.threads && modules <= other.modules;
}

std::ostream& operator<<(std::ostream& out, const Live& live) {
    return out << "handles " << live.handles << ", files " << live.files << ", mappings " << live.mappings << ", views "
               << live.views << ", sockets " << live.sockets << ", keys " << live.keys << ", event sources "
               << live.eventSources << ", threads " << live.threads << ", modules " << live.modules;
}

Live CountLive() {
    Live live;
    live.files = LiveHandles(Kind::kFile);
    live.mappings = LiveHandles(Kind::kMapping);
    live.handles = LiveHandles(Kind::kSemaphore) + LiveHandles(Kind::kThread) + live.files + live.mappings;
    live.views = LiveViews();
    live.sockets = LiveSockets();
    live.keys = LiveHandles(Kind::kKey);
    live.eventSources = LiveHandles(Kind::kEventSource);
    live.threads = Thread::Running();
    live.modules = LiveModules();
    return live;
}

void Reset() {
    ResetCalls();
    ResetMachine();
    ResetRegistry();
    ResetHosts();
    ShortenTransfers(0);
    ConnectAtOnce(false);
}

}  // namespace wpk::host
