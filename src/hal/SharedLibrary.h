// SPDX-License-Identifier: MIT
// Opens libraries of the installation at run time.
#pragma once

#include <memory>
#include <string>

namespace orvo::hal {

/// A library opened at run time. It stays loaded when the object is destroyed, so that addresses taken from
/// it stay valid; `closeOnDestroy` changes that.
class SharedLibrary {
public:
    explicit SharedLibrary(const char* fullPath);
    ~SharedLibrary();
    SharedLibrary(const SharedLibrary&) = delete;
    SharedLibrary& operator=(const SharedLibrary&) = delete;

    void* handle = nullptr;      ///< from dlopen; null when the library is not open
    bool closeOnDestroy = false; ///< whether the destructor closes the library
    std::string path;            ///< the full path that was opened
    std::string errorMessage;    ///< the loader's reason, empty after success
};

/// Opens "lib" + `name` + ".so" in `lib64` under `directory`, or under the installation root when `directory`
/// is null. Null when there is no root, when the path does not fit 1023 characters, when the loader refuses,
/// or without memory. The library prefers its own symbols to those of the process (RTLD_DEEPBIND). Threads:
/// any.
std::unique_ptr<SharedLibrary> loadLibrary(const char* name, const char* directory) noexcept;

/// The address of a symbol, null when the library is not open or has none of that name.
void* findSymbol(const SharedLibrary& library, const char* name);

} // namespace orvo::hal
