// SPDX-License-Identifier: MIT
// Requests and the entries that answer them.
#include "share/Session.h"

#include "board/DeviceHandles.h"
#include "entries/OwnEntries.h"
#include "process/Process.h"
#include "share/Marshalling.h"
#include "share/Protocol.h"

#include <algorithm>

namespace orvo::sim {

namespace {

template <class Result, class... Parameters>
bool serve(Session& session, MessageReader& in, MessageWriter& out, Result (*entry)(Parameters...)) {
    const auto call = [&](Parameters... arguments) {
        const Result result = entry(arguments...);
        if constexpr (std::is_same_v<Result, void*>) session.noteOpened(result);
        return result;
    };
    return EntryServer(in, out).serve(call, ParameterList<Parameters...>{});
}

template <class Result, class... Parameters>
bool serve(Session& session, MessageReader& in, MessageWriter& out, Result (*entry)(void*, Parameters...)) {
    void* const handle = session.checked(in.take<void*>());
    const auto call = [&](Parameters... arguments) { return entry(handle, arguments...); };
    const bool served = EntryServer(in, out).serve(call, ParameterList<Parameters...>{});
    session.noteUsed(handle);
    return served;
}

using Answer = bool (*)(Session&, MessageReader&, MessageWriter&);

constexpr Answer answers[] = {
#define ENTRY(Result, name, gone, parameters, arguments)                                                     \
    [](Session& session, MessageReader& in, MessageWriter& out) {                                            \
        return serve(session, in, out, &own::name);                                                          \
    },
#define HAND_ENTRY ENTRY
#include "entries/Entries.def"
#undef HAND_ENTRY
#undef ENTRY
};

} // namespace

Session::~Session() {
    for (void* const handle : handles_) own::OHalFreeDevice(handle);
}

bool Session::answer(MessageBytes request, MessageWriter& reply) {
    MessageReader in(request);
    const auto entry = in.take<std::uint32_t>();
    reply.put(in.take<std::uint32_t>());
    descriptors_.clear();
    switch (static_cast<EntryId>(entry)) {
    case EntryId::attachBoard:
        return answerAttach(in, reply);
    case EntryId::claimQueue:
        return answerClaim(in, reply);
    case EntryId::openTap:
        return answerOpenTap(in, reply);
    case EntryId::closeTap:
        return answerCloseTap(in, reply);
    case EntryId::readQueueBriefly:
        return answerRead(in, reply);
    default:
        break;
    }
    return entry < std::size(answers) && answers[entry](*this, in, reply);
}

Board* Session::ownBoard(void* handle) const noexcept {
    return handles_.contains(handle) ? openBoardOf(handle) : nullptr;
}

Attachment* Session::attachment(void* handle) const noexcept {
    const auto found = attachments_.find(ownBoard(handle));
    return found != attachments_.end() ? const_cast<Attachment*>(&found->second) : nullptr;
}

bool Session::answerAttach(MessageReader& in, MessageWriter& reply) {
    Board* const board = ownBoard(in.take<void*>());
    if (!in.isWhole()) return false;
    reply.put(board ? 0 : static_cast<int>(OrvoSimHalBadHandle));
    if (!board) return true;
    const auto& made = attachments_.try_emplace(board, *board).first->second;
    descriptors_ = {made.pageDescriptor(), made.channelDescriptor()};
    return true;
}

bool Session::answerClaim(MessageReader& in, MessageWriter& reply) {
    Attachment* const memory = attachment(in.take<void*>());
    const auto queue = in.take<std::uint32_t>();
    if (!in.isWhole()) return false;
    reply.put(memory && memory->claim(queue, number_) ? 0 : static_cast<int>(OrvoSimHalNoQueue));
    return true;
}

bool Session::answerOpenTap(MessageReader& in, MessageWriter& reply) {
    const auto place = in.take<PortPlace>();
    if (!in.isWhole()) return false;
    reply.put(openTap(place));
    return true;
}

int Session::openTap(PortPlace place) {
    Port* const port = simulation().port(place);
    if (!port) return OrvoSimNoSuchPlace;
    if (taps_.contains(place)) return OrvoSimTapTaken;
    try {
        auto tap = WireTap::at(port->tapPlace());
        if (!tap) return OrvoSimTapTaken;
        descriptors_ = {tap->descriptor()};
        taps_[place] = std::move(tap);
        return 0;
    } catch (const std::exception&) { // no memory, or no descriptor
        return OrvoSimNoMemory;
    }
}

bool Session::answerCloseTap(MessageReader& in, MessageWriter& reply) {
    const auto place = in.take<PortPlace>();
    if (!in.isWhole()) return false;
    taps_.erase(place);
    reply.put(0);
    return true;
}

/// Words go to the program that claimed the queue, and to no other.
bool Session::answerRead(MessageReader& in, MessageWriter& reply) {
    const auto read = answers[static_cast<std::uint32_t>(EntryId::readQueueBriefly)];
    MessageReader arguments = in;
    Board* const board = ownBoard(arguments.take<void*>());
    DataQueue* const queue = board ? board->queue(arguments.take<std::uint32_t>()) : nullptr;
    if (!queue) return read(*this, in, reply); // refused by the entry
    const auto turn = queue->keepReader();
    if (queue->reader() == number_) return read(*this, in, reply);
    reply.put(static_cast<int>(OrvoSimHalQueueTaken));
    return true;
}

/// A released handle is let through, so that the board counts the access; it is never opened again. One that
/// another program is given between the two looks was not open at the first.
void* Session::checked(void* handle) const noexcept {
    const bool isReleased =
        DeviceHandles::wasOpen(reinterpret_cast<HandleBits>(handle)) && !openBoardOf(handle);
    return isReleased || handles_.contains(handle) ? handle : nullptr;
}

void Session::noteOpened(void* handle) {
    if (handle) handles_.insert(handle);
}

void Session::noteUsed(void* handle) {
    if (openBoardOf(handle) || handles_.erase(handle) == 0) return;
    for (auto& attached : attachments_) // the board's last handle takes the claims on its queues along
        if (std::ranges::none_of(handles_, [&](void* other) { return openBoardOf(other) == attached.first; }))
            attached.second.releaseQueues();
}

} // namespace orvo::sim
