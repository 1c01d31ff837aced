// The format of properties files, line by line.
#include "config/PropertiesFile.h"

#include "support/TemporaryFolder.h"

#include <optional>

namespace orvo::test {
namespace {

using templates::platform::PropertiesFile;

std::optional<std::string> valueOf(PropertiesFile& file, const std::string& key) {
    bool found = true;
    const std::string& value = file.property(key, &found);
    EXPECT_EQ(file.property(key, nullptr), value);
    if (found) return value;
    EXPECT_EQ(value, "");
    return std::nullopt;
}

TEST(PropertiesFile, ReadsLineByLine) {
    const std::string key = "GIGE::DriverClassPortMask";
    const struct {
        const char* text;
        std::string key;
        std::optional<std::string> value;
    } rows[] = {{"[GIGE]\nDriverClassPortMask = 5 # ports 0 and 2\n", key, "5"},
                {"[gige]\ndrivERclassportmask=7", key, "7"},
                {"DriverClassPortMask = 5\n[GIGE]\n", key, {}},
                {"DriverClassPortMask = 5\n[GIGE]\n", "DriverClassPortMask", {}},
                {"DriverClassPortMask = 5\n", "::DriverClassPortMask", {}},
                {"[GIGE]\n[ ]\nDriverClassPortMask = 5\n", key, {}},
                {"[GIGE]\n[ ]\nDriverClassPortMask = 5\n", "::DriverClassPortMask", {}},
                {"[GIGE]\n[]\n[\nDriverClassPortMask = 5\n", key, "5"},
                {"  [\tGIGE ] \r\n\tDriverClassPortMask\t=\v5 \f\r\n", key, "5"},
                {"[GIGE] # the ports\nDriverClassPortMask=5\n", key, "5"},
                {"# [GIGE]\nDriverClassPortMask=5\n", key, {}},
                {"[GIGE]\n#DriverClassPortMask=5\n", key, {}},
                {"[GIGE]\nDriverClassPortMask=5\nDriverClassPortMask=6\n", key, "6"},
                {"[GIGE]\nDriverClassPortMask=5\n[FG]\nx=1\n[gigE]\nDRIVERCLASSPORTMASK=6\n", key, "6"},
                {"[FG]\nDriverClassPortMask=5\n", key, {}},
                {"[GIGE]\nDriverClassPortMask 5\n", key, {}},
                {"[GIGE]\nDriverClassPortMask =\n", key, ""},
                {"[GIGE]\n= 5\n", "GIGE::", "5"},
                {"[s]\nkey = a=b\n", "S::KEY", "a=b"},
                {"[s]\nkey = a#b\n", "s::key", "a"},
                {"[s]\nKey = Mixed Case\n", "s::key", "Mixed Case"},
                {"[s]\n[key = a\n", "s::[key", "a"},
                {"[s]\n[key = a]\nx=1\n", "key = a::x", "1"},
                {"[s]\nx::y=1\n", "s::x::y", "1"},
                {"[s]x\nkey=1\n", "s::key", {}},
                {"[s]\nkey=1", "key", {}},
                {"[s]\nkey=1", "", {}}};
    const TemporaryFolder folder;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        PropertiesFile file(true, false);
        EXPECT_TRUE(file.load(folder.write("rt.conf", row.text), true, true));
        EXPECT_EQ(valueOf(file, row.key), row.value);
    }
}

TEST(PropertiesFile, SecondFileAddsOrReplaces) {
    const TemporaryFolder folder;
    const auto firstFile = folder.write("1", "[s]\na=1\nb=1\n"),
               secondFile = folder.write("2", "[s]\nb=2\nb=3\n");
    const struct {
        bool append, overwrite;
        std::optional<std::string> a, b;
    } rows[] = {
        {true, true, "1", "3"}, {true, false, "1", "1"}, {false, true, {}, "3"}, {false, false, {}, "2"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "append " << row.append << ", overwrite " << row.overwrite);
        PropertiesFile file(true, false);
        ASSERT_TRUE(file.load(firstFile, true, true));
        EXPECT_FALSE(file.load(folder / "missing", row.append, row.overwrite));
        EXPECT_EQ(valueOf(file, "s::a"), "1") << "a missing file changes nothing";
        ASSERT_TRUE(file.load(secondFile, row.append, row.overwrite));
        EXPECT_EQ(valueOf(file, "s::a"), row.a);
        EXPECT_EQ(valueOf(file, "s::b"), row.b);
    }
}

TEST(PropertiesFile, SectionsAndCaseCanBeHadOtherwise) {
    const TemporaryFolder folder;
    const auto path = folder.write("rt.conf", "a=1\n[s]\nA=2\n[x=3\n");
    PropertiesFile flat(false, false), exact(true, true);
    ASSERT_TRUE(flat.load(path, true, true));
    EXPECT_EQ(valueOf(flat, "a"), "2");
    EXPECT_EQ(valueOf(flat, "[X"), "3");
    ASSERT_TRUE(exact.load(path, true, true));
    EXPECT_EQ(valueOf(exact, "s::A"), "2");
    EXPECT_EQ(valueOf(exact, "s::a"), std::nullopt);
    EXPECT_EQ(valueOf(exact, "S::A"), std::nullopt);
}

} // namespace
} // namespace orvo::test
