// The host program as a process, and what it left behind.
#pragma once

#include "TestFiles.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvo::host::testing_support {

struct Outcome {
    int exitCode; // 128 plus the signal's number when one killed the process
    std::string out, err;
};

/// One running program; its output and its standard error go to files.
class Process {
public:
    Process(std::vector<std::string> command, std::vector<std::string> environment = {})
        : out_(folder_.file("out")), err_(folder_.file("err")) {
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, 1, out_.c_str(), O_WRONLY | O_CREAT, 0600);
        posix_spawn_file_actions_addopen(&files, 2, err_.c_str(), O_WRONLY | O_CREAT, 0600);
        for (char** variable = environ; *variable; ++variable) environment.emplace_back(*variable);
        if (posix_spawnp(&id_, command[0].c_str(), &files, nullptr, pointers(command).data(),
                         pointers(environment).data()) != 0)
            throw std::runtime_error("cannot start " + command[0]);
        posix_spawn_file_actions_destroy(&files);
    }

    void signal(int number) const { kill(id_, number); }
    Outcome wait() {
        int status = 0;
        waitpid(id_, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), contentOf(out_),
                contentOf(err_)};
    }

private:
    static std::vector<char*> pointers(std::vector<std::string>& texts) {
        std::vector<char*> result;
        for (auto& text : texts) result.push_back(text.data());
        result.push_back(nullptr);
        return result;
    }

    TemporaryFolder folder_;
    const std::string out_, err_;
    pid_t id_ = 0;
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
