// Progress of a reply that takes a while: a bar on a terminal, a few lines elsewhere.
// SPDX-License-Identifier: MIT
#include "progress.h"

#include <array>
#include <cstdio>

namespace wpk_send {
namespace {

// A smaller reply arrives before a bar could be read.
constexpr std::uint32_t kLargeReply = 256 * 1024;
constexpr int kBarWidth = 40;
constexpr int kLineStepPercent = 10;

int Percent(std::uint32_t received, std::uint32_t total) {
    return static_cast<int>(std::uint64_t{100} * received / total);
}

std::string Counts(int percent, std::uint32_t received, std::uint32_t total) {
    return std::to_string(percent) + " % (" + SizeText(received) + " of " + SizeText(total) + ")";
}

std::string Bar(int percent, const std::string& counts, bool finished) {
    const int filled = percent * kBarWidth / 100;
    std::string bar = "\r[";
    bar.append(static_cast<std::size_t>(filled), '#');
    bar.append(static_cast<std::size_t>(kBarWidth - filled), '.');
    // Blanks overwrite the end of a longer previous line.
    return bar + "] " + counts + "   " + (finished ? "\n" : "");
}

}  // namespace

std::string Progress::Update(std::uint32_t received, std::uint32_t total) {
    if (style_ == Style::kNone || total < kLargeReply) return {};
    const int percent = Percent(received, total);
    const int step = style_ == Style::kBar ? 1 : kLineStepPercent;
    if (shown_percent_ >= 0 && percent / step == shown_percent_ / step) return {};
    shown_percent_ = percent;
    const std::string counts = Counts(percent, received, total);
    return style_ == Style::kBar ? Bar(percent, counts, received == total) : counts + "\n";
}

std::string SizeText(std::uint64_t bytes) {
    constexpr std::array<const char*, 3> kUnits = {"KiB", "MiB", "GiB"};
    if (bytes < 1024) return std::to_string(bytes) + " bytes";
    double size = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    while (size >= 1024 && unit + 1 < kUnits.size()) {
        size /= 1024;
        ++unit;
    }
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%.1f %s", size, kUnits[unit]);
    return text.data();
}

}  // namespace wpk_send
