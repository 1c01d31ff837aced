// SPDX-License-Identifier: MIT
// Entry points of the hardware access layer, library "liborvo_hal.so", as C prototypes.
//
// The plug-in opens the library at run time and calls it through forwarding functions of the same names; a
// library that stands in for it defines them. Both include this header, so that the compiler compares them.
// The plug-in binds and forwards entries without a comment but does not call them: only their parameter
// widths are known (p2 is the second parameter).
//
// Unless a comment says otherwise, an int result is 0 or a count on success and negative on failure, and a
// forwarding function whose entry is not bound returns HalNotLoaded.
#pragma once

#include <orvo/Export.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Result codes of the hardware access layer that callers test for.
enum HalResult {
    HalTimeout = -2120,  ///< a data queue delivered nothing within the time-out
    HalNotLoaded = -2130 ///< the library is not loaded or lacks the entry
};

/// Opens board number `boardIndex` (from 0). Returns a device handle, owned by the caller until
/// OHalFreeDevice; null when there is no such board. Unbound: null.
ORVO_EXPORT void* OHalInitDevice(int boardIndex);

/// Releases a handle from OHalInitDevice. No call may be inside the library with it, and none may follow.
ORVO_EXPORT int OHalFreeDevice(void* device);

/// Number of devices that the library can see.
ORVO_EXPORT int OHalGetDeviceCount(void);

/// A temporary handle of the device at `deviceIndex`, 0 to 31, to be released with OHalPutDevice; null when
/// the index is empty. Indices need not be contiguous. Unbound: null.
ORVO_EXPORT void* OHalGetDevice(int deviceIndex);

/// Releases a handle from OHalGetDevice.
ORVO_EXPORT int OHalPutDevice(void* device);

/// Loads the hardware applet that `applet` describes into the board's FPGA. 0, or a negative error code.
/// Blocks until the FPGA runs; a board that runs this applet already is left alone.
ORVO_EXPORT int OHalConfigureFpga(void* device, void* applet);

/// An integer of the board: "ports/gige" (number of GigE ports), "firmware/major", "firmware/minor",
/// "board/serial", "board/type". Read as unsigned by its users.
ORVO_EXPORT int OHalGetBoardInfoInt(void* device, const char* key);

/// A text of the board: "board/caminterface" ("GigE" on a GigE board), "board/name"; null for an unknown key.
/// Owned by the library, valid as long as the handle. Unbound: null.
ORVO_EXPORT const char* OHalGetBoardInfoString(void* device, const char* key);

/// Reads a firmware register into `*value` (64 bits). 0, or a negative error code with `*value` untouched.
/// Any thread; accesses of one thread reach the board in order.
ORVO_EXPORT int OHalRegisterRead(void* device, uint32_t address, uint64_t* value);

/// Writes a firmware register. 0, or a negative error code. Any thread; accesses of one thread reach the
/// board in order.
ORVO_EXPORT int OHalRegisterWrite(void* device, uint32_t address, uint64_t value);

/// Reads up to `lengthBytes` of a data queue, whole 32-bit words. Waits up to `timeoutMs` milliseconds for
/// data. Returns the number of bytes delivered, HalTimeout when nothing arrived in time, another negative
/// code on failure. Threads: different queues of one device may be read at the same time, one queue by one
/// thread only.
ORVO_EXPORT int OHalDataQueueReadBufferLong(void* device, uint32_t queue, void* buffer, uint64_t lengthBytes,
                                            uint32_t timeoutMs);

/// Words that the queue dropped because it was full, counted since the board was powered up.
ORVO_EXPORT int OHalDataQueueGetNrOfLostWords(void* device, uint32_t queue);

/// Empties a data queue. The count of lost words stays.
ORVO_EXPORT int OHalDataQueueClear(void* device, uint32_t queue);

/// Number of 32-bit words in a data queue.
ORVO_EXPORT int OHalDataQueueGetNrOfWords(void* device, uint32_t queue);

/// @name Bound and forwarded only
/// @{

