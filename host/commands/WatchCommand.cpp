// SPDX-License-Identifier: MIT
#include "base/Failure.h"
#include "base/Output.h"
#include "base/Signals.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "device/BoardAccess.h"
#include "device/CounterTable.h"
#include "inspect/watch/MetricsFile.h"
#include "inspect/watch/PrometheusText.h"
#include "inspect/watch/QueueDrain.h"
#include "inspect/watch/Sampler.h"
#include "inspect/watch/WatchView.h"
#include "traffic/WireStreams.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>

namespace orvo::host {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr double shortestSeconds = 0.05;
constexpr double longestSeconds = 86'400;
constexpr std::size_t historyLength = 60;
constexpr std::chrono::milliseconds viewPause = 200ms; // between two checks for a resized terminal

Seconds intervalFrom(const std::string& text) {
    return secondsFrom(text, shortestSeconds, longestSeconds);
}

/// 0: links are not read.
Seconds linkIntervalFrom(const std::string& text) {
    try {
        return text == "0" ? 0s : intervalFrom(text);
    } catch (const WrongValue& reason) {
        throw WrongValue(reason.what() + std::string(", nor 0"));
    }
}

std::unique_ptr<WatchView> viewFor(bool json) {
    if (json) return makeJsonView();
    return canDraw() ? makeTerminalView() : makeLinesView();
}

/// Waits and lets the view redraw itself meanwhile. Ends early when a signal asks for the end.
void waitUntil(Clock::time_point end, const WatchState& state, WatchView& view) {
    while (Clock::now() < end && !awaitEndRequest(std::min(end, Clock::now() + viewPause)))
        view.showAgain(state);
}

/// The next time that is a whole number of intervals after `begin`.
Clock::time_point nextOf(Clock::time_point begin, Seconds interval) {
    const Seconds passed = Clock::now() - begin;
    return begin + std::chrono::duration_cast<Clock::duration>(
                       interval * (std::floor(passed.count() / interval.count()) + 1));
}

std::vector<PortAddress> addressesOf(const std::vector<PortHistory>& tracks) {
    std::vector<PortAddress> addresses(tracks.size());
    std::ranges::transform(tracks, addresses.begin(), &PortHistory::port);
    return addresses;
}

/// What passes the ports, and the receiver of what nobody else can take.
class Frames {
public:
    Frames(const BoardAccess& access, const std::vector<PortAddress>& ports, Seconds interval)
        : wires_(access, ports, interval / 2), drain_(access, ports) {}

    void addTo(WatchState& state) {
        wires_.addTo(streams_, state.seconds);
        state.streams = streams_.all();
        std::ranges::move(wires_.takeNews(), std::back_inserter(state.news));
    }

private:
    StreamHistories streams_;
    WireStreams wires_; // listens before frames are taken
    QueueDrain drain_;
};

class WatchCommand : public Command {
public:
    explicit WatchCommand(Program& program)
        : Command(program, "watch", "Show live counters of all ports without disturbing them") {
        addBoardOption(
            line(), [this](unsigned number) { board_ = number; }, "Only this board (default: all)");
        line().value(
            "--interval", "S", [this](const std::string& text) { interval_ = intervalFrom(text); },
            "Seconds between two readings (default 1)");
        line().value(
            "--link-interval", "S",
            [this](const std::string& text) { linkInterval_ = linkIntervalFrom(text); },
            "Seconds between two readings of the links over MDIO (default 10); 0: none");
        line().number("-c,--count", count_, {.least = 1}, "End after so many readings");
        line().flag("--json", json_, "Print a JSON document a line for each reading");
        line()
            .text("--prometheus", "FILE", prometheusFile_, "Rewrite FILE with metrics at each reading")
            .notEmpty();
        line().flag("--list", list_, "List what is read, with units and sources");
        addInstallationOptions(line(), boards_);
        addRecordOption(line(), boards_);
    }

    int run() override {
        if (list_) {
            json_ ? print(counterTableJson()) : print(counterTableText());
            return Done;
        }
        const BoardAccess access(boards_, board_.value_or(0));
        Sampler sampler(access, {board_, linkInterval_});
        PortHistories tracks(historyLength);
        MetricsFile metrics(prometheusFile_);
        const auto view = viewFor(json_);
        std::optional<Frames> frames; // after the first reading, which is to count those from then on
        const auto begin = Clock::now();
        for (std::uint64_t readings = 1;; ++readings) {
            tracks.add(sampler.take());
            WatchState state{tracks.all(), std::chrono::system_clock::now(),
                             Seconds(Clock::now() - begin).count(), interval_.count(), sampler.takeNews()};
            if (state.ports.empty())
                throw Failure("no board has GigE ports; 'orvo-gige boards' lists the boards");
            if (frames) frames->addTo(state);
            if (metrics.isWanted()) metrics.renew(prometheusTextOf(state));
            view->show(state);
            if (!frames) frames.emplace(access, addressesOf(state.ports), interval_);
            if (readings != count_) waitUntil(nextOf(begin, interval_), state, *view);
            if (readings == count_ || endRequested() != 0) {
                view->end(state);
                return Done;
            }
        }
    }

private:
    BoardOptions boards_;
    std::optional<unsigned> board_; // nothing: all
    std::chrono::duration<double> interval_{1};
    std::chrono::duration<double> linkInterval_{10};
    std::uint64_t count_ = 0; // 0: until a signal
    std::string prometheusFile_;
    bool json_ = false;
    bool list_ = false;
};

} // namespace

std::unique_ptr<Command> makeWatchCommand(Program& program) {
    return std::make_unique<WatchCommand>(program);
}

} // namespace orvo::host
