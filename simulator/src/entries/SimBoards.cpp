// SPDX-License-Identifier: MIT
// Control entries: boards, their firmware, and the clock.
#include "ConfigurationReport.h"
#include "Simulation.h"

#include <chrono>

using namespace orvo::sim;

const char* orvoSimConfigurationError() {
    return takeConfigurationError();
}

int orvoSimBoardCount() {
    return static_cast<int>(simulation().boards().size());
}

int orvoSimSetBoardPresent(unsigned board, int present) {
    Board* const found = simulation().board(board);
    if (!found) return OrvoSimNoSuchPlace;
    found->setPresent(present != 0, simClock.now());
    return 0;
}

const OrvoSimRegisterMap* orvoSimRegisterMap(unsigned number) {
    const FirmwareProfile* const firmware = simulation().firmware(number);
    return firmware ? &firmware->map() : nullptr;
}

int orvoSimUseVirtualTime(int on) {
    if (on < OrvoSimRealTime || on > OrvoSimDrivenTime) return OrvoSimBadValue;
    simClock.useVirtual(on != OrvoSimRealTime, on == OrvoSimDrivenTime);
    return 0;
}

int orvoSimAdvanceTime(uint64_t microseconds) {
    constexpr auto most = std::chrono::floor<std::chrono::microseconds>(lastMoment).count();
    const auto span =
        microseconds > static_cast<uint64_t>(most) ? most : static_cast<std::int64_t>(microseconds);
    return simClock.advance(std::chrono::microseconds(span)) ? 0 : OrvoSimBadValue;
}

uint64_t orvoSimTime() {
    return static_cast<uint64_t>(std::chrono::floor<std::chrono::microseconds>(simClock.now()).count());
}
