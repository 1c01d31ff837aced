// SPDX-License-Identifier: MIT
// Entry points of the applet runtime, library "libkivrt.so", as C prototypes.
//
// The plug-in opens the library at run time and calls it through forwarding functions of the same names; a
// library that stands in for it defines them. Both include this header, so that the compiler compares them.
// The plug-in binds and forwards entries without a comment but does not call them: only their parameter
// widths are known (p2 is the second parameter).
//
// Unless a comment says otherwise, an int result is 0 or a count on success and negative on failure, and a
// forwarding function whose entry is not bound returns KivNotLoaded.
#pragma once

#include <orvo/Export.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Result codes of the applet runtime.
enum KivResult {
    KivNotLoaded = -114 ///< the library is not loaded or lacks the entry
};

/// The description (register map) of the hardware applet of firmware `major`.`minor`, each 0 to 255. Owned by
/// the caller until KivUnloadKivFile; null when there is none for this version. Unbound: null.
ORVO_EXPORT void* KivFirmwareTrampoline(uint32_t major, uint32_t minor);

/// Releases an applet handle.
ORVO_EXPORT int KivUnloadKivFile(void* applet);

/// The address (unsigned, never 0) of a firmware register, or 0 when this firmware lacks it. Unbound: 0.
/// Any thread.
ORVO_EXPORT int KivGetRegisterByName(void* applet, const char* name);

/// Number of registers in the applet's map.
ORVO_EXPORT int KivGetNrOfRegister(void* applet);

/// Name of register `number`, counted from 0; null beyond the last. Owned by the applet handle.
ORVO_EXPORT const char* KivGetRegisterName(void* applet, uint32_t number);

/// Address of register `number`, counted from 0; 0 beyond the last.
ORVO_EXPORT int KivGetRegisterAddress(void* applet, uint32_t number);

/// @name Bound and forwarded only
/// @{

