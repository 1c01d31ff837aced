// SPDX-License-Identifier: MIT
// Finding the installation.
#include "device/Installation.h"

#include "base/Failure.h"

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

fs::path ownRoot() {
    std::error_code error;
    const auto program = fs::read_symlink("/proc/self/exe", error);
    if (error)
        throw Failure("cannot find this program's own file: " + error.message() +
                      "; name the installation with --root");
    return program.parent_path().parent_path();
}

fs::path givenRoot(const std::string& text) {
    std::error_code error;
    auto path = fs::canonical(text, error);
    if (error)
        throw Failure("cannot use " + quoted(text) + " as installation: " + error.message() +
                      "; --root takes the directory that holds lib64");
    if (!fs::is_directory(path))
        throw Failure(quoted(text) + " is no directory; --root takes the directory that holds lib64");
    return path;
}

} // namespace

Installation::Installation(const std::string& root) : root_(root.empty() ? ownRoot() : givenRoot(root)) {}

fs::path Installation::library(const std::string& name) const {
    return root_ / "lib64" / ("lib" + name + ".so");
}

fs::path Installation::plugin() const {
    return root_ / "lib64" / "plugins" / "liborvo-plugin-zume-phy-gige.so";
}

} // namespace orvo::host
