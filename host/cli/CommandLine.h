// SPDX-License-Identifier: MIT
// The command line: subcommands and their options, declared once, then parsed.
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

namespace CLI { // declared only: each file that includes the parser takes ten seconds more to compile
class App;
class Option;
} // namespace CLI

namespace orvo::host {

struct NumberRange {
    std::uint64_t least = 0;
    std::uint64_t most = largestNumber;
};

/// Refuses an option's value. The text says what is wrong with the value; the parser adds the option's name.
class WrongValue : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A declared option, to which further rules can be added.
class Option {
public:
    explicit Option(CLI::Option& option) : option_(&option) {}

    Option& required();
    /// If given, must not be empty.
    Option& notEmpty();
    Option& needs(const Option& other);
    Option& optionalValue();

private:
    CLI::Option* option_;
};

/// Options of the program or of one subcommand. A name is "--long", or "-s,--long" for an option that has a
/// short name too; one without dashes declares a positional argument. `form`
/// is the value's placeholder in the help. Variables must live until the command line is parsed; an option
/// that is not given leaves its variable alone.
class CommandLine {
public:
    explicit CommandLine(CLI::App& app) : app_(&app) {}

    bool isChosen() const;

    /// Once parsed. Errors: UsageFailure where options other than `fitting`, long names with dashes, were
    /// given; `why` follows their names and "is" or "are".
    void refuseOthers(const std::vector<std::string>& fitting, const std::string& why) const;

    Option flag(const char* name, bool& variable, const char* description);
    Option text(const char* name, const char* form, std::string& variable, const std::string& description);
    /// `take` receives the value, and may throw WrongValue.
    using Take = std::function<void(const std::string&)>;
    Option value(const char* name, const char* form, Take take, const std::string& description);
    /// As `value`, for an option that may be given several times.
    Option values(const char* name, const char* form, Take take, const std::string& description);
    /// One of several words.
    Option choice(const char* name, const std::vector<std::string>& choices, Take take,
                  const std::string& description);
    /// All remaining arguments.
    Option rest(const char* name, const char* form, std::vector<std::string>& variable,
                const char* description);

    /// A whole number N within a range.
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

/// The whole command line.
class Program {
public:
    Program(const std::string& name, const std::string& description);
    ~Program();

    /// Adds --version, and makes a subcommand mandatory.
    void haveSubcommands(const std::string& version);
    CommandLine subcommand(const char* name, const char* description);

    /// Options of subcommands that may also stand before the subcommand, with the same meaning.
    void shareFlag(const char* name, const char* description);
    void shareOption(const char* name, const char* form, const char* description);

    /// Options of the program itself; unknown ones are then ignored.
    CommandLine options();

    /// False when the user asked for help or the version, which has then been printed.
    /// Errors: UsageFailure with what is wrong and `advice`, or, where that is empty, what is probably meant
    /// or which help to read; OutputClosed.
    bool parse(int argc, const char* const* argv, const std::string& advice = "");

    /// Everything declared so far.
    CommandDescription description() const;

private:
    void printHelp() const;
    std::string ownAdvice() const;

    const std::unique_ptr<CLI::App> app_;
    bool hasSubcommands_ = false;
};

} // namespace orvo::host
