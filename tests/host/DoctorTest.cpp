// SPDX-License-Identifier: MIT
// `orvo-gige doctor` on installations that a test breaks, and `orvo-gige config show`.
#include "Process.h"
#include "base/DynamicLibrary.h"
#include "checkup/doctor/Checks.h"
#include "checkup/doctor/IsolatedCheck.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>

namespace orvo::host {
namespace {

namespace fs = std::filesystem;
using namespace testing_support;
using nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;

constexpr const char* hal = "lib64/liborvo_hal.so";
constexpr const char* dispatcher = "lib64/libcommon-logging-dispatcher.so";
constexpr const char* plugin = "lib64/plugins/liborvo-plugin-zume-phy-gige.so";

/// Links to the files of the built installation, in a root and home of its own.
class Copy {
public:
    Copy() {
        fs::create_directories(file("lib64/plugins"));
        for (const auto& name : {hal, plugin, dispatcher, "lib64/libkivrt.so", "lib64/liborvo-core.so",
                                 "lib64/liborvo-lib-zume.so"})
            fs::create_symlink(built(name), file(name));
        fs::create_directories(file("extcap"));
        writeFile(file("tshark"), "#!/bin/sh\necho 'Personal Extcap path:\t" + file("extcap") + "'\n");
        fs::permissions(file("tshark"), fs::perms::owner_all);
    }

    ~Copy() { fs::permissions(file(""), fs::perms::owner_all); }
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;

    std::string file(const std::string& name) const { return folder_.file(name); }
    static std::string built(const std::string& name) { return ORVO_BUILD_ROOT "/" + name; }

    /// Puts a real file of the build tree where a link was.
    void replace(const std::string& name, const std::string& source) const {
        fs::remove(file(name));
        fs::copy_file(built(source), file(name));
    }

