// SPDX-License-Identifier: MIT
// orvo-manual GUIDES TEMPLATE: writes a manual page to standard output. It replaces each line of the template
// that is of the form "@...@":
//   @synopsis@, @options@, @subcommands@  the command line of the subcommand that the template is named after
//   @counters@                            the counters that `watch` reads
//   @example GUIDE LANGUAGE@              an example of that file in the folder GUIDES
//   @table GUIDE HEADING@                 a table of it
//   @NAME@                                the file NAME.part beside the template
#include "cli/CommandPage.h"
#include "commands/HostProgram.h"
#include "device/CounterTable.h"
#include "manual/GuidePart.h"

#include <fmt/format.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

using namespace orvo::manual;
using orvo::host::CommandDescription;
namespace fs = std::filesystem;

std::string contentOf(const fs::path& path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error("cannot read '" + path.string() + "'");
    return {std::istreambuf_iterator<char>(file), {}};
}

/// "orvo-gige-replay.1.in" is the page of "replay"; other pages are about the program itself.
const CommandDescription& commandOf(const CommandDescription& program, const fs::path& page) {
    const auto name = page.filename().string();
    for (const auto& command : program.subcommands)
        if (name == program.name + "-" + command.name + ".1.in") return command;
    return program;
}

/// A list of the counters that `watch` reads.
std::string counterList() {
    std::string list = ".Bl -tag -width Ds\n";
    orvo::host::forEachCounter([&](orvo::host::Counter, const orvo::host::CounterRow& row) {
        list += fmt::format(
            ".It Li \"{}\"\n{}; {}{}, read from: {}, in JSON\n.Ql {} ,\nas metric\n.Ql {} .\n", row.name,
            roffText(row.meaning), *row.unit ? row.unit : "a flag",
            row.isTrouble() ? ", an error if not 0" : "", roffText(row.sourceOf("N")), row.key, row.metric());
    });
    return list + ".El\n";
}

class Page {
public:
    Page(fs::path guides, fs::path path) : guides_(std::move(guides)), path_(std::move(path)) {}

    std::string text() const { return filled(contentOf(path_)); }

private:
    std::string filled(const std::string& lines) const {
        std::istringstream input(lines);
        std::string page;
        for (std::string line; std::getline(input, line);)
            page += line.size() > 2 && line.front() == '@' && line.back() == '@'
                        ? replacement(line.substr(1, line.size() - 2))
                        : line + "\n";
        return page;
    }

    std::string replacement(const std::string& place) const {
        std::istringstream words(place);
        std::string what, guide, which;
        words >> what >> guide >> std::ws;
        std::getline(words, which);
        if (what == "synopsis") return nameAndSynopsis(program_, command_);
        if (what == "options") return optionList(command_);
        if (what == "subcommands") return commandList(program_);
        if (what == "counters") return counterList();
        if (what == "example") return exampleOf(contentOf(guides_ / guide), which);
        if (what == "table") return tableOf(contentOf(guides_ / guide), which);
        return filled(contentOf(path_.parent_path() / (what + ".part")));
    }

    const fs::path guides_;
    const fs::path path_;
    const CommandDescription program_ = orvo::host::HostProgram().line.description();
    const CommandDescription& command_ = commandOf(program_, path_);
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: orvo-manual GUIDES TEMPLATE\n", stderr);
        return 2;
    }
    try {
        std::fputs(Page(argv[1], argv[2]).text().c_str(), stdout);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvo-manual: %s: %s\n", argv[2], error.what());
        return 1;
    }
    return 0;
}
