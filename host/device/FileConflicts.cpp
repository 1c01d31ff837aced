// SPDX-License-Identifier: MIT
// Comparing of files with those of wires.
#include "device/FileConflicts.h"

#include "base/Failure.h"
#include "base/ReplacedFile.h"
#include "device/Board.h"

#include <algorithm>
#include <string_view>

namespace orvo::host {
namespace {

bool isAmong(const std::vector<std::string>& files, const std::string& file) {
    return std::any_of(files.begin(), files.end(),
                       [&](const std::string& other) { return isSameFile(file, other); });
}

void refuseFilesOfWire(const FileConflicts& used, PortAddress port, std::string_view wire) {
    constexpr std::string_view capture = "pcap:"; // pcap:PLAYED[,RECORDED]
    if (!wire.starts_with(capture)) return;
    wire.remove_prefix(capture.size());
    const auto comma = wire.find(',');
    const std::string played(wire.substr(0, comma));
    const std::string recorded(comma == std::string_view::npos ? "" : wire.substr(comma + 1));
    const auto refuse = [&](const char* does, const std::string& file, const char* clash) {
        throw Failure("the wire of port " + port.text() + " " + does + " " + quoted(file) +
                      ", which is to be " + clash + "; name another file with --write or --wire");
    };
    if (isAmong(used.written, played)) refuse("plays", played, "written");
    if (isAmong(used.written, recorded)) refuse("records into", recorded, "written");
    if (isAmong(used.read, recorded)) refuse("records into", recorded, "read");
}

} // namespace

void refuseFilesOfWires(const FileConflicts& used, const SimulatorControl& simulator) {
    for (unsigned board = 0; board < Board::indexLimit; ++board)
        for (unsigned port = 0;; ++port) {
            const auto wire = simulator.wire({board, port});
            if (wire.empty()) break;
            refuseFilesOfWire(used, {board, port}, wire);
        }
}

} // namespace orvo::host
