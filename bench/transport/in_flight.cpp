// Keeps so many requests in flight and measures them.
// SPDX-License-Identifier: MIT
#include "in_flight.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace bench {

namespace {

/// The message of every request: 200 bytes.
std::string MessageAskingFor(uint32_t replyLength) {
    std::string message = std::to_string(replyLength) + " ";
    message.resize(200, '.');
    return message;
}

}  // namespace

double Now() {
    LARGE_INTEGER ticks, frequency;
    QueryPerformanceCounter(&ticks);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(ticks.QuadPart) * 1e6 / static_cast<double>(frequency.QuadPart);
}

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void InFlight::Enter() {
    AcquireSRWLockExclusive(&lock_);
    WaitBelow(limit_);
    ++count_;
    ReleaseSRWLockExclusive(&lock_);
}

void InFlight::Leave() {
    AcquireSRWLockExclusive(&lock_);
    --count_;
    // Not after the release: the last one out may find this object gone.
    WakeConditionVariable(&left_);
    ReleaseSRWLockExclusive(&lock_);
}

void InFlight::WaitEmpty() {
    AcquireSRWLockExclusive(&lock_);
    WaitBelow(1);
    ReleaseSRWLockExclusive(&lock_);
}

void InFlight::WaitBelow(unsigned limit) {
    while (count_ >= limit) SleepConditionVariableSRW(&left_, &lock_, INFINITE, 0);
}

void Finish(Request& request, bool delivered) {
    request.ended = Now();
    request.delivered = delivered;
    request.window->Leave();
}

Block Run(Starter start, const Order& order) {
    static const char kServer[] = "127.0.0.1";
    const std::string message = MessageAskingFor(order.replyLength);
    InFlight window(order.inFlight);
    Block block{std::vector<Request>(order.count), 0};

    const double begin = Now();
    for (Request& request : block.requests) {
        request.record.lpszServer = kServer;
        request.record.nPort = order.port;
        request.record.lpszServiceName = "Generate";
        request.record.lpData = message.data();
        request.record.dwDataLength = static_cast<unsigned>(message.size());
        request.replyLength = order.replyLength;
        request.window = &window;
        window.Enter();
        request.started = Now();
        start(request);
    }
    window.WaitEmpty();
    block.duration = Now() - begin;

    for (const Request& request : block.requests) {
        if (request.delivered) continue;
        std::fprintf(stderr, "a request was not delivered\n");
        std::exit(1);
    }
    return block;
}

}  // namespace bench
