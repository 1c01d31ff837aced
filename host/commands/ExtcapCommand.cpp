// SPDX-License-Identifier: MIT
// The extcap protocol: one process a question, answers in lines of braces on standard output.
#include "commands/ExtcapCommand.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/OutputFile.h"
#include "commands/CaptureCommand.h"
#include "device/Board.h"
#include "device/BoardAccess.h"
#include "device/ExtcapFolders.h"
#include "frames/FrameFilter.h"

#include <fmt/format.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <span>
#include <string_view>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;

constexpr const char* programName = "orvo-gige";
constexpr const char* interfacePrefix = "orvo-"; // "orvo-BOARD-PORT"

/// What the analyser asks for.
struct Call {
    bool interfaces = false, dlts = false, config = false, capture = false;
    std::string interface, fifo, filter;
    CaptureOptions options;
};

/// Nothing: the call was for help.
std::optional<Call> parse(int argc, const char* const* argv) {
    Program program(programName, "Answers an analyser.");
    auto line = program.options(); // newer analysers may say more than we need to know
    Call call;
    std::string version;
    line.flag("--extcap-interfaces", call.interfaces, "List the ports");
    line.flag("--extcap-dlts", call.dlts, "Tell a port's kind of link");
    line.flag("--extcap-config", call.config, "List what can be set for a port");
    line.flag("--capture", call.capture, "Capture at a port");
    line.text("--extcap-interface", "NAME", call.interface, "The port");
    line.text("--extcap-version", "VERSION", version, "The analyser's version").optionalValue();
    line.text("--extcap-capture-filter", "EXPR", call.filter, "Filter to capture with, or to check");
    line.text("--fifo", "PIPE", call.fifo, "Where the capture goes");
    line.flag("--no-reset", call.options.port.noReset, "Leave the board running");
    if (!program.parse(argc, argv, "only Wireshark and tshark call this program so")) return std::nullopt;
    return call;
}

std::string interfaceName(unsigned board, unsigned port) {
    return fmt::format("{}{}-{}", interfacePrefix, board, port);
}

PortAddress addressOf(const std::string& interface) {
    std::string text = interface;
    if (text.starts_with(interfacePrefix)) text.erase(0, std::string(interfacePrefix).size());
    std::replace(text.begin(), text.end(), '-', '/');
    if (const auto address = PortAddress::parse(text)) return *address;
    throw UsageFailure("there is no capture interface " + host::quoted(interface) +
                       "; 'tshark -D' lists those that there are");
}

int listInterfaces() {
    auto text = fmt::format("extcap {{version={}}}\n", ORVO_VERSION);
    const BoardAccess session({}, 0);
    for (unsigned index = 0; index < Board::indexLimit; ++index) {
        const auto board = Board::at(session.libraries, index);
        for (unsigned port = 0; board && port < board->gigePorts(); ++port)
            text += fmt::format("interface {{value={}}}{{display=GigE port {} of board {} ({})}}\n",
                                interfaceName(index, port), port, index, board->name());
    }
    print(text);
    return Done;
}

int listOptions() {
    print("arg {number=0}{call=--no-reset}{display=Leave the board running}{type=boolflag}{default=false}"
          "{tooltip=Do not reset the board\'s GigE hardware first; it must be running}\n");
    return Done;
}

/// The analyser tests filters while the user types.
int checkFilter(const std::string& filter) {
    try {
        const FrameFilter compiled(filter);
    } catch (const UsageFailure& error) {
        print(std::string(error.what()) + "\n");
    }
    return Done;
}

/// While it lives, standard error goes nowhere: an analyser takes every line there for a failure.
class QuietErrors {
public:
    QuietErrors() : before_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }
    ~QuietErrors() {
        dup2(before_, STDERR_FILENO);
        close(before_);
    }
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;

private:
    const int before_;
};

/// The pipe comes first: the analyser waits for it to be opened, and the board's reset takes its time.
int captureInto(Call& call) {
    if (call.fifo.empty()) throw UsageFailure("--capture needs a pipe to write to; name one with --fifo");
    const int pipe = openToWrite(call.fifo);
    if (pipe < 0 || dup2(pipe, STDOUT_FILENO) < 0)
        throw Failure("cannot write to " + host::quoted(call.fifo) + ": " + systemError(errno) +
                      "; the analyser makes this pipe and reads from it");
    close(pipe);
    call.options.port.address = addressOf(call.interface);
    call.options.output = CaptureOutput::standardOutput;
    call.options.filter = call.filter;
    const QuietErrors onlyFailures;
    return runCapture(call.options);
}

/// Of root, everybody's extcap folder; of others their own, where the analyser knows one.
std::optional<fs::path> usualFolder() {
    std::optional<fs::path> found;
    for (const auto& folder : extcapFolders())
        if (!found || folder.isPersonal == (geteuid() != 0)) found = folder.path;
    return found;
}

fs::path folderFor(const std::string& given) {
    if (!given.empty()) return given;
    if (const auto folder = usualFolder()) return *folder;
    throw Failure(
        "tshark does not say where its capture interfaces are; install it (package tshark), or name the "
        "folder with --folder");
}

} // namespace

bool isExtcapCall(int argc, const char* const* argv) {
    for (const std::string_view argument : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
        if (argument.starts_with("--extcap-") || argument == "--capture") return true;
        if (!argument.starts_with('-') || argument == "--") return false;
    }
    return false;
}

int answerExtcapCall(int argc, const char* const* argv) {
    auto parsed = parse(argc, argv);
    if (!parsed) return Done;
    auto& call = *parsed;
    if (call.interfaces) return listInterfaces();
    if (call.capture) return captureInto(call);
    addressOf(call.interface);
    if (call.config) return listOptions();
    if (!call.filter.empty()) return checkFilter(call.filter);
    print("dlt {number=1}{name=EN10MB}{display=Ethernet}\n");
    return Done;
}

ExtcapCommand::ExtcapCommand(Program& program)
    : Command(program, "extcap", "Make the ports capture interfaces of Wireshark and tshark") {
    line()
        .choice(
            "ACTION", {"install", "remove"}, [this](const std::string& action) { action_ = action; },
            "Make them, or take them away")
        .required();
    line().text("--folder", "DIR", folder_, "Extcap folder (default: as 'tshark -G folders' says)");
}

int ExtcapCommand::run() {
    const auto link = extcapLinkIn(folderFor(folder_));
    std::error_code reason;
    if (fs::exists(fs::symlink_status(link)) && !isLinkToProgram(link))
        throw Failure(host::quoted(link.string()) +
                      " is there already and not a link of ours; remove it first");
    fs::remove(link, reason);
    if (!reason && action_ == "install") {
        fs::create_directories(link.parent_path(), reason);
        if (!reason) fs::create_symlink(fs::read_symlink("/proc/self/exe"), link, reason);
    }
    if (reason)
        throw Failure("cannot " + action_ + " " + host::quoted(link.string()) + ": " + reason.message() +
                      "; run it as root, or name a folder of your own with --folder");
    print(action_ == "install" ? link.string() + " is there; 'tshark -D' lists the ports\n"
                               : link.string() + " is gone\n");
    return Done;
}

} // namespace orvo::host
