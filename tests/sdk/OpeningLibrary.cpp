// SPDX-License-Identifier: MIT
// A library whose initialiser opens another one. The loader's lock is held meanwhile.
#include <dlfcn.h>

namespace {

[[gnu::constructor]] void openAnother() {
    if (void* const other = dlopen("./skeleton.so", RTLD_NOW)) dlclose(other);
}

} // namespace
