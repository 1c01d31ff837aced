// SPDX-License-Identifier: MIT
// For sanitizer builds of programs only: they refuse RTLD_DEEPBIND, so this dlopen takes the flag out on its
// way.
#include <dlfcn.h>

extern "C" __attribute__((visibility("default"))) void* dlopen(const char* path, int flags) {
    using Open = void* (*)(const char*, int);
    static const auto open = reinterpret_cast<Open>(dlsym(RTLD_NEXT, "dlopen"));
    return open(path, flags & ~RTLD_DEEPBIND);
}
