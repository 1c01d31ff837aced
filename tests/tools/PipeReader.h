// The far end of a pipe that a capture is written to.
#pragma once

#include <fstream>
#include <string>

namespace orvo::host::testing_support {

/// Opens the pipe, reads pcapng up to the end of the block that holds `lastFrame` (of a length that needs no
/// padding), and closes it. Ends early where the writer does.
inline std::string readUntil(const std::string& lastFrame, const std::string& pipe) {
    std::ifstream reader(pipe, std::ios::binary);
    std::string seen;
    while (reader && !seen.ends_with(lastFrame)) seen.push_back(static_cast<char>(reader.get()));
    for (int i = 0; i < 4; ++i) seen.push_back(static_cast<char>(reader.get())); // the block's length again
    return seen;
}

} // namespace orvo::host::testing_support
