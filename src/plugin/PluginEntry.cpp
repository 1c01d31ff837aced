// SPDX-License-Identifier: MIT
// The four symbols by which the framework's plug-in core finds this library.
#include "gige/OrvoGbePhysicalNetworkInterface.h"
#include "logging/LogLine.h"
#include "logging/Logging.h"
#include "plugin/LibraryInitController.h"

#include <orvo/core/Plugin.h>
#include <orvo/core/zume/EthernetFrame.h>

#include <new>

namespace orvo::core::zume {
namespace {

using tools::logging::Logging;
using tools::logging::LogLevel;
using tools::logging::LogLine;

void logUse(const char* what) {
    try {
        if (auto line = LogLine(Logging::getLogger("guard.library"), LogLevel::Detail))
            line << what << "OrvoGbePhysicalNetworkInterface"
                 << " (useCount: " << LibraryInitController::useCount() << ")";
    } catch (const std::bad_alloc&) {
        // Without memory for the logger the message is lost; the plug-in is still initialised or ended.
    }
}

/// Initialises a framework library and registers its de-initialisation.
void initialiseFrameworkLibrary(void (*init)(), void (*deinit)()) {
    const LibraryInitController::Lock lock;
    LibraryInitController::addDeinitFunction(deinit);
    init();
}

void initialise() {
    {
        const LibraryInitController::Lock lock;
        LibraryInitController::beginUse();
    }
    logUse("PLUGIN INIT: ");
    initialiseFrameworkLibrary(OrvoCoreInit, OrvoCoreDeinit);
    initialiseFrameworkLibrary(OrvoZumeInit, OrvoZumeDeinit);
}

void deinitialise() {
    logUse("PLUGIN DEINIT: ");
    const LibraryInitController::Lock lock;
    LibraryInitController::endUse();
}

} // namespace
} // namespace orvo::core::zume

extern "C" {
extern ORVO_EXPORT const std::int32_t plugin_count;
extern ORVO_EXPORT const orvo::core::PluginDescriptor plugin_descriptor[1];
extern ORVO_EXPORT const orvo::core::PluginEntryFunction plugin_init;
extern ORVO_EXPORT const orvo::core::PluginEntryFunction plugin_deinit;

const std::int32_t plugin_count = 1;

const orvo::core::PluginDescriptor plugin_descriptor[1] = {
    {orvo::core::Plugin::createPluginPtr<orvo::core::zume::OrvoGbePhysicalNetworkInterface>,
     orvo::core::Plugin::destroyPluginPtr<orvo::core::zume::OrvoGbePhysicalNetworkInterface>, "zume-phy-gige",
     "Zume GigE Physical Network Interface", "Orvo GmbH", "26.08.2010", 1, 70010, 0}};

const orvo::core::PluginEntryFunction plugin_init = orvo::core::zume::initialise;
const orvo::core::PluginEntryFunction plugin_deinit = orvo::core::zume::deinitialise;
}
