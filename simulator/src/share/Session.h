// SPDX-License-Identifier: MIT
// One program's use of the server's boards: what it holds, and what its requests do.
#pragma once

#include "share/Attachment.h"
#include "share/Message.h"

#include <map>
#include <unordered_set>

namespace orvo::sim {

/// Trusts nothing that the program sends. Threads: the one that serves the program.
class Session {
public:
    /// `number` is the program's, not 0.
    explicit Session(std::uint32_t number) noexcept : number_(number) {}
    /// Releases what the program still held.
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Carries out a request. False for a malformed message; nothing was done then.
    bool answer(MessageBytes request, MessageWriter& reply);
    /// Descriptors that go with the last reply.
    const std::vector<int>& descriptors() const noexcept { return descriptors_; }

    /// The handle; null where it is not this program's and another program has it open, or may get it later.
    void* checked(void* handle) const noexcept;
    void noteOpened(void* handle);
    /// After a call that may have closed the handle.
    void noteUsed(void* handle);

private:
    Board* ownBoard(void* handle) const noexcept;
    Attachment* attachment(void* handle) const noexcept;
    bool answerAttach(MessageReader& in, MessageWriter& reply);
    bool answerClaim(MessageReader& in, MessageWriter& reply);
    bool answerRead(MessageReader& in, MessageWriter& reply);
    bool answerOpenTap(MessageReader& in, MessageWriter& reply);
    bool answerCloseTap(MessageReader& in, MessageWriter& reply);
    int openTap(PortPlace place);

    const std::uint32_t number_;
    std::map<Board*, Attachment> attachments_;
    std::map<PortPlace, std::unique_ptr<WireTap>> taps_; // that the program listens at
    std::vector<int> descriptors_;
    std::unordered_set<void*> handles_; // that the program has open
};

} // namespace orvo::sim
