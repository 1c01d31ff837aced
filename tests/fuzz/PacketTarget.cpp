// SPDX-License-Identifier: MIT
// A frame as a line, and every reader of GigeVision.h on its bytes as they stand.
#include "frames/FrameText.h"
#include "frames/GigeVision.h"
#include "fuzz/FuzzInput.h"

#include <algorithm>

using namespace orvo::host;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    static FrameDescriber describer;
    const Bytes frame(bytes, count);
    const auto line = describer.describe(frame);
    orvo::test::demand(!line.empty() && line.size() < 400 &&
                       std::ranges::all_of(line, [](char c) { return c >= ' ' && c <= '~'; }));
    if (const auto control = readGigeControl(frame)) {
        readGigeResend(*control);
        readGigePending(*control);
        readGigeEvent(*control);
        readGigeDiscovery(*control);
        const auto words = gigeWordsOf(*control);
        for (std::size_t i = 0; i < words.count(); ++i) static_cast<void>(words[i]);
    }
    if (const auto packet = readGigeStream(frame)) readGigeImage(*packet);
    return 0;
}
