// SPDX-License-Identifier: MIT
// A program that sends whatever the input says to the server of its boards, and writes it into the memory
// that both share: the server stays whole, and no position or length of the program's leads out of bounds.
#include "exports/Choice.h"
#include "fuzz/FuzzInput.h"
#include "mac/DataQueue.h"
#include "process/Process.h"
#include "share/Channel.h"
#include "share/Protocol.h"
#include "share/Session.h"
#include "share/TransmitPump.h"

#include <memory>
#include <vector>

namespace orvo::test {
namespace {

using namespace sim;

constexpr std::size_t queueWords = 64;

/// Requests of the session's own handles, so that they get further than the handle.
class Requests {
public:
    explicit Requests(FuzzInput& input) : input_(input) {}

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
    /// Neither files nor interfaces of the machine.
    static bool isHarmless(MessageBytes request) {
        const auto entry = static_cast<EntryId>(MessageReader(request).take<std::uint32_t>());
        return entry != EntryId::orvoSimSetWire && entry != EntryId::orvoSimLoadFaults;
    }
    MessageBytes send(MessageBytes request) {
        reply_ = MessageWriter();
        if (isHarmless(request)) session_.answer(request, reply_);
        demand(reply_.bytes().size() <= maxMessageBytes);
        return reply_.bytes();
    }

    FuzzInput& input_;
    Session session_{1};
    MessageWriter reply_;
    std::uint32_t number_ = 7;
    void* handle_ = nullptr;
};

void readSlot(FuzzInput& input) {
    static auto& slot = *new TransmitSlot;
    slot.units = input.take<std::uint32_t>();
    slot.begins = input.take<std::uint32_t>();
    const SlotContent content(slot);
    demand(content.count <= content.bytes.size() && content.count <= 2 * content.units);
}

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

void live(FuzzInput& input) {
    Requests requests(input);
    while (!input.isEmpty()) switch (input.take<std::uint8_t>() % 8) {
        case 0:
            requests.raw();
            break;
        case 1:
            requests.open();
            break;
        case 2:
            readSlot(input);
            break;
        case 3:
            followReader(input);
            break;
        default:
            requests.withHandle();
        }
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
