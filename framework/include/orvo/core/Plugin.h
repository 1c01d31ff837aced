// SPDX-License-Identifier: MIT
// What every plug-in of the framework is made of: the base class of its objects and the descriptor row by
// which the framework's plug-in core finds their factory.
#pragma once

#include <orvo/Export.h>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <string>

namespace orvo::core {

/// A step that a plug-in object wants the framework to run around the application's life. Owned by whoever
/// holds the pointer; executed once, on the framework's thread.
class ORVO_EXPORT ApplicationCommand {
public:
    virtual ~ApplicationCommand();
    virtual void execute() = 0; ///< The step. What it throws passes to the framework.
};

/// Base class of every object that a plug-in's factory makes.
///
/// The order of the virtual operations is part of the binary contract between the framework and its plug-ins:
/// new ones go to the end, none is ever moved.
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

    /// The factory that a descriptor row points to. The caller owns the object and gives it back to the
    /// `destroyPluginPtr` of the same row. What T's constructor throws passes through, nothing stays
    /// allocated.
    template <class T> static Plugin* createPluginPtr() { return new T(); }

    /// Destroys what `createPluginPtr<T>` made. A null pointer is allowed and ignored.
    template <class T> static void destroyPluginPtr(Plugin* plugin) { delete plugin; }
};

/// One row of a plug-in's exported array `plugin_descriptor`; `plugin_count` (a 32-bit integer) says how many
/// there are. The texts are constants of the plug-in library and live as long as it is loaded.
struct PluginDescriptor {
    Plugin* (*create)();             ///< the factory; null is refused
    void (*destroy)(Plugin* plugin); ///< releases what the factory made; null is refused
    const char* name;                ///< by which the framework asks for the class
    const char* description;         ///< one line for people
    const char* vendor;              ///< who made it
    const char* date;                ///< day.month.year
    std::uint64_t interfaceVersion;  ///< revision of this row's layout
    std::uint64_t frameworkVersion;  ///< framework release that the plug-in was made for, 70010 = 7.0.10
    std::uint64_t flags;             ///< none defined
};
static_assert(sizeof(PluginDescriptor) == 72 && offsetof(PluginDescriptor, flags) == 64);

/// Type of the two exported variables `plugin_init` and `plugin_deinit`, which point to the functions to call
/// after loading and before unloading. Each call of the one is matched by one of the other.
using PluginEntryFunction = void (*)();

} // namespace orvo::core

extern "C" {
/// Initialises the framework's core library; each call is matched by one OrvoCoreDeinit. Any thread; never
/// fails.
ORVO_EXPORT void OrvoCoreInit();
ORVO_EXPORT void OrvoCoreDeinit(); ///< Undoes it.
}
