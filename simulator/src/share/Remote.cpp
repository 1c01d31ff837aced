// SPDX-License-Identifier: MIT
#include "share/Remote.h"

#include <stdexcept>

#include <unistd.h>

namespace orvo::sim {

std::unique_ptr<Remote> Remote::connect(const std::filesystem::path& path) {
    auto socket = MessageSocket::connect(path);
    if (!socket.isOpen()) return nullptr;
    MessageWriter out;
    out.put(Greeting{.process = getpid()});
    std::vector<std::byte> room(maxMessageBytes);
    const auto message = socket.send(out.bytes()) ? socket.receive(room, replyLimit) : std::nullopt;
    if (!message) return nullptr;
    MessageReader in(*message);
    const auto greeting = in.take<Greeting>();
    const std::string root(in.takeText());
    if (!in.isWhole() || !greeting.isOurs())
        throw std::runtime_error("the server at '" + path.string() +
                                 "' is of another version of this software; start one of this installation");
    return std::unique_ptr<Remote>(new Remote(std::move(socket), path.string(), root));
}

Remote::Remote(MessageSocket socket, std::string path, std::filesystem::path root)
    : socket_(std::move(socket)), path_(std::move(path)), root_(std::move(root)), process_(getpid()),
      room_(maxMessageBytes) {}

/// The reply behind its number; nothing when the server is gone. The turn is taken.
std::optional<MessageReader> Remote::ask(MessageBytes request) noexcept {
    if (isGone() || getpid() != process_) return std::nullopt;
    const auto message = socket_.send(request) ? socket_.receive(room_, replyLimit) : std::nullopt;
    if (message)
        if (MessageReader reply(*message); reply.take<std::uint32_t>() == number_) return reply;
    isGone_.store(true, std::memory_order_relaxed);
    socket_.shutDown();
    return std::nullopt;
}

} // namespace orvo::sim
