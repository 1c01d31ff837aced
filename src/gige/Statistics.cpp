// SPDX-License-Identifier: MIT
// The traffic statistics that `waitForTermination` logs.
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "gige/PortRegisters.h"
#include "gige/RegisterAccess.h"

namespace orvo::core::zume {

using tools::logging::Hex;

void OrvoGbePhysicalNetworkInterface::logStatistics() {
    if (auto text = information())
        text << "': Send - " << d->sentFrames << " frames (" << d->sentBytes << " bytes)";
    if (auto text = information())
        text << "': Recv - " << d->receivedFrames << " frames (" << d->receivedBytes << " bytes)";
    if (auto text = information())
        text << "':        ....... zerosize transmissions : " << d->zeroSizeTransmissions;
    if (auto text = information()) text << "':        ................. invalid EOTs : " << d->invalidEots;
    if (auto text = information())
        text << "':        ... invalid transmission sizes : " << d->invalidTransmissionSizes;
    if (auto text = information()) text << "':        .............. UIQ read errors : " << d->uiqReadErrors;
    if (auto text = information()) text << "':        ............... UIQ lost words : " << finalLostWords();
    for (const auto& row : portCounterRows) logCounter(row);
}

// Each value is read in a pass of its own, so that logging does not hold up the release of the device.
int OrvoGbePhysicalNetworkInterface::finalLostWords() {
    const auto pass = d->gate.enterControl();
    return pass ? lostWords() : 0; // asked of a device that was never opened too
}

void OrvoGbePhysicalNetworkInterface::logCounter(const PortCounterRow& row) {
    const auto value = readCounter(row);
    if (!value) return;
    auto& initial = d.get()->*row.initial;
    if (row.isFlag) initial = *value;
    if (auto text = information()) {
        text << row.statisticsText;
        if (row.isFlag)
            text << Hex{*value};
        else
            text << *value - std::uint64_t(initial);
    }
}

std::optional<std::uint64_t> OrvoGbePhysicalNetworkInterface::readCounter(const PortCounterRow& row) {
    // A flag keeps its last value when it cannot be read; a counter reads 0, and its growth wraps around.
    const std::uint64_t otherwise = row.isFlag ? std::uint64_t(d.get()->*row.initial) : 0;
    const auto pass = d->gate.enterControl();
    const std::uint32_t address = d.get()->*row.address; // inside: a reopening may find another firmware
    if (address == 0) return std::nullopt;
    return pass && d->device ? readOr(d->device, address, otherwise) : otherwise;
}

} // namespace orvo::core::zume
