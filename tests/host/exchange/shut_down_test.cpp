// The outbound service's own part of a stop: requests whose threads no job names any more.
// SPDX-License-Identifier: MIT
#include <string>

#include "host/exchange/carried.h"
#include "service/net_outbound_service.h"
#include "support/lib_thread.h"

namespace wpk::host {

using namespace core;
namespace {

/// Its workers are not found by the first part of a stop, which ends all workers that have a job.
class ServiceWithoutJobs : public NetOutboundService {
public:
    using NetOutboundService::NetOutboundService;

    /// The front desk's, after its own part of the stop.
    std::string name_in_the_end;

protected:
    uint32_t ProcessRequest(uint32_t client, uint32_t count, const uint64_t* arguments) override {
        Record job(1);
        job.SetUint32(0, GetCurrentThreadId());
        RemoveJob(job);
        return NetOutboundService::ProcessRequest(client, count, arguments);
    }
    uint32_t Manager_ShutDown() override {
        const uint32_t result = NetOutboundService::Manager_ShutDown();
        ThreadRegistry* registry = ThreadLib::processRegistry;
        const ScopedLock lock(registry->Lock());
        name_in_the_end = registry->Find(GetCurrentThreadId())->name.get();
        return result;
    }
};

class ShutDownTest : public ExchangeTest {
protected:
    ShutDownTest() { ThreadLib::Init(); }
    ~ShutDownTest() override { test::ShutDownLayer(); }
};

TEST_F(ShutDownTest, SuspendsTheThreadsOfAllRequestsBeforeItEndsTheFirstOne) {
    const Server server;
    ServiceWithoutJobs service(state);
    ASSERT_NE(service.Start(), 0u);
    Request requests[] = {{server.Port(), "Silent"}, {server.Port(), "Silent"}};
    uint32_t handles[2] = {};
    for (int i = 0; i < 2; ++i) {
        handles[i] = service.Post(kCommandSend, uint64_t{reinterpret_cast<uintptr_t>(&requests[i].message)});
        ASSERT_NE(handles[i], 0u);
    }
    ASSERT_TRUE(AwaitThat([&] { return server.Silent() == 2; }));
    const uint64_t suspended_before = Uses("SuspendThread");
    const uint64_t terminated_before = Uses("TerminateThread");
    uint64_t suspended = 0;
    RunBefore("TerminateThread", 1, [&] { suspended = Uses("SuspendThread") - suspended_before; });
    EXPECT_EQ(service.Stop(), 1u);
    EXPECT_EQ(suspended, 2u);
    EXPECT_EQ(Uses("TerminateThread") - terminated_before, 2u);
    for (const uint32_t handle : handles) EXPECT_EQ(test::StateOf(handle), ThreadState::kEnded);
    EXPECT_EQ(service.name_in_the_end, "NetOutboundService::Manager_ShutDown()");
}

}  // namespace
}  // namespace wpk::host
