// How a request may end when a call of the platform fails.
// SPDX-License-Identifier: MIT
#include "native/faults/effects.h"

#include <algorithm>
#include <vector>

#include "native/faults/scenario_fixture.h"

namespace wpk::host {
namespace {

struct Effect {
    std::string_view call;
    /// Beside the undisturbed end.
    std::vector<int> ends;
};

/// A call that is not here changes no request's end: a failed close has closed all the same, the time of a file and the
/// inheritance of a socket are left as they are, and what fails on the way of an event to the log keeps it out of
/// there.
const Effect kEffects[] = {
    // The start, in scenarios that make it a part of the play.
    {"GetModuleHandleExA", {kRefused}},
    {"OpenThread", {kRefused}},
    // Without a thread, or what one needs, no request begins; a connection needs a semaphore, too.
    {"CreateSemaphoreA", {kRefused, WPK_ERROR_CONNECT}},
    {"_beginthreadex", {kRefused}},
    {"ResumeThread", {kRefused}},
    {"operator_new", {kRefused, WPK_ERROR_EXCHANGE}},
    // The way to a connection.
    {"socket", {WPK_ERROR_CONNECT}},
    {"setsockopt", {WPK_ERROR_CONNECT}},
    {"ioctlsocket", {WPK_ERROR_CONNECT}},
    {"gethostbyname", {WPK_ERROR_CONNECT}},
    {"connect", {WPK_ERROR_CONNECT}},
    {"select", {WPK_ERROR_CONNECT, WPK_ERROR_EXCHANGE}},
    // The connection is made.
    {"send", {WPK_ERROR_EXCHANGE}},
    {"recv", {WPK_ERROR_EXCHANGE}},
    // The file of a large reply.
    {"CreateFileA", {WPK_ERROR_EXCHANGE}},
    {"SetFilePointer", {WPK_ERROR_EXCHANGE}},
    {"SetEndOfFile", {WPK_ERROR_EXCHANGE}},
    {"WriteFile", {WPK_ERROR_EXCHANGE}},
    {"CreateFileMappingA", {WPK_ERROR_EXCHANGE}},
    {"MapViewOfFile", {WPK_ERROR_EXCHANGE}},
};

/// On a network that comes and goes, any failure may let the request begin at another moment: between the network's
/// coming and the start of the sockets interface, or before the network is thought to be gone and is there again. Who
/// waits for the network to go stops waiting, too, and cancels what is left.
bool MayEndAsOnDialUp(int end) {
    return end == WPK_ERROR_CONNECT || end == WPK_ERROR_EXCHANGE || end == WPK_ERROR_CANCELLED;
}

}  // namespace

bool MayEndAs(int end, std::string_view brokenCall, int undisturbed) {
    if (undisturbed == WPK_ERROR_NO_NETWORK && MayEndAsOnDialUp(end)) return true;
    const auto* effect = std::find_if(std::begin(kEffects), std::end(kEffects),
                                      [&](const Effect& each) { return each.call == brokenCall; });
    if (effect == std::end(kEffects)) return false;
    return std::find(effect->ends.begin(), effect->ends.end(), end) != effect->ends.end();
}

}  // namespace wpk::host
