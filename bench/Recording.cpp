// SPDX-License-Identifier: MIT
// What recording every board call adds to a frame's road through plug-in and simulated board: the same frames
// at ports that are recorded and at ports that are not.
#include "SimulatedPorts.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

namespace {

void frameSizes(benchmark::internal::Benchmark* benchmark) {
    for (const int bytes : {64, 1518}) benchmark->Arg(bytes);
    benchmark->UseRealTime();
}

/// The recording goes where no disk slows it.
void passFrames(benchmark::State& state, const char* record) {
    orvo::bench::SimulatedPorts ports(record);
    const orvo::bench::SealedFrame frame(static_cast<int>(state.range(0)));
    std::int64_t lost = 0;
    for (auto _ : state) {
        ports[0].addToSendQueue(frame.handle());
        lost += ports[1].receive(nullptr) ? 0 : 1;
    }
    state.counters["lost"] = static_cast<double>(lost);
}

void plain(benchmark::State& state) {
    passFrames(state, "");
}
BENCHMARK(plain)->Apply(frameSizes);

void recorded(benchmark::State& state) {
    passFrames(state, "/dev/shm/orvo-bench.rec");
}
BENCHMARK(recorded)->Apply(frameSizes);

} // namespace
