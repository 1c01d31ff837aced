// SPDX-License-Identifier: MIT
#include "LoadedPlugin.h"

#include <dlfcn.h>
#include <link.h>

#include <atomic>
#include <filesystem>
#include <vector>

namespace orvo::recorder {
namespace {

std::vector<std::string> loadedFiles() {
    std::vector<std::string> files;
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* list) {
            if (info->dlpi_name && *info->dlpi_name)
                static_cast<std::vector<std::string>*>(list)->emplace_back(info->dlpi_name);
            return 0;
        },
        &files);
    return files;
}

} // namespace

void* openByLoader(const char* path, int flags) noexcept {
    static std::atomic<decltype(&dlopen)> next{nullptr};
    auto open = next.load(std::memory_order_relaxed);
    if (!open) next = open = reinterpret_cast<decltype(&dlopen)>(dlsym(RTLD_NEXT, "dlopen"));
    return open(path, flags); // a tail call, see Exports.cpp
}

LoadedPlugin::LoadedPlugin(Handle handle, const char* path)
    : handle_(std::move(handle)), path_(path),
      variables_([this](const char* name) { return dlsym(handle_.get(), name); }) {}

std::optional<LoadedPlugin> LoadedPlugin::find(const char* path) {
    if (path) {
        Handle handle(openByLoader(path, RTLD_LAZY | RTLD_NOLOAD), dlclose);
        if (!handle || !dlsym(handle.get(), host::rowOf(host::Entry::OHalInitDevice).variable))
            return std::nullopt;
        LoadedPlugin plugin(std::move(handle), path);
        return plugin.variables_.missing() ? std::nullopt : std::optional(std::move(plugin));
    }
    for (const auto& file : loadedFiles())
        if (auto plugin = find(file.c_str())) return plugin;
    return std::nullopt;
}

std::string LoadedPlugin::root() const {
    std::error_code unknown;
    const auto file = std::filesystem::absolute(path_, unknown).lexically_normal();
    return file.parent_path().parent_path().parent_path().string();
}

bool LoadedPlugin::bind() const {
    for (const auto* const binder : {"OHA_OpenLib", "KIVRT_OpenLib"})
        if (auto* const open = reinterpret_cast<int (*)()>(dlsym(handle_.get(), binder))) open();
    return variables_.areBound();
}

} // namespace orvo::recorder
