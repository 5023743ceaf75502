// Goes on exploring for as long as it is told to, and repeats single schedules.
// SPDX-License-Identifier: MIT
//
//     explore MINUTES [--seed N] [SCENARIO]       all scenarios, or those whose names contain the text
//     explore --schedule "41:1 60:2" SCENARIO     one schedule again
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "native/explore/explorer.h"
#include "native/explore/scenarios.h"

namespace wpk::explore {
namespace {

using Clock = std::chrono::steady_clock;

/// The longest that a scenario keeps the others waiting.
constexpr double kLongestTurn = 20;
constexpr int kMostPreemptions = 3;

struct Order {
    double seconds = 0;
    uint64_t seed = 1;
    std::optional<std::string> schedule;
    std::string name;
};

/// What has been done for a scenario so far.
struct Account {
    Findings systematic;
    uint64_t random = 0;
};

std::optional<Order> ReadOrder(const std::vector<std::string>& arguments) {
    Order order;
    std::vector<std::string> plain;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const bool hasValue = i + 1 < arguments.size();
        if (arguments[i] == "--seed" && hasValue) {
            order.seed = std::strtoull(arguments[++i].c_str(), nullptr, 10);
        } else if (arguments[i] == "--schedule" && hasValue) {
            order.schedule = arguments[++i];
        } else {
            plain.push_back(arguments[i]);
        }
    }
    if (!order.schedule) {
        if (plain.empty()) return std::nullopt;
        order.seconds = 60 * std::strtod(plain.front().c_str(), nullptr);
        plain.erase(plain.begin());
        if (order.seconds <= 0) return std::nullopt;
    }
    if (plain.size() > 1) return std::nullopt;
    if (!plain.empty()) order.name = plain.front();
    return order;
}

Scenarios Select(const std::string& name) {
    Scenarios selected = AllScenarios();
    const auto isOther = [&name](const Scenario& one) { return std::string(one.name).find(name) == std::string::npos; };
    selected.erase(std::remove_if(selected.begin(), selected.end(), isOther), selected.end());
    return selected;
}

bool Passed(const Scenario& scenario, const Findings& found) {
    if (found.failure.empty()) return true;
    std::printf("FAILED: %s: %s\n  --schedule \"%s\"\n", scenario.name, found.failure.c_str(), found.schedule.c_str());
    return false;
}

void Print(const Scenario& scenario, const Account& account) {
    std::string all;
    if (account.systematic.exhausted >= 0) {
        all = ", among them all " + std::to_string(account.systematic.exhaustedSchedules) + " with at most " +
              std::to_string(account.systematic.exhausted) + " pre-emptions";
    }
    std::printf("%s: %llu schedules systematically%s; %llu at random\n", scenario.name,
                static_cast<unsigned long long>(account.systematic.schedules), all.c_str(),
                static_cast<unsigned long long>(account.random));
    std::fflush(stdout);
}

/// Each scenario systematically once, with random priorities beside it; then with two sets of those, until the time is
/// over. True when nothing has failed.
bool ExploreAll(const Order& order, const Scenarios& scenarios) {
    const Clock::time_point end =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(order.seconds));
    const double turn = std::min(kLongestTurn, order.seconds / static_cast<double>(scenarios.size()));
    std::map<std::string, Account> accounts;
    bool passed = true;
    uint64_t seed = order.seed;
    for (bool first = true; first || Clock::now() < end; first = false) {
        for (const Scenario& scenario : scenarios) {
            if (!first && Clock::now() >= end) break;
            Exploration one = first ? Exploration::Systematic(scenario, kMostPreemptions, turn)
                                    : Exploration::Random(scenario, seed++, turn);
            Exploration other = Exploration::Random(scenario, seed++, turn);
            const Findings ofOne = one.Await();
            const Findings ofOther = other.Await();
            Account& account = accounts[scenario.name];
            if (first) account.systematic = ofOne;
            account.random += ofOther.schedules + (first ? 0 : ofOne.schedules);
            Print(scenario, account);
            passed = Passed(scenario, ofOne) && Passed(scenario, ofOther) && passed;
        }
    }
    return passed;
}

int Run(const std::vector<std::string>& arguments) {
    const std::optional<Order> order = ReadOrder(arguments);
    const Scenarios scenarios = order ? Select(order->name) : Scenarios();
    if (!order || scenarios.empty() || (order->schedule && scenarios.size() != 1)) {
        std::fputs(
            "usage: explore MINUTES [--seed N] [SCENARIO]\n"
            "       explore --schedule \"41:1 60:2\" SCENARIO\n",
            stderr);
        return 2;
    }
    if (!order->schedule) return ExploreAll(*order, scenarios) ? 0 : 1;
    const Scenario& scenario = scenarios.front();
    return Passed(scenario, Exploration::Repeat(scenario, *order->schedule).Await()) ? 0 : 1;
}

}  // namespace
}  // namespace wpk::explore

int main(int count, char** arguments) {
    return wpk::explore::Run(std::vector<std::string>(arguments + 1, arguments + count));
}
