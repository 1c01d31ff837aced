// SPDX-License-Identifier: MIT
// Turns an injected interface into one that can move frames.
#include "config/TweakText.h"
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "gige/PortRegisters.h"
#include "gige/RegisterAccess.h"
#include "hal/OrvoHal.h"

#include <cstdlib>
#include <exception>

namespace orvo::core::zume {

using tools::logging::Hex;

namespace {

void snapshotCounters(PortState& d) {
    for (const auto& row : portCounterRows) d.*row.initial = readOr(d.device, d.*row.address, d.*row.initial);
    d.lastRecvErrCnt = d.initialRecvErrCnt;
}

} // namespace

void resolvePortRegisters(PortState& d) {
    for (const auto& row : portRegisterRows)
        d.*row.address = static_cast<std::uint32_t>(
            resolvePortRegister(&d.applet, row.baseName, static_cast<int>(d.portId)));
}

bool OrvoGbePhysicalNetworkInterface::setup() {
    if (auto text = information()) text << "': Selecting orvo board " << d->boardId << " port " << d->portId;
    if (!canBeSetUp()) return false;
    try {
        if (!d->openPhysicalDevice(id())) return false;
        d->gate.open(); // closed if a release came before the first opening
        prepareTraffic();
    } catch (const std::exception& exception) { // usually out of memory; setup can be repeated
        d->close();
        if (auto text = error()) text << "': Setup failed (" << exception.what() << ")";
        return false;
    }
    d->wasSetUp = true;
    if (auto text = information()) text << "': Selected device successfully opened.";
    return true;
}

void OrvoGbePhysicalNetworkInterface::prepareTraffic() {
    if (d->resetBoard) d->executeBoardReset(15, false);
    resolvePortRegisters(*d);
    createLeecher();
    writeIfPresent(d->device, d->regGigeTxDisableCrcGeneration, 0);
    snapshotCounters(*d);
    reportFilledFifos();
    OHalDataQueueClear(d->device, d->portId);
    OHalDataQueueClear(d->device, d->actionCommandQueue());
    readPreSendWaitTime();
}

bool OrvoGbePhysicalNetworkInterface::canBeSetUp() {
    // A second opening would lose the first handle; a second setup would wait for the leecher of the first.
    if (!d->wasSetUp && !d->device && !d->applet) return true;
    if (auto text = error()) text << "': Device is open or released already, setup refused.";
    return false;
}

void OrvoGbePhysicalNetworkInterface::createLeecher() {
    d->actionCommandsSupported =
        resolvePortRegister(&d->applet, "ActionCmdConfigData", static_cast<int>(d->portId)) != 0;
    if (d->actionCommandsSupported)
        d->uiqLeecherThread = std::make_unique<OrvoGbePhysicalNetworkInterfaceUiqLeecherThread>(
            this, OrvoGbePhysicalNetworkInterfaceUiqLeecherThread::actionCommandQueueKind, d->boardId,
            d->portId);
}

void OrvoGbePhysicalNetworkInterface::reportFilledFifos() {
    const std::uint64_t overflow = d->initialGvspFifoOverflow;
    const std::uint64_t notEmpty = d->initialGvcpFifoNotEmpty;
    if (overflow == 0 && notEmpty == 0) return;
    if (auto text = warning()) text << "': Firmware fifo debug registers not empty: ";
    if (auto text = warning()) text << "':          ........... GVSP FIFO overflow: " << Hex{overflow};
    if (auto text = warning()) text << "':          .......... GVCP FIFO not empty: " << Hex{notEmpty};
}

void OrvoGbePhysicalNetworkInterface::readPreSendWaitTime() {
    using namespace templates::platform;
    const auto waitMs = preSendWaitMs(std::getenv(preSendWaitVariable));
    if (!waitMs) return;
    d->preSendWaitTime = *waitMs;
    if (*waitMs == 0) return;
    if (auto text = information())
        text << "': Using a pre-send waiting time of " << *waitMs << " milliseconds.";
}

} // namespace orvo::core::zume
