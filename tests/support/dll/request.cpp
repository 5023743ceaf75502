// One request of a test: its send record, its inbox, and what is expected of it.
// SPDX-License-Identifier: MIT
#include "support/dll/request.h"

#include <gtest/gtest.h>

namespace wpk::harness {

Request::Request(unsigned short port, std::string message) : message_(std::move(message)) {
    record.nPort = port;
    record.lpszServer = server_.c_str();
    record.lpszServiceName = service_.c_str();
    record.lpfnCallback = &Inbox::Callback;
    record.lpUserData = &inbox;
    record.lpData = message_.data();
    record.dwDataLength = static_cast<unsigned int>(message_.size());
}

Request& Request::Service(std::string name) {
    service_ = std::move(name);
    record.lpszServiceName = service_.c_str();
    return *this;
}

Request& Request::Server(std::string host) {
    server_ = std::move(host);
    record.lpszServer = server_.c_str();
    return *this;
}

unsigned int Request::Send(const Library& library) {
    handle_ = library.Send(&record);
    return handle_;
}

bool Request::Run(const Library& library) {
    return Send(library) != 0 && WaitForEnd();
}

bool Request::WaitForEnd() {
    return inbox.WaitForFinal() && inbox.WaitForThreadEnd();
}

Notification Request::Final() {
    for (const Notification& one : inbox.All()) {
        if (one.Final()) return one;
    }
    return {};
}

namespace {

void ExpectOneFinal(Request& request) {
    EXPECT_EQ(request.inbox.Finals(), 1u);
    const std::vector<Notification> all = request.inbox.All();
    ASSERT_FALSE(all.empty());
    EXPECT_TRUE(all.back().Final()) << "a notification followed the final one";
    for (const Notification& one : all) {
        EXPECT_EQ(one.thread, request.Handle()) << "reason " << one.reason;
        EXPECT_EQ(one.userData, request.record.lpUserData);
        EXPECT_TRUE(one.restIsZero) << "reason " << one.reason;
    }
}

}  // namespace

void ExpectReply(Request& request, const std::string& body) {
    ExpectOneFinal(request);
    const Notification last = request.Final();
    ASSERT_EQ(last.reason, static_cast<unsigned int>(WPK_REASON_REPLY)) << "error " << last.error;
    EXPECT_EQ(last.error, 0);
    EXPECT_EQ(last.total, body.size());
    EXPECT_EQ(last.data == nullptr, body.empty());
    // Not EXPECT_EQ: a difference in 64 MiB must not be printed.
    EXPECT_TRUE(last.bytes == body) << "got: " << last.bytes.substr(0, 200);
}

void ExpectFailure(Request& request, int error) {
    ExpectOneFinal(request);
    const Notification last = request.Final();
    EXPECT_EQ(last.reason, static_cast<unsigned int>(WPK_REASON_FAILURE));
    EXPECT_EQ(last.error, error);
}

void RunAndExpectReply(const Library& library, Request& request, const std::string& body) {
    ASSERT_TRUE(request.Run(library));
    ExpectReply(request, body);
}

void RunAndExpectFailure(const Library& library, Request& request, int error) {
    ASSERT_TRUE(request.Run(library));
    ExpectFailure(request, error);
}

}  // namespace wpk::harness
