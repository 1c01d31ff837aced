// SPDX-License-Identifier: MIT
#include <orvo/core/PluginLibrary.h>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <exception>

namespace orvo::core {

PluginLibraryError::~PluginLibraryError() = default;

struct PluginLibrary::State {
    std::string path;
    void* handle = nullptr;
    const PluginDescriptor* rows = nullptr;
    std::size_t rowCount = 0;
    PluginEntryFunction initFunction = nullptr;
    PluginEntryFunction deinitFunction = nullptr;
    unsigned uses = 0; // init calls without their deinit
    const int exceptionsBefore = std::uncaught_exceptions();

    ~State() {
        if (handle) dlclose(handle);
    }

    [[noreturn]] void refuse(const std::string& reason) const {
        throw PluginLibraryError("plug-in '" + path + "' " + reason);
    }

    void open() {
        if (access(path.c_str(), R_OK) != 0) refuse(std::string("cannot be read: ") + std::strerror(errno));
        // The loader would search the library path for a name without a slash.
        const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
        handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!handle) {
            const char* reason = dlerror();
            refuse(std::string("cannot be loaded: ") + (reason ? reason : "the loader gives no reason"));
        }
    }

    template <class T> const T* symbol(const char* name) const {
        const void* address = dlsym(handle, name);
        if (!address) refuse(std::string("is not a plug-in: it has no symbol '") + name + "'");
        return static_cast<const T*>(address);
    }

    void readSymbols() {
        const auto count = *symbol<std::int32_t>("plugin_count");
        if (count < 1) refuse("offers no plug-in class: its 'plugin_count' is " + std::to_string(count));
        rowCount = static_cast<std::size_t>(count);
        rows = symbol<PluginDescriptor>("plugin_descriptor");
        checkCount();
        initFunction = *symbol<PluginEntryFunction>("plugin_init");
        deinitFunction = *symbol<PluginEntryFunction>("plugin_deinit");
    }

    /// Compares the count with the size of the array in the symbol table, if the table has one.
    void checkCount() const {
        Dl_info info;
        void* entry = nullptr;
        if (dladdr1(rows, &info, &entry, RTLD_DL_SYMENT) == 0 || !entry) return;
        const auto bytes = static_cast<const ElfW(Sym)*>(entry)->st_size;
        if (bytes != 0 && bytes / sizeof *rows < rowCount)
            refuse("has only " + std::to_string(bytes / sizeof *rows) +
                   " rows in 'plugin_descriptor', but its 'plugin_count' is " + std::to_string(rowCount));
    }

    void check() const {
        if (!initFunction) refuse("has a null pointer in 'plugin_init'");
        if (!deinitFunction) refuse("has a null pointer in 'plugin_deinit'");
        for (std::size_t i = 0; i < rowCount; ++i) checkRow(i);
    }

    void checkRow(std::size_t index) const {
        const auto& row = rows[index];
        const auto require = [&](bool present, const char* what) {
            if (!present)
                refuse("has no " + std::string(what) + " in row " + std::to_string(index) +
                       " of 'plugin_descriptor'");
        };
        require(row.create, "factory");
        require(row.destroy, "destroy function");
        require(row.name && row.description && row.vendor && row.date, "name, description, vendor or date");
    }
};

PluginLibrary::PluginLibrary(const std::string& path) : state_(std::make_unique<State>()) {
    state_->path = path;
    state_->open();
    state_->readSymbols();
    state_->check();
}

PluginLibrary::~PluginLibrary() {
    while (state_->uses > 0) deinit();
    // The exception that ends this scope may be of one of the plug-in's types.
    if (std::uncaught_exceptions() > state_->exceptionsBefore) state_->handle = nullptr;
}

const std::string& PluginLibrary::path() const noexcept {
    return state_->path;
}

std::size_t PluginLibrary::count() const noexcept {
    return state_->rowCount;
}

const PluginDescriptor& PluginLibrary::descriptor(std::size_t index) const {
    if (index >= state_->rowCount)
        throw std::out_of_range("plug-in '" + state_->path + "' has no descriptor row " +
                                std::to_string(index));
    return state_->rows[index];
}

void PluginLibrary::init() {
    ++state_->uses; // before the call: the plug-in has counted its user even when it throws
    state_->initFunction();
}

void PluginLibrary::deinit() {
    if (state_->uses == 0) return;
    --state_->uses;
    state_->deinitFunction();
}

boost::shared_ptr<Plugin> PluginLibrary::create(std::size_t index) {
    const auto& row = descriptor(index);
    if (state_->uses == 0) state_->refuse("was not initialised before its first object was asked for");
    boost::shared_ptr<Plugin> plugin(row.create(), row.destroy);
    if (!plugin) state_->refuse(std::string("made no object of its class '") + row.name + "'");
    plugin->postConstruct();
    return plugin;
}

} // namespace orvo::core
