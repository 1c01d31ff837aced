// SPDX-License-Identifier: MIT
// Reading at even intervals, and handing on to what shows it.
#include "commands/WatchCommand.h"

#include "base/Failure.h"
#include "base/Notice.h"
#include "base/Output.h"
#include "base/ReplacedFile.h"
#include "base/Signals.h"
#include "device/BoardAccess.h"
#include "device/CounterTable.h"
#include "inspect/watch/PrometheusText.h"
#include "inspect/watch/Sampler.h"
#include "inspect/watch/WatchView.h"
#include "inspect/watch/WireReceiver.h"

#include <nlohmann/json.hpp>
#include <poll.h>

#include <algorithm>
#include <cmath>

namespace orvo::host {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr double shortestSeconds = 0.05;
constexpr double longestSeconds = 86'400;
constexpr std::size_t historyLength = 60;
constexpr std::chrono::milliseconds viewPause = 200ms; // between two looks whether the terminal was resized

Seconds intervalFrom(const std::string& text) {
    return secondsFrom(text, shortestSeconds, longestSeconds);
}

/// A file of metrics that is renewed again and again. Only the first time must succeed: a full disk may be
/// so for a while.
class MetricsFile {
public:
    explicit MetricsFile(std::string path) : path_(std::move(path)) {}

    void renew(const WatchState& state) {
        if (path_.empty()) return;
        try {
            replaceFile(path_, prometheusTextOf(state));
            if (fails_) notice("writing " + quoted(path_) + " works again");
            fails_ = false;
        } catch (const Failure& failure) {
            if (!worked_) throw;
            if (!fails_) notice(failure.what());
            fails_ = true;
        }
        worked_ = true;
    }

private:
    const std::string path_;
    bool worked_ = false;
    bool fails_ = false;
};

std::unique_ptr<WatchView> viewFor(bool json) {
    if (json) return makeJsonView();
    return canDraw() ? makeTerminalView() : makeLinesView();
}

/// Waits, and lets the view see to itself meanwhile. Ends early when the end is asked for.
void waitUntil(Clock::time_point end, const WatchState& state, WatchView& view) {
    pollfd source{endDescriptor(), POLLIN, 0};
    while (endRequested() == 0 && Clock::now() < end) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        poll(&source, 1, static_cast<int>(std::clamp(left, 0ms, viewPause).count()));
        view.showAgain(state);
    }
}

/// The next moment that is a whole number of intervals behind `begin`.
Clock::time_point nextOf(Clock::time_point begin, Seconds interval) {
    const Seconds passed = Clock::now() - begin;
    return begin + std::chrono::duration_cast<Clock::duration>(
                       interval * (std::floor(passed.count() / interval.count()) + 1));
}

std::vector<PortAddress> addressesOf(const std::vector<PortTrack>& tracks) {
    std::vector<PortAddress> addresses(tracks.size());
    std::ranges::transform(tracks, addresses.begin(), &PortTrack::port);
    return addresses;
}

} // namespace

WatchCommand::WatchCommand(Program& program)
    : Command(program, "watch", "Show what all ports do, live, without having part in it") {
    line().number(
        "--board", [this](std::uint64_t number) { board_ = static_cast<unsigned>(number); }, {.most = 99'999},
        "Only this board (default: all)");
    line().value(
        "--interval", "S", [this](const std::string& text) { interval_ = intervalFrom(text); },
        "Seconds between two readings (default 1)");
    line().value(
        "--link-interval", "S",
        [this](const std::string& text) { linkInterval_ = text == "0" ? 0s : intervalFrom(text); },
        "Seconds between two looks at the links over MDIO (default 10); 0 leaves MDIO to others");
    line().number("--count", count_, {.least = 1}, "End after so many readings");
    line().flag("--json", json_, "Print a JSON document a line for each reading");
    line()
        .text("--prometheus", "FILE", prometheusFile_, "Renew FILE with metrics at each reading")
        .notEmpty();
    line().flag("--list", list_, "List what is read, with units and sources, and end");
    addTo(line(), installation_);
}

int WatchCommand::run() {
    if (list_) {
        json_ ? print(jsonOfCounterTable()) : print(textOfCounterTable());
        return Done;
    }
    installation_.requireRealTime();
    const BoardAccess session(installation_, board_.value_or(0));
    Sampler sampler(session, {board_, linkInterval_});
    PortTracks tracks(historyLength);
    MetricsFile metrics(prometheusFile_);
    const auto view = viewFor(json_);
    std::optional<WireReceiver> receiver; // once the first reading is done, so that it counts what comes
    const auto begin = Clock::now();
    for (std::uint64_t readings = 1;; ++readings) {
        tracks.add(sampler.take());
        const WatchState state{tracks.all(), std::chrono::system_clock::now(),
                               Seconds(Clock::now() - begin).count(), interval_.count(), sampler.takeNews()};
        if (state.ports.empty())
            throw Failure("no board has GigE ports; 'orvo-gige boards' lists what there is");
        metrics.renew(state);
        view->show(state);
        if (!receiver) receiver.emplace(session, addressesOf(state.ports));
        if (readings != count_) waitUntil(nextOf(begin, interval_), state, *view);
        if (readings == count_ || endRequested() != 0) {
            view->end(state);
            return Done;
        }
    }
}

} // namespace orvo::host
