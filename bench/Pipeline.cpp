// SPDX-License-Identifier: MIT
// A frame's whole road through plug-in and simulated board, from addToSendQueue at one port to the frame that
// receive returns at another, its check sequence verified on the way; beside it, a packet socket at each end
// of a veth pair.
#include "PacketPair.h"
#include "SimulatedPorts.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <thread>

namespace {

using orvo::core::zume::PhysicalNetworkInterface;

void frameSizes(benchmark::internal::Benchmark* benchmark) {
    for (const int bytes : {64, 256, 512, 1024, 1518}) benchmark->Arg(bytes);
    benchmark->UseRealTime();
}

orvo::bench::SimulatedPorts& ports() {
    static orvo::bench::SimulatedPorts simulated;
    return simulated;
}

/// Sends one frame and takes it in at the far end.
bool passFrame(PhysicalNetworkInterface& from, PhysicalNetworkInterface& to,
               const orvo::bench::SealedFrame& frame) {
    from.addToSendQueue(frame.handle());
    return to.receive(nullptr) != nullptr;
}

void oneThread(benchmark::State& state) {
    const orvo::bench::SealedFrame frame(static_cast<int>(state.range(0)));
    std::int64_t lost = 0;
    for (auto _ : state) lost += passFrame(ports()[0], ports()[1], frame) ? 0 : 1;
    state.counters["lost"] = static_cast<double>(lost);
}
BENCHMARK(oneThread)->Apply(frameSizes);

/// Takes frames in on a thread of its own, for a sender that stays at most `window` frames ahead.
class FarEnd {
public:
    explicit FarEnd(PhysicalNetworkInterface& port) : port_(port), thread_([this] { run(); }) {}
    ~FarEnd() {
        ending_.store(true, std::memory_order_relaxed);
        thread_.join();
    }
    std::uint64_t received() const { return received_.load(std::memory_order_acquire); }

private:
    void run() {
        while (!ending_.load(std::memory_order_relaxed))
            if (port_.receive(nullptr)) received_.store(++count_, std::memory_order_release);
    }

    PhysicalNetworkInterface& port_;
    std::uint64_t count_ = 0;
    std::atomic<bool> ending_{false};
    alignas(64) std::atomic<std::uint64_t> received_{0};
    alignas(64) std::thread thread_;
};

void twoThreads(benchmark::State& state) {
    constexpr std::uint64_t window = 256;
    const orvo::bench::SealedFrame frame(static_cast<int>(state.range(0)));
    FarEnd farEnd(ports()[1]);
    std::uint64_t sent = 0;
    std::uint64_t received = 0;
    for (auto _ : state) {
        while (sent - received >= window) received = farEnd.received();
        ports()[0].addToSendQueue(frame.handle());
        ++sent;
    }
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds{1};
    while (farEnd.received() != sent && std::chrono::steady_clock::now() < limit) std::this_thread::yield();
    state.counters["lost"] = static_cast<double>(sent - farEnd.received());
}
BENCHMARK(twoThreads)->Apply(frameSizes);

/// All four ports send and receive at once; each thread serves the two ends of one cable. The time is that of
/// a frame at each of the four.
void fourPorts(benchmark::State& state) {
    const orvo::bench::SealedFrame frame(static_cast<int>(state.range(0)));
    const auto first = 2 * static_cast<std::size_t>(state.thread_index());
    auto& one = ports()[first];
    auto& other = ports()[first + 1];
    std::int64_t lost = 0;
    for (auto _ : state) {
        lost += passFrame(one, other, frame) ? 0 : 1;
        lost += passFrame(other, one, frame) ? 0 : 1;
    }
    state.counters["lost"] = static_cast<double>(lost);
}
BENCHMARK(fourPorts)->Apply(frameSizes)->Threads(2);

/// The kernel's own wire, one frame a call.
void packetPair(benchmark::State& state) {
    std::string obstacle;
    const auto pair = orvo::bench::PacketPair::make(obstacle);
    if (!pair) {
        state.SkipWithError(obstacle.c_str());
        return;
    }
    const std::vector<std::uint8_t> frame(static_cast<std::size_t>(state.range(0)) - 4, 'x');
    for (int i = 0; i < 100; ++i) pair->pass(frame); // the link has just come up
    std::int64_t lost = 0;
    for (auto _ : state) lost += pair->pass(frame) ? 0 : 1;
    state.counters["lost"] = static_cast<double>(lost);
}
BENCHMARK(packetPair)->Apply(frameSizes);

} // namespace
