// SPDX-License-Identifier: MIT
// Boards that a server holds, as a program uses them.
#pragma once

#include "board/DeviceHandles.h"
#include "share/Marshalling.h"
#include "share/Protocol.h"
#include "share/RemoteBoard.h"
#include "share/Socket.h"

#include <orvo/sim/orvo_sim.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

namespace orvo::sim {

class Remote final : private ServerWatch {
public:
    /// Null when nobody answers at the socket. Throws std::runtime_error, one sentence, when the process that
    /// answers speaks another protocol.
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

    /// The board of a handle that `noteOpened` got; null without a server.
    RemoteBoard* board(void* device) {
        RemoteBoard* const found = knownBoard(device);
        return found ? found : attach(device);
    }
    /// The same where this program has used the board before; else null.
    static RemoteBoard* knownBoard(void* device) noexcept {
        return boards_[indexOf(device)].load(std::memory_order_acquire);
    }
    /// Waits until the frames that this program wrote have left, so that what follows comes after them.
    void drain() noexcept;
    /// Has the server let this program read the queue. 0 or an error.
    int claim(void* device, unsigned queue);
    void noteOpened(void* device);
    /// Has the server let this program listen at a port's cable; the ring is in `memory`, which is empty
    /// before. 0 or an error.
    int openTap(PortPlace place, std::vector<Descriptor>& memory);
    void closeTap(PortPlace place);
    std::uint32_t number() const noexcept { return number_; } ///< of this program, among the server's

    /// The server has ended, or does not answer any more.
    bool isGone() const noexcept { return isGone_.load(std::memory_order_relaxed); }
    /// The same, looking at the connection.
    bool findGone() noexcept override;
    void giveUp() noexcept override;
    /// The same, looking every 100 ms: for accesses to shared memory, which takes frames even without a
    /// server.
    bool noticesGone() noexcept;
    /// In a child of fork: connection and memory stay the parent's.
    void leaveToParent() noexcept;

private:
    Remote(MessageSocket socket, std::string path, std::filesystem::path root, std::uint32_t number);

    static unsigned indexOf(void* device) noexcept {
        return static_cast<unsigned>(reinterpret_cast<HandleBits>(device) >> 40) % maxBoards;
    }
    RemoteBoard* attach(void* device);
    int requestTap(EntryId id, PortPlace place, std::vector<Descriptor>* memory);

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
        if (isGone()) return gone; // in a child of fork, the parent's threads may hold the mutex
        drain();
        const std::lock_guard turn(turn_);
        MessageWriter request;
        request.put(id);
        request.put(++requests_);
        Packer packer(request);
        withArguments(packer);
        auto reply = ask(request.bytes());
        if (!reply) return gone;
        const auto result = reply->take<Result>();
        Unpacker unpacker(*reply);
        withArguments(unpacker);
        return result;
    }
    /// The reply to request number `requests_`; nothing when the server is gone. Under `turn_`.
    std::optional<MessageReader> ask(MessageBytes request,
                                     std::vector<Descriptor>* descriptors = nullptr) noexcept;

    const MessageSocket socket_;
    const std::string path_;
    const std::filesystem::path root_;
    const std::uint32_t number_;
    std::atomic<bool> isGone_{false};
    std::atomic<std::int64_t> lastLook_{0}; // in milliseconds
    std::mutex turn_;                       // guards what follows: one request at a time
    std::uint32_t requests_ = 0;
    std::vector<std::byte> room_;
    // Of the one server that a program uses; made under the mutex, and never destroyed.
    static std::array<std::atomic<RemoteBoard*>, maxBoards> boards_;
};

} // namespace orvo::sim