/// The library's own; the plug-in does not call it.
ORVO_EXPORT int OHalInitLibraries(void);
ORVO_EXPORT int OHalFreeLibraries(void);
ORVO_EXPORT int OHalGetMaxDevices(void);
ORVO_EXPORT int OHalUnloadFpga(void* device);
ORVO_EXPORT int OHalGetDmaTimeStampLongFrequency(void* device, uint64_t p2);
ORVO_EXPORT int OHalDataQueueWriteBufferLong(void* device, uint32_t queue, const void* buffer,
                                             uint32_t lengthBytes, uint32_t timeoutMs);
ORVO_EXPORT int OHalClSerSetBaudrate(void* device, uint32_t p2, uint32_t p3);
ORVO_EXPORT int OHalClSerSetConfig(void* device, uint32_t p2, uint64_t p3);
ORVO_EXPORT int OHalClSerSetFlowControlMode(void* device, uint32_t p2, uint32_t p3, uint32_t p4);
ORVO_EXPORT int OHalClSerSetFIFODepth(void* device, uint32_t p2, uint64_t p3);
ORVO_EXPORT int OHalInvalidatePartition(void* device, uint32_t p2);
ORVO_EXPORT int OHalUpdateFirmware(void* device, uint64_t p2, uint64_t p3, uint64_t p4, uint64_t p5,
                                   uint32_t p6, uint32_t p7);
ORVO_EXPORT int OHalVq4WriteSPIEx(void* device, uint64_t p2, uint64_t p3, uint32_t p4, uint32_t p5);
ORVO_EXPORT int OHalVq4ReadSPI(void* device, uint64_t p2, uint64_t p3, uint32_t p4, uint32_t p5);
ORVO_EXPORT int OHalGetPartitionList(void* device, uint64_t p2, uint64_t p3, uint64_t p4, uint32_t p5,
                                     uint32_t p6);
ORVO_EXPORT int OHalGetPeripheralList(void* device, uint64_t p2, uint64_t p3, uint64_t p4, uint32_t p5);
ORVO_EXPORT int OHalReadConfig(void* device, uint64_t p2, uint64_t p3, uint64_t p4, uint64_t p5);
ORVO_EXPORT int OHalWriteConfig(void* device, uint64_t p2, uint64_t p3, uint64_t p4, uint64_t p5);
ORVO_EXPORT int OHalEraseConfig(void* device, uint64_t p2, uint64_t p3, uint64_t p4);
ORVO_EXPORT int OHalGetLEDs(void* device, uint64_t p2, uint64_t p3);
ORVO_EXPORT int OHalSetLEDs(void* device, uint32_t p2);
ORVO_EXPORT int OHalDmaStopMode(void* device, uint32_t p2, uint32_t p3, uint32_t p4);
ORVO_EXPORT int OHalGetDmaParam(void* device, uint32_t p2, uint32_t p3, uint64_t p4);
ORVO_EXPORT int OHalSetDmaParam(void* device, uint32_t p2, uint32_t p3, uint64_t p4);
ORVO_EXPORT int OHalAuxPortEnumeratePorts(void* device, uint32_t p2);
ORVO_EXPORT int OHalAuxPortAcquireLock(void* device, uint32_t p2);
ORVO_EXPORT int OHalAuxPortReleaseLock(void* device, uint32_t p2);
ORVO_EXPORT int OHalAuxPortGetFrequency(void* device, uint32_t p2, uint64_t p3);
ORVO_EXPORT int OHalAuxPortSetFrequency(void* device, uint32_t p2, uint32_t p3);
ORVO_EXPORT int OHalAuxPortStartTransferBlock(void* device, uint32_t p2, uint32_t p3);
ORVO_EXPORT int OHalAuxPortStopTransferBlock(void* device, uint32_t p2);
ORVO_EXPORT int OHalAuxPortWriteData(void* device, uint32_t p2, uint64_t p3, uint32_t p4, uint32_t p5,
                                     uint32_t p6);
