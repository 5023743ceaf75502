// What tests of the whole library are made of: requests that note what happens to them, and the server they go to.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_NATIVE_SUPPORT_REQUESTS_H
#define WPK_TESTS_NATIVE_SUPPORT_REQUESTS_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "native/support/native_peer.h"
#include "support/await_that.h"
#include "wpk/wpk.h"

namespace wpk::host {

// As WPK_Init and WPK_Cancel, but what they allocate counts as the library's.

int InitLibrary(const WPK_INITSTRUCT& settings);
int CancelRequest(unsigned handle);

/// A message with the notifications it has got. It must live until its request's thread has ended.
class NativeRequest {
public:
    NativeRequest(uint16_t port, std::string service, std::string data = "hello");
    NativeRequest(const NativeRequest&) = delete;
    NativeRequest& operator=(const NativeRequest&) = delete;

    /// Returns and keeps the handle. What the library allocates for it counts as its own.
    unsigned Send();
    /// False when no final notification comes within a time that is ample.
    bool AwaitFinal();

    unsigned Handle() const { return handle_; }
    int Finals() const { return finals_; }
    /// The final notification's error; 0 for a reply.
    int Error();
    std::string Reply();
    int Questions() const { return questions_; }
    int Progresses() const { return progresses_; }

    WPK_SENDSTRUCT message;
    /// How the question for credentials is answered; empty: declined. Set before Send.
    std::string user;
    std::string password;
    /// Called for every notification, before it is noted. Set before Send.
    std::function<void(const WPK_CALLBACKSTRUCT&)> onNotification;

    static void Notify(WPK_CALLBACKSTRUCT* notification);

private:
    void Note(WPK_CALLBACKSTRUCT& notification);

    const std::string server_ = "127.0.0.1";
    const std::string service_;
    const std::string data_;
    unsigned handle_ = 0;
    std::atomic<int> finals_{0};
    std::atomic<int> questions_{0};
    std::atomic<int> progresses_{0};
    std::mutex mutex_;
    std::condition_variable ended_;
    int error_ = 0;
    std::string reply_;
};

/// The server of the tests. What it does depends on the service that is asked for:
/// "Small" and "Large" are answered at once, in memory and by way of a spool file; "Silent" is never answered, "Half"
/// like "Large" but not to the end; "Echo" is answered with the request's body; "Unknown" is refused as a service that
/// it does not have; "Guarded" asks for the proxy credentials "u" and "right".
class Server {
public:
    static constexpr size_t kLargeSize = 20000;

    Server();
    uint16_t Port() const { return peer_.Port(); }
    /// Requests that have arrived for "Silent".
    int Silent() const { return silent_; }

private:
    void Serve(NativePeer::Connection& connection);

    std::atomic<int> silent_{0};
    NativePeer peer_;
};

/// A modem of the pretended machine, behind its remote access library and the wrappers of wpk.dll.
namespace modem {

void Install();
void Dial();
void HangUp();
/// Enumerations of the connections so far.
int Looks();

}  // namespace modem

using test::AwaitThat;

/// Waits until only the threads are left that are there for good, the front desk at least: then no thread uses a
/// request any more.
void AwaitThreadsLeft(int64_t lastingThreads = 1);
/// No socket, file or view is open, and no handle was misused.
void ExpectNothingOpen();

}  // namespace wpk::host

#endif  // WPK_TESTS_NATIVE_SUPPORT_REQUESTS_H
