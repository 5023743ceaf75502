// The multi-threaded service.
// SPDX-License-Identifier: MIT
#include "service/mservice.h"

#include "threadlib/pointer_word.h"

namespace wpk::core {

namespace {

/// The fields of a job record.
enum JobField : uint64_t { kWorkerId, kClientId, kArgumentCount, kArguments, kJobFieldCount };

/// What a job record holds: the worker, its client, and the request's arguments in the client's memory. What is missing
/// is 0.
struct Job {
    uint32_t worker = 0;
    uint32_t client = 0;
    uint32_t argumentCount = 0;
    uint64_t arguments = 0;

    static Job From(const Record& record) {
        return {record.GetUint32(kWorkerId), record.GetUint32(kClientId), record.GetUint32(kArgumentCount),
                record.GetUint64(kArguments)};
    }

    /// Without fields if memory runs out.
    Record ToRecord() const {
        Record record(kJobFieldCount);
        record.SetUint32(kWorkerId, worker);
        record.SetUint32(kClientId, client);
        record.SetUint32(kArgumentCount, argumentCount);
        record.SetUint64(kArguments, arguments);
        return record;
    }
};

}  // namespace

MService::MService(const char* name) : name_(name) {
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

void MService::Serve(const Message& post) {
    if (StartWorker(post) == 0) Answer(post.threadId, 0);
}

void MService::StopServing(uint32_t stopper) {
    stopper_ = stopper;
    StopWorkers();
}

/// The id of the worker that has taken the request; 0 when none could be started.
uint32_t MService::StartWorker(const Message& post) {
    const uint32_t id = ThreadLib::Create(WorkerFunc, this);
    if (id == 0) return 0;
    ThreadLib::SetName(id, workerName_.CStr());
    const Record job = Job{id, post.threadId, post.code, post.data}.ToRecord();
    const bool recorded = job.FieldCount() != 0 && AddJob(job);
    if (recorded && ThreadLib::Resume(id)) return id;
    if (recorded) RemoveJob(job);
    ThreadLib::Terminate(id);
    return 0;
}

/// Finding the job allocates nothing: a worker that could not find it if memory runs out would leave its client
/// waiting. One that finds none, because its row was drained just before it is ended, passes 0 on in every field. A row
/// that cannot be removed if memory runs out is replaced like one that an exception left behind.
uint32_t MService::WorkerFunc(void* argument) {
    auto& service = *static_cast<MService*>(argument);
    Job job;
    service.jobs_->Visit(KeyOf(GetCurrentThreadId()), [&job](const Record& row) { job = Job::From(row); });
    const uint32_t result =
        service.ProcessRequest(job.client, job.argumentCount, PointerFrom<const uint64_t>(job.arguments));
    service.RemoveJob(job.ToRecord());
    return result;
}

/// All workers have ended before the first client is answered: the row that a worker's exception left behind names a
/// client that may have a second worker by now, which reads the client's frame as long as it runs. The client that
/// stops the service may stand in such a row as well, and waits for another answer.
uint32_t MService::StopWorkers() {
    const RecordTable::Rows drained = jobs_->Drain();
    for (uint32_t i = 0; i < drained.count; ++i) ThreadLib::Terminate(Job::From(drained.rows[i]).worker);
    for (uint32_t i = 0; i < drained.count; ++i) {
        const uint32_t client = Job::From(drained.rows[i]).client;
        if (client != stopper_) Answer(client, 0);
    }
    return 1;
}

/// In place of a row under the same id, which an exception has left behind: the system hands ids out again, and the new
/// worker must find its own job. The client in the replaced row, if it was not answered, waits until the desk ends.
uint32_t MService::AddJob(const Record& job) {
    return jobs_->Replace(job);
}

uint32_t MService::RemoveJob(const Record& job) {
    jobs_->Remove(job.Field(kWorkerId));
    return 1;
}

}  // namespace wpk::core
