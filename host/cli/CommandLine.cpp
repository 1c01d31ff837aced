// SPDX-License-Identifier: MIT
#include "cli/CommandLine.h"

#include "base/Failure.h"
#include "base/Numbers.h"
#include "base/Output.h"
#include "cli/CommandWords.h"
#include "cli/HelpText.h"
#include "cli/Nearest.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

namespace orvo::host {
namespace {

/// Turns a refused value into the parser's own error, which names the option by its long name.
template <class Call> void refusing(const std::string& names, const Call& call) {
    try {
        call();
    } catch (const WrongValue& error) {
        throw CLI::ValidationError(names.substr(names.find(',') + 1), error.what());
    }
}

std::string joined(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (const auto& word : words) text += (text.empty() ? "" : separator) + word;
    return text;
}

std::vector<std::string> namesOf(const CLI::Option& option) {
    if (option.get_positional()) return {option.get_single_name()};
    std::vector<std::string> names;
    for (const auto& name : option.get_snames()) names.push_back("-" + name);
    for (const auto& name : option.get_lnames()) names.push_back("--" + name);
    return names;
}

std::string formOf(const CLI::Option& option) {
    if (option.get_items_expected_max() == 0) return "";
    const auto form = option.get_type_name();
    return form.empty() ? option.get_single_name() : form;
}

/// The literal words of a form: those between bars in lower case. "recorded|Nx|max" has two.
std::vector<std::string> choicesOf(const std::string& form) {
    const auto isLiteral = [](char c) { return (c >= 'a' && c <= 'z') || c == '-'; };
    std::vector<std::string> choices;
    std::istringstream words(form);
    for (std::string word; std::getline(words, word, '|');)
        if (!word.empty() && std::ranges::all_of(word, isLiteral)) choices.push_back(word);
    return choices;
}

OptionDescription descriptionOf(const CLI::Option& option) {
    const auto form = formOf(option);
    return {.names = namesOf(option),
            .form = form,
            .choices = choicesOf(form),
            .description = option.get_description(),
            .required = option.get_required(),
            .repeatable = option.get_items_expected_max() > 1 ||
                          option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll,
            .positional = option.get_positional()};
}

CommandDescription descriptionOf(const CLI::App& app) {
    CommandDescription description{app.get_name(), app.get_description(), {}, {}};
    for (const auto* option : app.get_options()) description.options.push_back(descriptionOf(*option));
    for (const auto* command : app.get_subcommands([](const CLI::App*) { return true; }))
        description.subcommands.push_back(descriptionOf(*command));
    return description;
}

} // namespace

Option& Option::required() {
    option_->required();
    return *this;
}

Option& Option::notEmpty() {
    option_->check(CLI::Validator(
        [](const std::string& text) { return text.empty() ? "the file name is empty" : ""; }, ""));
    return *this;
}

Option& Option::needs(const Option& other) {
    option_->needs(other.option_);
    return *this;
}

Option& Option::optionalValue() {
    option_->expected(0, 1);
    return *this;
}

bool CommandLine::isChosen() const {
    return app_->parsed();
}

void CommandLine::refuseOthers(const std::vector<std::string>& fitting, const std::string& why) const {
    std::vector<std::string> others;
    for (const auto* option : app_->get_options())
        if (const auto name = namesOf(*option).back();
            option->count() != 0 && !option->get_positional() && std::ranges::count(fitting, name) == 0)
            others.push_back(name);
    if (others.empty()) return;
    const bool isOne = others.size() == 1;
    throw UsageFailure(joined(others, ", ") + (isOne ? " is " : " are ") + why + "; leave " +
                       (isOne ? "it" : "them") + " out");
}

Option CommandLine::flag(const char* name, bool& variable, const char* description) {
    return Option(*app_->add_flag(name, variable, description));
}

Option CommandLine::text(const char* name, const char* form, std::string& variable,
                         const std::string& description) {
    return Option(*app_->add_option(name, variable, description)->type_name(form));
}

Option CommandLine::value(const char* name, const char* form, Take take, const std::string& description) {
    const auto read = [name = std::string(name), take = std::move(take)](const std::string& text) {
        refusing(name, [&] { take(text); });
    };
    return Option(*app_->add_option_function<std::string>(name, read, description)->type_name(form));
}

Option CommandLine::values(const char* name, const char* form, Take take, const std::string& description) {
    const auto read = [name = std::string(name),
                       take = std::move(take)](const std::vector<std::string>& texts) {
        for (const auto& text : texts) refusing(name, [&] { take(text); });
    };
    auto* const option = app_->add_option_function<std::vector<std::string>>(name, read, description);
    option->type_name(form)->expected(1)->take_all(); // one value each time
    return Option(*option);
}

Option CommandLine::choice(const char* name, const std::vector<std::string>& choices, Take take,
                           const std::string& description) {
    const auto read = [choices, take = std::move(take)](const std::string& text) {
        if (std::ranges::find(choices, text) == choices.end())
            throw WrongValue(quoted(text) + " is not one of " + joined(choices, ", ") +
                             nearestHint(text, choices));
        take(text);
    };
    return value(name, joined(choices, "|").c_str(), read, description);
}

Option CommandLine::rest(const char* name, const char* form, std::vector<std::string>& variable,
                         const char* description) {
    return Option(*app_->add_option(name, variable, description)->type_name(form));
}

Option CommandLine::number(const char* name, const std::function<void(std::uint64_t)>& take,
                           NumberRange range, const char* description) {
    const auto read = [take, range](const std::string& text) {
        const auto number = wholeNumber(text);
        if (!number || *number < range.least || *number > range.most)
            throw WrongValue(quoted(text) + " is not a whole number from " + std::to_string(range.least) +
                             " to " + std::to_string(range.most));
        take(*number);
    };
    return value(name, "N", read, description);
}

Program::Program(const std::string& name, const std::string& description)
    : app_(std::make_unique<CLI::App>(description, name)) {}

Program::~Program() = default;

void Program::haveSubcommands(const std::string& version) {
    app_->set_version_flag("--version", version);
    app_->require_subcommand(1);
    hasSubcommands_ = true;
}

void Program::shareFlag(const char* name, const char* description) {
    app_->add_flag(name)->description(description);
}

void Program::shareOption(const char* name, const char* form, const char* description) {
    app_->add_option_function<std::string>(
            name, [](const std::string&) {}, description)
        ->type_name(form);
}

CommandLine Program::subcommand(const char* name, const char* description) {
    return CommandLine(*app_->add_subcommand(name, description));
}

CommandLine Program::options() {
    app_->allow_extras();
    return CommandLine(*app_);
}

bool Program::parse(int argc, const char* const* argv, const std::string& advice) {
    std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    if (hasSubcommands_) words = orderedWords(description(), words);
    std::ranges::reverse(words); // as the parser wants them
    try {
        app_->parse(words);
    } catch (const CLI::CallForVersion& version) {
        print(std::string(version.what()) + "\n");
        return false;
    } catch (const CLI::CallForHelp&) {
        printHelp();
        return false;
    } catch (const CLI::ParseError& error) {
        std::string what = error.what();
        if (what.starts_with("A subcommand")) what.front() = 'a'; // as all errors begin
        throw UsageFailure(what.ends_with('?') ? what
                                               : what + "; " + (advice.empty() ? ownAdvice() : advice));
    }
    return true;
}

CommandDescription Program::description() const {
    return descriptionOf(*app_);
}

void Program::printHelp() const {
    const auto program = description();
    const auto chosen = app_->get_subcommands();
    const auto* command = &program;
    if (!chosen.empty())
        command = &*std::ranges::find(program.subcommands, chosen[0]->get_name(), &CommandDescription::name);
    print(helpText(program, *command, helpWidth()));
}

std::string Program::ownAdvice() const {
    const auto chosen = app_->get_subcommands();
    return "see '" + app_->get_name() + " " + (chosen.empty() ? "" : chosen[0]->get_name() + " ") + "--help'";
}

} // namespace orvo::host
