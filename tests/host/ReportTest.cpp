// SPDX-License-Identifier: MIT
// Reports of a diagnosis: a page and a bundle, and what happens to existing files.
#include "LoopPort.h"
#include "Process.h"

#include "base/DynamicLibrary.h"
#include "inspect/report/Chart.h"
#include "inspect/report/Html.h"
#include "traffic/Observation.h"

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
        {"<a b=\"c\" d='e'>&amp;", "&lt;a b=&quot;c&quot; d='e'&gt;&amp;amp;"},
        {"Stra\u00DFe \u20AC \U0001F600", "Stra\u00DFe \u20AC \U0001F600"},
        {"a\x1B\x7F\n", "a\uFFFD\uFFFD\n"},
        {"\xFF\xC0\xAF\xE2\x82", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xED\xA0\x80\xEF\xBF\xBE", "\uFFFD\uFFFD\uFFFD\uFFFD"},
    };
    for (const auto& [text, escaped] : cases) EXPECT_EQ(html::escaped(text), escaped);
}

TEST(ChartTest, DrawsKnownValuesAndTellsThemInWords) {
    const auto figure = figureOf({"id",
                                  "Frames",
                                  "per second",
                                  {0, 1, 2, 3},
                                  {{"received", {{}, 10, 150'000, {}}}, {"sent", {1, {}, {}, {}}}}});
    EXPECT_THAT(textsOf(figure, "desc"),
                testing::ElementsAre("received: at most 150,000 per second, 75,005 on average. "
                                     "sent: at most 1 per second, 1 on average. "));
    EXPECT_THAT(figure, HasSubstr("<polyline class=\"line0\" points=\"217.3,180.0 362.7,12.0\"/>"));
    EXPECT_THAT(textsOf(figure, "text"), testing::Contains("150 k")); // has little room
    EXPECT_THAT(figure, HasSubstr("<circle class=\"dot1\""));
}

TEST(ObservationTest, RecordsWhatComesInItsTimeAndFindsWhatRoseMeanwhile) {
    BoardOptions options;
    options.root = ORVO_BUILD_ROOT;
    options.virtualTime = true;
    const BoardAccess session(options, 0);
    const DynamicLibrary simulator(session.installation.library("orvo_hal"));
    const auto injectFrame = simulator.require<decltype(::orvoSimInjectFrame)>("orvoSimInjectFrame");
    const TemporaryFolder folder;
    const auto early = numberedFrame(0, 100), late = numberedFrame(1, 100);
    LoopPort port;
    const auto arrive = [&port](const Frame& frame) {
        port.addToSendQueue(boost::shared_ptr<core::zume::EthernetFrame>(
            new core::zume::EthernetFrame(QByteArray::fromStdString(frame))));
    };
    FrameReceiver receiver(port, nullptr, nullptr);
    Observation observation(session, {0, 1}, std::chrono::milliseconds(300), folder.file("capture"));
    arrive(early);
    observation.begin(receiver);
    ASSERT_TRUE(happens([&] { return receiver.returned().frames == 1; }));
    injectFrame(0, 1, early.data(), early.size(), 1); // damaged
    const std::jthread device([&](const std::stop_token& stop) {
        for (; !stop.stop_requested(); std::this_thread::sleep_for(std::chrono::milliseconds(1)))
            arrive(late);
    });
    observation.goOn(port, receiver);
    const auto recorded = framesOf(folder.file("capture"));
    EXPECT_THAT(recorded, testing::AllOf(testing::SizeIs(testing::Gt(0u)), testing::Each(late)));
    EXPECT_GT(observation.receivedFrames(), recorded.size());
    ASSERT_EQ(observation.findings().size(), 1u);
    EXPECT_EQ(observation.findings()[0].evidence, "receive errors by 1 (firmware register GigeRecvErrCnt1)");
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
    writeFile(folder.file("board.toml"), "[[board]]\nname = '" + name + "'\n");
    auto arguments = command("1");
    arguments.insert(arguments.end(),
                     {"--json", "--faults", writeFaults(folder, fault("loss", "port = 1\nat = 1"))});
    const auto outcome = runTool(arguments, {"ORVO_SIMULATOR_CONFIG=" + folder.file("board.toml")});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;

    const auto text = contentOf(page);
    EXPECT_THAT(textsOf(text, "dd"), testing::Contains(name));
    EXPECT_THAT(text, Not(HasSubstr("<script")));
    EXPECT_THAT(text, Not(testing::ContainsRegex(" src=| href=|@import|url\\(")));
    EXPECT_THAT(text, HasSubstr("content=\"default-src 'none';"));
    EXPECT_THAT(textsOf(text, "p"), testing::Contains(testing::MatchesRegex(
                                        "diagnosed on .+ by orvo-gige .+, ....-..-.. ..:..:.. UTC")));
    for (const char* folded : {"29 registers, bit by bit", "Tuning values .*: [0-9]+ by default"})
        EXPECT_THAT(textsOf(text, "summary"), testing::Contains(testing::MatchesRegex(folded)));
    EXPECT_EQ(textsOf(text, "desc").size(), 3u);
    EXPECT_THAT(textsOf(text, "td"),
                testing::IsSupersetOf({"firmware register GigeRecvPktCnt1", "auto-negotiation", "default"}));

    const auto names = Process({"tar", "-tzf", bundle}).wait().out;
    EXPECT_EQ(std::ranges::count(names, '\n'), 8) << names;
    EXPECT_EQ(inBundle("diagnosis.html"), text);
    EXPECT_EQ(inBundle("diagnosis.json"), outcome.out);
    EXPECT_EQ(nlohmann::json::parse(outcome.out)["faults"]["passed"], true);
    EXPECT_THAT(inBundle("dump.txt"), HasSubstr("[MDIO] ...... Register 0"));
    EXPECT_THAT(inBundle("log.txt"), HasSubstr("information  "));
    EXPECT_THAT(inBundle("configuration.txt"), HasSubstr("board.toml"));
    const auto readings = nlohmann::json::parse(inBundle("readings.json"));
    EXPECT_EQ(readings["seconds"].size(), readings["values"]["receivedPacketsPerSecond"].size());
    EXPECT_THAT(inBundle("capture.pcapng"), HasSubstr("orvo-gige 0/1"));

    const auto zip = folder.file("bundle.zip");
    EXPECT_EQ(runTool({"diagnose", "--time", "virtual", "--seconds", "0.1", "--bundle", zip}).exitCode, 0);
    EXPECT_THAT(contentOf(zip), testing::StartsWith("PK\3\4"));
}

TEST_F(ReportTest, LeavesFilesAloneUnlessItCanReplaceThem) {
    writeFile(page, "old");
    writeFile(bundle, "old");
    expectRefusal(command("4"), 1, "there is no port 4 on board 0");
    EXPECT_THAT(files(), testing::UnorderedElementsAre("page.html", "bundle.tar.gz"));
    EXPECT_EQ(contentOf(page) + contentOf(bundle), "oldold");
    expectRefusal({"diagnose", "--html", page, "--bundle", page}, 1, "are both to be");
    expectRefusal({"diagnose", "--html", folder.file("")}, 1, "it is not a regular file");
    expectRefusal({"diagnose", "--bundle", folder.file("bundle.rar")}, 2, "end with .tar.gz or .zip");
    const std::pair<std::string, std::string> recordings[] = {
        {"", "cannot write the recording 'calls.rec of " + bundle + "': File too large; "},
        {"--record=/dev/null", "cannot write '" + bundle +
                                   "': File too large; free some space or name "
                                   "another file with --bundle\n"}};
    for (const auto& [option, complaint] : recordings) { // the signal would end a sanitizer's own beginning
        const auto outcome = Process({"sh", "-c",
                                      "(trap '' XFSZ; ulimit -f 0; exec \"$0\" diagnose --time virtual "
                                      "--bundle \"$1\" $2 2>&1) | cat",
                                      ORVO_GIGE, bundle, option})
                                 .wait();
        EXPECT_THAT(outcome.out, HasSubstr(complaint));
    }
    EXPECT_THAT(files(), testing::UnorderedElementsAre("page.html", "bundle.tar.gz"));
    writeCapture(page, {});
    expectRefusal({"diagnose", "--html", page, "--wire", "0=pcap:" + page}, 1, "which is to be written");
}

} // namespace
} // namespace orvo::host
