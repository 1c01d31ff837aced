// SPDX-License-Identifier: MIT
// The hardware access layer and the applet runtime, as far as the host program uses them beside the plug-in.
#pragma once

#include "base/DynamicLibrary.h"
#include "device/Installation.h"

#include <orvo/hal/kivrt.h>
#include <orvo/hal/orvo_hal.h>

namespace orvo::host {

/// Both libraries, opened from the installation: the same copies that the plug-in opens.
class BoardLibraries {
    DynamicLibrary hal_;

public:
    /// Errors: Failure when a library or a function is missing.
    explicit BoardLibraries(const Installation& installation);

    const DynamicLibrary& hal() const noexcept { return hal_; }

    decltype(&::OHalGetDevice) const getDevice;
    decltype(&::OHalPutDevice) const putDevice;
    decltype(&::OHalGetBoardInfoInt) const getBoardInfoInt;
    decltype(&::OHalGetBoardInfoString) const getBoardInfoString;
    decltype(&::OHalRegisterRead) const registerRead;
    decltype(&::OHalRegisterWrite) const registerWrite;
    decltype(&::OHalDataQueueGetNrOfLostWords) const lostWords;

private:
    // Opened when the functions of the other library are known to be there: it needs that one itself, and
    // would get the blame for what is missing there.
    DynamicLibrary applets_;

public:
    decltype(&::KivFirmwareTrampoline) const loadApplet;
    decltype(&::KivUnloadKivFile) const unloadApplet;
    decltype(&::KivGetRegisterByName) const getRegisterByName;
};

} // namespace orvo::host
