// SPDX-License-Identifier: MIT
// Installations of the plug-in file, made for a test: each has a copy of its own, which knows nothing of
// others.
#pragma once

#include "support/TemporaryFolder.h"

#include <orvo/core/PluginLibrary.h>

#include <dlfcn.h>

namespace orvo::test {

/// The plug-in file as it was built.
inline const std::string builtPlugin = ORVO_BUILD_ROOT "/lib64/plugins/liborvo-plugin-zume-phy-gige.so";

/// A folder with a copy of the plug-in, and of nothing else.
class PluginRoot {
public:
    /// `where` below the folder the copy lies.
    explicit PluginRoot(const std::string& where = "lib64/plugins")
        : plugin_(folder_.file(where + "/plugin.so")) {
        std::filesystem::create_directories(folder_.file(where));
        std::filesystem::copy_file(builtPlugin, plugin_);
    }

    std::string path() const { return folder_.path(); }
    const std::string& plugin() const { return plugin_; }

    /// Puts one of the stub libraries into the installation.
    void addStub(const std::string& stub, const std::string& name) {
        add(ORVO_BUILD_ROOT "/tests/stubs/lib" + stub + ".so", name);
    }
    /// The same with a copy, which is loaded, and initialised, for itself.
    void copyStub(const std::string& stub, const std::string& name) {
        std::filesystem::create_directories(folder_.file("lib64"));
        std::filesystem::copy_file(ORVO_BUILD_ROOT "/tests/stubs/lib" + stub + ".so",
                                   folder_.file("lib64/lib" + name + ".so"));
    }
    /// Puts the recording dispatcher into it that this program is linked to.
    void addDispatcher() {
        add(ORVO_BUILD_ROOT "/tests/unit/lib64/libcommon-logging-dispatcher.so", "common-logging-dispatcher");
    }

private:
    void add(const std::string& library, const std::string& name) {
        std::filesystem::create_directories(folder_.file("lib64"));
        std::filesystem::create_symlink(library, folder_.file("lib64/lib" + name + ".so"));
    }

    TemporaryFolder folder_;
    std::string plugin_;
};

/// A plug-in file in the process, by its symbols.
class PluginFile {
public:
    explicit PluginFile(const std::string& path) : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (!handle_) throw std::runtime_error(dlerror());
    }
    ~PluginFile() { dlclose(handle_); }
    PluginFile(const PluginFile&) = delete;
    PluginFile& operator=(const PluginFile&) = delete;

    /// The variable or function of that name; it must be there.
    template <class T> T* symbol(const char* name) const {
        void* const address = dlsym(handle_, name);
        if (!address) throw std::runtime_error(dlerror());
        return reinterpret_cast<T*>(address);
    }
    template <class Result, class... Arguments> Result call(const char* name, Arguments... arguments) const {
        return symbol<Result(Arguments...)>(name)(arguments...);
    }

private:
    void* handle_;
};

} // namespace orvo::test
