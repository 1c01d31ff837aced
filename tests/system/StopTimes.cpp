// SPDX-License-Identifier: MIT
// How long a port takes to stop in real time: silent; flooded with action commands that nobody takes, alone
// and under traffic; stuck with a queue whose reads fail, and with a transmitter that is busy for good while
// a host sends and receives. Prints the worst of each; more than 200 ms is a finding. A measurement, not a
// test.
#include <orvo/core/PluginLibrary.h>
#include <orvo/core/zume/PhysicalNetworkInterface.h>
#include <orvo/core/zume/PhysicalNetworkInterfaceEventQueue.h>
#include <orvo/sim/orvo_sim.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

using namespace orvo::core;

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;
using Clock = std::chrono::steady_clock;

constexpr unsigned actionQueue = 8; // of port 0
constexpr const char* busyRegister = "GigeTxTransferActive0";
constexpr Milliseconds limit{200};

struct Condition {
    const char* name;
    bool isFlooded, failsReads, isBusy, hasTraffic;
};
constexpr Condition conditions[] = {{"silent", false, false, false, false},
                                    {"flooded", true, false, false, false},
                                    {"flooded under traffic", true, false, false, true},
                                    {"stuck reads", false, true, false, false},
                                    {"stuck transmitter", false, false, true, true}};

void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "stop: %s\n", what);
    std::exit(1);
}

void bringAbout(const Condition& condition) {
    if (condition.failsReads) orvoSimFailReads(0, actionQueue, -5, UINT_MAX);
    if (condition.isBusy)
        require(orvoSimOverrideRegister(0, busyRegister, 0, 1, UINT_MAX) == 0, "no busy register");
    for (std::uint16_t count = 0; condition.isFlooded && count < 200; ++count)
        orvoSimReportActionCommandTimeout(0, 0, count);
}

/// A host that sends and receives on threads of its own, until the port has stopped.
std::vector<std::jthread> trafficOf(zume::PhysicalNetworkInterface& port) {
    std::vector<std::jthread> threads;
    threads.emplace_back([&port](const std::stop_token& end) {
        const auto frame = boost::make_shared<zume::EthernetFrame>(QByteArray(60, 'x'));
        while (!end.stop_requested()) port.addToSendQueue(frame);
    });
    threads.emplace_back([&port](const std::stop_token& end) {
        while (!end.stop_requested()) port.receive(nullptr);
    });
    return threads;
}

Milliseconds stopTime(PluginLibrary& plugin, const Condition& condition, int pauseMs) {
    const auto port = boost::dynamic_pointer_cast<zume::PhysicalNetworkInterface>(plugin.create());
    port->injectDependency("resetBoard", std::string("false"));
    require(port->setup(), "the setup failed");
    port->eventQueue()->enabled = true;
    bringAbout(condition);
    port->start();
    std::vector<std::jthread> traffic;
    if (condition.hasTraffic) traffic = trafficOf(*port);
    std::this_thread::sleep_for(std::chrono::milliseconds{pauseMs}); // somewhere in the leecher's pass
    const auto begin = Clock::now();
    port->stop();
    port->waitForTermination();
    const auto taken = Clock::now() - begin;
    orvoSimFailReads(0, actionQueue, 0, 0);
    orvoSimOverrideRegister(0, busyRegister, 0, 0, 0);
    return taken;
}

} // namespace

int main(int argc, char** argv) {
    const int rounds = std::max(argc > 1 ? std::atoi(argv[1]) : 10, 1);
    PluginLibrary plugin(ORVO_BUILD_ROOT "/lib64/plugins/liborvo-plugin-zume-phy-gige.so");
    plugin.init();
    Milliseconds worst[std::size(conditions)] = {};
    int findings = 0;
    for (int round = 0; round < rounds; ++round)
        for (std::size_t i = 0; i < std::size(conditions); ++i) {
            const auto taken = stopTime(plugin, conditions[i], 20 + round * 13 % 100);
            worst[i] = std::max(worst[i], taken);
            findings += taken > limit;
        }
    std::printf("stop: %zu runs, %d findings, worst", std::size(conditions) * static_cast<unsigned>(rounds),
                findings);
    for (std::size_t i = 0; i < std::size(conditions); ++i)
        std::printf("%s %s %.0f ms", i > 0 ? "," : "", conditions[i].name, worst[i].count());
    std::printf("\n");
    return findings > 0;
}
