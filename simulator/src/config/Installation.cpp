// SPDX-License-Identifier: MIT
// The installation that this library is part of.
#include "Installation.h"

#include <dlfcn.h>

#include <cstdlib>

namespace orvo::sim {

namespace {

const char anchor = 0; // an address inside this library

std::filesystem::path installationRoot() {
    Dl_info library{};
    if (dladdr(&anchor, &library) == 0 || !library.dli_fname) return {};
    std::error_code failed; // then the name is used as it is
    const auto file = std::filesystem::canonical(library.dli_fname, failed);
    return (failed ? std::filesystem::path(library.dli_fname) : file).parent_path().parent_path();
}

} // namespace

std::optional<std::filesystem::path> configurationFile() {
    const char* named = std::getenv("ORVO_SIMULATOR_CONFIG");
    if (named && *named) return named;
    const auto usual = installationRoot() / "simulator.toml";
    std::error_code unreadable; // a file that is there but cannot be looked at is tried, and then refused
    const bool absent =
        std::filesystem::status(usual, unreadable).type() == std::filesystem::file_type::not_found;
    if (absent) return std::nullopt;
    return usual;
}

} // namespace orvo::sim
