// Opening of libraries.
#include "board/DynamicLibrary.h"

#include "app/Failure.h"

#include <dlfcn.h>

namespace orvo::host {
namespace {

void* open(const std::filesystem::path& path) {
    if (!std::filesystem::exists(path))
        throw Failure("there is no " + quoted(path.string()) +
                      "; the installation is not complete, name a complete one with --root");
    if (void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) return handle;
    const char* reason = dlerror();
    throw Failure("library " + quoted(path.string()) +
                  " cannot be loaded: " + (reason ? reason : "no reason given") +
                  "; repair the installation or name another one with --root");
}

} // namespace

DynamicLibrary::DynamicLibrary(const std::filesystem::path& path) : path_(path), handle_(open(path)) {}

void* DynamicLibrary::address(const char* name) const {
    return dlsym(handle_, name);
}

void* DynamicLibrary::requiredAddress(const char* name) const {
    if (void* found = address(name)) return found;
    throw Failure("library " + quoted(path_.string()) + " has no function " + quoted(name) +
                  "; it does not fit this program, name another installation with --root");
}

} // namespace orvo::host
