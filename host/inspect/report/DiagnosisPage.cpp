// SPDX-License-Identifier: MIT
#include "inspect/report/Report.h"

#include "base/Output.h"
#include "inspect/diagnosis/Diagnosis.h"
#include "inspect/report/Chart.h"
#include "inspect/report/Html.h"
#include "inspect/report/PageStyle.h"

#include <QString>
#include <QSysInfo>
#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>

namespace orvo::host {
namespace {

using Json = nlohmann::ordered_json;
using html::escaped;
using html::section;
using html::tag;

std::tm utcOf(std::chrono::system_clock::time_point time) {
    return fmt::gmtime(std::chrono::system_clock::to_time_t(time));
}

std::string headerOf(const Report& report) {
    const auto& diagnosis = report.diagnosis;
    const bool isHealthy = diagnosis["healthy"].get<bool>();
    const auto board = fmt::format("{}, serial {}", valueText(diagnosis["board"]["name"]),
                                   valueText(diagnosis["board"]["serial"]));
    const auto making = fmt::format("diagnosed on {} by orvo-gige " ORVO_VERSION ", {:%Y-%m-%d %H:%M:%S} UTC",
                                    QSysInfo::machineHostName().toStdString(), utcOf(report.time));
    return tag("header", tag("h1", escaped("Port " + valueText(diagnosis["port"]))) + "\n" +
                             tag("p", escaped(board)) + "\n" + tag("p", escaped(making)) + "\n" +
                             tag("p", {{"class", isHealthy ? "verdict healthy" : "verdict faulty"}},
                                 isHealthy ? "healthy: no fault found" : "not healthy")) +
           "\n";
}

std::string findingsOf(const Json& diagnosis) {
    std::string content;
    for (const auto& finding : diagnosis["findings"])
        content += tag("div", {{"class", "finding " + valueText(finding["severity"])}},
                       tag("p", {{"class", "kind"}}, escaped(valueText(finding["severity"]))) +
                           tag("p", {{"class", "text"}}, escaped(valueText(finding["finding"]))) +
                           tag("p", {{"class", "evidence"}}, escaped(valueText(finding["evidence"]))) +
                           tag("p", escaped("Next: " + valueText(finding["advice"])))) +
                   "\n";
    if (content.empty()) content = tag("p", "Nothing is out of order.");
    return section("Findings", content);
}

using Values = std::vector<std::optional<double>>;

Values valuesOf(const PortHistory& history, Counter counter, double factor) {
    Values values;
    for (const auto& value : history.series(counter))
        values.push_back(value ? std::optional(*value * factor) : std::nullopt);
    return values;
}

/// Adds a line, unless all its values are unknown.
void addSeries(Chart& chart, const PortHistory& history, Counter counter, const char* name,
               double factor = 1) {
    auto values = valuesOf(history, counter, factor);
    if (std::ranges::any_of(values, [](const auto& value) { return value.has_value(); }))
        chart.series.push_back({name, std::move(values)});
}

Chart emptyChart(const PortHistory& history, const char* id, const char* title, const char* unit) {
    return {id, title, unit, {history.times().begin(), history.times().end()}, {}};
}

/// The style sheet has as many line styles.
constexpr std::size_t mostSeries = 6;

/// The error counters of one unit that have risen.
Chart troubleChart(const PortHistory& history, const char* id, const char* title, std::string_view unit) {
    auto chart = emptyChart(history, id, title, "per second");
    forEachCounter([&](Counter counter, const CounterRow& row) {
        if (row.kind == CounterKind::TroubleCount && row.unit == unit && chart.series.size() < mostSeries &&
            history.of(counter).sinceStart.value_or(0) != 0)
            addSeries(chart, history, counter, row.name);
    });
    return chart;
}

std::string chartsOf(const PortHistory& history, const Chart& images) {
    constexpr double mbitPerByte = 8e-6;
    auto frames = emptyChart(history, "frames", "Frames", "per second");
    addSeries(frames, history, Counter::ReceivedPackets, "received");
    addSeries(frames, history, Counter::WireSentFrames, "sent");
    auto data = emptyChart(history, "data", "Data", "Mbit/s");
    addSeries(data, history, Counter::WireReceivedBytes, "received", mbitPerByte);
    addSeries(data, history, Counter::WireSentBytes, "sent", mbitPerByte);
    auto errors = troubleChart(history, "errors", "Damaged and lost frames", "frames");
    if (errors.series.empty()) // a flat line shows that nothing was damaged
        addSeries(errors, history, Counter::ReceiveErrors, rowOf(Counter::ReceiveErrors).name);
    std::string content;
    for (const auto& chart :
         {frames, data, errors, troubleChart(history, "words", "Lost words", "words"), images})
        if (!chart.series.empty()) content += figureOf(chart);
    return section("Rates and errors over time", tag("div", {{"class", "charts"}}, content));
}

std::string streamsOf(const Report& report) {
    if (report.streams.empty()) return {};
    return section("Streams of cameras", tag("pre", escaped(report.streams)));
}

std::string countersOf(const Report& report) {
    html::Table table{"Last totals, and growth while the port was watched",
                      {"counter", "total", "growth", "unit", "source"},
                      {},
                      {1, 2}};
    const auto textOr = [](std::optional<std::uint64_t> value) { return value ? grouped(*value) : "-"; };
    forEachCounter([&](Counter counter, const CounterRow& row) {
        const auto& figure = report.history.of(counter);
        if (!figure.value) return;
        const bool isRegister = !row.isCount() && row.source == CounterSource::FirmwareRegister;
        table.rows.push_back({row.name,
                              isRegister ? fmt::format("0x{:x}", *figure.value) : textOr(figure.value),
                              row.isCount() ? textOr(figure.sinceStart) : "-", row.unit,
                              row.sourceOf(std::to_string(report.history.port().port))});
    });
    return section("Counters", tableOf(table));
}

std::string phyOf(const Json& registers) {
    std::string content;
    for (const auto& each : registers) {
        const auto name = fmt::format("{}: {}, {}", valueText(each["register"]), valueText(each["name"]),
                                      valueText(each["value"]));
        html::Table table{"", {"bits", "field", "value", "meaning"}, {}, {2}};
        for (const auto& field : each["fields"])
            table.rows.push_back({valueText(field["bits"]), valueText(field["name"]),
                                  valueText(field["value"]), valueText(field["meaning"])});
        content += table.rows.empty() ? tag("p", escaped(name)) + "\n" : html::details(name, tableOf(table));
    }
    return section("PHY registers",
                   html::details(fmt::format("{} registers, bit by bit", registers.size()), content));
}

/// Settings as a table, with those that nobody has changed folded away.
std::string settingsOf(const char* caption, const std::vector<ReportedSetting>& settings) {
    const html::Table heading{caption, {"name", "value", "origin", "meaning"}, {}};
    auto changed = heading, defaults = heading;
    for (const auto& [name, value, origin, meaning] : settings)
        (origin == "default" ? defaults : changed).rows.push_back({name, value, origin, meaning});
    std::string text;
    if (!changed.rows.empty()) text += tableOf(changed);
    if (!defaults.rows.empty())
        text +=
            html::details(fmt::format("{}: {} by default", caption, defaults.rows.size()), tableOf(defaults));
    return text;
}

std::string configurationOf(const ReportedSettings& settings) {
    auto content = settingsOf("Tuning values of the plug-in", settings.properties) +
                   settingsOf("Files and environment variables", settings.others);
    std::string remarks;
    for (const auto& remark : settings.remarks) remarks += tag("li", escaped(remark));
    if (!remarks.empty()) content += tag("ul", remarks);
    return section("Configuration", content);
}

std::string logOf(const Report& report) {
    const auto part = [](const char* name, const std::string& lines) {
        return html::details(name, tag("pre", escaped(lines.empty() ? "nothing" : lines)));
    };
    return section("Log", part("Messages of the plug-in during this run", logText(report)) +
                              part("Its report, from which the diagnosis was made", dumpText(report)));
}

} // namespace

std::string pageOf(const Report& report) {
    const auto& diagnosis = report.diagnosis;
    const std::string head =
        "<meta charset=\"utf-8\"/>\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
        "'unsafe-inline'; "
        "base-uri 'none'; form-action 'none'\"/>\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n" +
        tag("title", escaped(fmt::format("Port {}, {:%Y-%m-%d %H:%M:%S} UTC", valueText(diagnosis["port"]),
                                         utcOf(report.time)))) +
        "\n" + tag("style", pageStyle) + "\n";
    auto board = boardFacts(diagnosis);
    board.emplace_back("installation", report.installation);
    const auto sections = findingsOf(diagnosis) + section("Link", html::listOf(linkFacts(diagnosis))) +
                          chartsOf(report.history, report.images) + streamsOf(report) + countersOf(report) +
                          section("Board", html::listOf(board)) + phyOf(diagnosis["phy"]) +
                          configurationOf(report.settings) + logOf(report);
    return "<!DOCTYPE html>\n" +
           tag("html", {{"lang", "en"}, {"xmlns", "http://www.w3.org/1999/xhtml"}},
               "\n" + tag("head", "\n" + head) + "\n" +
                   tag("body", "\n" + headerOf(report) + tag("main", "\n" + sections) + "\n")) +
           "\n";
}

std::string logText(const Report& report) {
    std::string text;
    for (const auto& message : report.log) text += messageText(message) + "\n";
    return text;
}

std::string dumpText(const Report& report) {
    std::string text;
    for (const auto& line : report.dump) text += line + (line.ends_with('\n') ? "" : "\n");
    return text;
}

nlohmann::ordered_json readingsOf(const PortHistory& history) {
    Json values = Json::object();
    forEachCounter([&](Counter counter, const CounterRow& row) {
        auto list = Json::array();
        for (const auto& value : history.series(counter)) list.push_back(value ? Json(*value) : Json());
        values[row.isCount() ? std::string(row.key) + "PerSecond" : row.key] = std::move(list);
    });
    return {{"port", history.port().text()}, {"seconds", history.times()}, {"values", std::move(values)}};
}

} // namespace orvo::host
