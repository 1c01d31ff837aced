// SPDX-License-Identifier: MIT
// The lab as a process: what it connects, what it refuses, and that nothing outlives it.
#include "Process.h"

#include <net/if.h>

#include <algorithm>
#include <cstdlib>
#include <list>
#include <regex>
#include <set>
#include <sstream>

namespace orvo::host {
namespace {

using namespace testing_support;
using testing::HasSubstr;

using Command = std::vector<std::string>;

/// Why there can be no lab here; nothing when there can.
std::string obstacle() {
    if (geteuid() != 0) return "a lab needs root";
    if (access("/dev/net/tun", R_OK | W_OK) != 0) return "there is no /dev/net/tun";
    return std::system("unshare --net --mount --pid --fork true 2>/dev/null") == 0
               ? ""
               : "no namespaces can be made here";
}

std::set<std::string> interfaces() {
    std::set<std::string> names;
    auto* const list = if_nameindex();
    for (const auto* i = list; i && i->if_index != 0; ++i) names.insert(i->if_name);
    if_freenameindex(list);
    return names;
}

/// A running lab, whose processes are known by a variable in their environment.
class MarkedLab {
public:
    MarkedLab(const std::string& name, Command arguments)
        : mark_("ORVO_LAB_TEST=" + std::to_string(getpid()) + name),
          process_(command(std::move(arguments)), {mark_, "ORVO_BOARD=nobody"}) {} // boards are its own

    std::size_t processes() const {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc"))
            count += contentOf(entry.path() / "environ").find(mark_) != std::string::npos;
        return count;
    }
    bool vanishes() const {
        return happens([this] { return processes() == 0; });
    }
    void signal(int number) const { process_.signal(number); }
    Outcome wait() { return process_.wait(); }

private:
    static Command command(Command arguments) {
        arguments.insert(arguments.begin(), {ORVO_GIGE, "lab"});
        return arguments;
    }

