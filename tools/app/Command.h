// A subcommand of the program.
#pragma once

namespace CLI {
class App;
}

namespace orvo::host {

/// Declares itself on the program's command line when constructed; runs when it was chosen.
class Command {
public:
    Command(CLI::App& program, const char* name, const char* description);
    virtual ~Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    bool chosen() const;

    /// Does the work; returns the exit code. Errors: Failure, Interruption.
    virtual int run() = 0;

protected:
    CLI::App& line() { return line_; }

private:
    CLI::App& line_;
};

} // namespace orvo::host
