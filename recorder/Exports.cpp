// SPDX-License-Identifier: MIT
// What hosts see of the library: its C interface, and, where it was preloaded, the loader's `dlopen`.
#include "LoadedPlugin.h"
#include "Recording.h"

#include <orvo/tools/recording/Recorder.h>

#include <dlfcn.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>

namespace {

using namespace orvo::recorder;

/// Runs one operation, which returns a text where something is amiss.
template <class Work> int guarded(char* error, std::size_t errorBytes, const Work& work) noexcept {
    const auto fail = [&](const char* text) {
        if (error && errorBytes > 0) {
            std::strncpy(error, text, errorBytes - 1);
            error[errorBytes - 1] = '\0';
        }
        return -1;
    };
    try {
        const std::string text = work();
        return text.empty() ? 0 : fail(text.c_str());
    } catch (const std::exception& failure) {
        return fail(failure.what());
    }
}

/// A relative path starts at the folder in which the process begins, even if it changes that later. A program
/// with more rights than its user, which links the library, must not write where the user wants.
[[gnu::constructor]] void beginProcess() noexcept try {
    const char* const file = secure_getenv("ORVO_RECORD");
    if (!file || !*file) return;
    awaitPlugin(std::filesystem::absolute(file).string());
    noteOpened(nullptr); // a plug-in that the host is linked with
} catch (const std::exception& error) {
    tell(error.what());
}

[[gnu::destructor]] void endProcess() noexcept {
    end();
}

} // namespace

int orvoRecorderStart(const char* file, const char* plugin, char* error, size_t errorBytes) {
    return guarded(error, errorBytes, [&]() -> std::string {
        if (!file || !*file) return "no file is named; name one for the recording";
        start(file, plugin);
        return "";
    });
}

int orvoRecorderStop(char* error, size_t errorBytes) {
    return guarded(error, errorBytes, [] { return stop(); });
}

/// The loader looks for a name without a folder where the caller's libraries are, and takes `$ORIGIN` as the
/// caller's folder: tail calls, so that the caller stays the caller. A plug-in is opened by its path.
extern "C" ORVO_EXPORT void* dlopen(const char* name, int flags) noexcept {
    if (!expectsPlugin() || !name || !std::strchr(name, '/') || std::strchr(name, '$'))
        return openByLoader(name, flags);
    void* const library = openByLoader(name, flags);
    if (!library) return nullptr;
    const int before = errno;
    noteOpened(name);
    dlerror(); // of symbols that were looked for: a host may ask whether there was an error
    errno = before;
    return library;
}
