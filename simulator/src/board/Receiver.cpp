// The road of a frame from the wire into the receive queue.
#include "Receiver.h"

namespace orvo::sim {

Arrival Receiver::deliver(WireBytes frame) noexcept {
    if (!gate_.canReceive()) {
        ignoredFrames_.add(1);
        return Arrival::Ignored;
    }
    if (!isGoodFrame(frame)) {
        errors_.add(1);
        return Arrival::Broken;
    }
    const WireBytes content = withoutFcs(frame);
    goodBytes_.add(frame.size());
    goodFrames_.add(1); // before the host can see the frame
    if (queue_.pushFrame(content)) return Arrival::Queued;
    lostWords_.add(wordsOfFrame(content.size()));
    overflowFrames_.add(1);
    return Arrival::Overflow;
}

} // namespace orvo::sim
