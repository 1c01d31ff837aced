// SPDX-License-Identifier: MIT
// C entries that serve this process's boards to other programs.
#include "base/Text.h"
#include "exports/Choice.h"
#include "process/Process.h"
#include "share/Server.h"
#include "share/SocketPath.h"

using namespace orvo::sim;

namespace {

struct Serving {
    std::mutex mutex; // guards what follows
    std::unique_ptr<Server> server;
    std::string path;
};

Serving& serving() {
    static auto& made = *new Serving;
    return made;
}

void serve(const std::string& name) {
    const std::lock_guard lock(serving().mutex);
    if (!chooseOwnBoards())
        throw std::runtime_error(
            "this process uses the boards of a server already; serve before any other call");
    shareOwnBoards();
    if (serving().server) throw std::runtime_error("this process serves its boards already");
    if (!configurationError().empty()) throw std::runtime_error(takeConfigurationError());
    for (const auto& board : simulation().boards())
        if (board->memory().descriptor() < 0)
            throw std::runtime_error("this process has used its boards already; serve before any other call");
    serving().server = std::make_unique<Server>(name);
    serving().path = serving().server->path();
}

} // namespace

int orvoSimServe(const char* name, char* error, size_t errorBytes) {
    try {
        serve(name && *name ? name : std::string(defaultServer));
        return 0;
    } catch (const std::exception& reason) {
        copyText(reason.what(), error, errorBytes);
        return OrvoSimBadValue;
    }
}

void orvoSimStopServing() {
    const std::lock_guard lock(serving().mutex);
    serving().server.reset();
}

const char* orvoSimServer() {
    if (const Remote* const server = remote()) return server->path().c_str();
    const std::lock_guard lock(serving().mutex);
    return serving().server ? serving().path.c_str() : nullptr;
}
