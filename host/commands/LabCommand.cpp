// SPDX-License-Identifier: MIT
#include "base/ChildProcess.h"
#include "base/Failure.h"
#include "base/Output.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "lab/Lab.h"
#include "lab/ProcessNamespace.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>

namespace orvo::host {
namespace {

std::string usersShell() {
    const char* shell = std::getenv("SHELL");
    return shell && isProgram(shell) ? shell : "/bin/sh";
}

class LabCommand : public Command {
public:
    explicit LabCommand(Program& program)
        : Command(program, "lab",
                  "Run a command on a network of its own, behind a port of the simulated board (root)") {
        line().rest("command", "COMMAND...", options_.command,
                    "What to run in the host end, after -- (default: a shell); the port is gige0 there");
        line().text("--camera", "COMMAND", options_.camera,
                    "What to run in the camera end meanwhile, by /bin/sh; its interface is camera0");
        addAddress("--camera-address", options_.cameraAddress, "192.168.77.1/24",
                   "Address of the camera end");
        addAddress("--host-address", options_.hostAddress, "192.168.77.2/24", "Address of the host end");
        addAddressOptions(line(), options_.port);
        addRootOption(line(), options_.root);
    }

    int run() override {
        if (options_.command.empty()) options_.command = {usersShell()};
        check();
        options_.interactive = isInteractive();
        return runInProcessNamespace([this] { return Lab(options_).run(); });
    }

private:
    void addAddress(const char* name, NetworkAddress& address, const char* text, const char* description) {
        address = *NetworkAddress::parse(text);
        const auto take = [&address](const std::string& given) {
            const auto value = NetworkAddress::parse(given);
            if (!value || value->family != AF_INET)
                throw WrongValue(quoted(given) +
                                 " is not of the form ADDRESS/PREFIX with an IPv4 address, such as "
                                 "192.168.77.1/24");
            if (!value->isOfHost())
                throw WrongValue(quoted(given) + " is not for a host of a network; give one that is, such as "
                                                 "192.168.77.1/24");
            address = *value;
        };
        line().value(name, "A/N", take, std::string(description) + " (default " + text + ")");
    }

    void check() const {
        if (!isProgram(options_.command[0]))
            throw UsageFailure("there is no program " + quoted(options_.command[0]) +
                               " to run in the host end; name one that is in PATH, or its path");
        if (options_.cameraAddress.bytes == options_.hostAddress.bytes)
            throw UsageFailure("both ends would have the address " + options_.hostAddress.withoutPrefix() +
                               "; give them two with --camera-address and --host-address");
        if (geteuid() != 0)
            throw Failure("lab needs root, for networks of its own; run it with 'sudo orvo-gige lab'");
        if (!options_.cameraAddress.reaches(options_.hostAddress) ||
            !options_.hostAddress.reaches(options_.cameraAddress)) // as with a camera that is set up wrongly
            notice("the ends are in different networks, " + options_.cameraAddress.text + " and " +
                   options_.hostAddress.text + ", so only broadcasts pass between them");
    }

    LabOptions options_;
};

} // namespace

std::unique_ptr<Command> makeLabCommand(Program& program) {
    return std::make_unique<LabCommand>(program);
}

} // namespace orvo::host
