// SPDX-License-Identifier: MIT
// The simulated board's configuration: refused in one line that names file and line, or used as a whole.
#include "config/Configuration.h"
#include "fuzz/FuzzInput.h"

using namespace orvo::sim;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    try {
        const auto configuration =
            parseConfiguration({reinterpret_cast<const char*>(bytes), count}, "/etc/boards.toml");
        orvo::test::demand(configuration.boards.size() <= maxBoards);
        for (const auto& board : configuration.boards) orvo::test::demand(board.ports <= maxPorts);
        for (const auto& wire : configuration.wires) orvo::test::demand(wire.place.port < maxPorts);
    } catch (const ConfigurationError& error) {
        const std::string_view text = error.what();
        orvo::test::demand(text.starts_with("/etc/boards.toml:") &&
                           text.find('\n') == std::string_view::npos);
    }
    return 0;
}
