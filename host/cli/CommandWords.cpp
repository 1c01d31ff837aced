// SPDX-License-Identifier: MIT
#include "cli/CommandWords.h"

#include "base/Failure.h"
#include "cli/Nearest.h"

#include <algorithm>
#include <span>

namespace orvo::host {
namespace {

using Words = std::vector<std::string>;

/// A word that begins with a dash and is not "-", which stands for a standard stream.
bool looksLikeOption(const std::string& word) {
    return word.size() > 1 && word.front() == '-';
}

bool isShort(const std::string& word) {
    return looksLikeOption(word) && word[1] != '-';
}

const OptionDescription* optionNamed(const CommandDescription& command, const std::string& name) {
    const auto hasName = [&](const OptionDescription& option) {
        return !option.positional && std::ranges::find(option.names, name) != option.names.end();
    };
    const auto found = std::ranges::find_if(command.options, hasName);
    return found == command.options.end() ? nullptr : &*found;
}

Words longNamesOf(const CommandDescription& command) {
    Words names;
    for (const auto& option : command.options)
        if (!option.positional) names.push_back(option.names.back());
    return names;
}

Words namesOfSubcommands(const CommandDescription& program) {
    Words names;
    for (const auto& command : program.subcommands) names.push_back(command.name);
    return names;
}

/// The argument that takes all words that remain, such as a command to run; null where there is none.
const OptionDescription* restOf(const CommandDescription& command) {
    const auto isRest = [](const OptionDescription& option) {
        return option.positional && option.repeatable;
    };
    const auto found = std::ranges::find_if(command.options, isRest);
    return found == command.options.end() ? nullptr : &*found;
}

/// Walks over the words once: first those before the subcommand, then those behind it.
class Walk {
public:
    Walk(const CommandDescription& program, std::span<const std::string> words)
        : program_(program), command_(&program), rest_(words) {}

    Words ordered() {
        while (!isOver_ && !rest_.empty()) takeWord(next());
        if (command_ == &program_) return ordered_; // the parser misses the subcommand
        ordered_.insert(ordered_.begin(), command_->name);
        return ordered_;
    }

private:
    std::string next() {
        auto word = rest_.front();
        rest_ = rest_.subspan(1);
        return word;
    }

    void takeWord(const std::string& word) {
        if (command_ == &program_ && !looksLikeOption(word))
            choose(word);
        else if (optionsEnded_ || !looksLikeOption(word))
            takeArgument(word);
        else if (word == "--")
            endOptions();
        else
            isShort(word) ? takeShort(word) : takeLong(word);
    }

    void choose(const std::string& word) {
        const auto found = std::ranges::find(program_.subcommands, word, &CommandDescription::name);
        if (found == program_.subcommands.end())
            refuse("unknown subcommand " + quoted(word), nearestHint(word, namesOfSubcommands(program_)));
        command_ = &*found;
        for (const auto& name : given_) // before the subcommand, which need not have it
            if (!optionNamed(*command_, name)) refuseUnknown(name);
    }

    void endOptions() {
        optionsEnded_ = true;
        ordered_.emplace_back("--");
    }

    void takeArgument(const std::string& word) {
        const auto& options = command_->options;
        const auto places = std::ranges::count_if(options, &OptionDescription::positional);
        if (!restOf(*command_) && ++arguments_ > places) refuse("unexpected argument " + quoted(word));
        ordered_.push_back(word);
    }

    void takeLong(const std::string& word) {
        const auto equals = word.find('=');
        const auto name = word.substr(0, equals);
        const auto& option = known(name);
        if (equals == std::string::npos) return take(option, name);
        if (option.form.empty())
            refuse("option " + quoted(name) + " takes no value, but " + quoted(word) + " gives it one");
        takeWithValue(option, name, word.substr(equals + 1));
    }

    /// "-p1" gives -p the value 1; "-port" is a long name that lacks a dash.
    void takeShort(const std::string& word) {
        if (word.size() > 2 && optionNamed(*command_, "-" + word)) refuseUnknown(word);
        const auto name = word.substr(0, 2);
        const auto* const option = optionNamed(*command_, name);
        if (!option || (option->form.empty() && word.size() > 2)) refuseUnknown(word);
        word.size() > 2 ? takeWithValue(*option, name, word.substr(2)) : take(*option, name);
    }

    void take(const OptionDescription& option, const std::string& name) {
        if (!option.form.empty()) return takeWithValue(option, name, valueOf(option, name));
        ordered_.push_back(name);
        given_.push_back(name);
        isOver_ = option.names.back() == "--help" || option.names.back() == "--version";
    }

    std::string valueOf(const OptionDescription& option, const std::string& name) {
        const auto missing = "option " + quoted(name) + " needs a value, " + option.form;
        if (rest_.empty()) refuse(missing);
        const auto& word = rest_.front();
        if (word.starts_with("--") || (isShort(word) && optionNamed(*command_, word.substr(0, 2))))
            refuse(missing + ", but " + quoted(word) + " follows",
                   "; if that is the value, write " + quoted(option.names.back() + "=" + word));
        return next();
    }

    void takeWithValue(const OptionDescription& option, const std::string& name, const std::string& value) {
        const auto& key = option.names.back();
        if (!option.repeatable && std::ranges::find(given_, key) != given_.end())
            refuse("option " + quoted(name) + " is given twice, the second time with " + quoted(value));
        given_.push_back(key);
        ordered_.insert(ordered_.end(), {name, value});
    }

    const OptionDescription& known(const std::string& name) const {
        if (const auto* const option = optionNamed(*command_, name)) return *option;
        refuseUnknown(name);
    }

    [[noreturn]] void refuseUnknown(const std::string& name) const {
        auto advice = nearestHint(name, longNamesOf(*command_));
        if (const auto* const rest = restOf(*command_); rest && advice.empty())
            advice = "; an option in " + rest->form + " stands behind '--'";
        refuse("unknown option " + quoted(name), advice);
    }

    /// Without advice of its own, the help is advised.
    [[noreturn]] void refuse(const std::string& what, const std::string& advice = "") const {
        const auto subcommand = command_ == &program_ ? "" : command_->name + " ";
        throw UsageFailure(
            what + (advice.empty() ? "; see '" + program_.name + " " + subcommand + "--help'" : advice));
    }

    const CommandDescription& program_;
    const CommandDescription* command_; // the program's own until the subcommand comes
    std::span<const std::string> rest_;
    Words ordered_, given_; // given_: long names, or flags as given
    std::ptrdiff_t arguments_ = 0;
    bool optionsEnded_ = false;
    bool isOver_ = false;
};

} // namespace

std::vector<std::string> orderedWords(const CommandDescription& program,
                                      const std::vector<std::string>& words) {
    return Walk(program, words).ordered();
}

} // namespace orvo::host
