// A request that the test carries itself: its exchange runs on the calling thread, so that what happens before each
// platform call is certain.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_NATIVE_EXCHANGE_CARRIED_H
#define WPK_TESTS_NATIVE_EXCHANGE_CARRIED_H

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "fake_platform/control.h"
#include "native/support/requests.h"
#include "transport/exchange.h"
#include "transport/pending_requests.h"
#include "transport/sockets_interface.h"

namespace wpk::host {

/// The fake platform as at the start, with the sockets interface started; in the end nothing may be open or misused.
class ExchangeTest : public testing::Test {
protected:
    ExchangeTest() {
        Reset();
        core::StartSockets();
        state.connectionStatus = 1;
        state.tempDirectory = &tempDirectory_;
    }
    ~ExchangeTest() override {
        ClearFaults();
        ClearActions();
        while (SocketStarts() > 0) core::CleanUpSockets();
        EXPECT_EQ(CountLive(), before_);
        EXPECT_EQ(Misuses(), std::vector<std::string>());
    }

    /// All requests go through the proxy from now on.
    void UseProxy(uint16_t port, const char* user = nullptr, const char* password = nullptr) {
        WPK_INITSTRUCT settings{};
        settings.bBehindProxy = 1;
        settings.lpszProxyServer = "127.0.0.1";
        settings.nProxyPort = port;
        settings.lpszProxyUser = user;
        settings.lpszProxyPassword = password;
        ASSERT_TRUE(state.settings.CopyFrom(settings));
    }

    /// As dial-up detection does when the modem hangs up.
    void LoseNetwork() {
        state.connectionStatus = 0;
        core::CleanUpSockets();
    }

    core::TransportState state;

private:
    const Live before_ = CountLive();
    const core::CountedText tempDirectory_{"./"};
};

class Carried : public NativeRequest {
public:
    Carried(core::TransportState& state, uint16_t port, std::string service, std::string data = "hello")
        : NativeRequest(port, std::move(service), std::move(data)), state_(state), records_(pending_->Add(kHandle)) {}
    ~Carried() { pending_->Remove(kHandle); }

    /// Carries it out; how it has ended: 0 for a reply, or the error.
    int Run() {
        const uint32_t delivered =
            core::RunExchange(&message, records_.connection, &records_.cancel->semaphore, state_);
        EXPECT_EQ(Finals(), 1);
        EXPECT_EQ(delivered, Error() == 0 ? 1u : 0u);
        return Error();
    }
    void Cancel() { EXPECT_EQ(pending_->Cancel(kHandle), 1u); }
    /// Cancels it right before the call is used for the `nth` time from now.
    void CancelBefore(const char* call, uint64_t nth) {
        RunBefore(call, nth, [this] { Cancel(); });
    }
    const core::PendingRequest& Records() const { return records_; }

private:
    static constexpr uint32_t kHandle = 4;

    core::TransportState& state_;
    const std::unique_ptr<core::PendingRequests> pending_ = core::PendingRequests::Create();
    const core::PendingRequest records_;
};

}  // namespace wpk::host

#endif  // WPK_TESTS_NATIVE_EXCHANGE_CARRIED_H
