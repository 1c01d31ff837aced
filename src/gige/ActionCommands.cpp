// SPDX-License-Identifier: MIT
// Action command time-outs, from the firmware's reports to events.
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "gige/Transmission.h"
#include "hal/OrvoHal.h"

#include <boost/make_shared.hpp>

#include <unistd.h>

namespace orvo::core::zume {
namespace {

constexpr std::uint32_t readLimitMs = 100;
constexpr unsigned readErrorPauseUs = 100'000;

enum class Report { None, Timeout, TooManyWords, ReadError };

/// One reading of the action command queue. A delivery of less than one word is none.
Report classify(int result, std::uint32_t word) {
    if (result == HalTimeout || (result >= 0 && result < static_cast<int>(sizeof word))) return Report::None;
    if (result < 0) return Report::ReadError;
    return (word & endOfTransmission) != 0 ? Report::Timeout : Report::TooManyWords;
}

} // namespace

void OrvoGbePhysicalNetworkInterface::monitorActionCommandTimeoutEvents() {
    std::uint32_t word = 0;
    int result = HalTimeout;
    int lostActionWords = 0;
    Report report = Report::None;
    bool isDue = false; // an error message of this run of anomalies
    bool released = true;
    if (const auto pass = d->gate.enterLeecher()) {
        released = false;
        result =
            OHalDataQueueReadBufferLong(d->device, d->actionCommandQueue(), &word, sizeof word, readLimitMs);
        report = classify(result, word);
        isDue = report == Report::TooManyWords || (report == Report::ReadError && !d->actionCmdErrorReported);
        if (isDue) lostActionWords = OHalDataQueueGetNrOfLostWords(d->device, d->actionCommandQueue());
    }
    // Outside the gate: a post that waits on a full event queue must not hold up the release of the device.
    if (released) d->gate.awaitOpen(std::chrono::milliseconds{readLimitMs});
    if (report != Report::None) d->actionCmdErrorReported = report != Report::Timeout;
    if (report == Report::Timeout) postActionCommandTimeout(static_cast<std::uint16_t>(word & 0xFFFF));
    if (isDue) reportActionCommandError(report == Report::TooManyWords, result, lostActionWords);
    if (report == Report::ReadError) usleep(readErrorPauseUs);
}

void OrvoGbePhysicalNetworkInterface::postActionCommandTimeout(std::uint16_t count) {
    if (auto text = information()) text << "': Action command timeout detected --- Count: " << count;
    d->eventQueue->notifyActionCommandTimeout(count);
}

void OrvoGbePhysicalNetworkInterface::reportActionCommandError(bool tooManyWords, int result,
                                                               int lostActionWords) {
    if (auto text = error()) {
        if (tooManyWords)
            text << "': Too many received words for action command timeout UIQ buffer (received words = "
                 << 1;
        else
            text << "': Error(s) in OHalDataQueueReadBufferLong(...) (result = " << result
                 << ", received words = " << 0;
        text << ") [lost words: " << lostActionWords << "]";
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
