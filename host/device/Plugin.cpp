// SPDX-License-Identifier: MIT
// Loading of the plug-in, with failures in the program's own form.
#include "device/Plugin.h"

#include "base/DynamicLibrary.h"
#include "base/Failure.h"

#include <new>

namespace orvo::host {
namespace {

/// Runs one step of the loading.
template <class Step> auto loading(const Installation& installation, Step step) {
    constexpr auto advice = "; repair the installation or name another one with --root";
    const auto path = installation.plugin();
    try {
        return step(path.string());
    } catch (const core::PluginLibraryError& error) {
        if (isForAnotherProcessor(path))
            throw Failure("plug-in " + quoted(path.string()) + " is for another processor" + advice);
        throw Failure(error.what() + std::string(advice));
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        throw Failure("plug-in " + quoted(path.string()) + " throws while it is loaded: " + error.what() +
                      advice);
    }
}

} // namespace

core::PluginLibrary openPlugin(const Installation& installation) {
    return loading(installation, [](const std::string& path) { return core::PluginLibrary(path); });
}

Plugin::Plugin(const Installation& installation) : library_(openPlugin(installation)) {
    loading(installation, [this](const std::string&) { library_.init(); });
}

boost::shared_ptr<core::zume::PhysicalNetworkInterface> Plugin::createInterface() {
    auto interface = boost::dynamic_pointer_cast<core::zume::PhysicalNetworkInterface>(library_.create());
    if (!interface)
        throw Failure("plug-in " + quoted(library_.path()) +
                      " makes no network interface; name another installation with --root");
    return interface;
}

} // namespace orvo::host
