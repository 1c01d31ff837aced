// Where a tuning value comes from, and the table of all of them.
#include "config/TweakProperties.h"

#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <optional>
#include <set>
#include <stdexcept>

namespace orvo::test {
namespace {

using templates::platform::TweakProperties;
using templates::platform::TweakPropertyEntry;
using templates::platform::tweakPropertyTable;

/// What a lookup gives: the value, or the text of the refusal.
template <class Lookup> std::string outcome(Lookup lookup) {
    try {
        return std::to_string(lookup());
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

std::string lookUp(const TweakPropertyEntry* table, const char* key, const TemporaryFolder& folder) {
    return outcome([&] {
        return TweakProperties().property<int>(table, folder / "user", folder / "system", key, 0, nullptr);
    });
}

TEST(TweakProperties, FirstSourceWithAValidValueWins) {
    const struct {
        std::optional<std::string> user, system, environment;
        std::string value;
    } rows[] = {
        {{}, {}, {}, "0"},       {{}, {}, "5", "5"},           {"3", {}, "5", "3"},  {"3", "2", "5", "3"},
        {{}, "2", "5", "2"},     {"abc", "2", "5", "2"},       {"", "On", "5", "5"}, {{}, {}, "0x0F", "0"},
        {"abc", "", "Off", "0"}, {"99999999999", {}, {}, "0"}, {"-1", "7", {}, "-1"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(std::tie(row.user, row.system, row.environment)));
        const TemporaryFolder folder;
        const char* const variable = row.environment ? row.environment->c_str() : nullptr;
        const EnvironmentVariable environment("ORVO_GIGE_DRIVER_CLASS_PORT_MASK", variable);
        if (row.user) folder.write("user", "[GIGE]\nDriverClassPortMask=" + *row.user);
        if (row.system) folder.write("system", "[GIGE]\nDriverClassPortMask=" + *row.system);
        EXPECT_EQ(lookUp(tweakPropertyTable, "GIGE::DriverClassPortMask", folder), row.value);
    }
}

TEST(TweakProperties, LastFittingArgumentWins) {
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{}, "9"},
        {{"program", "--pcap=1", "-PCAP=0"}, "0"},
        {{"--pcap=1", "--pcap=x", "--pcap"}, "1"},
        {{"pcap=4=5"}, "4"},
        {{"----", "=3", "--=3", "--pcaps=3", "--pca=3", "-- pcap=3", "--pcap =3"}, "9"},
        {{"--pcap=", "--pcap=On"}, "9"},
        {{"---PcAp=12abc"}, "12"}};
    const auto lookUp = [](const char* option, int argc, char** argv) {
        return std::to_string(
            TweakProperties().internalProperty<int>("", "", "k", "", option, "9", argc, argv));
    };
    for (auto [arguments, value] : rows) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        std::vector<char*> argv;
        for (auto& argument : arguments) argv.push_back(argument.data());
        const auto argc = static_cast<int>(argv.size());
        EXPECT_EQ(lookUp("pcap", argc, argv.data()), value);
        EXPECT_EQ(lookUp("", argc, argv.data()), "9");
        EXPECT_EQ(lookUp("pcap", -1, argv.data()), "9");
        EXPECT_EQ(lookUp("pcap", argc, nullptr), "9");
    }
}

TEST(TweakProperties, NumbersAreReadToTheirFirstForeignCharacter) {
    const std::pair<const char*, std::vector<const char*>> rows[] = {
        {"7", {"7", " 7", "\t\n7 8", "7.9", "+7", "007"}},
        {"12", {"12abc"}},
        {"0", {"0x0F"}},
        {"-3", {"-3"}},
        {"2147483647", {"2147483647"}},
        {"-2147483648", {"-2147483648"}},
        {"TweakProperties: No valid value found for property 's::key'",
         {"2147483648", "-2147483649", "", " ", "On", "Off", "abc", "-", "- 3"}}};
    for (const auto& [value, texts] : rows)
        for (const char* text : texts) {
            SCOPED_TRACE(text);
            const EnvironmentVariable variable("ORVO_TEST", text);
            const TweakPropertyEntry table[] = {
                {"s::key", "ORVO_TEST", "", "none"}, {"s::other", "", "", text}, {}};
            const TemporaryFolder none;
            EXPECT_EQ(lookUp(table, "s::key", none), value);
            EXPECT_EQ(lookUp(table, "s::other", none).substr(0, 40), std::string(value).substr(0, 40));
        }
}

TEST(TweakProperties, UnknownKeysAreRefusedWhateverTheFilesHold) {
    const TemporaryFolder folder;
    folder.write("user", "[GIGE]\nNew=1\n[gige]\ndriverclassportmask=1\n");
    for (const char* key : {"GIGE::New", "gige::driverclassportmask", "DriverClassPortMask", ""})
        EXPECT_EQ(lookUp(tweakPropertyTable, key, folder),
                  "TweakProperties: Unknown property requested: '" + std::string(key) + "'");
}

TEST(TweakProperties, FilesAndTableAreReadOncePerObject) {
    const TemporaryFolder folder;
    const TweakPropertyEntry table[] = {
        {"s::a", "", "", "1"}, {"s::a", "", "", "2"}, {"s::b", "", "", "Off"}, {}};
    const TweakPropertyEntry other[] = {{"s::c", "", "", "3"}, {}};
    TweakProperties properties;
    const auto again = [&](const TweakPropertyEntry* rows, const char* key) {
        return outcome([&] {
            return properties.property<int>(rows, folder / "user", folder / "system", key, 0, nullptr);
        });
    };
    folder.write("system", "[s]\nb=5\n");
    EXPECT_EQ(again(table, "s::a"), "2") << "the later of two rows";
    folder.write("user", "[s]\na=7\nb=7\n"); // too late for this object
    folder.write("system", "[s]\nb=6\n");
    EXPECT_EQ(again(table, "s::b"), "5");
    EXPECT_EQ(again(other, "s::a"), "2");
    EXPECT_EQ(again(other, "s::c"), "TweakProperties: Unknown property requested: 's::c'");
    EXPECT_EQ(lookUp(table, "s::b", folder), "7");
}

TEST(TweakPropertyTable, RowsAgreeWithEachOther) {
    std::set<std::string> keys, variables, options;
    std::size_t named = 0;
    for (const auto* row = tweakPropertyTable; row->key; ++row) {
        SCOPED_TRACE(row->key);
        EXPECT_TRUE(keys.insert(row->key).second);
        EXPECT_THAT(row->key, testing::MatchesRegex("[A-Za-z]+::[A-Za-z0-9]+"));
        EXPECT_THAT(row->environmentVariable, testing::MatchesRegex("(ORVO_[A-Z0-9_]+)?"));
        named += *row->environmentVariable != 0;
        variables.insert(row->environmentVariable);
        options.insert(row->commandLineOption);
        ASSERT_NE(row->defaultValue, nullptr);
    }
    EXPECT_EQ(keys.size(), 52U);
    EXPECT_EQ(named, 45U);
    EXPECT_EQ(variables.size(), 46U) << "each its own, and none";
    EXPECT_THAT(options, testing::ElementsAre("", "cxppower", "disablePoCXP", "pcap", "pcaplimit"));
}

} // namespace
} // namespace orvo::test
