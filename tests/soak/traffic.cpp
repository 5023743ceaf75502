// What an application under load sends: requests of every kind and size, at random.
// SPDX-License-Identifier: MIT
#include "soak/traffic.h"

#include <algorithm>

namespace wpk::soak {

struct Traffic::Sort {
    size_t weight;
    Plan (Traffic::*make)(Random& random) const;
};

const Traffic::Sort Traffic::kSorts[] = {
    {26, &Traffic::Echo},          {8, &Traffic::Reverse},   {10, &Traffic::Generate},
    {4, &Traffic::ShortSleep},     {2, &Traffic::LongSleep}, {4, &Traffic::BadMessage},
    {5, &Traffic::UnknownService}, {2, &Traffic::Unusable},  {9, &Traffic::Reply},
    {4, &Traffic::SlowReply},      {9, &Traffic::Cut},       {6, &Traffic::CutEarly},
    {9, &Traffic::WrongHead},      {3, &Traffic::Stall},     {2, &Traffic::Deaf},
    {1, &Traffic::NotAccepted},
};

namespace {

std::string AnyMessage(Random& random) {
    const size_t offset = AnyOffset(random);
    return std::string(Stretch(offset, AnySize(random)));
}

Action AnyReply(Random& random) {
    Action action;
    action.bodyLength = AnySize(random);
    action.bodyOffset = AnyOffset(random);
    return action;
}

bool IsAlphabet(const std::string& body, size_t length) {
    if (body.size() != length) return false;
    for (size_t i = 0; i < length; ++i) {
        if (body[i] != static_cast<char>('a' + i % 26)) return false;
    }
    return true;
}

/// To a peer that does not read what it is asked.
Plan ToPort(Random& random, const char* kind, unsigned short port) {
    Plan plan;
    plan.kind = kind;
    plan.port = port;
    plan.message = AnyMessage(random);
    return plan;
}

/// For requests that would not end by themselves.
void CancelSoon(Random& random, Plan& plan) {
    plan.cancel = {CancelPlan::kAfter, static_cast<DWORD>(random.Below(700))};
}

/// Of the others, every eighth is taken back somewhere.
void PerhapsCancel(Random& random, Plan& plan) {
    if (plan.cancel.when != CancelPlan::kNever || !random.OneIn(8)) return;
    plan.cancel.when = static_cast<CancelPlan::When>(random.Between(CancelPlan::kAfter, CancelPlan::kInFinal));
    plan.cancel.milliseconds = random.OneIn(3) ? 0 : static_cast<DWORD>(random.Below(60));
}

}  // namespace

Plan Traffic::Next(Random& random) const {
    size_t total = 0;
    for (const Sort& sort : kSorts) total += sort.weight;
    size_t choice = random.Below(total);
    const Sort* sort = kSorts;
    while (choice >= sort->weight) choice -= (sort++)->weight;
    Plan plan = (this->*sort->make)(random);
    PerhapsCancel(random, plan);
    return plan;
}

Plan Traffic::ToServer(Random& random, const char* kind, const char* service, std::string message) const {
    Plan plan;
    plan.kind = kind;
    plan.service = service;
    plan.message = std::move(message);
    ServerProcess* server = random.OneIn(3) ? &dying_ : &steady_;
    plan.snapshot = server->Look();
    // A request to a dead port ends after 30 seconds only: a few are enough, or there would soon be nothing else.
    if (!plan.snapshot.up && !random.OneIn(10)) {
        server = &steady_;
        plan.snapshot = server->Look();
    }
    // Of a process that is ended, Wine now and then keeps a connection open: in the middle of a reply, nothing but a
    // cancel would end such a request.
    if (server == &dying_) plan.cancel = {CancelPlan::kAfter, 45000, /*rescue=*/true};
    plan.server = server;
    plan.port = plan.snapshot.port;
    return plan;
}

Plan Traffic::ToActor(Random& random, const char* kind, const Action& action) const {
    Plan plan;
    plan.kind = kind;
    plan.port = random.OneIn(5) ? peers_.LateActor() : peers_.Actor();
    plan.message = action.Text() + AnyMessage(random);
    return plan;
}

Plan Traffic::Echo(Random& random) const {
    Plan plan = ToServer(random, "echo", "Echo", AnyMessage(random));
    plan.right = [](const std::string& message, const std::string& body) { return body == message; };
    return plan;
}

Plan Traffic::Reverse(Random& random) const {
    Plan plan = ToServer(random, "reverse", "Reverse", AnyMessage(random));
    plan.right = [](const std::string& message, const std::string& body) {
        return std::equal(body.begin(), body.end(), message.rbegin(), message.rend());
    };
    return plan;
}

Plan Traffic::Generate(Random& random) const {
    const size_t length = AnySize(random);
    Plan plan = ToServer(random, "generate", "Generate", std::to_string(length));
    plan.right = [length](const std::string&, const std::string& body) { return IsAlphabet(body, length); };
    return plan;
}

Plan Traffic::ShortSleep(Random& random) const {
    Plan plan = ToServer(random, "short sleep", "Sleep", std::to_string(random.Below(200)));
    plan.right = [](const std::string& message, const std::string& body) {
        return body == "Slept for " + message + " ms.\n";
    };
    return plan;
}

Plan Traffic::LongSleep(Random& random) const {
    Plan plan = ToServer(random, "long sleep", "Sleep", "600000");
    CancelSoon(random, plan);
    return plan;
}

Plan Traffic::UnknownService(Random& random) const {
    Plan plan = ToServer(random, "unknown service", "Nonsense", AnyMessage(random));
    plan.errors = {WPK_ERROR_NO_SERVICE};
    return plan;
}

Plan Traffic::BadMessage(Random& random) const {
    Plan plan = ToServer(random, "bad message", "Generate", "many");
    plan.errors = {WPK_ERROR_EXCHANGE};
    return plan;
}

Plan Traffic::Unusable(Random& random) const {
    Plan plan = ToServer(random, "unusable record", "Echo", AnyMessage(random));
    plan.withoutServerName = true;
    plan.errors = {WPK_ERROR_BAD_REQUEST};
    return plan;
}

Plan Traffic::Reply(Random& random) const {
    const Action action = AnyReply(random);
    Plan plan = ToActor(random, "reply", action);
    plan.right = [action](const std::string&, const std::string& body) {
        return body == Stretch(action.bodyOffset, action.bodyLength);
    };
    return plan;
}

Plan Traffic::SlowReply(Random& random) const {
    Action action = AnyReply(random);
    action.what = Action::kSlowly;
    action.place = random.Between(2, 25);
    Plan plan = ToActor(random, "slow reply", action);
    plan.right = [action](const std::string&, const std::string& body) {
        return body == Stretch(action.bodyOffset, action.bodyLength);
    };
    return plan;
}

Plan Traffic::Cut(Random& random) const {
    Action action = AnyReply(random);
    action.what = random.OneIn(2) ? Action::kCut : Action::kReset;
    // In the head as often as in the body.
    const size_t head = harness::OkHead(action.bodyLength).size();
    action.place = random.Below(random.OneIn(2) ? head : head + action.bodyLength);
    Plan plan = ToActor(random, action.what == Action::kCut ? "cut" : "reset", action);
    plan.errors = {WPK_ERROR_EXCHANGE};
    return plan;
}

Plan Traffic::CutEarly(Random& random) const {
    Plan plan = ToPort(random, "cut early", peers_.Cutter());
    plan.errors = {WPK_ERROR_EXCHANGE};
    return plan;
}

Plan Traffic::WrongHead(Random& random) const {
    Action action;
    action.what = Action::kWrongHead;
    action.place = random.Below(kWrongHeadCount);
    Plan plan = ToActor(random, "wrong head", action);
    const int error = kWrongHeads[action.place].error;
    if (error != 0) plan.errors = {error};
    if (error == 0) plan.right = [](const std::string&, const std::string& body) { return body == "hi"; };
    return plan;
}

Plan Traffic::Stall(Random& random) const {
    Action action = AnyReply(random);
    action.what = Action::kStall;
    const size_t head = harness::OkHead(action.bodyLength).size();
    // Short of the whole by one byte at least, which for an empty body is the head's last.
    action.place = random.Below(random.OneIn(2) ? head : head + action.bodyLength);
    Plan plan = ToActor(random, "stall", action);
    CancelSoon(random, plan);
    return plan;
}

Plan Traffic::Deaf(Random& random) const {
    Plan plan = ToPort(random, "deaf peer", peers_.Deaf());
    CancelSoon(random, plan);
    return plan;
}

Plan Traffic::NotAccepted(Random& random) const {
    Plan plan = ToPort(random, "not accepted", peers_.Full());
    CancelSoon(random, plan);
    return plan;
}

}  // namespace wpk::soak
