// Runs threads one at a time.
// SPDX-License-Identifier: MIT
#include "fake_platform/src/scheduler.h"

#include <semaphore.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <thread>
#include <utility>

#include "fake_platform/control.h"
#include "fake_platform/src/call.h"
#include "fake_platform/src/object.h"
#include "fake_platform/src/thread.h"
#include "windows.h"

namespace wpk::host {
namespace {

/// More than any scenario takes: a run that comes so far goes round in circles.
constexpr uint32_t kMostSwitches = 200000;

/// A thread's turn to run.
class Turn {
public:
    Turn() { sem_init(&semaphore_, /*pshared=*/0, /*value=*/0); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() { sem_destroy(&semaphore_); }

    void Give() { sem_post(&semaphore_); }
    void Await() {
        while (sem_wait(&semaphore_) != 0 && errno == EINTR) continue;
    }

private:
    sem_t semaphore_;
};

struct Runner {
    Runner(uint32_t givenNumber, std::string givenName) : number(givenNumber), name(std::move(givenName)) {}

    const uint32_t number;
    const std::string name;
    Turn turn;
    std::thread thread;
    bool ended = false;
    /// Null while it could go on.
    std::function<bool()> condition;
    std::optional<uint64_t> deadline;
    bool timedOut = false;
    const char* where = "";

    bool CanGoOn() const { return !ended && (!condition || condition()); }
};

struct Event {
    uint32_t number;
    std::weak_ptr<const void> owner;
    std::function<void()> happen;
};

struct Run {
    explicit Run(Chooser& itsChooser) : chooser(itsChooser) {}

    Chooser& chooser;
    std::vector<std::unique_ptr<Runner>> runners;
    std::vector<Event> events;
    std::vector<std::shared_ptr<const void>> kept;
    std::vector<Option> options;
    Runner* running = nullptr;
    uint32_t made = 0;
    uint32_t switches = 0;
    uint64_t time = 0;
    int undisturbed = 0;
    bool choosing = false;

    Runner& Add(std::string name) {
        runners.push_back(std::make_unique<Runner>(made++, std::move(name)));
        return *runners.back();
    }
    Runner& Find(uint32_t number) {
        return **std::find_if(runners.begin(), runners.end(), [=](const auto& one) { return one->number == number; });
    }

