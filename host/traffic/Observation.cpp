// SPDX-License-Identifier: MIT
#include "traffic/Observation.h"

#include "base/Output.h"
#include "base/Progress.h"
#include "base/Signals.h"
#include "device/PortStatistics.h"
#include "inspect/watch/Sampler.h"
#include "traffic/Capture.h"
#include "traffic/PortCounters.h"
#include "traffic/StreamOutput.h"

#include <fmt/format.h>

#include <algorithm>
#include <condition_variable>

namespace orvo::host {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr Seconds shortestInterval{0.1};
constexpr Seconds longestDiagnosis{10};
constexpr double readingsAtMost = 400;
constexpr std::size_t historyLength = 2000;

constexpr Seconds shortestImageInterval{0.5};

StreamTime nanosecondsOf(Clock::duration time) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
}

/// For a flag, its present value if it was not set at first.
std::uint64_t growthOfTrouble(const PortHistory& port, Counter counter) {
    const auto& row = rowOf(counter);
    const auto& figure = port.of(counter);
    if (row.kind == CounterKind::TroubleCount) return figure.sinceStart.value_or(0);
    if (row.kind != CounterKind::TroubleFlag) return 0;
    const auto& history = port.series(counter);
    const auto first = std::ranges::find_if(history, [](const auto& value) { return value.has_value(); });
    return first != history.end() && *first == 0. ? figure.value.value_or(0) : 0;
}

} // namespace

Observation::Observation(const BoardAccess& access, PortAddress port, Seconds time, std::string captureFile)
    : access_(access), port_(port), time_(time),
      interval_(std::max(shortestInterval, (time + longestDiagnosis) / readingsAtMost)),
      captureFile_(std::move(captureFile)), log_(access.installation), runLog_(log_),
      history_(port, historyLength) {}

Observation::~Observation() = default;

void Observation::begin(FrameReceiver& receiver) {
    const SignalShield handledElsewhere; // the threads inherit it
    receiver.start();
    begunAt_ = Clock::now();
    sampler_ = std::make_unique<Sampler>(access_, SamplerOptions{.board = port_.board});
    readOnce(0);
    thread_ = std::jthread([this](const std::stop_token& stop) { read(stop); });
}

void Observation::goOn(core::zume::PhysicalNetworkInterface& port, FrameReceiver& receiver) {
    {
        const Progress progress([] { return "watching the port"; });
        follow(port, receiver);
    }
    endReading();
    throwIfEndRequested();
}

/// While frames are still taken from the port; otherwise lost words of the end would be read.
void Observation::endReading() {
    thread_.request_stop();
    if (thread_.joinable()) thread_.join();
}

/// Reads in real time, even when the board's time is virtual.
void Observation::read(const std::stop_token& stop) {
    std::mutex lock;
    std::condition_variable_any stopped;
    std::unique_lock guard(lock);
    const auto begin = Clock::now();
    for (auto next = begin + interval_; !stop.stop_requested(); next += interval_) {
        stopped.wait_until(guard, stop, std::chrono::time_point_cast<Clock::duration>(next),
                           [] { return false; });
        if (Clock::now() > next - interval_ / 2) // a rate over a shorter time would be noise
            readOnce(Seconds(Clock::now() - begin).count());
    }
}

void Observation::readOnce(double seconds) {
    for (auto& [port, sample] : sampler_->take()) {
        if (port != port_) continue;
        sample.seconds = seconds;
        history_.add(sample);
    }
}

void Observation::follow(core::zume::PhysicalNetworkInterface& port, FrameReceiver& receiver) {
    std::optional<CaptureOutput> file;
    if (!captureFile_.empty()) file.emplace(captureFile_, std::vector{captureInterface(port_)}, std::nullopt);
    const auto interval = std::max(shortestImageInterval, time_ / readingsAtMost);
    ImageHistory images(nanosecondsOf(begunAt_.time_since_epoch()),
                        nanosecondsOf(Clock::now().time_since_epoch()),
                        nanosecondsOf(std::chrono::ceil<Clock::duration>(interval)), historyLength);
    LiveStreams streams([&](const StreamEnds&, const EndedImage& image) { images.add(image); });
    StreamOutput output(streams, file ? &*file : nullptr);
    output.begin();
    receiver.stop();
    PortCounters counters(access_, port_);
    PortSource source(port);
    const auto result = Capture(source, output, nullptr).run({.time = time_}, [&] {
        counters.finish();
        endReading();
    });
    receivedFrames_ = receiver.returned().frames + result.totals.received.frames;
    if (result.failure) std::rethrow_exception(result.failure);
    images_ = images.chart();
    streams_ = streamsSection(streams.report(), counters.troubles());
}

std::vector<Finding> Observation::findings() const {
    std::string risen;
    forEachCounter([&](Counter counter, const CounterRow& row) {
        const auto growth = growthOfTrouble(history_, counter);
        if (growth == 0) return;
        risen += fmt::format("{}{} by {} ({})", risen.empty() ? "" : ", ", row.name, grouped(growth),
                             row.sourceOf(std::to_string(port_.port)));
    });
    if (risen.empty()) return {};
    return {
        {Severity::Warning, "error counters rose while the port was watched and its frames were read", risen,
         "the page's charts show when; where frames arrive damaged, try another cable; where words or "
         "frames were lost for lack of room, let the device send slower, or give this program more of the "
         "processor"}};
}

} // namespace orvo::host
