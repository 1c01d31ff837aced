// SPDX-License-Identifier: MIT
// Boards that a server holds, as a program uses them.
#pragma once

#include "share/Marshalling.h"
#include "share/Protocol.h"
#include "share/Socket.h"

#include <orvo/sim/orvo_sim.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

namespace orvo::sim {

class Remote {
public:
    /// Null when nobody answers at the socket. Throws std::runtime_error, one sentence, when whoever answers
    /// speaks another protocol.
    static std::unique_ptr<Remote> connect(const std::filesystem::path& path);

    const std::string& path() const noexcept { return path_; }
    const std::filesystem::path& root() const noexcept { return root_; } ///< the server's installation

    /// Has the server carry out an entry: `call(id, gone, entry)(arguments)`. `gone` is the result without a
    /// server. Any thread.
    template <class Result, class... Parameters>
    auto call(EntryId id, std::type_identity_t<Result> gone, Result (*)(Parameters...)) {
        return [this, id, gone](Parameters... arguments) {
            return exchange<Result>(id, gone, [&](auto& codec) { codec(arguments...); });
        };
    }
    template <class Result, class... Parameters>
    auto call(EntryId id, std::type_identity_t<Result> gone, Result (*)(void*, Parameters...)) {
        return [this, id, gone](void* device, Parameters... arguments) {
            return exchange<Result>(id, gone, [&](auto& codec) { codec.device(device)(arguments...); });
        };
    }

    /// The server has ended, or does not answer any more.
    bool isGone() const noexcept { return isGone_.load(std::memory_order_relaxed); }

private:
    Remote(MessageSocket socket, std::string path, std::filesystem::path root);

    struct Packer : ArgumentPacker {
        explicit Packer(MessageWriter& to) noexcept : ArgumentPacker(to), out(to) {}
        Packer& device(void* handle) { return out.put(handle), *this; }
        template <class... Arguments> void operator()(Arguments... arguments) { pack(arguments...); }
        MessageWriter& out;
    };
    struct Unpacker : AnswerUnpacker {
        using AnswerUnpacker::AnswerUnpacker;
        Unpacker& device(void*) { return *this; }
        template <class... Arguments> void operator()(Arguments... arguments) { unpack(arguments...); }
    };

    template <class Result, class Arguments>
    Result exchange(EntryId id, Result gone, const Arguments& withArguments) {
        const std::lock_guard turn(turn_);
        MessageWriter request;
        request.put(id);
        request.put(++number_);
        Packer packer(request);
        withArguments(packer);
        auto reply = ask(request.bytes());
        if (!reply) return gone;
        const auto result = reply->take<Result>();
        Unpacker unpacker(*reply);
        withArguments(unpacker);
        return result;
    }
    std::optional<MessageReader> ask(MessageBytes request) noexcept;

    const MessageSocket socket_;
    const std::string path_;
    const std::filesystem::path root_;
    const pid_t process_; // a child of fork must not speak on the parent's connection
    std::atomic<bool> isGone_{false};
    std::mutex turn_; // guards what follows: one request at a time
    std::uint32_t number_ = 0;
    std::vector<std::byte> room_;
};

} // namespace orvo::sim
