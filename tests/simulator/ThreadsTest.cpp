// SPDX-License-Identifier: MIT
// Everything at once: what a host's threads and the control interface do to boards at the same time.
#include "SimulatedBoard.h"

#include <thread>

namespace {

class ThreadsTest : public SimulatedBoard {};

TEST_F(ThreadsTest, ControlCallsMixWithTraffic) {
    const Device device(0), other(4);
    orvoSimUseVirtualTime(0);
    std::vector<std::jthread> threads;
    const auto repeat = [&threads](auto action) {
        threads.emplace_back([action](const std::stop_token& end) {
            while (!end.stop_requested()) action();
        });
    };
    for (const Device* each : {&device, &other}) {
        repeat([each] { each->send(0, frameOf(100)); });
        repeat([each] { EXPECT_EQ(each->receive(0, 2).value_or(frameOf(100)), frameOf(100)); });
    }
    repeat([] { inject(0, 0, frameOf(100)); });
    for (unsigned round = 0; round < 60; ++round) { // what hands do, meanwhile
        setWire(0, 0, "port:4/0");
        for (unsigned times : {1U, 0U}) orvoSimFailReads(0, 3, -5, times); // every reader asks for faults
        device.write("GigE_RxEnable", round & 1);
        orvoSimSetPartner(0, 0, OrvoSimPartner100);
        device.writePhy(0, 0, 0x9140);
        device.write("GigE_RxEnable", 1);
        OHalFreeDevice(OHalInitDevice(0));
        setWire(0, 0, "loopback");
        orvoSimUseVirtualTime(round % 2 == 1 ? 1 : 0);
    }
    threads.clear();
    SetUp();
    EXPECT_TRUE(device.carries(0));
}

} // namespace
