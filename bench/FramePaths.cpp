// SPDX-License-Identifier: MIT
// What a frame costs in the plug-in, beside the least that it can cost, and what of it is the gate's.
#include "Floors.h"
#include "NullBoard.h"

#include "gige/DeviceGate.h"
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "logging/LogLine.h"

#include <benchmark/benchmark.h>

namespace {

using orvo::core::zume::DeviceGate;
using orvo::core::zume::EthernetFrame;
using orvo::core::zume::OrvoGbePhysicalNetworkInterface;
using namespace orvo::tools::logging;

/// An interface that is set up on the null board.
struct Port {
    explicit Port(std::uint32_t frameBytes) {
        orvo::bench::useNullBoard(0, frameBytes);
        port.injectDependency("resetBoard", std::string("false"));
        port.setup();
    }
    OrvoGbePhysicalNetworkInterface port;
};

void frameSizes(benchmark::internal::Benchmark* benchmark) {
    for (const int bytes : {64, 256, 512, 1024, 1518}) benchmark->Arg(bytes);
}

void receive(benchmark::State& state) {
    Port port(static_cast<std::uint32_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(port.port.receive(nullptr));
}
BENCHMARK(receive)->Apply(frameSizes);

void receiveFloor(benchmark::State& state) {
    orvo::bench::useNullBoard(0, static_cast<std::uint32_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(orvo::bench::leanReceive());
}
BENCHMARK(receiveFloor)->Apply(frameSizes);

void send(benchmark::State& state) {
    Port port(64);
    EthernetFrame frame(QByteArray(static_cast<int>(state.range(0)), 'x'));
    // Counts nobody, so that what a caller pays for keeping its frame is not counted as the plug-in's.
    const boost::shared_ptr<EthernetFrame> handle(boost::shared_ptr<void>(), &frame);
    for (auto _ : state) port.port.addToSendQueue(handle);
}
BENCHMARK(send)->Apply(frameSizes);

void sendFloor(benchmark::State& state) {
    orvo::bench::useNullBoard(0, 64);
    const QByteArray bytes(static_cast<int>(state.range(0)), 'x');
    const auto* const data = reinterpret_cast<const unsigned char*>(bytes.constData());
    for (auto _ : state) orvo::bench::leanSend(data, static_cast<std::size_t>(bytes.size()));
}
BENCHMARK(sendFloor)->Apply(frameSizes);

void gateOfReceive(benchmark::State& state) {
    DeviceGate gate;
    for (auto _ : state) {
        const auto pass = gate.enterReceive();
        benchmark::DoNotOptimize(static_cast<bool>(pass));
    }
}
BENCHMARK(gateOfReceive);

void gateOfSend(benchmark::State& state) {
    DeviceGate gate;
    for (auto _ : state) {
        const auto pass = gate.enterSend(std::chrono::milliseconds{1});
        benchmark::DoNotOptimize(static_cast<bool>(pass));
    }
}
BENCHMARK(gateOfSend);

/// What a received frame raises and lowers besides: two counters and two once-flags.
void countersAndFlags(benchmark::State& state) {
    orvo::core::zume::Relaxed<std::uint64_t> frames, bytes;
    bool readErrorReported = true;
    bool zeroSizeReported = true;
    for (auto _ : state) {
        readErrorReported = false;
        zeroSizeReported = false;
        frames += 1;
        bytes += 64;
        benchmark::DoNotOptimize(readErrorReported);
        benchmark::DoNotOptimize(zeroSizeReported);
        benchmark::DoNotOptimize(frames);
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(countersAndFlags);

/// A message below the logger's threshold, with what would have to be formatted.
void refusedMessage(benchmark::State& state) {
    Logger logger(0, static_cast<std::uint32_t>(LogLevel::Error));
    const std::string id = "gige0";
    std::uint32_t number = 0;
    for (auto _ : state) {
        ++number;
        benchmark::DoNotOptimize(number);
        if (auto line = LogLine(&logger, LogLevel::Warning, id)) line << "': number " << Hex{number};
    }
}
BENCHMARK(refusedMessage);

} // namespace
