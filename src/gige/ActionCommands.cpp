// SPDX-License-Identifier: MIT
// Action command time-outs, from the firmware's reports to events.
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "gige/ReceivedWords.h"
#include "hal/OrvoHal.h"
#include "platform/WholeSleep.h"

#include <boost/make_shared.hpp>

namespace orvo::core::zume {

using templates::platform::sleepWhole;

/// One reading of the action command queue.
struct OrvoGbePhysicalNetworkInterface::ActionReading {
    enum class Kind { None, Timeout, TooManyWords, ReadError };

    /// A delivery of less than one word counts as none.
    Kind kind() const {
        if (result < 0) return result == HalTimeout ? Kind::None : Kind::ReadError;
        if (result < static_cast<int>(sizeof word)) return Kind::None;
        return (word & endOfTransmission) != 0 ? Kind::Timeout : Kind::TooManyWords;
    }

    int result = HalTimeout;
    std::uint32_t word = 0;
    bool isErrorDue = false; // the message of this run of anomalies
    int lostWords = 0;       // asked for only with the message
};

void OrvoGbePhysicalNetworkInterface::monitorActionCommandTimeoutEvents() {
    ActionReading reading;
    if (!readActionCommand(reading)) {
        d->gate.awaitOpen(std::chrono::milliseconds{readLimitMs});
        return;
    }
    // Outside the gate: a post that waits on a full event queue must not hold up the release of the device.
    using enum ActionReading::Kind;
    const auto kind = reading.kind();
    if (kind != None) d->actionCmdErrorReported = kind != Timeout;
    if (kind == Timeout) postActionCommandTimeout(static_cast<std::uint16_t>(reading.word & 0xFFFF));
    if (reading.isErrorDue) reportActionCommandError(reading);
    if (kind == ReadError) sleepWhole(readErrorPauseUs);
}

bool OrvoGbePhysicalNetworkInterface::readActionCommand(ActionReading& reading) {
    const auto pass = d->gate.enterLeecher();
    if (!pass) return false;
    reading.result = OHalDataQueueReadBufferLong(d->device, d->actionCommandQueue(), &reading.word,
                                                 sizeof reading.word, readLimitMs);
    using enum ActionReading::Kind;
    const auto kind = reading.kind();
    reading.isErrorDue = kind == TooManyWords || (kind == ReadError && !d->actionCmdErrorReported);
    if (reading.isErrorDue)
        reading.lostWords = OHalDataQueueGetNrOfLostWords(d->device, d->actionCommandQueue());
    return true;
}

void OrvoGbePhysicalNetworkInterface::postActionCommandTimeout(std::uint16_t count) {
    if (auto text = information()) text << "': Action command timeout detected --- Count: " << count;
    d->eventQueue->notifyActionCommandTimeout(count);
}

void OrvoGbePhysicalNetworkInterface::reportActionCommandError(const ActionReading& reading) {
    if (auto text = error()) {
        if (reading.kind() == ActionReading::Kind::TooManyWords)
            text << "': Too many received words for action command timeout UIQ buffer (received words = "
                 << 1;
        else
            text << "': Error(s) in OHalDataQueueReadBufferLong(...) (result = " << reading.result
                 << ", received words = " << 0;
        text << ") [lost words: " << reading.lostWords << "]";
    }
}

// NOLINTNEXTLINE(readability-make-member-function-const): it changes what `queue` points to
void PhysicalNetworkInterfaceEventQueue::notifyActionCommandTimeout(unsigned short count) noexcept {
    if (!enabled) return;
    try {
        queue->push(boost::make_shared<PniActionCommandTimeout>(count));
    } catch (...) {
        // Interrupted, or out of memory: the event is lost, and the poster goes on as if it had been taken.
    }
}

} // namespace orvo::core::zume
