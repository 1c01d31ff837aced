// SPDX-License-Identifier: MIT
#include "device/Plugin.h"

#include "base/DynamicLibrary.h"
#include "base/Failure.h"
#include "device/recording/PluginVariables.h"

#include <new>

namespace orvo::host {
namespace {

constexpr auto crcWatchFlag = "_ZN4orvo4core4zume20c_MONITOR_CRC_ERRORSE"; // a bool, by its linker name

/// Runs one step of loading, and turns its errors into Failures.
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
        throw Failure("plug-in " + quoted(path.string()) + " fails while it is loaded: " + error.what() +
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
                      " does not create a network interface; name another installation with --root");
    return interface;
}

void Plugin::setEntries(const EntryTable& entries) {
    const DynamicLibrary plugin(library_.path());
    const PluginVariables variables([&](const char* name) { return plugin.find<void>(name); });
    if (const auto* const missing = variables.missing())
        throw Failure("plug-in " + quoted(library_.path()) + " has no variable " + quoted(missing) +
                      "; leave recordings out or name another installation with --root");
    variables.write(entries);
}

const void* Plugin::address() const {
    return DynamicLibrary(library_.path()).find<void>(boardEntries.front().variable);
}

void Plugin::watchCrcErrors() {
    auto* const flag = DynamicLibrary(library_.path()).find<bool>(crcWatchFlag);
    if (!flag)
        throw Failure("plug-in " + quoted(library_.path()) +
                      " has no watch for CRC errors; leave --crc-watch out or name another installation "
                      "with --root");
    std::atomic_ref(*flag).store(true, std::memory_order_relaxed);
}

} // namespace orvo::host
