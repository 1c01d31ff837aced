// SPDX-License-Identifier: MIT
// The pointer variables through which a loaded plug-in calls the board's libraries.
#pragma once

#include "device/recording/BoardEntries.h"

#include <atomic>
#include <functional>

namespace orvo::host {

class PluginVariables {
public:
    /// `find`: the address of a symbol of the plug-in, null where it has none.
    explicit PluginVariables(const std::function<void*(const char*)>& find);

    /// The first variable that the plug-in lacks; null when it has all. Then the others may be called.
    const char* missing() const noexcept;

    /// Whether both libraries are bound.
    bool areBound() const noexcept;

    /// What the variables hold.
    EntryTable read() const noexcept;

    /// Those of the entries that tell whether a library is bound come last: a thread that sees them set sees
    /// the others, too.
    void write(const EntryTable& entries) const noexcept;

private:
    std::array<std::atomic<void*>*, entryCount> variables_{};
};

} // namespace orvo::host
