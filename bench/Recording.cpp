// SPDX-License-Identifier: MIT
// A frame's road through plug-in and simulated board while every board call is recorded, as fast as frames
// go; and how many calls are lost when they come at line rate. orvo-bench-pipeline has the road without
// recording.
#include "SimulatedPorts.h"

#include "device/recording/RecordingFile.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <string>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto recording = "/dev/shm/orvo-bench.rec"; // where no disk slows it

void frameSizes(benchmark::internal::Benchmark* benchmark) {
    for (const int bytes : {64, 1518}) benchmark->Arg(bytes);
    benchmark->UseRealTime();
}

bool passFrame(orvo::bench::SimulatedPorts& ports, const orvo::bench::SealedFrame& frame) {
    ports[0].addToSendQueue(frame.handle());
    return static_cast<bool>(ports[1].receive(nullptr));
}

std::uint64_t lostCalls() {
    orvo::host::RecordingReader reader(recording);
    std::uint64_t lost = 0;
    while (const auto block = reader.next()) lost += block->lost;
    return lost;
}

/// These frames come faster than a line brings them. After each few, the writing thread may catch up: a call
/// that finds no room costs less than one that is recorded.
void recorded(benchmark::State& state) {
    {
        orvo::bench::SimulatedPorts ports(recording);
        const orvo::bench::SealedFrame frame(static_cast<int>(state.range(0)));
        const auto batch = (4 << 20) / (1000 + 4 * state.range(0));
        std::int64_t passed = 0;
        for (auto _ : state) {
            passFrame(ports, frame);
            if (++passed % batch != 0) continue;
            state.PauseTiming();
            std::this_thread::sleep_for(std::chrono::milliseconds{10});
            state.ResumeTiming();
        }
    }
    state.counters["lost"] = static_cast<double>(lostCalls());
}
BENCHMARK(recorded)->Apply(frameSizes);

/// Frames one after the other, with a preamble and a gap of 20 bytes between them, at 8 ns a byte. A sender
/// that was late sends faster for a while.
void atLineRate(benchmark::State& state) {
    {
        orvo::bench::SimulatedPorts ports(recording);
        const orvo::bench::SealedFrame frame(static_cast<int>(state.range(0)));
        const auto interval = std::chrono::nanoseconds(8 * (state.range(0) + 20));
        auto due = Clock::now();
        for (auto _ : state) {
            passFrame(ports, frame);
            for (due += interval; Clock::now() < due;) {
            }
        }
    }
    state.counters["lost"] = static_cast<double>(lostCalls());
}
BENCHMARK(atLineRate)->Apply(frameSizes);

} // namespace
