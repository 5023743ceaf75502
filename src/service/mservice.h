// The multi-threaded service: every request runs on a thread of its own.
// SPDX-License-Identifier: MIT
#ifndef WPK_SERVICE_MSERVICE_H
#define WPK_SERVICE_MSERVICE_H

#include <memory>

#include "service/front_desk.h"
#include "threadlib/record_table.h"

namespace wpk::core {

/// The front desk starts one worker for each request. The worker runs ProcessRequest, which must answer the client
/// itself (Answer): the client may then go on while the worker does.
class MService : public FrontDesk<MService> {
public:
    /// Returns the started value, not 0 on success; 0 also when the service is started already.
    uint32_t Start();

    /// Ends all workers where they stand, answers their clients 0 and stops the front desk. Returns the stop command's
    /// answer; 1 when the service was not started. Only when no worker can hold a lock that is needed afterwards: see
    /// ThreadLib::Terminate.
    uint32_t Stop();

protected:
    explicit MService(const char* name);

    /// Ends all workers, then answers their clients 0. Returns 1.
    virtual uint32_t StopWorkers();
    /// Returns 1; 0 when the job could not be recorded.
    virtual uint32_t AddJob(const Record& job);
    /// Removes the job of the same worker. Returns 1.
    virtual uint32_t RemoveJob(const Record& job);
    virtual ~MService() = default;

    static uint32_t WorkerFunc(void* service);

private:
    friend class FrontDesk<MService>;

    void Serve(const Message& request);
    void StopServing(uint32_t stopper);
    uint32_t StartWorker(const Message& request);

    std::atomic<uint32_t> stopping_{0};
    std::unique_ptr<RecordTable> jobs_;
    CountedText name_;
    CountedText workerName_;
    /// The client that waits for the answer to the stop command.
    uint32_t stopper_ = 0;
    DeskThread desk_;
};

}  // namespace wpk::core

#endif
