// The traffic statistics that an interface leaves at its end.
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "gige/PortRegisters.h"
#include "hal/OrvoHal.h"

namespace orvo::core::zume {

using tools::logging::Hex;

void OrvoGbePhysicalNetworkInterface::logStatistics() {
    const auto pass = d->gate.enterControl();
    const bool reachable = pass && d->device;
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
    if (auto text = information())
        text << "':        ............... UIQ lost words : " << (reachable ? lostWords() : 0);
    for (const auto& row : portCounterRows)
        if (d.get()->*row.address != 0) logCounter(row, reachable);
}

void OrvoGbePhysicalNetworkInterface::logCounter(const PortCounterRow& row, bool reachable) {
    auto& initial = d.get()->*row.initial;
    // A flag keeps its last value when it cannot be read; a counter reads 0, and its growth wraps around.
    std::uint64_t value = row.isFlag ? std::uint64_t(initial) : 0;
    if (reachable) OHalRegisterRead(d->device, d.get()->*row.address, &value);
    if (row.isFlag) initial = value;
    if (auto text = information()) {
        text << row.statisticsText;
        if (row.isFlag)
            text << Hex{value};
        else
            text << value - std::uint64_t(initial);
    }
}

} // namespace orvo::core::zume
