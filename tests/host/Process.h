// SPDX-License-Identifier: MIT
// The host program as a process, and what it left behind.
#pragma once

#include "TestFiles.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace orvo::host::testing_support {

struct Outcome {
    int exitCode; // 128 plus the signal's number when one killed the process
    std::string out, err;
};

/// Looks again and again until `condition` holds; false when a minute has gone by before.
template <typename Condition> bool happens(const Condition& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return condition();
}

/// What a program said, without the line about a server's boards where all tests have such.
inline std::string withoutGreeting(std::string text) {
    const std::string greeting = "orvo-gige: using the simulated boards of the server";
    const auto at = std::getenv("ORVO_TEST_SERVED") ? text.find(greeting) : std::string::npos;
    return at == std::string::npos ? text : text.erase(at, text.find('\n', at) + 1 - at);
}

/// One running program, which ends with this object at the latest; its output and its standard error go to
/// files.
class Process {
public:
    Process(std::vector<std::string> command, std::vector<std::string> environment = {})
        : out_(folder_.file("out")), err_(folder_.file("err")) {
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, 1, out_.c_str(), O_WRONLY | O_CREAT, 0600);
        posix_spawn_file_actions_addopen(&files, 2, err_.c_str(), O_WRONLY | O_CREAT, 0600);
        for (char** variable = environ; *variable; ++variable) environment.emplace_back(*variable);
        posix_spawnattr_t attributes; // whatever the test itself was started under, nohup for one
        sigset_t usual;
        sigemptyset(&usual);
        for (const int number : {SIGINT, SIGHUP}) sigaddset(&usual, number);
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setsigdefault(&attributes, &usual);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
        if (posix_spawnp(&id_, command[0].c_str(), &files, &attributes, pointers(command).data(),
                         pointers(environment).data()) != 0)
            throw std::runtime_error("cannot start " + command[0]);
        posix_spawn_file_actions_destroy(&files);
        posix_spawnattr_destroy(&attributes);
    }

    ~Process() {
        if (!isRunning()) return;
        signal(SIGKILL);
        waitpid(id_, &status_, 0);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t id() const noexcept { return id_; }
    void signal(int number) const { kill(id_, number); }

    std::string errors() const { return withoutGreeting(contentOf(err_)); } ///< so far
    std::string output() const { return contentOf(out_); }                  ///< the same

    bool isRunning() {
        ended_ = ended_ || waitpid(id_, &status_, WNOHANG) == id_;
        return !ended_;
    }

    /// Whether `condition` comes to hold while the program runs; tells of the program's errors when it does
    /// not.
    template <typename Condition> bool reaches(const Condition& condition) {
        bool reached = false;
        happens([&] { return (reached = condition()) || !isRunning(); });
        EXPECT_TRUE(reached) << (isRunning() ? "still running: " : "ended: ") << errors();
        return reached;
    }

    /// As `reaches`: until `text` is among the program's errors.
    bool says(const std::string& text) {
        return reaches([&] { return errors().find(text) != std::string::npos; });
    }

    /// A program that does not end is killed after a while.
    Outcome wait() {
        if (!happens([this] { return !isRunning(); })) {
            ADD_FAILURE() << "the program did not end";
            signal(SIGKILL);
            ended_ = waitpid(id_, &status_, 0) == id_;
        }
        return {WIFEXITED(status_) ? WEXITSTATUS(status_) : 128 + WTERMSIG(status_), output(), errors()};
    }

private:
    static std::vector<char*> pointers(std::vector<std::string>& texts) {
        std::vector<char*> result;
        result.reserve(texts.size() + 1);
        for (auto& text : texts) result.push_back(text.data());
        result.push_back(nullptr);
        return result;
    }

    TemporaryFolder folder_;
    const std::string out_, err_;
    pid_t id_ = 0;
    bool ended_ = false;
    int status_ = 0; // once it has ended
};

/// Runs the built host program; `variables` are "NAME=VALUE" and come before the test's own environment.
inline Outcome runTool(std::vector<std::string> arguments, const std::vector<std::string>& variables = {}) {
    arguments.insert(arguments.begin(), ORVO_GIGE);
    return Process(std::move(arguments), variables).wait();
}

/// Runs the host program, which must say `complaint`, in one line, and print nothing.
inline void expectRefusal(const std::vector<std::string>& arguments, int exitCode,
                          const std::string& complaint, const std::vector<std::string>& variables = {}) {
    SCOPED_TRACE(testing::PrintToString(arguments) + " -> " + complaint);
    const auto outcome = runTool(arguments, variables);
    EXPECT_EQ(outcome.exitCode, exitCode);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, testing::MatchesRegex("orvo-gige: [^\n]*\n"));
    EXPECT_THAT(outcome.err, testing::HasSubstr(complaint));
}

} // namespace orvo::host::testing_support
