// SPDX-License-Identifier: MIT
// Access to the boards of an installation, and the options that choose them.
#pragma once

#include "device/BoardLibraries.h"
#include "device/BoardServer.h"
#include "device/Installation.h"
#include "device/PortAddress.h"
#include "device/SimulatorControl.h"
#include "device/recording/Playback.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvo::host {

/// One `--wire`. A port without a board is on the board of `--board`.
struct WireOption {
    std::string port; ///< "P" or "B/P", checked
    std::string wire; ///< in the simulated board's syntax

    PortAddress address(unsigned defaultBoard) const;
};

/// Which boards: of which installation, how simulated ones are cabled and driven, what is recorded or played.
struct BoardOptions {
    std::string root; ///< empty: the one that this program belongs to
    std::vector<WireOption> wires;
    bool virtualTime = false; ///< sleeps advance the simulated board's clock instead of waiting
    std::string faults;       ///< file of a fault script for the simulated board; empty: none
    std::uint64_t seed = 0;   ///< of the script's random choices
    bool isServer = false;    ///< this process holds the boards that others use
    std::string record;       ///< file that every board call goes into; empty: none
    std::string recordName;   ///< instead of that file's path in messages; empty: the path
    std::string recording;    ///< file of a recording that answers instead of a board; empty: none
    PlaybackOptions playback;
};

/// Which port, and how it is used.
struct PortOptions {
    PortAddress address;
    bool noReset = false;  ///< do not reset its board first
    bool crcWatch = false; ///< have the plug-in log receive errors
};

class Plugin;
class Recorder;

/// An installation's board libraries, opened, and its simulated board, if it has one, cabled.
struct BoardAccess {
    /// Errors: Failure for an incomplete installation, a bad simulator configuration, a bad wire, or an
    /// option that needs a simulated board where the board is real. Tells the user of a server; when that
    /// ends later, so does the program.
    BoardAccess(const BoardOptions& options, unsigned defaultBoard);
    ~BoardAccess();
    BoardAccess(const BoardAccess&) = delete;
    BoardAccess& operator=(const BoardAccess&) = delete;

    Installation installation;
    BoardLibraries libraries;
    std::optional<SimulatorControl> simulator; ///< nothing: the board is real, or a recording answers
    std::optional<Playback> playback;          ///< nothing: there is a board
    bool virtualTime;
    std::string server; ///< the socket of the server whose boards these are; empty: they are nobody else's
    bool hasFaults;     ///< a script runs; in virtual time, the thread that made this object drives the clock

    /// Errors: Failure when there is no such board or port. Opening it may still fail, as when another
    /// program holds it.
    void requirePort(PortAddress port) const;

    /// Errors: Failure that names the option where the board is real.
    void requireSimulator(const std::string& option) const;
    /// Completes the file of --record, and tells the user what it lacks.
    void endRecording();
    /// Whether a recording of this process has ended without all calls. For main, after the run.
    static bool hasIncompleteRecording() noexcept;

    /// Lets the plug-in's calls go where this program's calls go. Before its first one.
    void bind(Plugin& plugin) const;

    /// The port at the other end of a simulated or recorded port's cable; nothing where the cable leads
    /// elsewhere.
    std::optional<PortAddress> farEnd(PortAddress port) const;

    /// Whether links are read from the PHYs: of real boards, whose libraries do not tell, and while calls are
    /// recorded, so that the recording holds what the link was.
    bool readsLinks() const noexcept { return !simulator || recorder_; }

    /// The board's clock, in seconds from an arbitrary start.
    double seconds() const;

private:
    void useSimulator(const BoardOptions& options, unsigned defaultBoard) const;
    nlohmann::json header() const;

    std::unique_ptr<Recorder> recorder_; // null: nothing is recorded
    std::optional<ServerWatch> watch_;
};

} // namespace orvo::host
