// SPDX-License-Identifier: MIT
// The functions of the hardware access layer and the applet runtime that this program calls directly,
// without the plug-in.
#pragma once

#include "base/DynamicLibrary.h"
#include "device/Installation.h"

#include <orvo/hal/kivrt.h>
#include <orvo/hal/orvo_hal.h>

namespace orvo::host {

/// Both libraries of an installation: the same copies that the plug-in opens.
class BoardLibraries {
    DynamicLibrary hal_;

public:
    /// Errors: Failure when a library or a function is missing.
    explicit BoardLibraries(const Installation& installation)
        : hal_(installation.library("orvo_hal")), applets_(installation.library("kivrt")) {}

    const DynamicLibrary& hal() const noexcept { return hal_; }

    decltype(&::OHalGetDevice) const getDevice = hal_.require("OHalGetDevice");
    decltype(&::OHalPutDevice) const putDevice = hal_.require("OHalPutDevice");
    decltype(&::OHalGetBoardInfoInt) const getBoardInfoInt = hal_.require("OHalGetBoardInfoInt");
    decltype(&::OHalGetBoardInfoString) const getBoardInfoString = hal_.require("OHalGetBoardInfoString");
    decltype(&::OHalRegisterRead) const registerRead = hal_.require("OHalRegisterRead");
    decltype(&::OHalRegisterWrite) const registerWrite = hal_.require("OHalRegisterWrite");
    decltype(&::OHalDataQueueGetNrOfLostWords) const lostWords =
        hal_.require("OHalDataQueueGetNrOfLostWords");

private:
    // Opened after the other library's functions were found: it needs that library, and the loader would
    // blame this one for a function that is missing there.
    DynamicLibrary applets_;

public:
    decltype(&::KivFirmwareTrampoline) const loadApplet = applets_.require("KivFirmwareTrampoline");
    decltype(&::KivUnloadKivFile) const unloadApplet = applets_.require("KivUnloadKivFile");
    decltype(&::KivGetRegisterByName) const getRegisterByName = applets_.require("KivGetRegisterByName");
};

} // namespace orvo::host
