// SPDX-License-Identifier: MIT
// What tests find, and the program's main.
#include "SimulatedBoard.h"

void SimulatedBoard::SetUp() {
    orvoSimUseVirtualTime(1);
    for (unsigned board : {0U, 3U, 4U}) {
        const Device device(static_cast<int>(board));
        for (unsigned port = 0; port < 4; ++port) {
            setWire(board, port, board == 4 && port == 2 ? "none" : "loopback");
            orvoSimSetPartner(board, port, OrvoSimPartner1000);
            for (unsigned queue : {port, port + 8}) OHalDataQueueClear(device.handle, queue);
        }
        for (unsigned lines : {0U, 15U}) device.write("GigE_Reset", lines);
    }
    setWire(4, 0, "port:4/1");
    passMs(1000);
}

int main(int argc, char** argv) {
    setenv("ORVO_SIMULATOR_CONFIG", SIMULATOR_BOARDS, 1); // before the library is used first
    testing::InitGoogleMock(&argc, argv);
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a child runs this main again, with a library of its own
    return RUN_ALL_TESTS();
}
