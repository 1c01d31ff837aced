// SPDX-License-Identifier: MIT
// Two recordings side by side.
#pragma once

#include "device/recording/RecordingFile.h"

#include <string>
#include <vector>

namespace orvo::host {

/// A whole recording in memory.
struct WholeRecording {
    /// Errors: as of RecordingReader.
    explicit WholeRecording(const std::string& path);

    std::vector<std::vector<RecordedCall>> threads; ///< calls by thread
    RegisterNames registers;
    std::uint64_t lost = 0; ///< calls that could not be kept
    std::string fault;      ///< as of the reader
};

/// Where two recordings differ. One of both is null where the other recording has a further call.
struct CallDifference {
    unsigned thread; ///< of the first recording
    const RecordedCall* first;
    const RecordedCall* second;
    std::vector<const RecordedCall*> before; ///< calls of the first recording, at most five
};

/// The first difference of each thread, in the order of time. Threads are paired by their first calls. How
/// often a queue was empty, and times, do not count.
std::vector<CallDifference> differencesOf(const WholeRecording& first, const WholeRecording& second);

/// Several lines, or one that says that there is none.
std::string differencesText(const std::vector<CallDifference>& differences, const RegisterNames& registers);
nlohmann::ordered_json differencesJson(const std::vector<CallDifference>& differences,
                                       const RegisterNames& registers);

} // namespace orvo::host
