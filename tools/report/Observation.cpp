// SPDX-License-Identifier: MIT
// The thread that reads, beside the one that waits or records.
#include "report/Observation.h"

#include "app/Progress.h"
#include "app/Signals.h"
#include "commands/ReportParts.h"
#include "traffic/Capture.h"
#include "watch/Sampler.h"

#include <poll.h>

#include <algorithm>
#include <condition_variable>

namespace orvo::host {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr Seconds shortestInterval{0.1};
constexpr Seconds longestDiagnosis{10};
constexpr double readingsAtMost = 400; // of the usual diagnosis and what follows
constexpr std::size_t historyLength = 2000;

void waitFor(Seconds time) {
    pollfd source{endDescriptor(), POLLIN, 0};
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(time);
    while (Clock::now() < end && endRequested() == 0)
        poll(&source, 1,
             static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count()));
}

} // namespace

Observation::Observation(const Session& session, PortAddress port, Seconds time, std::string captureFile)
    : session_(session), port_(port), time_(time),
      interval_(std::max(shortestInterval, (time + longestDiagnosis) / readingsAtMost)),
      captureFile_(std::move(captureFile)), log_(session.installation), runLog_(log_),
      track_(port, historyLength) {}

Observation::~Observation() = default;

void Observation::begin() {
    sampler_ = std::make_unique<Sampler>(session_, SamplerOptions{.board = port_.board});
    readOnce(0);
    const SignalShield handledElsewhere; // the thread inherits it
    thread_ = std::jthread([this](const std::stop_token& stop) { read(stop); });
}

void Observation::goOn(core::zume::PhysicalNetworkInterface& port) {
    {
        const Progress progress([] { return "watching the port"; });
        captureFile_.empty() ? waitFor(time_) : record(port);
    }
    thread_.request_stop();
    thread_.join();
    throwIfEndRequested();
}

/// In real time, also where the board's own time is virtual.
void Observation::read(const std::stop_token& stop) {
    std::mutex lock;
    std::condition_variable_any stopped;
    std::unique_lock guard(lock);
    const auto begin = Clock::now();
    for (auto next = begin + interval_; !stop.stop_requested(); next += interval_) {
        stopped.wait_until(guard, stop, std::chrono::time_point_cast<Clock::duration>(next),
                           [] { return false; });
        if (Clock::now() > next - interval_ / 2) // a rate over less would be one of chance
            readOnce(Seconds(Clock::now() - begin).count());
    }
}

void Observation::readOnce(double seconds) {
    for (auto& [port, sample] : sampler_->take()) {
        if (port != port_) continue;
        sample.seconds = seconds;
        track_.add(sample);
    }
}

void Observation::record(core::zume::PhysicalNetworkInterface& port) {
    CaptureOutput output(captureFile_, captureInterface(port_), std::nullopt);
    output.begin();
    const auto result = Capture(port, output, nullptr).run({.time = time_}, [] {});
    recordedFrames_ = result.totals.received.frames;
    if (result.failure) std::rethrow_exception(result.failure);
}

} // namespace orvo::host
