// The host's side of a board's data queues.
#include "Board.h"

#include <orvo/hal/orvo_hal.h>

#include <algorithm>

namespace orvo::sim {

namespace {

/// Virtual time gives other threads this much real time to put something into a queue that is read.
constexpr std::chrono::milliseconds virtualPatience{1};

void awaitWords(DataQueue& queue, std::size_t words, std::chrono::milliseconds limit) {
    if (!simClock.isVirtual())
        queue.await(words, limit);
    else if (!queue.await(words, std::min(limit, virtualPatience)))
        simClock.advance(limit);
}

} // namespace

DataQueue* Board::queue(unsigned number) noexcept {
    const bool isAction = number >= firstActionQueue;
    const unsigned port = isAction ? number - firstActionQueue : number;
    if (port >= configuration_.ports) return nullptr;
    return isAction ? &ports_[port].actionQueue() : &ports_[port].receiveQueue();
}

int Board::readQueue(unsigned number, std::uint32_t* out, std::size_t words, std::uint32_t timeoutMs) {
    DataQueue* const source = queue(number);
    if (!source) return OrvoSimHalNoQueue;
    if (!condition_.isGood()) {
        if (const int refused = refusal(); refused != 0) return refused;
        if (const auto failure = faults_.takeReadFailure(number)) return *failure;
    }
    if (words == 0) return 0;
    if (number < maxPorts && source->words() == 0) ports_[number].playWire();
    awaitWords(*source, words, std::chrono::milliseconds(timeoutMs));
    const int bytes = static_cast<int>(source->take(out, words) * sizeof *out);
    if (condition_.has(Trouble::Gone)) return OrvoSimHalBoardGone;
    if (bytes == 0) return HalTimeout;
    return condition_.has(Trouble::QueueFaults) ? bytes + faults_.takeMisreport(number).value_or(0) : bytes;
}

} // namespace orvo::sim
