// SPDX-License-Identifier: MIT
// Each case is a run of this program on a recording: as a process of its own, since the plug-in remembers
// boards.
#include "base/ChildProcess.h"
#include "base/Output.h"
#include "base/OutputFile.h"
#include "base/Signals.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "device/BoardAccess.h"
#include "device/Installation.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <map>
#include <regex>
#include <sstream>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

constexpr unsigned longestRunSeconds = 60; // on a busy machine; otherwise a second
constexpr std::size_t runsAtOnce = 4;      // a run mostly waits
constexpr auto ownMessage = "orvo-gige: ";

struct SelftestCase {
    std::string name, what;
    std::vector<std::string> arguments;
    int exitCode;
    bool fitsBoards; ///< may run on a board that is in use
    bool isOrdered;  ///< one thread prints, always in the same order
    std::map<std::string, std::string> environment;
};

struct Run {
    int exitCode = 0;
    std::string output;
};

struct CaseResult {
    const SelftestCase* test;
    std::string fault; ///< empty: passed
};

std::vector<SelftestCase> readCases(const fs::path& folder) {
    const auto path = folder / "cases.json";
    try {
        std::ifstream file(path);
        if (!file) throw Failure("it cannot be read");
        std::vector<SelftestCase> cases;
        for (const auto& row : nlohmann::json::parse(file))
            cases.push_back({row.at("name"), row.at("what"), row.at("arguments"), row.at("exitCode"),
                             row.value("fitsBoards", false), row.value("ordered", false),
                             row.value("environment", std::map<std::string, std::string>())});
        if (cases.empty()) throw Failure("it has no cases");
        return cases;
    } catch (const std::exception& error) {
        throw Failure("cannot use the list of recordings " + quoted(path.string()) + ": " + error.what() +
                      "; repair the installation or name another one with --root");
    }
}

/// Times, rates and the threads' names differ from run to run, and so does the order of several threads'
/// lines.
std::vector<std::string> comparable(const std::string& output, const SelftestCase& test) {
    static const std::regex varying(
        R"([0-9]{4}-[0-9]{2}-[0-9]{2}[ T][0-9:.]+|thread-id=[0-9]+|[0-9]+\.[0-9]+(e[-+]?[0-9]+)?)");
    std::vector<std::string> lines;
    std::istringstream text(std::regex_replace(output, varying, "#"));
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    if (!test.isOrdered) std::ranges::sort(lines);
    return lines;
}

std::string contentOf(int descriptor) {
    std::string content;
    char part[4096];
    lseek(descriptor, 0, SEEK_SET);
    for (ssize_t got = 0; (got = read(descriptor, part, sizeof part)) > 0;)
        content.append(part, static_cast<std::size_t>(got));
    return content;
}

int become(std::vector<std::string> command, const SelftestCase& test, const fs::path& folder, int output) {
    resetSignals();
    alarm(longestRunSeconds); // stays with the program that this process becomes
    setenv("ORVO_LOG", "*=2", 1);
    for (const auto* const name :
         {"ORVO_LOG_FILE", "ORVO_PRE_SEND_WAIT_TIME", "ORVO_GIGE_DRIVER_CLASS_PORT_MASK"})
        unsetenv(name);
    setenv("HOME", "/nonexistent", 1); // whose rt.conf would change what the plug-in does
    for (const auto& [name, value] : test.environment) setenv(name.c_str(), value.c_str(), 1);
    if (dup2(output, STDOUT_FILENO) < 0 || dup2(output, STDERR_FILENO) < 0 || chdir(folder.c_str()) != 0)
        return Failed;
    std::vector<char*> pointers;
    for (auto& argument : command) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    execv("/proc/self/exe", pointers.data());
    return Failed;
}

/// A run that has been started.
class RunningRun {
public:
    RunningRun(const std::vector<std::string>& command, const SelftestCase& test, const fs::path& folder)
        : output_(memfd_create("selftest", MFD_CLOEXEC)) {
        if (output_.get() < 0)
            throw Failure("cannot keep what a run prints: " + systemError(errno) + "; free some memory");
        child_ = startChild([&] { return become(command, test, folder, output_.get()); });
    }

    /// Waits for it.
    Run ended() {
        awaitChild(child_);
        return {child_.exitCode.value_or(Failed), contentOf(output_.get())};
    }

private:
    const FileDescriptor output_;
    ChildProcess child_;
};

/// The first line with one of these texts; empty when there is none.
std::string lineWith(const std::string& output, std::initializer_list<const char*> texts) {
    std::istringstream rest(output);
    for (std::string line; std::getline(rest, line);)
        for (const auto* const text : texts)
            if (line.find(text) != std::string::npos) return line;
    return "";
}

std::string exitFault(const Run& run, int expected) {
    if (run.exitCode == EndedBySignal + SIGALRM)
        return fmt::format("has not ended within {} s", longestRunSeconds);
    const auto message = lineWith(run.output, {ownMessage});
    return fmt::format("exit code {} instead of {}{}", run.exitCode, expected,
                       message.empty() ? "" : "; " + message);
}

std::string faultOf(const Run& run, const SelftestCase& test, const std::string& expected) {
    const auto lines = comparable(run.output, test), wantedLines = comparable(expected, test);
    const auto [made, wanted] = std::ranges::mismatch(lines, wantedLines);
    const bool isMade = made != lines.end(), isWanted = wanted != wantedLines.end();
    if (run.exitCode == test.exitCode && !isMade && !isWanted) return "";
    const auto differs = lineWith(run.output, {"differs from the recording", "leaves out calls"});
    if (!differs.empty()) return differs;
    if (run.exitCode != test.exitCode) return exitFault(run, test.exitCode);
    if (isMade && isWanted && test.isOrdered) return "prints: " + *made + "; must print: " + *wanted;
    if (isMade && (!isWanted || *made < *wanted)) return "prints: " + *made;
    return "does not print: " + *wanted;
}

