// Runs something on a thread whose stack is so small that any recursion per level of a deep tree ends the program.
// SPDX-License-Identifier: MIT
#include "unit/xml_scale/small_stack.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <cstddef>

namespace limits {

namespace {

void* Run(void* work) {
    (*static_cast<const std::function<void()>*>(work))();
    return nullptr;
}

std::size_t StackSize() {
    constexpr std::size_t kSmall = 64 * 1024;
    return std::max(kSmall, static_cast<std::size_t>(PTHREAD_STACK_MIN));
}

}  // namespace

void RunOnSmallStack(const std::function<void()>& work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, StackSize()), 0);
    pthread_t thread;
    const int result = pthread_create(&thread, &attributes, Run, const_cast<std::function<void()>*>(&work));
    pthread_attr_destroy(&attributes);
    ASSERT_EQ(result, 0);
    pthread_join(thread, nullptr);
}

double ThreadSeconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace limits
