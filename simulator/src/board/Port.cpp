// SPDX-License-Identifier: MIT
// A port's registers and its wire.
#include "board/Port.h"

#include "board/Cabling.h"
#include "faults/PhyFaults.h"
#include "faults/WireFaults.h"

namespace orvo::sim {

constinit std::mutex benchMutex;

Port::Port(const Setup& setup)
    : place_(setup.place), registers_(setup.registers), page_(*setup.page),
      receiveQueue_(setup.receiveQueueWords, setup.windows[0]),
      actionQueue_(setup.actionQueueWords, setup.windows[1]) {}

Port::~Port() = default;

void Port::updateLineRate() noexcept {
    const unsigned mbit = hasLineRate_ ? phy_.link().mbit : 0;
    transmitter_.line().setMbit(mbit);
    outside_.setMbit(mbit);
    page_.lineMbit.store(mbit, std::memory_order_relaxed);
}

FrameSink& Port::sink() noexcept {
    if (faultySink_) return *faultySink_;
    return receiver_;
}

void Port::setFaults(WireFaults& sent, WireFaults& received, PhyFaults& phy) {
    phy_.setResetWatch(phy.empty() ? nullptr : &phy);
    if (!changesWire(sent, received)) return; // the wire is plugged in, and frames may pass
    sentFaults_ = sent.empty() ? nullptr : &sent;
    faultySink_ = received.empty() ? nullptr : std::make_unique<FaultySink>(receiver_, received);
}

bool Port::changesWire(const WireFaults& sent, const WireFaults& received) const noexcept {
    return sentFaults_ || faultySink_ || !sent.empty() || !received.empty();
}

void Port::releaseFrames() noexcept {
    if (wire_) wire_->release();
    if (faultySink_) faultySink_->release();
}

void Port::presetCounters(std::uint64_t value) noexcept {
    transmitter_.presetCounters(value);
    receiver_.presetCounters(value);
}

bool Port::writeRegister(std::uint32_t address, std::uint64_t value) noexcept {
    if (!has(address)) return false;
    switch (static_cast<Register>(address & ~portBits)) {
    case Register::GigeWriteData:
        transmitter_.append(value);
        return true;
    case Register::GigeBufferReset:
        transmitter_.begin();
        return true;
    case Register::GigeWriteComplete:
        transmitter_.transmit();
        return true;
    case Register::GigeTxDisableCrcGeneration:
        transmitter_.setCrcGeneration((value & 1) == 0);
        break;
    case Register::ActionCmdConfigData:
        actionCommandConfig_.store(value, std::memory_order_relaxed);
        break;
    case Register::GigeTxStart: {
        const std::lock_guard lock(benchMutex);
        setTransmitterStart((value & 1) != 0);
        break;
    }
    default:
        break; // the others can only be read
    }
    otherWrites_.add(1);
    return true;
}

std::uint64_t Port::content(Register of) const noexcept {
    switch (of) {
    case Register::GigeTxTransferActive:
        if (!transmitter_.isBusy()) return 0;
        transmitter_.nap(); // hosts poll
        return 1;
    case Register::GigeRecvPktCnt:
    case Register::CtrlPktReceivedCnt: // every frame is meant for the host
        return receiver_.goodFrames();
    case Register::GigeRecvErrCnt:
        return receiver_.errors();
    case Register::CtrlPktSendUiqCnt:
        return receiver_.queuedFrames();
    case Register::GvspFiFoOverflow_GigeTransceiver:
        return receiver_.overflowFrames();
    case Register::GvcpFiFoNotEmpty_GigeTransceiver:
        return receiveQueue_.words() != 0;
    case Register::GigeTxDisableCrcGeneration:
        return !transmitter_.crcGeneration();
    case Register::ActionCmdConfigData:
        return actionCommandConfig_.load(std::memory_order_relaxed);
    case Register::GigeTxStart:
        return transmitterStart_.load(std::memory_order_relaxed);
    default:
        return 0; // the others can only be written
    }
}

bool Port::readRegister(std::uint32_t address, std::uint64_t& value) const noexcept {
    if (!has(address)) return false;
    value = content(static_cast<Register>(address & ~portBits));
    return true;
}

void Port::playWire() noexcept {
    if (page_.isPlayed.load(std::memory_order_relaxed) == 0 || !gate_.canReceive()) return;
    const std::lock_guard lock(playing_);
    if (wire_) wire_->play();
}

void Port::setWire(std::unique_ptr<Wire> wire) noexcept {
    const std::lock_guard lock(playing_);
    transmitter_.setWire(nullptr);
    wire_ = nullptr;
    if (wire && sentFaults_) wire = std::make_unique<FaultyWire>(std::move(wire), *sentFaults_);
    wire_ = std::move(wire);
    if (wire_) wire_->plugged(*this);
    transmitter_.setWire(wire_.get());
    page_.isPlayed.store(wire_ && wire_->isPlayedOnDemand() ? 1 : 0, std::memory_order_relaxed);
}

bool Port::farEndChanged() noexcept {
    const std::unique_lock lock(benchMutex, std::try_to_lock);
    if (!lock) return false;
    cabling_.pluggedAt = simClock.now(); // the far end starts negotiating now
    renegotiate(*this);
    return true;
}

void Port::setBoardEnables(bool transmitters, bool receivers, bool outOfReset) noexcept {
    boardTransmits_ = transmitters;
    boardReceives_ = receivers;
    outOfReset_ = outOfReset;
    updateEnables();
}

void Port::setTransmitterStart(bool on) noexcept {
    transmitterStart_.store(on, std::memory_order_relaxed);
    updateEnables();
}

void Port::updateEnables() noexcept {
    gate_.setTransmitter(outOfReset_ && boardTransmits_ && transmitterStart_.load(std::memory_order_relaxed));
    gate_.setReceiver(outOfReset_ && boardReceives_);
}

void Port::report(OrvoSimPort& out, SimTime now) noexcept {
    settleWire(std::chrono::milliseconds{50}); // under the bench mutex, which others wait for
    out.sentFrames = transmitter_.sentFrames();
    out.sentBytes = transmitter_.sentBytes();
    out.unsentFrames = transmitter_.unsentFrames();
    out.receivedFrames = receiver_.goodFrames();
    out.receivedBytes = receiver_.goodBytes();
    out.receiveErrors = receiver_.errors();
    out.ignoredFrames = receiver_.ignoredFrames();
    out.overflowFrames = receiver_.overflowFrames();
    out.lostWords = receiver_.lostWords();
    out.queuedWords = receiveQueue_.words();
    out.registerWrites = transmitter_.writes() + otherWrites_.value();
    out.linkUp = phy_.isLinkUp(now);
    out.linkMbit = out.linkUp ? static_cast<int>(phy_.link().mbit) : 0;
    out.crcGeneration = transmitter_.crcGeneration();
    out.hasLineRate = hasLineRate_;
}

} // namespace orvo::sim