ORVO_EXPORT int OHalAuxPortReadData(void* device, uint32_t p2, uint64_t p3, uint32_t p4, uint32_t p5,
                                    uint32_t p6);
ORVO_EXPORT int OHalAuxPortFlushData(void* device, uint32_t p2, uint32_t p3);
ORVO_EXPORT int OHalJTAGPortSetState(void* device, uint32_t p2, uint32_t p3);
ORVO_EXPORT int OHalUiqPortSetTransmissionMode(void* device, uint32_t p2, uint32_t p3);
ORVO_EXPORT int OHalUiqPortSetSpiMode(void* device, uint32_t p2, uint32_t p3);
ORVO_EXPORT int OHalUiqPortGetTransmissionMode(void* device, uint32_t p2, uint64_t p3);
ORVO_EXPORT int OHalUiqPortGetSpiMode(void* device, uint32_t p2, uint64_t p3);
ORVO_EXPORT int OHalUiqPortGetNrOfWords(void* device, uint32_t p2, uint64_t p3);
ORVO_EXPORT int OHalRegisterAsyncNotifyCallback(void* device, uint64_t p2, uint64_t p3);
ORVO_EXPORT int OHalUnregisterAsyncNotifyCallback(void* device, uint64_t p2, uint64_t p3);
ORVO_EXPORT int OHalGetAsyncNotify(void* device, uint64_t p2, uint64_t p3, uint64_t p4);
ORVO_EXPORT int OHalResetAsyncNotify(void* device, uint64_t p2, uint64_t p3, uint64_t p4);
ORVO_EXPORT int OHalGetDeviceStatus(void* device, uint64_t p2);
ORVO_EXPORT int OHalReconfigureFpga(void* device, uint32_t p2, uint32_t p3);
ORVO_EXPORT int OHalGetKivConfigData(void* device, uint64_t p2, uint64_t p3, uint64_t p4);
ORVO_EXPORT int OHalReleaseFpga(void* device);
ORVO_EXPORT int OHalDataQueueAcquireLock(void* device, uint32_t p2);
ORVO_EXPORT int OHalDataQueueReleaseLock(void* device, uint32_t p2);
ORVO_EXPORT void* OHalDevMgmReadSortfile(void* p1, uint64_t p2, uint64_t p3, uint64_t p4, uint64_t p5);
ORVO_EXPORT void* OHalDevMgmGetDeviceIdListForService(void* p1);
ORVO_EXPORT int OHalDevMgmGetPCIAddressForDeviceId(void* p1);
ORVO_EXPORT void OHalDevMgmSortBoardMap(void* p1, uint32_t p2);
ORVO_EXPORT void OHalDevMgmSortBoardMapEx(void* p1, uint64_t p2, uint32_t p3);
ORVO_EXPORT void OHalDevMgmFreeDeviceIdList(void* list);
ORVO_EXPORT int OHalGetDeviceSpecificIndex(uint32_t p1);
ORVO_EXPORT int OHalGetBoardIndex(void* device, uint32_t p2);
ORVO_EXPORT int OHalConfigureSlave(void* device, uint64_t p2);
ORVO_EXPORT int OHalGetInterfaceClk(void* device, uint64_t p2);
ORVO_EXPORT int OHalGetFpgaClk(void* device, uint64_t p2);
ORVO_EXPORT int OHalSetFpgaClk(void* device, uint64_t p2, uint32_t p3);
ORVO_EXPORT int OHalSetInterfaceClk(void* device, uint64_t p2, uint32_t p3);
ORVO_EXPORT int OHalGetVirtualUserBuffer(void* device, uint64_t p2, uint64_t p3);
ORVO_EXPORT int OHalFreeVirtualUserBuffer(void* device, uint64_t p2);
ORVO_EXPORT int OHalAddUserBuffer(void* device, uint64_t p2, uint64_t p3, uint64_t p4, uint64_t p5);
ORVO_EXPORT int OHalDelUserBuffer(void* device, uint64_t p2, uint64_t p3);
ORVO_EXPORT int OHalUnlockBuffer(void* device, uint64_t p2, uint64_t p3);
ORVO_EXPORT int OHalGetBufferStatus(void* device, uint64_t p2, uint32_t p3, uint64_t p4, uint64_t p5);
ORVO_EXPORT int OHalDmaStart(void* device, uint32_t p2, uint64_t p3, uint64_t p4);
ORVO_EXPORT int OHalDmaStop(void* device, uint32_t p2, uint32_t p3, uint32_t p4);
ORVO_EXPORT int OHalDmaWaitForBuffer(void* device, uint32_t p2, uint64_t p3, uint64_t p4, uint32_t p5);
ORVO_EXPORT int OHalDmaWaitForBufferExtended(void* device, uint64_t p2, uint32_t p3, uint64_t p4,
                                             uint32_t p5);
