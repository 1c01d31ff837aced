// SPDX-License-Identifier: MIT
// Loads a plug-in library through its four exported symbols.
#pragma once

#include <orvo/core/Plugin.h>

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>

namespace orvo::core {

/// A plug-in file cannot be used. `what()` is one sentence that names the file and says what is wrong with
/// it.
class ORVO_EXPORT PluginLibraryError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    ~PluginLibraryError() override;
};

/// An opened and checked plug-in library.
///
/// Opening initialises nothing: call `init` before the first `create`, and `deinit` once for every `init`
/// after the last object is gone. Objects, their frames and event queues must not outlive the library, which
/// may leave the process. The destructor makes the missing `deinit` calls and closes the library, but leaves
/// it open while an exception passes, since that may be of a type of the plug-in. Threads: one PluginLibrary
/// is used by one thread at a time; the objects it makes are independent of that.
class ORVO_EXPORT PluginLibrary {
public:
    /// Opens `path` and checks its symbols and every descriptor row.
    /// Errors: PluginLibraryError when the file does not exist or is not a loadable library, when one of the
    /// four symbols is missing, when the count is below 1 or above the number of rows, or when a row or entry
    /// holds a null pointer.
    explicit PluginLibrary(const std::string& path);
    ~PluginLibrary();
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    const std::string& path() const noexcept; ///< as given to the constructor

    /// Number of descriptor rows, at least 1.
    std::size_t count() const noexcept;

    /// Errors: std::out_of_range when `index` is not below `count()`.
    const PluginDescriptor& descriptor(std::size_t index = 0) const;

    /// Errors: the plug-in throws when it has no memory; the call still needs its `deinit`.
    void init();
    /// Does nothing when every `init` already has its `deinit`.
    void deinit();

    /// Creates an object of the row's class and calls its `postConstruct`. The last pointer releases it
    /// through the row's destroy function. Errors: std::out_of_range as above; PluginLibraryError when `init`
    /// was not called or the factory returns null; exceptions of the object's constructor and of
    /// `postConstruct` pass through.
    boost::shared_ptr<Plugin> create(std::size_t index = 0);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace orvo::core
