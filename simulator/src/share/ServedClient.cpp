// SPDX-License-Identifier: MIT
#include "share/ServedClient.h"

#include "base/Threads.h"
#include "process/Process.h"
#include "share/Protocol.h"

#include <exception>

namespace orvo::sim {

ServedClient::ServedClient(Descriptor socket, std::uint32_t number, std::function<void()> ended)
    : socket_(std::move(socket)), number_(number), ended_(std::move(ended)),
      thread_(startThread([this] { run(); })) {}

ServedClient::~ServedClient() {
    socket_.shutDown();
    thread_.join();
}

void ServedClient::run() noexcept {
    try {
        std::vector<std::byte> room(maxMessageBytes);
        if (greet(room)) serve(room);
    } catch (const std::exception&) { // no memory for this program
    }
    socket_.shutDown();
    hasEnded_.store(true);
    ended_();
}

/// A program of another version is told ours, and says to its user what to do.
bool ServedClient::greet(std::span<std::byte> room) const {
    const auto message = socket_.receive(room, replyLimit);
    if (!message) return false;
    MessageReader in(*message);
    const auto greeting = in.take<Greeting>();
    if (!in.isWhole() || greeting.name != protocolName) return false;
    MessageWriter out;
    out.put(Greeting{.number = number_});
    const std::string root = installationRoot().string();
    out.putBlock(root.data(), root.size());
    return socket_.send(out.bytes()) && greeting.isOurs() && !isRefused();
}

void ServedClient::serve(std::span<std::byte> room) {
    Session session(number_);
    while (const auto request = socket_.receive(room)) {
        MessageWriter reply;
        if (!session.answer(*request, reply) || !socket_.send(reply.bytes(), session.descriptors())) return;
    }
}

} // namespace orvo::sim
