// The multi-threaded service.
// SPDX-License-Identifier: MIT
#include "service/mservice.h"

#include <new>

namespace wpk {

namespace {

/// A job record: the worker, its client, and the request's arguments in the client's memory.
enum JobField : uint64_t { kWorkerId, kClientId, kArgumentCount, kArguments, kJobFieldCount };

}  // namespace

/// What a worker needs to begin with. It travels with the thread instead of being looked up in the job table under the
/// thread's id: a row under that id may be another worker's, which an exception has ended.
struct MService::Worker {
    MService* service;
    Record job{kJobFieldCount};
};

MService::MService(const char* name) : FrontDesk(name) {
    workerName_.AssignJoined(name, "::WorkerFunc()");
}

uint32_t MService::Start() {
    if (Started() != 0) return 0;
    jobs_ = RecordTable::Create(kJobFieldCount);
    if (!jobs_) return 0;
    return StartDesk("MService::FrontDeskFunc()");
}

uint32_t MService::Stop() {
    if (Started() == 0) return 1;
    const uint32_t answer = StopDesk();
    jobs_.reset();
    return answer;
}

void MService::Serve(const Message& request) {
    if (StartWorker(request) == 0) Answer(request.threadId, 0);
}

/// The id of the worker that has taken the request; 0 when none could be started.
uint32_t MService::StartWorker(const Message& request) {
    std::unique_ptr<Worker> worker(new (std::nothrow) Worker{this});
    if (!worker) return 0;
    const uint32_t id =
        ThreadLib::Create(WorkerFunc, worker.get(), workerName_.CStr(), ThreadLib::WakeSignal::kWhenNeeded);
    if (id == 0) return 0;

    // The thread exists but does not run yet: it owns its Worker from Resume on.
    Record& job = worker->job;
    const bool recorded = job.SetUint32(kWorkerId, id) && job.SetUint32(kClientId, request.threadId) &&
                          job.SetUint32(kArgumentCount, request.code) && job.SetUint64(kArguments, request.data) &&
                          AddJob(job);
    Worker* const owned = worker.release();
    if (recorded && ThreadLib::Resume(id)) return id;
    if (recorded) RemoveJob(owned->job);
    ThreadLib::Terminate(id);
    delete owned;
    return 0;
}

uint32_t MService::WorkerFunc(void* argument) {
    const std::unique_ptr<Worker> worker(static_cast<Worker*>(argument));
    const Record& job = worker->job;
    const auto* arguments = reinterpret_cast<const uint64_t*>(static_cast<uintptr_t>(job.GetUint64(kArguments)));
    MService& service = *worker->service;
    const uint32_t result = service.ProcessRequest(job.GetUint32(kClientId), job.GetUint32(kArgumentCount), arguments);
    service.RemoveJob(job);
    return result;
}

uint32_t MService::StopWorkers(uint32_t stopper) {
    const RecordTable::Rows drained = jobs_->Drain();
    for (uint32_t i = 0; i < drained.count; ++i) {
        ThreadLib::Terminate(drained.rows[i].GetUint32(kWorkerId));
        const uint32_t client = drained.rows[i].GetUint32(kClientId);
        if (client != stopper) Answer(client, 0);
    }
    return 1;
}

uint32_t MService::AddJob(const Record& job) {
    return jobs_->Replace(job);
}

uint32_t MService::RemoveJob(const Record& job) {
    jobs_->Remove(job.Field(kWorkerId));
    return 1;
}

}  // namespace wpk
