// Loading of the plug-in, with failures in the program's own form.
#include "board/Plugin.h"

#include "app/Failure.h"

namespace orvo::host {
namespace {

core::PluginLibrary open(const Installation& installation) {
    try {
        return core::PluginLibrary(installation.plugin().string());
    } catch (const core::PluginLibraryError& error) {
        throw Failure(std::string(error.what()) +
                      "; repair the installation or name another one with --root");
    }
}

} // namespace

Plugin::Plugin(const Installation& installation) : library_(open(installation)) {
    library_.init();
}

boost::shared_ptr<core::zume::PhysicalNetworkInterface> Plugin::createInterface() {
    auto interface = boost::dynamic_pointer_cast<core::zume::PhysicalNetworkInterface>(library_.create());
    if (!interface)
        throw Failure("plug-in " + quoted(library_.path()) +
                      " makes no network interface; name another installation with --root");
    return interface;
}

} // namespace orvo::host
