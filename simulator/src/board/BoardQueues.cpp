// The host's side of a board's data queues.
#include "Board.h"

#include "faults/BoardFaults.h"

#include <orvo/hal/orvo_hal.h>

#include <algorithm>

namespace orvo::sim {

namespace {

/// Virtual time gives other threads this much real time to put something into a queue that is read.
constexpr std::chrono::milliseconds virtualPatience{1};

void awaitWords(DataQueue& queue, std::size_t words, std::chrono::milliseconds limit) {
    if (!simClock.isVirtual())
        queue.await(words, limit);
    else if (!queue.await(words, std::min(limit, virtualPatience)) && !simClock.isDriven())
        simClock.advance(limit);
}

} // namespace

DataQueue* Board::queue(unsigned number) noexcept {
    const bool isAction = number >= firstActionQueue;
    const unsigned port = isAction ? number - firstActionQueue : number;
    if (port >= configuration_.ports) return nullptr;
    return isAction ? &ports_[port].actionQueue() : &ports_[port].receiveQueue();
}

int Board::clearQueue(unsigned number) {
    DataQueue* const found = queue(number);
    if (!found) return OrvoSimHalNoQueue;
    found->clear();
    if (condition_.has(Trouble::Script) && number < maxPorts) script()->noteClear(number);
    return 0;
}

int Board::readQueue(unsigned number, std::uint32_t* out, std::size_t words, std::uint32_t timeoutMs) {
    DataQueue* const source = queue(number);
    if (!source) return OrvoSimHalNoQueue;
    const bool hasScript = condition_.has(Trouble::Script);
    if (!condition_.isGood()) {
        passScript();
        if (const int refused = refusal(); refused != 0) return refused;
        if (const auto failure = faults_.takeReadFailure(number)) return *failure;
    }
    if (words == 0) return 0;
    if (hasScript && number < maxPorts)
        if (const auto result = script()->queue(number).readStaged(out, words)) return *result;
    if (hasScript && number >= firstActionQueue) script()->noteActionRead(number - firstActionQueue);
    if (number < maxPorts && source->words() == 0) ports_[number].playWire();
    awaitWords(*source, words, std::chrono::milliseconds(timeoutMs));
    const std::size_t count = source->take(out, words);
    if (condition_.has(Trouble::Gone) && !hasScript) return OrvoSimHalBoardGone; // a script accounts for all
    if (count == 0) return HalTimeout;
    const int bytes = hasScript && number < maxPorts
                          ? script()->queue(number).delivered(*source, out, words, count)
                          : static_cast<int>(count * sizeof *out);
    if (bytes < 0) return bytes;
    return condition_.has(Trouble::QueueFaults) ? bytes + faults_.takeMisreport(number).value_or(0) : bytes;
}

} // namespace orvo::sim
