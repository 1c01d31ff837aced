// SPDX-License-Identifier: MIT
#include "share/Attachment.h"

#include <new>

namespace orvo::sim {

Attachment::Attachment(Board& board)
    : board_(board),
      memory_(MappedMemory::shareable("orvo-channel", sizeof(Channel), MappedMemory::Access::ReadWrite)) {
    new (memory_.data()) Channel;
    for (unsigned port = 0; port < board_.ports().size(); ++port)
        pumps_[port] = std::make_unique<TransmitPump>(board_, port, channel().rings[port]);
}

Attachment::~Attachment() {
    releaseQueues();
}

ReaderPlace& Attachment::place(unsigned queue) noexcept {
    return channel().readers[queue % firstActionQueue][queue / firstActionQueue];
}

bool Attachment::claim(unsigned queue, std::uint32_t reader) {
    DataQueue* const found = board_.queue(queue);
    if (found) found->claim(place(queue), reader);
    return found != nullptr;
}

void Attachment::releaseQueues() {
    for (const unsigned first : {0U, firstActionQueue})
        for (unsigned port = 0; port < board_.ports().size(); ++port)
            board_.queue(first + port)->release(place(first + port));
}

} // namespace orvo::sim
