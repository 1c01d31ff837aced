// SPDX-License-Identifier: MIT
#include <orvo/core/Plugin.h>

namespace orvo::core {

ApplicationCommand::~ApplicationCommand() = default;

Plugin::~Plugin() = default;

void Plugin::postConstruct() {}

void Plugin::injectDependency(const std::string&, const boost::any&) {}

void Plugin::postInjection() {}

boost::shared_ptr<ApplicationCommand> Plugin::createInitializationApplicationCommand() {
    return {};
}

boost::shared_ptr<ApplicationCommand> Plugin::createCleanupApplicationCommand() {
    return {};
}

} // namespace orvo::core

// The core library has no state outside its objects, so there is nothing to set up.
void OrvoCoreInit() {}
void OrvoCoreDeinit() {}
