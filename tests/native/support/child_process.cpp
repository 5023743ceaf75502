// Runs one case of a test in a process of its own.
// SPDX-License-Identifier: MIT
#include "native/support/child_process.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif
#if defined(WPK_COVERAGE)
extern "C" void __gcov_dump();
#endif

/// Sends and receives of different connections must not look ordered to ThreadSanitizer, and a child that races ends.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "io_sync=0 halt_on_error=1";
}

namespace wpk::host {
namespace {

constexpr unsigned kLongestSeconds = 60;

/// What the process has run; an exit without destructors would lose it.
void WriteCoverage() {
#if defined(WPK_COVERAGE)
    __gcov_dump();
#endif
}

bool HasLeaked() {
#if defined(__SANITIZE_ADDRESS__)
    return __lsan_do_recoverable_leak_check() != 0;
#else
    return false;
#endif
}

/// Failures of the running test; the child inherits those that the parent has noted before.
int CountFailures() {
    const testing::TestResult& result = *testing::UnitTest::GetInstance()->current_test_info()->result();
    int failures = 0;
    for (int i = 0; i < result.total_part_count(); ++i) failures += result.GetTestPartResult(i).failed();
    return failures;
}

[[noreturn]] void RunBody(const std::string& folder, const std::function<void()>& body) {
    alarm(kLongestSeconds);
    if (chdir(folder.c_str()) != 0) std::abort();
    const int failuresBefore = CountFailures();
    body();
    const bool failed = CountFailures() > failuresBefore || HasLeaked();
    std::fflush(stdout);
    WriteCoverage();
    // Static objects are not destroyed: where the library belongs, its threads are gone before that happens.
    std::_Exit(failed ? 1 : 0);
}

std::string Describe(int status) {
    if (WIFSIGNALED(status)) {
        const int signal = WTERMSIG(status);
        return signal == SIGALRM ? "hung" : "ended by signal " + std::to_string(signal);
    }
    return "ended with exit code " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

void Children::Start(const std::function<void()>& body, Ended ended) {
    while (running_.size() >= atOnce_) AwaitOne();
    std::string folder = "/tmp/wpk-child-XXXXXX";
    if (!mkdtemp(folder.data())) std::abort();
    std::fflush(stdout);
    const pid_t child = fork();
    if (child < 0) std::abort();
    if (child == 0) RunBody(folder, body);
    running_[child] = {folder, std::move(ended)};
}

void Children::AwaitAll() {
    while (!running_.empty()) AwaitOne();
}

void Children::AwaitOne() {
    int status = 0;
    const pid_t id = wait(&status);
    if (id < 0) std::abort();
    const Child child = std::move(running_.at(id));
    running_.erase(id);
    const bool clean = std::filesystem::is_empty(child.folder);
    std::filesystem::remove_all(child.folder);
    if (status != 0) std::printf("the process of a case %s\n", Describe(status).c_str());
    if (!clean) std::puts("the process of a case left a file behind");
    child.ended(status == 0 && clean);
}

bool RunInChild(const std::function<void()>& body) {
    bool passed = false;
    Children only(1);
    only.Start(body, [&passed](bool childPassed) { passed = childPassed; });
    only.AwaitAll();
    return passed;
}

void* SharedMemory(size_t size) {
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) std::abort();
    return memory;
}

}  // namespace wpk::host