    json ask(std::vector<std::string> command, int exitCode, std::vector<std::string> program = {}) const {
        program.insert(program.begin(),
                       {"env", "HOME=" + file(""), "PATH=" + file("") + ":" + std::getenv("PATH")});
        if (geteuid() == 0) // root may read everything
            program.insert(program.end(), {"setpriv", "--bounding-set=-all", "--inh-caps=-all"});
        program.emplace_back(ORVO_GIGE);
        command.insert(command.end(), {"--root", file(""), "--json"});
        command.insert(command.begin(), program.begin(), program.end());
        const auto outcome = Process(command).wait();
        EXPECT_EQ(outcome.exitCode, exitCode) << outcome.out;
        EXPECT_EQ(outcome.err, "");
        return json::parse(outcome.out);
    }

private:
    TemporaryFolder folder_;
};

std::vector<json> badOnes(const json& report) {
    std::vector<json> bad;
    for (const auto& check : report["checks"])
        if (check["result"] == "bad") bad.push_back(check);
    return bad;
}

/// Except for what the machine may lack. Optional parts may be absent.
void expectNoFault(const json& report, const std::vector<std::string>& absent) {
    std::vector<std::string> found;
    for (const auto& check : report["checks"]) {
        const auto name = check["check"].get<std::string>();
        if (name.starts_with("CAP_") || name == "TAP driver") continue;
        EXPECT_FALSE(check.contains("mend")) << check;
        if (check["result"] != "good") {
            EXPECT_EQ(check["result"], "absent") << check;
            EXPECT_THAT(check["found"].get<std::string>(), testing::StartsWith("not installed: "));
            found.push_back(name);
        }
        if (name == "liborvo_hal.so") {
            EXPECT_THAT(check["uncalled"].dump(), HasSubstr("\"OHalGetLEDs\""));
        }
    }
    EXPECT_EQ(found, absent);
}

// Only the cause is bad; checks that depend on it are not.
TEST(DoctorTest, NamesTheCauseAndWhatMendsIt) {
    using Command = std::vector<std::string>;
    const Command doctor = {"doctor"};
    const struct {
        const char* title;
        std::function<void(const Copy&)> destroy;
        Command command;
        std::string check, found, mend; // the last two are regular expressions
    } rows[] = {
        {"library missing", [](const Copy& copy) { fs::remove(copy.file(hal)); }, doctor, "liborvo_hal.so",
         "there is no '.*/lib64/liborvo_hal.so'",
         "^install -D .*/lib64/liborvo_hal.so .*/lib64/liborvo_hal.so$"},
        {"entry missing",
         [](const Copy& copy) { copy.replace(hal, "tests/stubs/libstub-hal-without-probe.so"); }, doctor,
         "liborvo_hal.so", "lacks functions that are called: OHalInitDevice$", "^install -D "},
        {"library that ends the process",
         [](const Copy& copy) { copy.replace(hal, "tests/stubs/libstub-ending.so"); }, doctor,
         "liborvo_hal.so", "^it (ended|crashed) the process", "^install -D "},
        {"no permission",
         [](const Copy& copy) {
             copy.replace(hal, hal);
             fs::permissions(copy.file(hal), fs::perms::none);
         },
         doctor, "liborvo_hal.so", "cannot be read: Permission denied", "^chmod a\\+r .*/liborvo_hal.so$"},
        {"closed root", [](const Copy& copy) { fs::permissions(copy.file(""), fs::perms::none); }, doctor,
         "installation", "^'/[^']*' cannot be entered: Permission denied$", "^chmod a\\+rx /[^ ]*$"},
        {"simulated board's configuration",
         [](const Copy& copy) {
             copy.replace(hal, hal);
             writeFile(copy.file("simulator.toml"), "\n[[board]]\nfoo = 1\n");
         },
         doctor, "kind of board", "/simulator.toml:3: unknown key 'foo'", "^editor \\+3 .*/simulator.toml$"},
        {"closed configuration",
         [](const Copy& copy) {
             copy.replace(hal, hal);
             writeFile(copy.file("simulator.toml"), "");
             fs::permissions(copy.file("simulator.toml"), fs::perms::none);
         },
         doctor, "kind of board", "/simulator.toml: cannot be read: Permission denied$",
         "^chmod a\\+r .*/simulator.toml$"},
        {"board without ports",
         [](const Copy& copy) {
             copy.replace(hal, hal);
             writeFile(copy.file("simulator.toml"), "[[board]]\nports = 0\n");
         },
         doctor, "port", "there is no port 0 on board 0", "^editor .*/simulator.toml$"},
        {"properties, of which the plug-in reads one",
         [](const Copy& copy) {
             writeFile(copy.file("rt.conf"),
                       "[FG]\nEnableLogging=\n[GIGE]\nDriverClassPortMask=2147483648\n");
         },
         doctor, "settings",
         "/rt.conf:4: '2147483648' of GIGE::DriverClassPortMask is not a whole number from 0 to 15; '0' "
         "\\(default\\)",
         "^editor \\+4 .*/rt.conf$"},
        {"no such port",
         [](const Copy&) {},
         {"doctor", "--port", "7"},
         "port",
         "there is no port 7 on board 0",
         "^choose a port that 'orvo-gige boards' lists$"},
        {"stale link",
         [](const Copy& copy) { fs::create_symlink("/gone/orvo-gige", copy.file("extcap/orvo-gige")); },
         doctor, "capture interfaces", "is a stale link: there is no '/gone/orvo-gige'$",
         "orvo-gige extcap install --folder .*/extcap$"},
        {"foreign plug-in", [](const Copy& copy) { copy.replace(plugin, "tests/stubs/libstub-plugin.so"); },
         doctor, "versions", "another plug-in .* 'stub'",
         "^install -D .*/plugins/liborvo-plugin-zume-phy-gige.so "},
        {"plug-in without a symbol",
         [](const Copy& copy) { copy.replace(plugin, "tests/stubs/libstub-plugin-plugin_init-other.so"); },
         doctor, "plug-in", "no symbol 'plugin_init'", "^install -D "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.title);
        const Copy copy;
        row.destroy(copy);
        const auto bad = badOnes(copy.ask(row.command, 3, {"STUB_ENDING=signal"}));
        ASSERT_EQ(bad.size(), 1u) << json(bad).dump(1);
        EXPECT_EQ(bad[0]["check"], row.check);
        EXPECT_THAT(bad[0]["found"].get<std::string>(), ContainsRegex(row.found));
        EXPECT_THAT(bad[0]["mend"].get<std::string>(), ContainsRegex(row.mend));
    }
}

TEST(DoctorTest, OptionalPartsThatAreNotInstalledAreNoFault) {
    const Copy copy;
    expectNoFault(copy.ask({"doctor"}, 0), {"capture interfaces"});
    fs::remove(copy.file(dispatcher));
    expectNoFault(copy.ask({"doctor"}, 0), {"libcommon-logging-dispatcher.so", "capture interfaces"});
}

// The mend names an installation near the wrong root; text has what JSON has.
TEST(DoctorTest, WrongRootLeadsToTheRightOne) {
    const Copy copy;
    const auto wrong = runTool({"doctor", "--root", copy.file("lib64/plugins")});
    EXPECT_EQ(wrong.exitCode, 3);
    EXPECT_THAT(wrong.out, ContainsRegex("^bad +installation +'.*/plugins' is not an installation"
                                         ".*\n    mend: .*doctor --root " +
                                         fs::path(copy.file("")).parent_path().string() + "\n"));
    const auto nowhere = runTool({"doctor", "--root", "/nowhere"});
    EXPECT_THAT(nowhere.out, ContainsRegex("bad .*No such file or directory\n    mend: [^ ]+ doctor\n"));
    EXPECT_THAT(nowhere.out, HasSubstr("\nThis installation does not work: 1 of "));
}

TEST(DoctorTest, SeesWhatTheMachineLacks) {
    const TemporaryFolder folder;
    const auto device = tapDriverCheck(folder.file("net/tun"));
    EXPECT_EQ(device.verdict, Verdict::Warning);
    EXPECT_THAT(device.mend, ContainsRegex("^sudo (modprobe tun|mkdir -p .*/net && sudo mknod .* c 10 200)"));
    fs::create_symlink(ORVO_GIGE, folder.file("orvo-gige")); // this test is another program
    EXPECT_EQ(extcapLinkCheck(folder.file("")).verdict, Verdict::Warning);
}

TEST(DoctorTest, SurvivesTheLibraryThatItChecks) {
    const Check blamed{"x", Verdict::Bad, "", "mend it"};
    const struct {
        const char* ending;
        std::chrono::milliseconds limit;
        const char* found;
    } rows[] = {
        {"signal", isolationLimit, "^it crashed the process with signal Segmentation fault$"},
        {"overflow", isolationLimit, "^it crashed the process with signal Segmentation fault$"},
        {"exception", isolationLimit,
         "crashed the process with signal Aborted; the last line it printed: .*no luck$"},
        {"exit", isolationLimit, "^it ended the process with exit code 0$"},
        {"hang", std::chrono::milliseconds(50), "^it did not finish within 50 ms$"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.ending);
        const auto load = [&row] {
            std::signal(SIGSEGV, SIG_DFL); // a sanitizer's handler would exit
            setenv("STUB_ENDING", row.ending, 1);
            const DynamicLibrary library(ORVO_STUB_ENDING);
            return Checks{{"x", Verdict::Good, "loaded"}};
        };
        const auto check = runIsolated(blamed, load, row.limit).at(0);
        EXPECT_EQ(check.verdict, Verdict::Bad);
        EXPECT_THAT(check.found, ContainsRegex(row.found));
        EXPECT_EQ(check.mend, "mend it");
    }
    const auto failing = []() -> Checks { throw std::runtime_error("no luck; try again"); };
    EXPECT_EQ(runIsolated(blamed, failing).at(0).found, "no luck");
}

TEST(ConfigTest, TellsWhereEachValueComesFrom) {
    const Copy copy;
    fs::create_directories(copy.file(".config/orvo"));
    writeFile(copy.file("rt.conf"), "[FG]\nEnableLogging = On\n[GIGE]\ndriverclassportmask = 99x\nstray\n");
    writeFile(copy.file(".config/orvo/rt.conf"), "[GIGE]\nDriverClassPortMask = abc # ports\n");
    const auto settings =
        copy.ask({"config", "show"}, 0,
                 {"ORVO_CXP_COMMAND_ACK_TIMEOUT=7", "ORVO_LOG=*=9", "ORVO_PRE_SEND_WAIT_TIME=12",
                  "ORVO_ENABLE_LOGGING=Off", "ORVO_LOG_FILE=" + copy.file("tshark/log")});
    const auto find = [&](const char* list, const std::string& name) {
        for (const auto& setting : settings[list])
            if (setting["name"] == name) return setting;
        return json();
    };
    const auto system = copy.file("rt.conf");
    const struct {
        const char *list, *name, *value;
        json origin;
    } rows[] = {
        {"properties", "GIGE::DriverClassPortMask", "99", {{"kind", "file"}, {"place", system}, {"line", 4}}},
        {"properties", "FG::EnableLogging", "On", {{"kind", "file"}, {"place", system}, {"line", 2}}},
        {"properties",
         "CXP::CommandAckTimeout",
         "7",
         {{"kind", "environment"}, {"place", "ORVO_CXP_COMMAND_ACK_TIMEOUT"}}},
        {"properties", "CXP::InitialPowercycle", "On", {{"kind", "default"}}},
        {"others", "ORVO_LOG", "*=4", {{"kind", "default"}}},
        {"others",
         "ORVO_PRE_SEND_WAIT_TIME",
         "12",
         {{"kind", "environment"}, {"place", "ORVO_PRE_SEND_WAIT_TIME"}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto setting = find(row.list, row.name);
        EXPECT_EQ(setting["value"], row.value);
        EXPECT_EQ(setting["origin"], row.origin);
    }
    EXPECT_EQ(find("others", "installation")["origin"]["kind"], "argument");
    const auto mask = find("properties", "GIGE::DriverClassPortMask");
    EXPECT_EQ(mask["unreadable"][0]["value"], "abc");
    EXPECT_EQ(mask["unreadable"][0]["origin"]["line"], 2);
    EXPECT_THAT(mask["note"].get<std::string>(), ContainsRegex("'99x' is read; .*, 15 at most"));
    EXPECT_EQ(find("others", "ORVO_LOG_FILE")["unreadable"][0]["expected"],
              "a file that can be written (Not a directory)");
    EXPECT_EQ(find("others", "ORVO_LOG")["unreadable"][0]["value"], "*=9");
    EXPECT_THAT(settings["remarks"].dump(), HasSubstr("'stray' is neither"));
    const auto text = runTool({"config", "show", "--", "-CXPpower=Off"}).out;
    EXPECT_THAT(text, ContainsRegex("CXP::InitialPowercycle +Off +argument -CXPpower=Off"));
}

} // namespace
} // namespace orvo::host