/// The library's own; the plug-in does not call it.
ORVO_EXPORT int KivGetProcessId(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetParamModuleIndex(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetNrOfParameter(void* applet);
ORVO_EXPORT int KivGetDesignLength(void* applet);
ORVO_EXPORT int KivGetNrOfUserInfos(void* applet);
ORVO_EXPORT int KivGetUserInfoTypByNumber(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetUserInfoTypByName(void* applet, uint64_t p2);
ORVO_EXPORT int KivGetDesignTyp(void* applet);
ORVO_EXPORT int KivGetDesignVersionNumber(void* applet, uint64_t p2, uint64_t p3);
ORVO_EXPORT int KivGetMaxConfigIndex(void* applet);
ORVO_EXPORT int KivGetRequiredFixedVersion(void* applet, uint64_t p2, uint64_t p3);
ORVO_EXPORT int MergeFpgaDesign(void* p1, void* p2);
ORVO_EXPORT int MergeFpgaDesignWithMem(void* p1, void* p2, void* p3);
ORVO_EXPORT int KivSupportsOs(void* applet, uint32_t p2);
ORVO_EXPORT int KivStripConfigs(void* applet, uint64_t p2, uint64_t p3);
ORVO_EXPORT int RBTstring2FPGAtype(const char* text);
ORVO_EXPORT const char* KivGetModuleProcessName(void* applet, uint32_t p2);
ORVO_EXPORT const char* KivGetProcessName(void* applet, uint32_t p2);
ORVO_EXPORT const char* KivGetParamFullNameHier(void* applet, uint32_t p2, uint32_t p3);
ORVO_EXPORT int KivGetParamValue(void* applet, uint32_t p2, uint32_t p3);
ORVO_EXPORT int64_t KivGetParamValue64(void* applet, uint32_t p2, uint32_t p3);
ORVO_EXPORT int KivGetParamFlags(void* applet, uint32_t p2, uint32_t p3);
ORVO_EXPORT const char* KivGetParameterFullName(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetAbsolutParamValue(void* applet, uint32_t p2);
ORVO_EXPORT const char* KivGetParameterName(void* applet, uint32_t p2);
ORVO_EXPORT void* KivLoadKivFileWithTypeEx(const char* path, uint64_t p2, uint32_t p3, uint32_t p4);
ORVO_EXPORT void* KivLoadKivFileWithTypeFiltered(const char* path, uint32_t p2, uint32_t p3, uint64_t p4);
ORVO_EXPORT void* KivLoadDesignFromBuffer(const void* buffer, uint64_t p2, uint32_t p3);
ORVO_EXPORT void* KivLoadDesignFromBufferFiltered(const void* buffer, uint64_t p2, uint32_t p3, uint64_t p4);
ORVO_EXPORT void* KivGetDesignData(void* applet);
ORVO_EXPORT const char* KivGetUserInfoByNumber(void* applet, uint32_t p2);
ORVO_EXPORT const char* KivGetId(void* applet);
ORVO_EXPORT const char* KivGetConfigIdAt(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetGroupCode(void* applet);
ORVO_EXPORT int KivGetUserCode(void* applet);
ORVO_EXPORT void* KivGetConfigData(void* applet, uint32_t p2, uint32_t p3, uint64_t p4);
ORVO_EXPORT const char* KivGetOperatorDir(void* applet);
ORVO_EXPORT void* KivGetEvent(void* applet, uint32_t p2);
ORVO_EXPORT const char* KivGetRuntimeVersion(void* applet);
ORVO_EXPORT const char* FPGAtype2RBTstring(uint32_t p1);
ORVO_EXPORT const char* FPGA2dirname(uint32_t p1);
ORVO_EXPORT double KivGetParamValueDouble(void* applet, uint32_t p2, uint32_t p3);
ORVO_EXPORT int KivModuleGetParam(void* applet, uint32_t p2);
ORVO_EXPORT int KivModuleGetParamCount(void* applet);
ORVO_EXPORT int KivModuleGetChannel(void* applet, uint32_t p2);
ORVO_EXPORT int KivModuleGetChannelCount(void* applet);
ORVO_EXPORT int KivGetNrOfModules(void* applet);
ORVO_EXPORT int KivGetModuleByNumber(void* applet, uint32_t p2);
ORVO_EXPORT const char* KivGetModuleName(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetModuleTyp(void* applet, uint32_t p2);
ORVO_EXPORT const char* KivGetModuleFullName(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetModuleProcessId(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetProcessClk(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetNrOfProcess(void* applet);
ORVO_EXPORT const char* KivGetParamName(void* applet, uint32_t p2, uint32_t p3);
ORVO_EXPORT const char* KivGetParamFullName(void* applet, uint32_t p2, uint32_t p3);
ORVO_EXPORT int KivGetNrOfParam(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetAbsolutParamIndex(void* applet, uint32_t p2, uint32_t p3);
ORVO_EXPORT int KivGetRelativeParamIndex(void* applet, uint32_t p2, uint32_t p3);
ORVO_EXPORT int KivGetDmaWidth(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetDmaHeight(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetDmaFormat(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetDmaBitWidth(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetNrOfDmas(void* applet);
ORVO_EXPORT int KivGetDmaChannel(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetDmaModuleNr(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetNrOfCams(void* applet);
ORVO_EXPORT int KivGetNrOfCamsPerProcess(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetCamChannelPerProcess(void* applet, uint32_t p2, uint32_t p3);
ORVO_EXPORT int KivGetCamChannel(void* applet, uint32_t p2);
ORVO_EXPORT const char* KivGetModuleDllName(void* applet, uint32_t p2);
ORVO_EXPORT const char* KivGetModuleDllDir(void* applet);
ORVO_EXPORT const char* KivGetModuleDecoratedName(void* applet, uint32_t p2);
ORVO_EXPORT void* KivLoadKivFileWithType(const char* path, uint32_t p2, uint32_t p3);
ORVO_EXPORT int KivGetRegisterDirection(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetRegisterBitRange(void* applet, uint32_t p2);
ORVO_EXPORT const char* KivGetUserInfoByName(void* applet, uint64_t p2);
ORVO_EXPORT int KivGetRegisterBitPos(void* applet, uint32_t p2);
ORVO_EXPORT int KivGetRegisterInitValue(void* applet, uint32_t p2);
ORVO_EXPORT const char* KivGetDesignVersion(void* applet);
ORVO_EXPORT int KivGetProcessNrFromDmaChannel(void* applet, uint32_t p2);
/// @}
#ifdef __cplusplus
} // extern "C"
#endif
