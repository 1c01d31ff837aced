// SPDX-License-Identifier: MIT
// Reports of a diagnosis: a page, a bundle, and what becomes of files that are there.
#include "Process.h"

#include "report/Chart.h"
#include "report/Html.h"

#include <QXmlStreamReader>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>

namespace orvo::host {
namespace {

using namespace testing_support;
using testing::HasSubstr;
using testing::Not;

/// The texts of a page's elements of this name, nested ones included. A page that is not well-formed fails.
std::vector<std::string> textsOf(const std::string& page, const QString& element) {
    QXmlStreamReader reader(QByteArray::fromStdString(page));
    std::vector<std::string> texts;
    while (!reader.atEnd())
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == element)
            texts.push_back(reader.readElementText(QXmlStreamReader::IncludeChildElements).toStdString());
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString() << " in line "
                                    << reader.lineNumber();
    return texts;
}

TEST(HtmlTest, EscapesWhatIsMarkupOrNoText) {
    const struct {
        const char* text;
        const char* escaped;
    } cases[] = {
        {"<a b=\"c\" d='e'>&amp;", "&lt;a b=&quot;c&quot; d=&#39;e&#39;&gt;&amp;amp;"},
        {"Stra\u00DFe \u20AC \U0001F600", "Stra\u00DFe \u20AC \U0001F600"},
        {"a\x1B\x7F\n", "a\uFFFD\uFFFD\n"},
        {"\xFF\xC0\xAF\xE2\x82", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xED\xA0\x80\xEF\xBF\xBE", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
    };
    for (const auto& [text, escaped] : cases) EXPECT_EQ(html::escaped(text), escaped);
}

TEST(ChartTest, DrawsKnownValuesAndTellsThemInWords) {
    const auto figure = figureOf({"id",
                                  "Frames",
                                  "per second",
                                  {0, 1, 2, 3},
                                  {{"received", {{}, 10, 2000, {}}}, {"sent", {1, {}, {}, {}}}}});
    EXPECT_THAT(textsOf(figure, "desc"),
                testing::ElementsAre("received: at most 2,000 per second, 1,005 on average. "
                                     "sent: at most 1 per second, 1 on average. "));
    EXPECT_THAT(figure, HasSubstr("<polyline class=\"line0\" points=\"217.3,179.2 362.7,12.0\"/>"));
    EXPECT_THAT(figure, HasSubstr("<circle class=\"dot1\""));
}

class ReportTest : public testing::Test {
protected:
    const TemporaryFolder folder; // first: the others are in it
    const std::string page = folder.file("page.html"), bundle = folder.file("bundle.tar.gz");

    std::vector<std::string> command(const std::string& port) const {
        return {"diagnose", "--time", "virtual", "--port",   port,  "--seconds",
                "0.3",      "--html", page,      "--bundle", bundle};
    }
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.file("")))
            names.push_back(entry.path().filename().string());
        return names;
    }
    std::string inBundle(const std::string& name) const {
        const auto outcome = Process({"tar", "-xOzf", bundle, "orvo-gige-port-0-1/" + name}).wait();
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        return outcome.out;
    }
};

TEST_F(ReportTest, HasAllInOnePageAndOneBundle) {
    const std::string name = R"(<script>"a&b"</script>)";
    std::vector<Frame> frames;
    for (unsigned number = 0; number < 20; ++number) frames.push_back(numberedFrame(number, 100));
    writeCapture(folder.file("in.pcap"), frames);
    writeFile(folder.file("board.toml"),
              "[[board]]\nname = '" + name + "'\n[board.wires]\n1 = \"pcap:in.pcap\"\n");
    const auto outcome = runTool(command("1"), {"ORVO_SIMULATOR_CONFIG=" + folder.file("board.toml")});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, testing::StartsWith("port 0/1\nhealthy"));

    const auto text = contentOf(page);
    EXPECT_THAT(textsOf(text, "dd"), testing::Contains(name));
    EXPECT_THAT(text, Not(HasSubstr("<script")));
    EXPECT_THAT(text, Not(testing::ContainsRegex(" src=| href=|@import|url\\(")));
    EXPECT_THAT(text, HasSubstr("content=\"default-src 'none';"));
    EXPECT_EQ(textsOf(text, "desc").size(), 3u);
    EXPECT_THAT(textsOf(text, "td"),
                testing::IsSupersetOf({"firmware register GigeRecvPktCnt1", "auto-negotiation", "default"}));

    const auto names = Process({"tar", "-tzf", bundle}).wait().out;
    EXPECT_EQ(std::ranges::count(names, '\n'), 7) << names;
    EXPECT_EQ(inBundle("diagnosis.html"), text);
    EXPECT_EQ(nlohmann::json::parse(inBundle("diagnosis.json"))["board"]["name"], name);
    EXPECT_THAT(inBundle("dump.txt"), HasSubstr("[MDIO] ...... Register 0"));
    EXPECT_THAT(inBundle("log.txt"), HasSubstr("information  "));
    EXPECT_THAT(inBundle("configuration.txt"), HasSubstr("board.toml"));
    const auto readings = nlohmann::json::parse(inBundle("readings.json"));
    EXPECT_EQ(readings["seconds"].size(), readings["values"]["receivedPacketsPerSecond"].size());
    writeFile(folder.file("capture"), inBundle("capture.pcapng"));
    EXPECT_EQ(framesOf(folder.file("capture")), frames);
}

TEST_F(ReportTest, LeavesFilesAloneUnlessItCanReplaceThem) {
    writeFile(page, "old");
    writeFile(bundle, "old");
    expectRefusal(command("4"), 1, "port 0/4 cannot be opened");
    EXPECT_THAT(files(), testing::UnorderedElementsAre("page.html", "bundle.tar.gz"));
    EXPECT_EQ(contentOf(page) + contentOf(bundle), "oldold");
    expectRefusal({"diagnose", "--html", page, "--bundle", page}, 2, "are both to be");
    expectRefusal({"diagnose", "--html", folder.file("")}, 1, "it is not a regular file");
    writeCapture(page, {});
    expectRefusal({"diagnose", "--html", page, "--wire", "0=pcap:" + page}, 1, "which is to be written");
}

} // namespace
} // namespace orvo::host