    const std::string mark_;
    Process process_;
};

class LabTest : public testing::Test {
protected:
    LabTest() { setenv("ASAN_OPTIONS", "detect_leaks=0", 1); } // the leak checker fails in PID namespaces
};

TEST_F(LabTest, CommandsOfBothEndsReachEachOtherThroughThePort) {
    if (const auto reason = obstacle(); !reason.empty()) GTEST_SKIP() << reason;
    const auto before = interfaces();
    const TemporaryFolder folder;
    const auto cameraSaw = folder.file("camera");
    const std::string hostCommand =
        "ls /sys/class/net; ping -A -c 20 -w 30 -s 1471 $ORVO_LAB_CAMERA_ADDRESS; "
        "setsid sleep 99 & exit 7";
    MarkedLab lab("ping", {"--camera", "ls /sys/class/net >" + cameraSaw + "; exit 5", "--camera-address",
                           "10.9.8.1/30", "--host-address", "10.9.8.2/30", "--port", "2", "--", "sh", "-c",
                           hostCommand});
    const auto outcome = lab.wait();
    EXPECT_EQ(outcome.exitCode, 7);
    EXPECT_THAT(outcome.out, testing::StartsWith("gige0\nlo\nPING 10.9.8.1"));
    EXPECT_THAT(outcome.out, HasSubstr(" 20 received")); // with -w, ping asks on while a reply is late
    EXPECT_THAT(outcome.out, testing::Not(HasSubstr("icmp_seq=21 "))) << "a frame was lost";
    EXPECT_EQ(contentOf(cameraSaw), "camera0\nlo\n");
    EXPECT_THAT(outcome.err, HasSubstr("the camera's program ended with exit code 5"));
    EXPECT_THAT(outcome.err, HasSubstr("port 0/2 is gige0, 10.9.8.2/30"));
    EXPECT_THAT(outcome.err, HasSubstr("dropped   0 frames"));
    EXPECT_TRUE(lab.vanishes()) << "what the command left running";
    EXPECT_EQ(interfaces(), before);
}

// On a busy machine images are lost, and the account tells as many as all others.
TEST_F(LabTest, TheDemonstrationsNumbersAgreeWithTheClientsAndThePorts) {
    if (const auto reason = obstacle(); !reason.empty()) GTEST_SKIP() << reason;
    const TemporaryFolder folder;
    const auto image = folder.file("image.png");
    const auto [exitCode, out, err] = runTool({"demo", "--duration", "2", "--write", image});
    if (err.find("demo needs Aravis") != std::string::npos) GTEST_SKIP() << err;
    if (err.find("demo: the camera stopped answering") != std::string::npos)
        GTEST_SKIP() << "other programs take too much of the processor";
    const auto numbers = [](std::string text, const std::string& pattern) {
        std::erase(text, ',');
        std::vector<std::uint64_t> found;
        const std::regex form(pattern);
        for (std::sregex_iterator at(text.begin(), text.end(), form), end; at != end; ++at)
            for (std::size_t i = 1; i < at->size(); ++i) found.push_back(std::stoull(at->str(i)));
        return found;
    };
    const auto complete = numbers(out, "acquired .*: ([0-9]+) complete"),
               packets = numbers(out, "; ([0-9]+) packets"),
               completeHere = numbers(err, "images +([0-9]+) complete"),
               packetsHere = numbers(err, "packets +([0-9]+) received"),
               account = numbers(err, "streams' account +([0-9]+) and ([0-9]+) others"),
               plugin = numbers(err, "plug-in +([0-9]+)"),
               board = numbers(err, "board +([0-9]+) +[0-9]+ +([0-9]+)");
    ASSERT_TRUE(complete.size() == 2 && packets.size() == 2 && completeHere.size() == 2 &&
                packetsHere.size() == 2 && account.size() == 2 && plugin.size() == 1 && board.size() == 2)
        << out << err;
    const auto areSame = [&](std::size_t i) {
        return complete[i] == completeHere[i] && packets[i] == packetsHere[i];
    };
    for (std::size_t i = 0; i < 2; ++i) // the client may leave before an image that comes late
        EXPECT_TRUE(complete[i] <= completeHere[i] && packets[i] <= packetsHere[i]) << out << err;
    if (exitCode == 0)
        EXPECT_TRUE(areSame(0) || areSame(1)) << out << err;
    else
        EXPECT_THAT(err, HasSubstr("demo: the client lacks images"));
    EXPECT_EQ(account[0], packetsHere[0] + packetsHere[1]);
    EXPECT_EQ(account[0] + account[1], plugin[0]);
    EXPECT_EQ(plugin[0] + board[1], board[0]);
    if (complete[0] == 0) return;
    const std::string beginning("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\1\x90\0\0\1\x2c", 24); // 400 x 300
    EXPECT_THAT(contentOf(image), testing::StartsWith(beginning));
}

// A web server's answer and pings, recorded by the analyser's own recorder at the host end.
TEST_F(LabTest, ARecordingOfOthersTrafficIsWholeAndCountsWhatThePluginCounts) {
    if (const auto reason = obstacle(); !reason.empty()) GTEST_SKIP() << reason;
    if (Process({"sh", "-c", "command -v dumpcap && command -v tshark"}).wait().exitCode != 0)
        GTEST_SKIP() << "tshark is not installed";
    const TemporaryFolder folder;
    std::string body;
    for (unsigned i = 0; i < 5'000'001; ++i) body.push_back(static_cast<char>(i * 2'654'435'761U >> 24));
    writeFile(folder.file("body"), body);
    writeFile(folder.file("client.py"), R"(
import sys, time, urllib.request
direct = urllib.request.build_opener(urllib.request.ProxyHandler({}))
for attempt in range(200):  # the server may not listen yet
    try:
        open(sys.argv[1], 'wb').write(direct.open('http://192.168.77.1:8080/body', timeout=20).read())
        break
    except OSError:
        time.sleep(0.1)
)");
    const std::string hostCommand = R"sh(cd "$0" || exit 1
dumpcap -q -B 64 -i gige0 -w recorded 2>recorder &
for i in $(seq 200); do grep -q File: recorder && break; sleep 0.1; done
python3 client.py seen
ping -q -A -c 200 -w 30 $ORVO_LAB_CAMERA_ADDRESS
for i in $(seq 60); do # what it recorded reaches the file some time later
    [ "$(tshark -r recorded -Y 'icmp.type == 0' 2>/dev/null | wc -l)" -ge 200 ] && break
    sleep 0.2
done
kill -INT $!
wait $!)sh";
    MarkedLab lab("record",
                  {"--camera", "exec python3 -m http.server --directory " + folder.file("") + " 8080", "--",
                   "sh", "-c", hostCommand, folder.file("")});
    const auto outcome = lab.wait();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err << contentOf(folder.file("recorder"));
    EXPECT_TRUE(contentOf(folder.file("seen")) == body);
    EXPECT_THAT(outcome.out, HasSubstr(" 200 received"));
    const auto counted = [&](const std::string& direction) {
        const auto found = outcome.err.find(direction + " - ");
        return found == std::string::npos ? 0 : std::stoul(outcome.err.substr(found + direction.size() + 3));
    };
    const auto read = Process({"tshark", "-r", folder.file("recorded"), "-T", "fields", "-e", "frame.len"},
                              {"HOME=" + folder.file("")})
                          .wait();
    EXPECT_THAT(read.err, testing::Not(testing::ContainsRegex("[Ww]arning|damaged|cut short|[Ee]rror")));
    EXPECT_GT(counted("Recv"), 3000u);
    std::istringstream lengths(read.out);
    std::size_t frames = 0;
    constexpr std::size_t headers = 66, payload = 1448; // of a full frame of TCP with time stamps
    for (std::size_t bytes = 0; lengths >> bytes;)      // the bridge joins segments that wait
        frames += bytes <= headers + payload ? 1 : (bytes - headers + payload - 1) / payload;
    EXPECT_EQ(frames, counted("Send") + counted("Recv"));
}

TEST_F(LabTest, BodiesOfAllSizesPassBothWaysWithoutLossAndWithInterfacesAsTheyCome) {
    if (const auto reason = obstacle(); !reason.empty()) GTEST_SKIP() << reason;
    const std::string script = "python3 " ORVO_HTTP_BODIES;
    // A port's queue holds half a megabyte. TCP that may have more on its way fills any queue until it loses.
    const std::string less = "echo 4096 16384 200000 > /proc/sys/net/ipv4/tcp_wmem && ";
    MarkedLab lab("bodies", {"--camera", less + "exec " + script + " serve 12", "--", "sh", "-c",
                             script + " move 12 && ping -q -A -c 50 -w 30 $ORVO_LAB_CAMERA_ADDRESS"});
    const auto outcome = lab.wait();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, testing::AllOf(HasSubstr("identical;"), HasSubstr(" 50 received")));
    EXPECT_THAT(outcome.err, testing::ContainsRegex("dropped +0 frames\n"));
}

TEST_F(LabTest, NothingOutlivesIt) {
    if (const auto reason = obstacle(); !reason.empty()) GTEST_SKIP() << reason;
    const auto before = interfaces();
    const TemporaryFolder folder;
    const struct {
        std::string name;
        int signal, exitCode;
        bool commandRuns;
    } cases[] = {{"made", SIGINT, 130, false},
                 {"cut", SIGKILL, 137, false},
                 {"run", SIGINT, 130, true},
                 {"stubborn", SIGTERM, 143, true},
                 {"killed", SIGKILL, 137, true}};
    std::list<MarkedLab> labs;
    for (const auto& [name, signal, exitCode, commandRuns] : cases) {
        const std::string ignoring = name == "run" ? "" : "trap '' INT TERM HUP; ";
        labs.emplace_back(name,
                          Command{"--camera", ignoring + "sleep 99; sleep 99", "--", "sh", "-c",
                                  ignoring + "setsid sleep 99 & : >" + folder.file(name) + "; sleep 99"});
    }
    auto lab = labs.begin();
    for (const auto& [name, signal, exitCode, commandRuns] : cases) {
        SCOPED_TRACE(name);
        const bool waitsForCommand = commandRuns;
        EXPECT_TRUE(happens([&, &file = name] {
            return waitsForCommand ? std::filesystem::exists(folder.file(file)) : lab->processes() >= 4;
        }));
        lab->signal(signal);
        const auto outcome = lab->wait();
        EXPECT_EQ(outcome.exitCode, exitCode) << outcome.err;
        EXPECT_TRUE(lab->vanishes());
        EXPECT_EQ(std::filesystem::exists(folder.file(name)), commandRuns);
        ++lab;
    }
    EXPECT_EQ(interfaces(), before);
}

TEST_F(LabTest, RefusesWhatCannotBe) {
    expectRefusal({"lab", "--", "no-such-program"}, 2, "there is no program 'no-such-program'");
    expectRefusal({"lab", "--host-address", "192.168.77.1/24", "--", "true"}, 2,
                  "both ends would have the address 192.168.77.1");
    for (const char* address : {"fd00::1/64", "10.0.0.1", "10.0.0.1/33"})
        expectRefusal({"lab", "--camera-address", address, "--", "true"}, 2, "with an IPv4 address");
    for (const char* address : {"127.0.0.1/8", "0.0.0.0/0", "224.0.0.1/4", "10.0.0.0/24", "10.0.0.255/24"})
        expectRefusal({"lab", "--host-address", address, "--", "true"}, 2, "is not for a host of a network");
    if (obstacle().empty()) {
        const auto outcome =
            runTool({"lab", "--port", "9", "--host-address", "192.168.78.2/23", "--", "true"});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(
            outcome.err,
            "orvo-gige: the ends are in different networks, 192.168.77.1/24 and 192.168.78.2/23, so only "
            "broadcasts pass between them\n"
            "orvo-gige: there is no port 0/9; 'orvo-gige boards' lists boards and ports\n");
    }
    const struct {
        Command surroundings; // a command that runs the lab in them
        std::string complaint;
    } cases[] = {
        {geteuid() == 0 ? Command{"unshare", "--user"} : Command{"env"}, "lab needs root"},
        {{"setpriv", "--bounding-set=-sys_admin", "--inh-caps=-sys_admin"}, "cannot make namespaces"},
        {{"unshare", "--mount", "sh", "-c", "mount -t tmpfs none /dev/net && exec \"$0\" \"$@\""},
         "cannot open '/dev/net/tun'"}};
    for (const auto& [surroundings, complaint] : cases) {
        SCOPED_TRACE(complaint);
        if (const auto reason = obstacle(); !reason.empty() && surroundings[0] != "env")
            GTEST_SKIP() << reason;
        auto command = surroundings;
        command.insert(command.end(), {ORVO_GIGE, "lab", "--", "true"});
        const auto outcome = Process(command).wait();
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.err, testing::MatchesRegex("orvo-gige: [^\n]*\n"));
        EXPECT_THAT(outcome.err, HasSubstr(complaint));
    }
}

} // namespace
} // namespace orvo::host
