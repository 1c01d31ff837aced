// SPDX-License-Identifier: MIT
// Many interfaces in one process: what a frame costs when its interface is one of 1, 4, 16 or 64, and what
// memory an interface takes, also after many frames.
#include "NullBoard.h"

#include "gige/OrvoGbePhysicalNetworkInterface.h"

#include <benchmark/benchmark.h>
#include <boost/make_shared.hpp>

#include <malloc.h>

#include <memory>
#include <vector>

namespace {

using orvo::core::zume::EthernetFrame;
using orvo::core::zume::OrvoGbePhysicalNetworkInterface;

constexpr std::uint32_t frameBytes = 1518; // full ones, which take an interface's largest usual buffer

std::size_t heapBytes() {
    return mallinfo2().uordblks;
}

/// Frames go to the interfaces in turn, one in and one out.
void interfaces(benchmark::State& state) {
    orvo::bench::useNullBoard(0, frameBytes);
    const std::size_t before = heapBytes();
    std::vector<std::unique_ptr<OrvoGbePhysicalNetworkInterface>> all;
    for (int i = 0; i < state.range(0); ++i) {
        all.push_back(std::make_unique<OrvoGbePhysicalNetworkInterface>());
        all.back()->injectDependency("resetBoard", std::string("false"));
        all.back()->setup();
    }
    const auto frame = boost::make_shared<EthernetFrame>(QByteArray(frameBytes, 'x'));
    const auto exchange = [&frame](OrvoGbePhysicalNetworkInterface& interface) {
        interface.addToSendQueue(frame);
        benchmark::DoNotOptimize(interface.receive(nullptr));
    };
    for (auto& interface : all) exchange(*interface); // whatever it allocates once, it has
    const std::size_t ready = heapBytes();
    std::size_t next = 0;
    for (auto _ : state) {
        exchange(*all[next]);
        if (++next == all.size()) next = 0;
    }
    const std::size_t after = heapBytes();
    state.counters["bytesPerInterface"] =
        static_cast<double>(ready - before) / static_cast<double>(all.size());
    state.counters["bytesGrown"] = static_cast<double>(after) - static_cast<double>(ready);
}
BENCHMARK(interfaces)->Arg(1)->Arg(4)->Arg(16)->Arg(64);
/// 10^8 frames, one in and one out each time.
BENCHMARK(interfaces)->Name("manyFrames")->Arg(1)->Iterations(50'000'000);

} // namespace
