// SPDX-License-Identifier: MIT
// The functions of the hardware access layer and the applet runtime that this program calls directly, without
// the plug-in.
#pragma once

#include "base/DynamicLibrary.h"
#include "device/Installation.h"
#include "device/recording/BoardEntries.h"

#include <orvo/hal/kivrt.h>
#include <orvo/hal/orvo_hal.h>

#include <optional>

namespace orvo::host {

/// What calls of this program and of the plug-in reach.
enum class CallsReach { Board, BoardAndRecorder, Recording };

/// Both libraries of an installation: the same copies that the plug-in opens. Where a recording answers, none
/// is opened.
class BoardLibraries {
    using Symbol = DynamicLibrary::Symbol;

    const CallsReach reach_;
    const std::optional<DynamicLibrary> hal_;

public:
    /// Errors: Failure when a library or a function is missing.
    explicit BoardLibraries(const Installation& installation, CallsReach reach = CallsReach::Board)
        : reach_(reach), hal_(opened(installation, "orvo_hal")), applets_(opened(installation, "kivrt")) {}

    /// Null where a recording answers.
    const DynamicLibrary* hal() const noexcept { return hal_ ? &*hal_ : nullptr; }

    /// Every entry of both libraries; null for those that they lack.
    EntryTable entries() const;
    /// What the plug-in's pointer variables have to hold; null where it binds the libraries by itself.
    const EntryTable* pluginEntries() const noexcept;

    /// Errors: Failure when the hardware access layer has no such function.
    Symbol require(const char* name) const { return require(name, hal_); }

    decltype(&::OHalGetDevice) const getDevice = require("OHalGetDevice");
    decltype(&::OHalPutDevice) const putDevice = require("OHalPutDevice");
    decltype(&::OHalGetBoardInfoInt) const getBoardInfoInt = require("OHalGetBoardInfoInt");
    decltype(&::OHalGetBoardInfoString) const getBoardInfoString = require("OHalGetBoardInfoString");
    decltype(&::OHalRegisterRead) const registerRead = require("OHalRegisterRead");
    decltype(&::OHalRegisterWrite) const registerWrite = require("OHalRegisterWrite");
    decltype(&::OHalDataQueueGetNrOfLostWords) const lostWords = require("OHalDataQueueGetNrOfLostWords");

private:
    std::optional<DynamicLibrary> opened(const Installation& installation, const char* name) const;
    Symbol require(const char* name, const std::optional<DynamicLibrary>& library) const;

    // Opened after the other library's functions were found: it needs that library, and the loader would
    // blame this one for a function that is missing there.
    const std::optional<DynamicLibrary> applets_;

public:
    decltype(&::KivFirmwareTrampoline) const loadApplet = require("KivFirmwareTrampoline", applets_);
    decltype(&::KivUnloadKivFile) const unloadApplet = require("KivUnloadKivFile", applets_);
    decltype(&::KivGetRegisterByName) const getRegisterByName = require("KivGetRegisterByName", applets_);
};

} // namespace orvo::host
