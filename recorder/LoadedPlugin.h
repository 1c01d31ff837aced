// SPDX-License-Identifier: MIT
// The plug-in as the loader knows it.
#pragma once

#include "device/recording/PluginVariables.h"

#include <memory>
#include <optional>
#include <string>

namespace orvo::recorder {

/// The loader's own dlopen: this library's stands before it.
void* openByLoader(const char* path, int flags) noexcept;

/// Keeps the plug-in loaded while it lives, which is for short: the host decides when it is unloaded.
class LoadedPlugin {
public:
    /// Nothing where no plug-in is loaded under this path; null: under any path.
    static std::optional<LoadedPlugin> find(const char* path);

    const std::string& path() const noexcept { return path_; }
    /// The directory above its `lib64/plugins`.
    std::string root() const;

    host::PluginVariables& variables() noexcept { return variables_; }

    /// Has the plug-in open the board's libraries. Whether both are bound then.
    bool bind() const;

private:
    using Handle = std::unique_ptr<void, int (*)(void*)>;
    LoadedPlugin(Handle handle, const char* path);

    Handle handle_;
    std::string path_;
    host::PluginVariables variables_;
};

} // namespace orvo::recorder
