// How long a port takes to stop in real time: silent, flooded with action commands that nobody takes, and
// stuck with a queue whose reads fail. Prints the worst of each; more than 200 ms is a finding. A
// measurement, not a test.
#include <orvo/core/PluginLibrary.h>
#include <orvo/core/zume/PhysicalNetworkInterface.h>
#include <orvo/core/zume/PhysicalNetworkInterfaceEventQueue.h>
#include <orvo/sim/orvo_sim.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <thread>

using namespace orvo::core;

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;
using Clock = std::chrono::steady_clock;

constexpr unsigned actionQueue = 8; // of port 0
constexpr Milliseconds limit{200};

enum Condition { Silent, Flooded, Stuck, ConditionCount };
constexpr const char* names[] = {"silent", "flooded", "stuck"};

void bringAbout(Condition condition) {
    if (condition == Stuck) orvoSimFailReads(0, actionQueue, -5, UINT_MAX);
    for (std::uint16_t count = 0; condition == Flooded && count < 200; ++count)
        orvoSimReportActionCommandTimeout(0, 0, count);
}

Milliseconds stopTime(PluginLibrary& plugin, Condition condition, int pauseMs) {
    const auto port = boost::dynamic_pointer_cast<zume::PhysicalNetworkInterface>(plugin.create());
    port->injectDependency("resetBoard", std::string("false"));
    if (!port->setup()) std::exit(1);
    port->eventQueue()->enabled = true;
    bringAbout(condition);
    port->start();
    std::this_thread::sleep_for(std::chrono::milliseconds{pauseMs}); // somewhere in the leecher's pass
    const auto begin = Clock::now();
    port->stop();
    port->waitForTermination();
    const auto taken = Clock::now() - begin;
    orvoSimFailReads(0, actionQueue, 0, 0);
    return taken;
}

} // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 10;
    PluginLibrary plugin(ORVO_BUILD_ROOT "/lib64/plugins/liborvo-plugin-zume-phy-gige.so");
    plugin.init();
    Milliseconds worst[ConditionCount] = {};
    int findings = 0;
    for (int round = 0; round < rounds; ++round)
        for (const auto condition : {Silent, Flooded, Stuck}) {
            const auto taken = stopTime(plugin, condition, 20 + round * 13 % 100);
            worst[condition] = std::max(worst[condition], taken);
            findings += taken > limit;
        }
    std::printf("stop: %d runs, %d findings, worst", ConditionCount * rounds, findings);
    for (const auto condition : {Silent, Flooded, Stuck})
        std::printf(" %s %.0f ms%s", names[condition], worst[condition].count(),
                    condition == Stuck ? "\n" : ",");
    return findings > 0;
}
