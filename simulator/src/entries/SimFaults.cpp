// SPDX-License-Identifier: MIT
// Control entries: what the firmware reports, and faults.
#include "Simulation.h"

using namespace orvo::sim;

namespace {

int pushInto(unsigned board, unsigned queue, std::span<const std::uint32_t> words) {
    Board* const found = simulation().board(board);
    DataQueue* const target = found ? found->queue(queue) : nullptr;
    if (!target) return OrvoSimNoSuchPlace;
    return target->push(words) ? 0 : OrvoSimFull;
}

} // namespace

int orvoSimReportActionCommandTimeout(unsigned board, unsigned port, uint16_t count) {
    if (port >= maxPorts) return OrvoSimNoSuchPlace;
    const std::uint32_t word = endOfTransmission | count;
    return pushInto(board, firstActionQueue + port, {&word, 1});
}

int orvoSimPushWords(unsigned board, unsigned queue, const uint32_t* words, size_t count) {
    if (!words) return OrvoSimBadValue;
    return pushInto(board, queue, {words, count});
}

int orvoSimFailReads(unsigned board, unsigned queue, int result, unsigned times) {
    Board* const found = simulation().board(board);
    if (!found || !found->queue(queue)) return OrvoSimNoSuchPlace;
    found->faults().failReads(queue, result, times);
    return 0;
}

int orvoSimMisreportReads(unsigned board, unsigned queue, int extraBytes, unsigned times) {
    Board* const found = simulation().board(board);
    if (!found || !found->queue(queue)) return OrvoSimNoSuchPlace;
    found->faults().misreportReads(queue, extraBytes, times);
    return 0;
}

int orvoSimOverrideRegister(unsigned board, const char* name, int result, uint64_t value, unsigned times) {
    Board* const found = simulation().board(board);
    if (!found) return OrvoSimNoSuchPlace;
    const std::uint32_t address = name ? found->firmware().addressOf(name) : 0;
    if (address == 0) return OrvoSimBadValue;
    found->faults().overrideRegister(address, {result, value, times});
    return 0;
}

int orvoSimFailOpen(unsigned board, unsigned times) {
    Board* const found = simulation().board(board);
    if (!found) return OrvoSimNoSuchPlace;
    found->faults().failOpen(times);
    return 0;
}

int orvoSimFailConfigure(unsigned board, int result, unsigned times) {
    Board* const found = simulation().board(board);
    if (!found) return OrvoSimNoSuchPlace;
    found->faults().failConfigure(result, times);
    return 0;
}
