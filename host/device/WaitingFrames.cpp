// SPDX-License-Identifier: MIT
// The library is asked directly: a recording of the plug-in's calls holds none of these.
#include "device/WaitingFrames.h"

namespace orvo::host {

WaitingFrames::WaitingFrames(const BoardLibraries& libraries, PortAddress port)
    : libraries_(libraries), port_(port),
      words_(libraries.hal() ? libraries.hal()->find<int(void*, std::uint32_t)>("OHalDataQueueGetNrOfWords")
                             : nullptr),
      device_(nullptr, libraries.putDevice) {}

bool WaitingFrames::any() noexcept {
    if (!words_) return false;
    if (!device_) device_.reset(libraries_.getDevice(static_cast<int>(port_.board)));
    if (!device_) return false;
    const int words = words_(device_.get(), port_.port);
    if (words < 0) letGo(); // the board was gone, and may be back
    return words > 0;
}

} // namespace orvo::host
