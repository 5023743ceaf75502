// The multi-threaded service: every request runs on a thread of its own.
// SPDX-License-Identifier: MIT
#ifndef WPK_SERVICE_MSERVICE_H
#define WPK_SERVICE_MSERVICE_H

#include <memory>

#include "service/front_desk.h"
#include "threadlib/record_table.h"

namespace wpk {

/// The front desk starts one worker for each request. The worker runs ProcessRequest, which must answer the client
/// itself (Answer): the client may then go on while the worker does.
class MService : public FrontDesk {
public:
    /// Returns the started value, not 0 on success; 0 also when the service is started already.
    uint32_t Start();

    /// Ends all workers where they stand, answers their clients 0 and stops the front desk. Returns the stop command's
    /// answer; 1 when the service was not started.
    uint32_t Stop();

protected:
    explicit MService(const char* name);

    /// Ends all workers and answers their clients 0; but not `stopper`, which waits for another answer by now.
    /// Returns 1.
    virtual uint32_t StopWorkers(uint32_t stopper);
    virtual uint32_t AddJob(const Record& job);
    virtual uint32_t RemoveJob(const Record& job);

    void Serve(const Message& request) override;
    void StopServing(uint32_t stopper) override { StopWorkers(stopper); }

private:
    struct Worker;
    static uint32_t WorkerFunc(void* worker);
    uint32_t StartWorker(const Message& request);

    std::unique_ptr<RecordTable> jobs_;
    CountedText workerName_;
};

}  // namespace wpk

#endif
