// SPDX-License-Identifier: MIT
// The plug-in base class: what a plug-in object inherits when it does not override.
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

// Nothing in the core library needs setting up: its state is its objects'.
void OrvoCoreInit() {}
void OrvoCoreDeinit() {}
