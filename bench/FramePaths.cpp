// What a frame costs in the plug-in, and what the gate around the device adds to it.
#include "NullBoard.h"

#include "gige/DeviceGate.h"
#include "gige/OrvoGbePhysicalNetworkInterface.h"

#include <benchmark/benchmark.h>
#include <boost/make_shared.hpp>

namespace {

using orvo::core::zume::DeviceGate;
using orvo::core::zume::EthernetFrame;
using orvo::core::zume::OrvoGbePhysicalNetworkInterface;

/// An interface that is set up on the null board.
struct Port {
    explicit Port(std::uint32_t frameBytes) {
        orvo::bench::useNullBoard(0, frameBytes);
        port.injectDependency("resetBoard", std::string("false"));
        port.setup();
    }
    OrvoGbePhysicalNetworkInterface port;
};

void receive(benchmark::State& state) {
    Port port(static_cast<std::uint32_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(port.port.receive(nullptr));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(receive)->Arg(64)->Arg(256)->Arg(512)->Arg(1024)->Arg(1518);

void send(benchmark::State& state) {
    const auto bytes = static_cast<int>(state.range(0));
    Port port(64);
    const auto frame = boost::make_shared<EthernetFrame>(QByteArray(bytes, 'x'));
    for (auto _ : state) port.port.addToSendQueue(frame);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(send)->Arg(64)->Arg(256)->Arg(512)->Arg(1024)->Arg(1518);

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

} // namespace
