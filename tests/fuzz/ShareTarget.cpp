// SPDX-License-Identifier: MIT
// A program that sends whatever the input says to the server of its boards, and writes it into the memory
// that both share: the server stays whole, and no position or length of the program's leads out of bounds.
#include "entries/OwnEntries.h"
#include "exports/Choice.h"
#include "fuzz/FuzzInput.h"
#include "mac/DataQueue.h"
#include "process/Process.h"
#include "share/Channel.h"
#include "share/Protocol.h"
#include "share/Session.h"
#include "share/TransmitPump.h"

#include <vector>

namespace orvo::test {
namespace {

using namespace sim;

constexpr std::size_t queueWords = 64;

/// Requests of the session's own handles, so that they get further than the handle.
class Requests {
public:
    explicit Requests(FuzzInput& input) : input_(input), mayAttach_(input.take<std::uint8_t>() % 32 == 0) {}

    void raw() {
        const auto bytes = input_.takeBytes(input_.take<std::uint8_t>());
        send({reinterpret_cast<const std::byte*>(bytes.data()), bytes.size()});
    }
    void open() {
        MessageWriter request;
        request.put(EntryId::OHalInitDevice);
        request.put(number_);
        request.put(int{0});
        MessageReader reply(send(request.bytes()));
        reply.take<std::uint32_t>();
        handle_ = reply.take<void*>();
    }
    void withHandle() {
        MessageWriter request;
        request.put(std::uint32_t{input_.take<std::uint8_t>()});
        request.put(number_);
        request.put(handle_);
        for (const auto byte : input_.takeBytes(input_.take<std::uint8_t>() % 64)) request.put(byte);
        send(request.bytes());
    }

private:
    /// Neither files nor interfaces of the machine; nor scripts again and again, which stay in memory; nor
    /// the threads of an attachment with every input, which would take most of the time.
    bool isHarmless(MessageBytes request) const {
        static unsigned scripts = 0;
        const auto entry = static_cast<EntryId>(MessageReader(request).take<std::uint32_t>());
        if (entry == EntryId::attachBoard) return mayAttach_;
        if (entry == EntryId::orvoSimLoadFaultText) return ++scripts < 10'000;
        return entry != EntryId::orvoSimSetWire && entry != EntryId::orvoSimLoadFaults;
    }
    MessageBytes send(MessageBytes request) {
        reply_ = MessageWriter();
        if (isHarmless(request)) session_.answer(request, reply_);
        demand(reply_.bytes().size() <= maxMessageBytes);
        return reply_.bytes();
    }

    FuzzInput& input_;
    const bool mayAttach_;
    Session session_{1};
    MessageWriter reply_;
    std::uint32_t number_ = 7;
    void* handle_ = nullptr;
};

/// A consumer elsewhere claims to be anywhere.
void followReader(FuzzInput& input) {
    DataQueue queue(queueWords);
    ReaderPlace place;
    queue.claim(place, 1);
    std::vector<std::uint32_t> words(queueWords, 9);
    while (!input.isEmpty()) {
        const auto step = input.take<std::uint8_t>();
        if (step % 4 == 0) place.position = input.take<std::uint64_t>();
        if (step % 4 == 1) place.position += input.take<std::uint8_t>();
        if (step % 4 == 2) queue.push(std::span(words).first(step % queueWords));
        if (step % 4 == 3) demand(queue.take(words.data(), step % queueWords) <= queueWords);
        if (step == 255) queue.clear();
        demand(queue.words() <= queueWords);
    }
    queue.release(place);
}

void fill(TransmitSlot& slot, FuzzInput& input) {
    slot.begins = input.take<std::uint8_t>();
    slot.units = input.take<std::uint32_t>() >> input.take<std::uint8_t>() % 32;
    std::ranges::copy(input.takeBytes(input.take<std::uint8_t>()), slot.bytes.begin());
}

/// A program writes whatever it likes into its ring.
void followRing(Board& board, FuzzInput& input) {
    static auto& ring = *new TransmitRing;
    ring.published = ring.consumed = 0;
    RingReader reader(board, input.take<std::uint8_t>() % maxPorts, ring);
    for (auto steps = input.take<std::uint8_t>(); steps != 0 && !input.isEmpty(); --steps) {
        const auto step = input.take<std::uint8_t>();
        if (step % 4 == 0) ring.published = input.take<std::uint32_t>();
        if (step % 4 == 1) ring.published += step;
        if (step % 4 == 2) fill(ring.at(ring.published + step / 4), input);
        if (step % 4 == 3) reader.carry();
    }
    reader.leave();
    reader.carry();
    demand(!reader.hasFrames() && ring.consumed == reader.consumed());
}

void act(Requests& requests, Board& board, FuzzInput& input) {
    switch (input.take<std::uint8_t>() % 8) {
    case 0:
        return requests.raw();
    case 1:
        return requests.open();
    case 2:
        return followRing(board, input);
    case 3:
        return followReader(input);
    default:
        return requests.withHandle();
    }
}

/// Ends what an input has done to the board, so that the next one finds a board that works.
void restore(Board& board, void* handle) {
    own::orvoSimSetLineRate(0, 0);
    if (board.memory().page().isPlain()) return;
    const OrvoSimRegisterMap& map = *own::orvoSimRegisterMap(0);
    own::orvoSimUseVirtualTime(OrvoSimRealTime);
    own::orvoSimEndFaults();
    own::orvoSimSetBoardPresent(0, 1);
    own::orvoSimFailOpen(0, 0);
    own::orvoSimFailConfigure(0, 0, 0);
    for (std::uint32_t i = 0; i < map.count; ++i)
        own::orvoSimOverrideRegister(0, map.registers[i].name, 0, 0, 0);
    for (unsigned queue = 0; queue < firstActionQueue + maxPorts; ++queue) {
        own::orvoSimFailReads(0, queue, 0, 0);
        own::orvoSimMisreportReads(0, queue, 0, 0);
    }
    own::OHalConfigureFpga(handle, const_cast<OrvoSimRegisterMap*>(&map));
    std::uint32_t word = 0;
    while (!board.memory().page().isPlain() && own::readQueueBriefly(handle, 0, &word, 4, 0) == 4) {
    }
}

void live(FuzzInput& input) {
    static void* const others = own::OHalInitDevice(0); // another program's handle
    Board* const board = openBoardOf(others);
    demand(board != nullptr);
    Requests requests(input);
    while (!input.isEmpty()) act(requests, *board, input);
    demand(openBoardOf(others) == board);
    for (const unsigned queue : {0U, firstActionQueue}) demand(board->queue(queue)->words() <= 262'144);
    restore(*board, others);
}

} // namespace
} // namespace orvo::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    static const bool isShared = [] { return orvo::sim::shareOwnBoards(), orvo::sim::chooseOwnBoards(); }();
    orvo::test::demand(isShared);
    orvo::test::FuzzInput input(bytes, count);
    orvo::test::live(input);
    return 0;
}
