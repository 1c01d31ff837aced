// SPDX-License-Identifier: MIT
// Looking up the functions of the two board libraries.
#include "device/BoardLibraries.h"

namespace orvo::host {

BoardLibraries::BoardLibraries(const Installation& installation)
    : hal_(installation.library("orvo_hal")),
      getDevice(hal_.require<decltype(::OHalGetDevice)>("OHalGetDevice")),
      putDevice(hal_.require<decltype(::OHalPutDevice)>("OHalPutDevice")),
      getBoardInfoInt(hal_.require<decltype(::OHalGetBoardInfoInt)>("OHalGetBoardInfoInt")),
      getBoardInfoString(hal_.require<decltype(::OHalGetBoardInfoString)>("OHalGetBoardInfoString")),
      registerRead(hal_.require<decltype(::OHalRegisterRead)>("OHalRegisterRead")),
      registerWrite(hal_.require<decltype(::OHalRegisterWrite)>("OHalRegisterWrite")),
      lostWords(hal_.require<decltype(::OHalDataQueueGetNrOfLostWords)>("OHalDataQueueGetNrOfLostWords")),
      applets_(installation.library("kivrt")),
      loadApplet(applets_.require<decltype(::KivFirmwareTrampoline)>("KivFirmwareTrampoline")),
      unloadApplet(applets_.require<decltype(::KivUnloadKivFile)>("KivUnloadKivFile")),
      getRegisterByName(applets_.require<decltype(::KivGetRegisterByName)>("KivGetRegisterByName")) {}

} // namespace orvo::host
