// SPDX-License-Identifier: MIT
#include "exports/Choice.h"

#include "process/Process.h"
#include "share/SocketPath.h"

#include <stdexcept>

#include <pthread.h>

namespace orvo::sim {

namespace {

constinit std::atomic<bool> ownIsChosen{false};

/// Nobody has asked for the default server, so one that cannot be used is none.
std::unique_ptr<Remote> findDefault() {
    try {
        auto found = Remote::connect(socketPath(std::string(defaultServer)));
        return found && found->root() == installationRoot() ? std::move(found) : nullptr;
    } catch (const std::runtime_error&) {
        return nullptr;
    }
}

std::unique_ptr<Remote> findNamed(const std::string& name) {
    try {
        const auto path = socketPath(name);
        if (auto found = Remote::connect(path)) return found;
        const bool isPath = name == path.string();
        refuseOwnBoards("no server" + (isPath ? "" : " '" + name + "'") + " answers at " + path.string() +
                        "; start it with: orvo-gige simulate --name " + name + ", or set ORVO_BOARD=own");
    } catch (const std::runtime_error& reason) {
        refuseOwnBoards(reason.what());
    }
    return nullptr;
}

Remote* choose() {
    if (ownIsChosen.load()) return nullptr;
    const auto choice = chosenBoards();
    if (choice.kind == BoardChoice::Kind::Own) return nullptr;
    auto found = choice.kind == BoardChoice::Kind::Server ? findNamed(choice.name) : findDefault();
    if (!found) return nullptr;
    static Remote* const used = found.release(); // threads may call the library until the process has ended
    pthread_atfork(nullptr, nullptr, [] { used->leaveToParent(); });
    return used;
}

} // namespace

Remote* remote() {
    static Remote* const chosen = choose();
    return chosen;
}

bool chooseOwnBoards() {
    ownIsChosen.store(true);
    return !remote();
}

} // namespace orvo::sim