class SelftestCommand : public Command {
public:
    explicit SelftestCommand(Program& program)
        : Command(program, "selftest", "Try the installed plug-in on recordings of boards") {
        addRootOption(line(), root_);
        line().number(
            "-b,--board", [this](std::uint64_t number) { board_ = static_cast<unsigned>(number); },
            {.most = 99'999}, "Run on this board, instead of recordings, what does not disturb its use");
        line().flag("--renew", renews_, "Take what the runs print now as what they must print");
        line().flag("--json", json_, "Print JSON instead of text");
    }

    int run() override {
        if (board_ && renews_) throw UsageFailure("--renew is for recordings; leave --board out");
        if (board_) requireBoard();
        const Installation installation(root_);
        folder_ = installation.root() / "share" / "orvo-gige" / "recordings";
        installed_ = installation.root().string();
        auto cases = readCases(folder_);
        if (board_) std::erase_if(cases, [](const SelftestCase& test) { return !test.fitsBoards; });
        const auto results = runAll(cases);
        json_ ? printReport(json(results)) : printReport(text(results));
        if (std::ranges::all_of(results, [](const auto& row) { return row.fault.empty(); })) return Done;
        noteSettings();
        return DifferencesFound;
    }

private:
    void requireBoard() const {
        BoardOptions options;
        options.root = root_;
        BoardAccess(options, *board_).requirePort({*board_, 0});
    }

    /// No variable puts others in the place of the installation's settings, which the recordings do not have.
    void noteSettings() const {
        const auto path = (fs::path(installed_) / "rt.conf").string();
        std::error_code unknown;
        if (!board_ && fs::exists(path, unknown))
            notice(quoted(path) + " changes what the plug-in calls; try again without this file");
    }

    /// On a board one by one, since a port has one user.
    std::vector<CaseResult> runAll(const std::vector<SelftestCase>& cases) const {
        const auto atOnce = board_ ? 1 : runsAtOnce;
        std::vector<CaseResult> results;
        std::deque<RunningRun> running;
        for (const auto& test : cases) {
            if (running.size() == atOnce) results.push_back(nextResult(cases, results.size(), running));
            if (endRequested() != 0) break;
            running.emplace_back(command(test), test, folder_);
        }
        while (!running.empty()) results.push_back(nextResult(cases, results.size(), running));
        throwIfEndRequested();
        return results;
    }

    CaseResult nextResult(const std::vector<SelftestCase>& cases, std::size_t place,
                          std::deque<RunningRun>& running) const {
        const auto run = running.front().ended();
        running.pop_front();
        const auto& test = cases[place];
        return {&test, board_ ? faultOnBoard(run) : faultOnRecording(run, test)};
    }

    std::vector<std::string> command(const SelftestCase& test) const {
        std::vector<std::string> words = {"orvo-gige"};
        words.insert(words.end(), test.arguments.begin(), test.arguments.end());
        words.insert(words.end(), {"--root", installed_});
        if (board_)
            words.insert(words.end(), {"--board", std::to_string(*board_)});
        else
            words.insert(words.end(), {"--board-recording", test.name + ".rec"});
        return words;
    }

    std::string faultOnRecording(const Run& run, const SelftestCase& test) const {
        const auto expectedPath = folder_ / (test.name + ".out");
        if (renews_) {
            std::string content;
            for (const auto& line : comparable(run.output, test)) content += line + "\n";
            replaceFile(expectedPath.string(), content);
        }
        std::ifstream file(expectedPath);
        if (!file)
            return "cannot read what it must print, " + quoted(expectedPath.string()) +
                   "; repair the installation";
        const std::string content{std::istreambuf_iterator<char>(file), {}};
        return faultOf(run, test, content);
    }

    static std::string faultOnBoard(const Run& run) {
        if (run.exitCode != Done) return exitFault(run, Done);
        const auto failure = lineWith(run.output, {"  logs 5 ", "  returns false"}); // of an exercise
        return failure.empty() ? "" : "prints: " + failure;
    }

    static std::string text(const std::vector<CaseResult>& results) {
        std::vector<std::vector<std::string>> rows = {{"CASE", "RESULT", "WHAT"}};
        std::string faults;
        for (const auto& row : results) {
            rows.push_back({row.test->name, row.fault.empty() ? "passed" : "FAILED", row.test->what});
            if (!row.fault.empty()) faults += oneLine(row.test->name + ": " + row.fault) + "\n";
        }
        const auto passed = std::ranges::count(results, "", &CaseResult::fault);
        return table(rows) + faults + fmt::format("{} of {} passed\n", passed, results.size());
    }

    static nlohmann::ordered_json json(const std::vector<CaseResult>& results) {
        auto list = nlohmann::ordered_json::array();
        for (const auto& row : results)
            list.push_back({{"case", row.test->name}, {"passed", row.fault.empty()}, {"fault", row.fault}});
        return {{"cases", std::move(list)}};
    }

    std::string root_;
    std::optional<unsigned> board_;
    bool renews_ = false;
    bool json_ = false;
    fs::path folder_;
    std::string installed_;
};

} // namespace

std::unique_ptr<Command> makeSelftestCommand(Program& program) {
    return std::make_unique<SelftestCommand>(program);
}

} // namespace orvo::host
