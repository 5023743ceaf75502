// Runs one case of a test in a process of its own, for a library that can be initialised only once in each.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_NATIVE_SUPPORT_CHILD_PROCESS_H
#define WPK_TESTS_NATIVE_SUPPORT_CHILD_PROCESS_H

#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace wpk::host {

/// Runs `body` in a child of this process, which must have no threads of its own, in a new folder. True when no
/// expectation failed there, the leak check of the sanitizer passed, nothing crashed and nothing was left in the
/// folder. A child that takes longer than any case may is ended, and says so.
bool RunInChild(const std::function<void()>& body);

/// The same for many bodies, several of them at a time: what they do most is wait.
class Children {
public:
    /// Told, on the calling thread, what RunInChild would have returned; may start another one.
    using Ended = std::function<void(bool passed)>;

    explicit Children(size_t atOnce) : atOnce_(atOnce) {}
    Children(const Children&) = delete;
    Children& operator=(const Children&) = delete;
    ~Children() { AwaitAll(); }

    /// Waits until there is room.
    void Start(const std::function<void()>& body, Ended ended);
    void AwaitAll();

private:
    struct Child {
        std::string folder;
        Ended ended;
    };
    void AwaitOne();

    const size_t atOnce_;
    std::map<pid_t, Child> running_;
};

/// Makes an object that lives to the end of the process. For what the library's threads use: when a wait for them has
/// failed, the child is to report that and not to crash.
template <class Object, class... Arguments>
Object& Lasting(Arguments&&... arguments) {
    // Reachable, so that they do not count as leaks.
    static std::vector<Object*>& all = *new std::vector<Object*>;
    all.push_back(new Object(std::forward<Arguments>(arguments)...));
    return *all.back();
}

/// Memory that is shared with children.
void* SharedMemory(size_t size);

}  // namespace wpk::host

#endif  // WPK_TESTS_NATIVE_SUPPORT_CHILD_PROCESS_H
