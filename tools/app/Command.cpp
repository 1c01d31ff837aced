// The common side of subcommands.
#include "app/Command.h"

#include <CLI/CLI.hpp>

namespace orvo::host {

Command::Command(CLI::App& program, const char* name, const char* description)
    : line_(*program.add_subcommand(name, description)) {}

bool Command::chosen() const {
    return line_.parsed();
}

} // namespace orvo::host
