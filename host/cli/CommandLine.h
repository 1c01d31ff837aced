// SPDX-License-Identifier: MIT
// The command line: subcommands with their options, declared once, and what the parser makes of the
// arguments.
#pragma once

#include "base/Numbers.h"
#include "cli/CommandDescription.h"

#include <concepts>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace CLI { // the parser stays behind this file: it costs every file that includes it ten seconds to
                // compile
class App;
class Option;
} // namespace CLI

namespace orvo::host {

struct NumberRange {
    std::uint64_t least = 0;
    std::uint64_t most = largestNumber;
};

/// Refuses the value of an option; says what is wrong with it. The parser names the option.
class WrongValue : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A declared option, for what else is to hold for it.
class Option {
public:
    explicit Option(CLI::Option& option) : option_(&option) {}

    Option& required();
    /// Must name something, although it may be left out.
    Option& notEmpty();
    Option& needs(const Option& other);
    Option& optionalValue();

private:
    CLI::Option* option_;
};

/// Options of one subcommand, or of none. A name with dashes is an option's, one without is that of an
/// argument told by its place. `form` is how the help names what comes behind; variables must live until the
/// command line is parsed, and keep what they hold where an option is not given.
class CommandLine {
public:
    explicit CommandLine(CLI::App& app) : app_(&app) {}

    bool isChosen() const;

    void flag(const char* name, bool& variable, const char* description);
    Option text(const char* name, const char* form, std::string& variable, const std::string& description);
    /// `take` gets what is given. Errors that it may raise: WrongValue.
    using Take = std::function<void(const std::string&)>;
    Option value(const char* name, const char* form, Take take, const std::string& description);
    /// The same for an option that may be given several times.
    Option values(const char* name, const char* form, Take take, const std::string& description);
    /// One of several words.
    Option choice(const char* name, const std::vector<std::string>& choices, Take take,
                  const std::string& description);
    /// All arguments that are left.
    Option rest(const char* name, const char* form, std::vector<std::string>& variable,
                const char* description);

    /// A whole number N of a range; everything else is refused.
    Option number(const char* name, const std::function<void(std::uint64_t)>& take, NumberRange range,
                  const char* description);
    template <std::unsigned_integral Number>
    Option number(const char* name, Number& variable, NumberRange range, const char* description) {
        const auto take = [&variable](std::uint64_t number) { variable = static_cast<Number>(number); };
        return number(name, std::function<void(std::uint64_t)>(take), range, description);
    }

private:
    CLI::App* app_;
};

/// The program's command line.
class Program {
public:
    Program(const std::string& name, const std::string& description);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Adds --version, and demands a subcommand.
    void haveSubcommands(const std::string& version);
    CommandLine subcommand(const char* name, const char* description);

    /// Options without a subcommand; what nobody declared is passed over.
    CommandLine options();

    /// False when the user asked for help or the version: it has been printed, and there is no more to do.
    /// Errors: UsageFailure, which says what is wrong and, behind a semicolon, `advice`; where that is empty,
    /// which help to read.
    bool parse(int argc, const char* const* argv, const std::string& advice = "");

    /// What has been declared so far.
    CommandDescription description() const;

private:
    std::string mistake(const std::string& what) const;
    std::string ownAdvice() const;

    const std::unique_ptr<CLI::App> app_;
};

} // namespace orvo::host