ORVO_EXPORT int OHalDmaTestBuffer(void* device, uint32_t p2, uint64_t p3);
ORVO_EXPORT int OHalGetDmaTag(void* device, uint64_t p2, uint64_t p3);
ORVO_EXPORT int OHalGetDmaTimeStamp(void* device, uint64_t p2, uint64_t p3);
ORVO_EXPORT int OHalGetDmaTimeStampLong(void* device, uint64_t p2, uint64_t p3);
ORVO_EXPORT int OHalGetDmaLength(void* device, uint64_t p2, uint64_t p3);
ORVO_EXPORT int OHalDataQueueReadBuffer(void* device, uint32_t queue, void* buffer, uint32_t lengthBytes,
                                        uint32_t timeoutMs);
ORVO_EXPORT int OHalDataQueueWriteBuffer(void* device, uint32_t queue, const void* buffer,
                                         uint32_t lengthBytes, uint32_t timeoutMs);
ORVO_EXPORT int OHalDataQueueGetStatus(void* device, uint32_t queue);
ORVO_EXPORT int OHalDataQueueGetNrOfTransfers(void* device, uint32_t queue);
ORVO_EXPORT int OHalDataQueueFlush(void* device, uint32_t queue);
ORVO_EXPORT int OHalDataQueuePoll(void* device, uint64_t p2, uint32_t p3);
ORVO_EXPORT int OHalGetBufferByNumber(void* device, uint64_t p2, uint64_t p3);
ORVO_EXPORT int OHalGetBufferSize(void* device, uint64_t p2);
ORVO_EXPORT int OHalGetNrOfSubbuffer(void* device, uint64_t p2);
ORVO_EXPORT int OHalSetBoardParamInt(void* device, uint64_t p2, uint32_t p3);
ORVO_EXPORT int OHalGetCameraStatusExtended(void* device, uint32_t p2);
ORVO_EXPORT int OHalClSerInit(void* device, uint32_t p2, uint32_t p3, uint64_t p4, uint64_t p5);
ORVO_EXPORT int OHalClSerSetParity(void* device, uint32_t p2, uint32_t p3);
ORVO_EXPORT int OHalClSerPortChange(void* device, uint32_t p2);
ORVO_EXPORT int OHalVq3GetRombase(void* device);
ORVO_EXPORT int OHalUpdateCpld(void* device, uint64_t p2, uint32_t p3, uint32_t p4, uint32_t p5);
ORVO_EXPORT int OHalRegisterProgressCallback(void* device, uint64_t p2, uint64_t p3);
ORVO_EXPORT int OHalVq4RegisterWriteSPICallback(void* device, uint64_t p2, uint64_t p3);
ORVO_EXPORT int OHalVq4WriteSPI(void* device, uint64_t p2, uint64_t p3, uint32_t p4);
ORVO_EXPORT int OHalVq4GetRuntimeBase(void* device);
ORVO_EXPORT int OHalVq4MapFpgaBase(void* device);
ORVO_EXPORT int OHalVq4UnmapFpgaBase(void* device, uint64_t p2);
/// @}
#ifdef __cplusplus
} // extern "C"
#endif
