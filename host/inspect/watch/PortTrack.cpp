// SPDX-License-Identifier: MIT
// Differences of readings.
#include "inspect/watch/PortTrack.h"

#include <algorithm>

namespace orvo::host {

std::uint64_t growthOf(const CounterRow& row, std::uint64_t before, std::uint64_t now, double seconds) {
    const auto largest = ~std::uint64_t{0} >> (64 - row.bits());
    before &= largest;
    now &= largest;
    if (now >= before) return now - before;
    const auto across = largest - before + now + 1;
    return static_cast<double>(across) <= row.mostPerSecond() * std::max(seconds, 1.0) ? across : now;
}

void PortTrack::add(const Sample& sample) {
    if (sample.serial != 0 && serial_ != 0 && sample.serial != serial_) {
        last_ = {};
        figures_ = {};
    }
    if (sample.serial != 0) serial_ = sample.serial;
    for (std::size_t i = 0; i < counterCount; ++i) {
        const auto& row = counterRows[i];
        auto& figure = figures_[i];
        figure.hasRisen = false;
        figure.perSecond.reset();
        figure.value = sample.values[i];
        if (row.isCount()) addCount(i, sample.values[i], sample.seconds);
    }
    remember(sample);
}

void PortTrack::addCount(std::size_t which, std::optional<std::uint64_t> value, double seconds) {
    if (!value) return;
    auto& figure = figures_[which];
    auto& last = last_[which];
    if (last) {
        const auto passed = seconds - last->seconds;
        const auto growth = growthOf(counterRows[which], last->value, *value, passed);
        *figure.total += growth;
        *figure.sinceStart += growth;
        figure.hasRisen = growth != 0;
        if (passed > 0) figure.perSecond = static_cast<double>(growth) / passed;
    } else {
        figure.total = value;
        figure.sinceStart = 0;
    }
    last = Reading{seconds, *value};
}

void PortTrack::remember(const Sample& sample) {
    const auto add = [this](auto& list, auto entry) {
        list.push_back(entry);
        if (list.size() > historyLength_) list.pop_front();
    };
    add(times_, sample.seconds);
    for (std::size_t i = 0; i < counterCount; ++i) {
        const auto& figure = figures_[i];
        if (counterRows[i].isCount())
            add(histories_[i], figure.perSecond);
        else
            add(histories_[i],
                figure.value ? std::optional(static_cast<double>(*figure.value)) : std::nullopt);
    }
}

void PortTracks::add(const std::vector<PortSample>& samples) {
    for (const auto& [port, sample] : samples) {
        auto found = std::ranges::find(tracks_, port, &PortTrack::port);
        if (found == tracks_.end()) found = tracks_.insert(found, PortTrack(port, historyLength_));
        found->add(sample);
    }
}

} // namespace orvo::host
