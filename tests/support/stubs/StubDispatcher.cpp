// SPDX-License-Identifier: MIT
// A log dispatcher without messages, which ends with the process, as any C++ library does: a facility that is
// still attached then would call into what is gone.
#include <orvo/Export.h>
#include <orvo/tools/logging/Dispatcher.h>

#include <cstdlib>

namespace {

using namespace orvo::tools::logging;

int attached = 0;
const struct End {
    ~End() {
        if (attached != 0) std::abort();
    }
} end;

} // namespace

extern "C" {
ORVO_EXPORT extern const DispatcherDescriptor logging_dispatcher_descriptor;
const DispatcherDescriptor logging_dispatcher_descriptor = {
    [](Logging*, DispatcherDetached, SetLoggerLevel, LookupLogger*, EmitMessage*) { ++attached; },
    [](Logging*) { --attached; }};
}
