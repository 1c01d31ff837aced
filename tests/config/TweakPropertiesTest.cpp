// SPDX-License-Identifier: MIT
// Where a tuning value comes from, and the table of all of them.
#include "config/TweakProperties.h"

#include "support/EnvironmentVariable.h"
#include "support/HostLocale.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fstream>
#include <stdexcept>

namespace orvo::test {
namespace {

using templates::platform::TweakProperties;
using templates::platform::TweakPropertyEntry;
using templates::platform::tweakPropertyTable;

/// What a look-up gives with the files "user" and "system" in `folder`: the value, or the text of the
/// refusal.
std::string lookUp(TweakProperties& properties, const TweakPropertyEntry* table, const std::string& key,
                   const TemporaryFolder& folder) {
    try {
        return std::to_string(
            properties.property<int>(table, folder.file("user"), folder.file("system"), key, 0, nullptr));
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

TEST(TweakProperties, FirstSourceWithAValidValueWins) {
    const struct {
        const char *user, *system, *environment; // null for none
        const char* value;
    } rows[] = {
        {{}, {}, {}, "0"},       {{}, {}, "5", "5"},           {"3", {}, "5", "3"},  {"3", "2", "5", "3"},
        {{}, "2", "5", "2"},     {"abc", "2", "5", "2"},       {"", "On", "5", "5"}, {{}, {}, "0x0F", "0"},
        {"abc", "", "Off", "0"}, {"99999999999", {}, {}, "0"}, {"-1", "7", {}, "-1"}};
    const std::string line = "[GIGE]\nDriverClassPortMask=";
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(std::tie(row.user, row.system, row.environment)));
        const TemporaryFolder folder;
        const EnvironmentVariable environment("ORVO_GIGE_DRIVER_CLASS_PORT_MASK", row.environment);
        if (row.user) folder.write("user", line + row.user);
        if (row.system) folder.write("system", line + row.system);
        TweakProperties properties;
        EXPECT_EQ(lookUp(properties, tweakPropertyTable, "GIGE::DriverClassPortMask", folder), row.value);
    }
}

TEST(TweakProperties, LastFittingArgumentWins) {
    const std::pair<std::vector<std::string>, int> rows[] = {
        {{}, 9},
        {{"program", "--pcap=1", "-PCAP=0"}, 0},
        {{"--pcap=1", "--pcap=x", "--pcap"}, 1},
        {{"pcap=4=5"}, 4},
        {{"----", "=3", "--=3", "--pcaps=3", "--pca=3", "-- pcap=3", "--pcap =3"}, 9},
        {{"--pcap=", "--pcap=On"}, 9},
        {{"---PcAp=12abc"}, 12}};
    for (auto [arguments, value] : rows) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        std::vector<char*> argv;
        for (auto& argument : arguments) argv.push_back(argument.data());
        const auto lookUpIn = [argc = static_cast<int>(argv.size())](const char* option, char** in) {
            return TweakProperties().internalProperty<int>("", "", "k", "", option, "9", argc, in);
        };
        EXPECT_EQ(lookUpIn("pcap", argv.data()), value);
        EXPECT_EQ(lookUpIn("", argv.data()), 9);
        EXPECT_EQ(lookUpIn("pcap", nullptr), 9);
    }
}

TEST(TweakProperties, NumbersAreReadToTheirFirstForeignCharacter) {
    const std::pair<const char*, std::vector<const char*>> rows[] = {
        {"7", {"7", " 7", "\t\n7 8", "7.9", "+7", "007"}},
        {"12", {"12abc"}},
        {"0", {"0x0F"}},
        {"2147483647", {"2147483647"}},
        {"-2147483648", {"-2147483648"}},
        {"TweakProperties: No valid value found for property 's::key'",
         {"2147483648", "-2147483649", "", " ", "On", "-", "- 3"}}};
    const TemporaryFolder none;
    for (const auto& [value, texts] : rows)
        for (const char* text : texts) {
            SCOPED_TRACE(text);
            const EnvironmentVariable variable("ORVO_TEST", text);
            const TweakPropertyEntry fromEnvironment[] = {{"s::key", "ORVO_TEST", "", "none"}, {}},
                                     fromDefault[] = {{"s::key", "", "", text}, {}};
            TweakProperties one, other;
            EXPECT_EQ(lookUp(one, fromEnvironment, "s::key", none), value);
            EXPECT_EQ(lookUp(other, fromDefault, "s::key", none), value);
        }
}

TEST(TweakProperties, FilesAndTableAreReadOncePerObject) {
    const TemporaryFolder folder;
    const TweakPropertyEntry table[] = {
        {"s::a", "", "", "1"}, {"s::a", "", "", "2"}, {"s::b", "", "", "Off"}, {}};
    const TweakPropertyEntry other[] = {{"s::c", "", "", "3"}, {}};
    TweakProperties properties, later;
    folder.write("system", "[s]\nb=5\nnew=1\n");
    EXPECT_EQ(lookUp(properties, table, "s::a", folder), "2") << "the later of two rows";
    folder.write("user", "[s]\na=7\nb=7\n"); // too late for this object
    folder.write("system", "[s]\nb=6\n");
    EXPECT_EQ(lookUp(properties, table, "s::b", folder), "5");
    EXPECT_EQ(lookUp(properties, other, "s::a", folder), "2");
    EXPECT_EQ(lookUp(later, table, "s::b", folder), "7");
    for (const std::string key : {"s::c", "s::new", "S::a", ""}) // whatever table and files hold
        EXPECT_EQ(lookUp(properties, other, key, folder),
                  "TweakProperties: Unknown property requested: '" + key + "'");
}

TEST(TweakProperties, OptionNamesIgnoreCaseAndNumbersAreReadAsTheHostsLocaleHasIt) {
    const HostLocale locale;
    const EnvironmentVariable variable("ORVO_TEST", "1234567");
    char argument[] = "--PCap=89";
    char* argv[] = {argument};
    TweakProperties properties;
    const auto value = [&](const char* option, int argc) {
        return properties.internalProperty<int>("", "", "k", "ORVO_TEST", option, "", argc, argv);
    };
    EXPECT_EQ(value("qcap", 1), 89) << "in this locale the upper case of q is P";
    EXPECT_EQ(value("qcap", 0), 1'234'567);
}

TEST(TweakPropertyTable, IsAsAgreed) {
    const auto shown = [](const std::string& text) { return text.empty() ? "-" : text; };
    std::vector<std::string> agreed, found;
    std::ifstream file(ORVO_SOURCE_ROOT "/tests/config/tweaks.txt");
    for (std::string line; std::getline(file, line);)
        if (!line.starts_with('#')) agreed.push_back(line);
    for (const auto* row = tweakPropertyTable; row->key; ++row)
        found.push_back(row->key + (" " + shown(row->environmentVariable)) + " " +
                        shown(row->commandLineOption) + " " + shown(row->defaultValue));
    EXPECT_EQ(found.size(), 52U);
    EXPECT_EQ(found, agreed);
}

} // namespace
} // namespace orvo::test
