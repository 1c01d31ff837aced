// SPDX-License-Identifier: MIT
// The base class of plug-in objects, and the descriptor row through which the framework finds their factory.
#pragma once

#include <orvo/Export.h>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <string>

namespace orvo::core {

/// A step that the framework runs for a plug-in object before its first or after its last use. Shared by the
/// holders of the pointer; executed once, on the framework's thread.
class ORVO_EXPORT ApplicationCommand {
public:
    virtual ~ApplicationCommand();
    virtual void execute() = 0; ///< Runs the step. The framework gets the exceptions that it throws.
};

/// Base class of every object that a plug-in's factory creates.
///
/// The order of the virtual operations is part of the binary contract between the framework and its plug-ins:
/// new ones go to the end, and existing ones never move.
///
/// Life: factory, `postConstruct`, any number of `injectDependency`, `postInjection`, use, destroy function.
/// Threads: all operations of this class are called from one thread at a time.
class ORVO_EXPORT Plugin {
public:
    Plugin() = default;
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    virtual ~Plugin(); // slots 1 (complete) and 2 (deleting)

    /// Called once, right after construction. Does nothing here.
    virtual void postConstruct(); // slot 3

    /// Hands the object one named value that it depends on. Does nothing here.
    /// Errors: an implementation may throw on a value of the wrong type; the object stays usable.
    virtual void injectDependency(const std::string& name, const boost::any& value); // slot 4

    /// Called once, after the last injection. Does nothing here.
    virtual void postInjection(); // slot 5

    /// A command to run before the object is first used, or null for none (the answer here).
    virtual boost::shared_ptr<ApplicationCommand> createInitializationApplicationCommand(); // slot 6

    /// A command to run after the object was last used, or null for none (the answer here).
    virtual boost::shared_ptr<ApplicationCommand> createCleanupApplicationCommand(); // slot 7

    /// The factory that a descriptor row points to. The caller owns the object and releases it through the
    /// `destroyPluginPtr` of the same row. An exception of T's constructor passes through, and its memory is
    /// released.
    template <class T> static Plugin* createPluginPtr() { return new T(); }

    /// Destroys an object from `createPluginPtr<T>`. Ignores a null pointer.
    template <class T> static void destroyPluginPtr(Plugin* plugin) { delete plugin; }
};

/// One row of a plug-in's exported array `plugin_descriptor`; `plugin_count` (a 32-bit integer) is the number
/// of rows. The texts are constants of the plug-in library and live as long as it is loaded.
struct PluginDescriptor {
    Plugin* (*create)();             ///< the factory; null is refused
    void (*destroy)(Plugin* plugin); ///< releases an object of the factory; null is refused
    const char* name;                ///< the framework's name for the class
    const char* description;         ///< one line, for a human reader
    const char* vendor;              ///< the maker's name
    const char* date;                ///< day.month.year
    std::uint64_t interfaceVersion;  ///< revision of this row's layout
    std::uint64_t frameworkVersion;  ///< framework release that the plug-in is for, 70010 = 7.0.10
    std::uint64_t flags;             ///< none defined
};
static_assert(sizeof(PluginDescriptor) == 72 && offsetof(PluginDescriptor, flags) == 64);

/// Type of the two exported variables `plugin_init` and `plugin_deinit`. They point to the functions to call
/// after loading and before unloading; call the second once for each call of the first.
using PluginEntryFunction = void (*)();

} // namespace orvo::core

extern "C" {
/// Initialises the framework's core library; call OrvoCoreDeinit once for each call. Any thread; never fails.
ORVO_EXPORT void OrvoCoreInit();
ORVO_EXPORT void OrvoCoreDeinit(); ///< Undoes one call of OrvoCoreInit. Any thread; never fails.
}
