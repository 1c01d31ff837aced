// SPDX-License-Identifier: MIT
#include "hal/SharedLibrary.h"

#include "hal/InstallationRoot.h"

#include <dlfcn.h>

#include <cstdio>
#include <new>

namespace orvo::hal {

SharedLibrary::SharedLibrary(const char* fullPath) : path(fullPath) {
    handle = dlopen(fullPath, RTLD_NOW | RTLD_DEEPBIND);
    if (handle) return;
    const char* reason = dlerror();
    errorMessage = reason ? reason : "";
}

SharedLibrary::~SharedLibrary() {
    if (closeOnDestroy && handle && dlclose(handle) == 0) handle = nullptr;
}

std::unique_ptr<SharedLibrary> loadLibrary(const char* name, const char* directory) noexcept {
    if (!directory) directory = installationRoot();
    if (!directory) return nullptr;
    char path[rootBufferBytes];
    const int length = std::snprintf(path, sizeof path, "%s/lib64/lib%s.so", directory, name);
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof path) return nullptr;
    try {
        auto library = std::make_unique<SharedLibrary>(path);
        return library->handle ? std::move(library) : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr; // what opens libraries has the linkage of C
    }
}

void* findSymbol(const SharedLibrary& library, const char* name) {
    return library.handle ? dlsym(library.handle, name) : nullptr;
}

} // namespace orvo::hal
