// SPDX-License-Identifier: MIT
// Opening of libraries.
#include "base/DynamicLibrary.h"

#include "base/Failure.h"

#include <dlfcn.h>
#include <elf.h>

#include <cstddef>
#include <cstring>
#include <fstream>

namespace orvo::host {
namespace {

/// The head of an ELF file, which is the same for all processors up to the machine; all zero for other files.
Elf64_Ehdr headOf(const std::filesystem::path& path) {
    Elf64_Ehdr head{};
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(&head), offsetof(Elf64_Ehdr, e_version));
    return file && std::memcmp(head.e_ident, ELFMAG, SELFMAG) == 0 ? head : Elf64_Ehdr{};
}

void* open(const std::filesystem::path& path) {
    if (!std::filesystem::exists(path))
        throw Failure("there is no " + quoted(path.string()) +
                      "; the installation is not complete, name a complete one with --root");
    if (void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) return handle;
    const char* reason = dlerror();
    throw Failure("library " + quoted(path.string()) + " cannot be loaded: " +
                  (isForAnotherProcessor(path) ? "it is for another processor"
                   : reason                    ? reason
                                               : "no reason given") +
                  "; repair the installation or name another one with --root");
}

} // namespace

bool isForAnotherProcessor(const std::filesystem::path& library) {
    const auto head = headOf(library), own = headOf("/proc/self/exe");
    const auto differs = [&](int index) { return head.e_ident[index] != own.e_ident[index]; };
    return head.e_ident[EI_CLASS] != ELFCLASSNONE &&
           (differs(EI_CLASS) || differs(EI_DATA) || head.e_machine != own.e_machine);
}

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
