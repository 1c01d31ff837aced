// SPDX-License-Identifier: MIT
#pragma once

#include "frames/GigeVision.h"
#include "frames/streams/StreamFigures.h"

#include <array>
#include <cstdint>
#include <optional>

namespace orvo::host {

/// What a client holds of a camera, as it was granted.
enum class Privilege : std::uint8_t { Unknown, None, Control, Exclusive };
const char* privilegeText(Privilege privilege) noexcept;
/// Of a value of the control privilege register.
Privilege privilegeOf(std::uint32_t value) noexcept;

/// The last error that a camera answered.
struct ControlError {
    GigeCommand command{};
    std::uint16_t status = 0;
    std::uint32_t address = 0; ///< 0: the command has none
};

struct ControlFigures {
    std::uint32_t camera = 0, client = 0; ///< IPv4
    Privilege privilege{};
    std::optional<std::uint32_t> heartbeatMs; ///< as set by the client
    StreamTime longestSilence = 0;            ///< between commands while the client holds the camera
    std::uint64_t commands = 0;
    std::uint64_t answers = 0;
    std::uint64_t repeated = 0;   ///< commands sent again, for want of an answer
    std::uint64_t unanswered = 0; ///< that asked for one; the last of them not counted
    std::uint64_t pending = 0;    ///< answers that put off the real one
    std::uint64_t events = 0;
    std::uint64_t errors = 0; ///< answers other than success
    std::optional<ControlError> lastError;
};

/// The commands and answers between one client and one camera. One thread.
class ControlChannel {
public:
    /// A channel of a stream whose registers the client wrote: port 0 closes it.
    struct Opening {
        std::uint16_t channel;
        StreamEnds ends;
    };
    static constexpr std::size_t channels = 4; ///< that are followed

    ControlChannel(std::uint32_t camera, std::uint32_t client);

    /// A command of the client. Returns the stream that it opens or closes.
    std::optional<Opening> command(const GigeControl& control, StreamTime time) noexcept;
    void answer(const GigeControl& control) noexcept;
    void event() noexcept { ++figures_.events; }

    const ControlFigures& figures() const noexcept { return figures_; }

private:
    struct Destination {
        std::uint32_t address = 0;
        std::optional<std::uint16_t> port;
    };
    /// The command that waits for its answer: a client sends one at a time.
    struct Waiting {
        GigeCommand command;
        std::uint16_t requestId;
        std::uint32_t address, value;
    };

    void noteWaiting(const GigeControl& control) noexcept;
    std::optional<Opening> write(std::uint32_t address, std::uint32_t value) noexcept;
    void grant(const Waiting& waiting) noexcept;

    ControlFigures figures_;
    std::array<Destination, channels> destinations_{};
    std::optional<Waiting> waiting_;
    StreamTime lastCommand_ = 0;
};

} // namespace orvo::host
