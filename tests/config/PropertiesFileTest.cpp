// SPDX-License-Identifier: MIT
// The format of properties files, line by line.
#include "config/PropertiesFile.h"

#include "support/Concurrency.h"
#include "support/HostLocale.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <optional>

namespace orvo::test {
namespace {

using templates::platform::PropertiesFile;

std::optional<std::string> valueOf(PropertiesFile& file, const std::string& key) {
    bool found = true;
    const std::string value = file.property(key, &found);
    EXPECT_TRUE(found || value.empty());
    return found ? std::optional(value) : std::nullopt;
}

TEST(PropertiesFile, ReadsLineByLine) {
    const struct {
        const char* text;
        const char* key;
        std::optional<std::string> value;
    } rows[] = {{"[GIGE]\nPortMask = 5 # ports 0 and 2\n", "gige::PORTMASK", "5"},
                {"key = 5\n[s]\n", "s::key", {}},
                {"key = 5\n", "::key", {}},
                {"[s]\n[ ]\nkey = 5\n", "s::key", {}},
                {"[s]\n[]\n[\nkey = 5\n", "s::key", "5"},
                {"  [\tS ] \r\n\tkey\t=\v5 \f\r\n", "s::key", "5"},
                {"[s] # the ports\nkey=5", "s::key", "5"},
                {"# [s]\nkey=5\n", "s::key", {}},
                {"[s]x\nkey=5\n", "s::key", {}},
                {"[s]\nkey=5\n[t]\nx=1\n[S]\nKEY=6\n", "s::key", "6"},
                {"[s]\nkey 5\n", "s::key", {}},
                {"[s]\nkey =\n", "s::key", ""},
                {"[s]\n= 5\n", "s::", "5"},
                {"[s]\nkey = a=b\n", "s::key", "a=b"},
                {"[s]\nkey = a#b\n", "s::key", "a"},
                {"[s]\nkey = Mixed Case\n", "s::key", "Mixed Case"},
                {"[s]\n[key = a\n", "s::[key", "a"},
                {"[s]\n[key = a]\nx=1\n", "key = a::x", "1"},
                {"[s]\nkey=1", "key", {}}};
    const TemporaryFolder folder;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        PropertiesFile file(true, false);
        EXPECT_TRUE(file.load(folder.write("rt.conf", row.text), true, true));
        EXPECT_EQ(valueOf(file, row.key), row.value);
    }
}

TEST(PropertiesFile, WhatIsNoFileCannotBeRead) {
    const TemporaryFolder folder;
    const auto pipe = folder.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    PropertiesFile file(true, false);
    finishInBackground([&] { EXPECT_FALSE(file.load(pipe, true, true)) << "opening it waits for a writer"; });
    EXPECT_FALSE(file.load(folder.path(), true, true));
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
    for (const auto& [append, overwrite, a, b] : rows) {
        SCOPED_TRACE(testing::Message() << "append " << append << ", overwrite " << overwrite);
        PropertiesFile file(true, false);
        ASSERT_TRUE(file.load(firstFile, true, true));
        EXPECT_FALSE(file.load(folder.file("missing"), append, overwrite));
        EXPECT_EQ(valueOf(file, "s::a"), "1") << "a missing file changes nothing";
        ASSERT_TRUE(file.load(secondFile, append, overwrite));
        EXPECT_EQ(valueOf(file, "s::a"), a);
        EXPECT_EQ(valueOf(file, "s::b"), b);
    }
}

TEST(PropertiesFile, SectionsMayBeIgnoredAndKeysMayBeCaseSensitive) {
    const TemporaryFolder folder;
    const auto path = folder.write("rt.conf", "a=1\n[s]\nA=2\n[x=3\n");
    PropertiesFile flat(false, false), exact(true, true);
    ASSERT_TRUE(flat.load(path, true, true) && exact.load(path, true, true));
    EXPECT_EQ(valueOf(flat, "a"), "2");
    EXPECT_EQ(valueOf(flat, "[X"), "3");
    EXPECT_EQ(valueOf(exact, "s::A"), "2");
    EXPECT_EQ(valueOf(exact, "s::a"), std::nullopt);
}

TEST(PropertiesFile, UpperCaseAndWhiteSpaceAreThoseOfTheHostsLocaleAtThatMoment) {
    const TemporaryFolder folder;
    const auto path = folder.write("rt.conf", "[;s]\nqort; = ;5;\n");
    PropertiesFile file(true, false); // made before
    {
        const HostLocale locale;
        ASSERT_TRUE(file.load(path, true, true));
        EXPECT_EQ(valueOf(file, "s::qort"), "5");
    }
    EXPECT_EQ(valueOf(file, "s::port"), "5");
    EXPECT_EQ(valueOf(file, "s::qort"), std::nullopt);
}

} // namespace
} // namespace orvo::test
