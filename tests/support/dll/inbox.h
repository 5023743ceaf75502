// What the callbacks brought: every notification with its thread and a copy of its contents.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_DLL_INBOX_H
#define WPK_TESTS_SUPPORT_DLL_INBOX_H

#include "support/dll/library.h"

#include <functional>
#include <string>
#include <vector>

namespace wpk::harness {

/// A copy of one notification. Fields that its reason does not fill stay zero.
struct Notification {
    unsigned int reason = 0;
    void* userData = nullptr;
    DWORD thread = 0;
    int error = 0;
    WPK_INT64 word = 0;
    const void* data = nullptr;  // as it was handed over; not to be followed any more
    std::string bytes;           // what it pointed to: whole for a reply, for progress see Inbox::KeepProgress
    unsigned int received = 0;
    unsigned int total = 0;
    unsigned int connected = 0;
    std::string user;
    std::string password;
    unsigned int retry = 0;
    bool restIsZero = false;  // every byte of the record behind the filled fields is zero

    bool Final() const { return reason == WPK_REASON_FAILURE || reason == WPK_REASON_REPLY; }
};

/// Collects the notifications of one callback context. Its address is the context.
class Inbox {
public:
    /// Given to the library; `lpUserData` is an Inbox.
    static void Callback(WPK_CALLBACKSTRUCT* notification);

    Inbox() = default;
    Inbox(const Inbox&) = delete;
    Inbox& operator=(const Inbox&) = delete;
    ~Inbox();

    /// Runs inside every callback, after it has been noted; may change the record and may throw.
    std::function<void(WPK_CALLBACKSTRUCT&)> inside;

    /// Large replies: progress notifications then are counted and checked for order, but not kept.
    void DropProgress() { keepProgress_ = false; }
    unsigned int ProgressCount();

    std::vector<Notification> All();
    size_t Finals();

    /// Waits for the first final notification; false when none comes.
    bool WaitForFinal();
    /// Waits until there are that many notifications.
    bool WaitForCount(size_t count);
    /// Waits until the thread that brought the first notification has ended: whatever the library does for this
    /// request has then been done, and nothing more can come.
    bool WaitForThreadEnd();

private:
    void Note(const WPK_CALLBACKSTRUCT& record);

    Monitor monitor_;
    std::vector<Notification> notifications_;
    HANDLE thread_ = nullptr;
    unsigned int progressCount_ = 0;
    bool keepProgress_ = true;
};

}  // namespace wpk::harness

#endif  // WPK_TESTS_SUPPORT_DLL_INBOX_H
