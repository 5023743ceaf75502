// The same work on several threads at once.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_RUN_ON_THREADS_H
#define WPK_TESTS_SUPPORT_RUN_ON_THREADS_H

#include <thread>
#include <vector>

namespace wpk::test {

/// Calls `work` with 0, 1 and so on, each on a thread of its own, and waits until all have returned.
template <class Work>
void RunOnThreads(int count, Work work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back([&work, i] { work(i); });
    for (std::thread& thread : threads) thread.join();
}

}  // namespace wpk::test

#endif  // WPK_TESTS_SUPPORT_RUN_ON_THREADS_H
