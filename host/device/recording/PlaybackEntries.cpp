// SPDX-License-Identifier: MIT
#include "device/recording/CallBits.h"
#include "device/recording/Playback.h"

#include <orvo/hal/kivrt.h>
#include <orvo/hal/orvo_hal.h>

namespace orvo::host {
namespace {

template <Entry entry, class Function> struct Played;
template <Entry entry, class Result, class... Types> struct Played<entry, Result (*)(Types...)> {
    static Result call(Types... arguments) {
        return fromBits<Result>(answerFromRecording({entry, {bitsOf(arguments)...}}));
    }
};

} // namespace

#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    reinterpret_cast<void*>(&Played<Entry::name, decltype(&::name)>::call),
const EntryTable playbackEntries = {{
#include <hal/OrvoHalEntries.def>
#define ENTRY(Result, name, unbound, parameters, arguments)                                                  \
    reinterpret_cast<void*>(&Played<Entry::name, decltype(&::name)>::call),
#include <hal/KivRuntimeEntries.def>
}};

} // namespace orvo::host
