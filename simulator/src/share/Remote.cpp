// SPDX-License-Identifier: MIT
#include "share/Remote.h"

#include <ctime>
#include <stdexcept>

#include <unistd.h>

namespace orvo::sim {

constinit std::array<std::atomic<RemoteBoard*>, maxBoards> Remote::boards_{};

std::unique_ptr<Remote> Remote::connect(const std::filesystem::path& path) {
    auto socket = MessageSocket::connect(path);
    if (!socket.isOpen()) return nullptr;
    MessageWriter out;
    out.put(Greeting{});
    std::vector<std::byte> room(maxMessageBytes);
    const auto message = socket.send(out.bytes()) ? socket.receive(room, replyLimit) : std::nullopt;
    if (!message) return nullptr;
    MessageReader in(*message);
    const auto greeting = in.take<Greeting>();
    const std::string root(in.takeText());
    if (!in.isWhole() || !greeting.isOurs())
        throw std::runtime_error("the server at '" + path.string() +
                                 "' is of another version of this software; start one of this installation");
    if (greeting.number == Greeting::refused)
        throw std::runtime_error(
            "the server at '" + path.string() +
            "' has as many programs as it can serve; end one of them, or start another server");
    return std::unique_ptr<Remote>(new Remote(std::move(socket), path.string(), root, greeting.number));
}

Remote::Remote(MessageSocket socket, std::string path, std::filesystem::path root, std::uint32_t number)
    : socket_(std::move(socket)), path_(std::move(path)), root_(std::move(root)), number_(number),
      room_(maxMessageBytes) {}

std::optional<MessageReader> Remote::ask(MessageBytes request,
                                         std::vector<Descriptor>* descriptors) noexcept {
    if (isGone()) return std::nullopt;
    std::vector<Descriptor> none;
    const auto message = socket_.send(request)
                             ? socket_.receive(room_, replyLimit, descriptors ? *descriptors : none)
                             : std::nullopt;
    if (message)
        if (MessageReader reply(*message); reply.take<std::uint32_t>() == requests_) return reply;
    giveUp();
    return std::nullopt;
}

void Remote::giveUp() noexcept {
    isGone_.store(true, std::memory_order_relaxed);
    socket_.shutDown();
}

bool Remote::findGone() noexcept {
    if (!isGone() && socket_.isPeerGone()) isGone_.store(true, std::memory_order_relaxed);
    return isGone();
}

bool Remote::noticesGone() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now); // some nanoseconds
    const std::int64_t nowMs = now.tv_sec * 1000 + now.tv_nsec / 1'000'000;
    if (nowMs - lastLook_.load(std::memory_order_relaxed) < 100) return isGone();
    lastLook_.store(nowMs, std::memory_order_relaxed);
    return findGone();
}

void Remote::leaveToParent() noexcept {
    isGone_.store(true);
    for (auto& board : boards_) board.store(nullptr);
    close(socket_.get()); // not shut down: the parent goes on
}

void Remote::drain() noexcept {
    for (const auto& board : boards_)
        if (const RemoteBoard* const attached = board.load(std::memory_order_acquire))
            if (!attached->drain(replyLimit)) giveUp();
}

RemoteBoard* Remote::attach(void* device) {
    if (isGone()) return nullptr;
    const std::lock_guard turn(turn_);
    auto& place = boards_[indexOf(device)];
    if (RemoteBoard* const found = place.load(std::memory_order_acquire)) return found;
    MessageWriter request;
    request.put(EntryId::attachBoard);
    request.put(++requests_);
    request.put(device);
    std::vector<Descriptor> memory;
    auto reply = ask(request.bytes(), &memory);
    if (!reply || reply->take<int>() != 0 || memory.size() != MessageSocket::maxDescriptors) return nullptr;
    try {
        auto page = MappedMemory::of(std::move(memory[0]), MappedMemory::Access::ReadOnly);
        auto channel = MappedMemory::of(std::move(memory[1]), MappedMemory::Access::ReadWrite);
        place.store(new RemoteBoard(std::move(page), std::move(channel), *this), std::memory_order_release);
    } catch (const std::system_error&) { // no memory: the board cannot be used
    }
    return place.load(std::memory_order_acquire);
}

int Remote::claim(void* device, unsigned queue) {
    if (isGone()) return OrvoSimHalBoardGone;
    const std::lock_guard turn(turn_);
    MessageWriter request;
    request.put(EntryId::claimQueue);
    request.put(++requests_);
    request.put(device);
    request.put(queue);
    auto reply = ask(request.bytes());
    return reply ? reply->take<int>() : static_cast<int>(OrvoSimHalBoardGone);
}

int Remote::openTap(PortPlace place, std::vector<Descriptor>& memory) {
    drain(); // what this program sent before is not for the listener
    const int result = requestTap(EntryId::openTap, place, &memory);
    return result == 0 && memory.empty() ? static_cast<int>(OrvoSimNoMemory) : result;
}

void Remote::closeTap(PortPlace place) {
    requestTap(EntryId::closeTap, place, nullptr);
}

int Remote::requestTap(EntryId id, PortPlace place, std::vector<Descriptor>* memory) {
    const std::lock_guard turn(turn_);
    MessageWriter request;
    request.put(id);
    request.put(++requests_);
    request.put(place);
    auto reply = ask(request.bytes(), memory);
    return reply ? reply->take<int>() : static_cast<int>(OrvoSimServerGone);
}

/// A new handle may read the queues that another program took; its number may be that of an old one.
void Remote::noteOpened(void* device) {
    if (RemoteBoard* const known = boards_[indexOf(device)].load(std::memory_order_acquire))
        known->forgetClaims(device);
}

} // namespace orvo::sim