    void CollectOptions();
    bool PassTime();
    void Happen(uint32_t number);
    Runner& ChooseNext();
    void Switch();
    std::string Describe() const;
};

Run* run = nullptr;
thread_local Runner* self = nullptr;

/// The running thread first, then the others in turn after it, so that the usual choice starves nobody.
void Run::CollectOptions() {
    options.clear();
    const bool canStay = running && running->CanGoOn();
    if (canStay) options.push_back({Option::Kind::kThread, running->number, false});
    const uint32_t after = running ? running->number : 0;
    for (const bool wrapped : {false, true}) {
        for (const auto& one : runners) {
            if (one.get() == running || (one->number < after) != wrapped || !one->CanGoOn()) continue;
            options.push_back({Option::Kind::kThread, one->number, canStay});
        }
    }
    events.erase(std::remove_if(events.begin(), events.end(), [](const Event& one) { return one.owner.expired(); }),
                 events.end());
    for (const Event& one : events) options.push_back({Option::Kind::kEvent, one.number, canStay});
    if (options.empty()) return;
    for (const auto& one : runners) {
        if (one->ended || !one->deadline || one->CanGoOn()) continue;
        options.push_back({Option::Kind::kTimeOut, one->number, true});
    }
}

/// To the next deadline, when nobody can go on before; false when nobody waits for one.
bool Run::PassTime() {
    Runner* next = nullptr;
    for (const auto& one : runners) {
        if (!one->ended && one->deadline && (!next || *one->deadline < *next->deadline)) next = one.get();
    }
    if (!next) return false;
    time = std::max(time, *next->deadline);
    next->timedOut = true;
    next->condition = nullptr;
    next->deadline.reset();
    return true;
}

void Run::Happen(uint32_t number) {
    const auto found =
        std::find_if(events.begin(), events.end(), [=](const Event& one) { return one.number == number; });
    const Event event = std::move(*found);
    events.erase(found);
    const std::shared_ptr<const void> alive = event.owner.lock();
    event.happen();
}

Runner& Run::ChooseNext() {
    for (;;) {
        if (++switches > kMostSwitches) chooser.Fail("the run does not come to an end: " + Describe());
        CollectOptions();
        if (options.empty()) {
            if (!PassTime()) chooser.Fail("nobody can go on: " + Describe());
            continue;
        }
        const bool decided = options.size() == 1 || undisturbed > 0;
        const Option chosen = options[decided ? 0 : chooser.Choose(options)];
        switch (chosen.kind) {
            case Option::Kind::kThread:
                return Find(chosen.number);
            case Option::Kind::kEvent:
                Happen(chosen.number);
                break;
            case Option::Kind::kTimeOut: {
                Runner& late = Find(chosen.number);
                time = std::max(time, *late.deadline);
                late.timedOut = true;
                late.condition = nullptr;
                late.deadline.reset();
                return late;
            }
        }
    }
}

void Run::Switch() {
    choosing = true;
    Runner& next = ChooseNext();
    choosing = false;
    if (&next == running) return;
    running = &next;
    next.turn.Give();
    if (!self->ended) self->turn.Await();
}

std::string Run::Describe() const {
    std::string text;
    for (const auto& one : runners) {
        if (one->ended) continue;
        if (!text.empty()) text += ", ";
        text += one->name + (one->condition ? std::string(" waits in ") + one->where : " runs");
    }
    return text;
}

/// The calling thread runs no more.
void EndRunner() {
    self->ended = true;
    run->Switch();
}

}  // namespace

void RunScheduled(Chooser& chooser, const std::function<void()>& body) {
    Run thisRun(chooser);
    const uint32_t slots = UsedSlots();
    run = &thisRun;
    self = &thisRun.Add("main");
    thisRun.running = self;
    body();
    AwaitThreads();
    run = nullptr;
    self = nullptr;
    for (const auto& one : thisRun.runners) {
        if (one->thread.joinable()) one->thread.join();
    }
    ReuseSlotsAfter(slots);
}

bool IsScheduled() {
    return self != nullptr;
}

void SchedulePoint() {
    if (self && run->undisturbed == 0) run->Switch();
}

void SchedulePointInLibrary() {
    if (self && !run->choosing && RunsLibraryCode()) SchedulePoint();
}

bool AwaitScheduled(const char* where, std::function<bool()> condition, uint32_t milliseconds) {
    self->where = where;
    self->timedOut = false;
    self->condition = std::move(condition);
    if (milliseconds != INFINITE) self->deadline = run->time + milliseconds;
    run->Switch();
    self->condition = nullptr;
    self->deadline.reset();
    return !self->timedOut;
}

void StartScheduled(std::string name, std::function<void()> body, std::function<bool()> mayBegin) {
    Runner& runner = run->Add(std::move(name));
    runner.condition = std::move(mayBegin);
    runner.where = "its start";
    runner.thread = std::thread([&runner, body = std::move(body)]() mutable {
        self = &runner;
        runner.turn.Await();
        runner.condition = nullptr;
        // With what it holds, which is not to go beside the turns of others.
        std::exchange(body, nullptr)();
        EndRunner();
        self = nullptr;
    });
}

void HappenLater(std::weak_ptr<const void> owner, std::function<void()> event) {
    run->events.push_back({run->made++, std::move(owner), std::move(event)});
}

void KeepForRun(std::shared_ptr<const void> object) {
    run->kept.push_back(std::move(object));
}

uint64_t ScheduledTime() {
    return run->time;
}

void FailRun(const std::string& why) {
    if (run) run->chooser.Fail(why);
    std::abort();
}

void StartThread(std::string name, std::function<void()> body) {
    StartScheduled(
        std::move(name),
        [body = std::move(body)] {
            {
                const CodeScope library(Code::kLibrary);
                body();
            }
            Thread::Leave();
        },
        nullptr);
}

void AwaitThreads(size_t lasting) {
    AwaitThreads([lasting] { return lasting; });
}

void AwaitThreads(std::function<size_t()> lasting) {
    AwaitScheduled(
        "the end of the others",
        [lasting = std::move(lasting)] {
            const auto left =
                std::count_if(run->runners.begin(), run->runners.end(), [](const auto& one) { return !one->ended; });
            return static_cast<size_t>(left) <= lasting() + 1;
        },
        INFINITE);
}

Undisturbed::Undisturbed() {
    ++run->undisturbed;
}

Undisturbed::~Undisturbed() {
    --run->undisturbed;
}

}  // namespace wpk::host
