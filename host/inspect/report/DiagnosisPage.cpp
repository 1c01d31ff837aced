// SPDX-License-Identifier: MIT
// The page, section by section.
#include "inspect/report/Report.h"

#include "base/Output.h"
#include "inspect/diagnosis/Diagnosis.h"
#include "inspect/report/Chart.h"
#include "inspect/report/Html.h"
#include "inspect/report/PageStyle.h"

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
    return tag("header", tag("h1", escaped("Port " + valueText(diagnosis["port"]))) + "\n" +
                             tag("p", escaped(fmt::format("{}, serial {}; {:%Y-%m-%d %H:%M:%S} UTC",
                                                          valueText(diagnosis["board"]["name"]),
                                                          valueText(diagnosis["board"]["serial"]),
                                                          utcOf(report.time)))) +
                             "\n" +
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

std::string linkOf(const Json& link) {
    if (!link["answers"].get<bool>()) return section("Link", tag("p", "The PHY does not answer."));
    const bool up = link["up"].get<bool>();
    const auto speed =
        up ? valueText(link["mbitPerSecond"]) + " Mbit/s, " + valueText(link["duplex"]) + " duplex" : "none";
    return section("Link", html::listOf({{"state", up ? "up" : "down"},
                                         {"speed", speed},
                                         {"auto-negotiation", valueText(link["autoNegotiation"])},
                                         {"role", valueText(link["role"])},
                                         {"idle errors", valueText(link["idleErrors"])}}) +
                               html::listOf({{"this port offers", listText(link["offers"])},
                                             {"partner offers", listText(link["partner"])}}));
}

using Values = std::vector<std::optional<double>>;

Values valuesOf(const PortTrack& track, Counter counter, double factor) {
    Values values;
    for (const auto& value : track.history(counter))
        values.push_back(value ? std::optional(*value * factor) : std::nullopt);
    return values;
}

/// Values of which none is known make no line.
void addSeries(Chart& chart, const PortTrack& track, Counter counter, const char* name, double factor = 1) {
    auto values = valuesOf(track, counter, factor);
    if (std::ranges::any_of(values, [](const auto& value) { return value.has_value(); }))
        chart.series.push_back({name, std::move(values)});
}

Chart emptyChart(const PortTrack& track, const char* id, const char* title, const char* unit) {
    return {id, title, unit, {track.times().begin(), track.times().end()}, {}};
}

/// Lines that the styles tell apart.
constexpr std::size_t mostSeries = 6;

/// Of one unit: those that rose.
Chart troubleChart(const PortTrack& track, const char* id, const char* title, std::string_view unit) {
    auto chart = emptyChart(track, id, title, "per second");
    forEachCounter([&](Counter counter, const CounterRow& row) {
        if (row.kind == CounterKind::TroubleCount && row.unit == unit && chart.series.size() < mostSeries &&
            track.of(counter).sinceStart.value_or(0) != 0)
            addSeries(chart, track, counter, row.name);
    });
    return chart;
}

std::string chartsOf(const PortTrack& track) {
    constexpr double mbitPerByte = 8e-6;
    auto frames = emptyChart(track, "frames", "Frames", "per second");
    addSeries(frames, track, Counter::ReceivedPackets, "received");
    addSeries(frames, track, Counter::WireSentFrames, "sent");
    auto data = emptyChart(track, "data", "Data", "Mbit/s");
    addSeries(data, track, Counter::WireReceivedBytes, "received", mbitPerByte);
    addSeries(data, track, Counter::WireSentBytes, "sent", mbitPerByte);
    auto errors = troubleChart(track, "errors", "Damaged and lost frames", "frames");
    if (errors.series.empty()) // which is worth seeing, too
        addSeries(errors, track, Counter::ReceiveErrors, rowOf(Counter::ReceiveErrors).name);
    std::string content;
    for (const auto& chart : {frames, data, errors, troubleChart(track, "words", "Lost words", "words")})
        if (!chart.series.empty()) content += figureOf(chart);
    return section("Rates and errors over time", tag("div", {{"class", "charts"}}, content));
}

std::string countersOf(const Report& report) {
    html::Table table{"Totals as read last, and how far they went while the port was looked at",
                      {"counter", "total", "meanwhile", "unit", "source"},
                      {},
                      {1, 2}};
    const auto textOr = [](std::optional<std::uint64_t> value) { return value ? grouped(*value) : "-"; };
    forEachCounter([&](Counter counter, const CounterRow& row) {
        const auto& figure = report.track.of(counter);
        if (!figure.value) return;
        const bool isRegister = !row.isCount() && row.source == CounterSource::FirmwareRegister;
        table.rows.push_back({row.name,
                              isRegister ? fmt::format("0x{:x}", *figure.value) : textOr(figure.value),
                              row.isCount() ? textOr(figure.sinceStart) : "-", row.unit,
                              row.sourceOf(std::to_string(report.track.port().port))});
    });
    return section("Counters", tableOf(table));
}

std::string boardOf(const Report& report) {
    const auto& diagnosis = report.diagnosis;
    const auto& board = diagnosis["board"];
    std::string devices;
    for (const auto& device : diagnosis["devices"])
        devices += fmt::format("{}index {}, serial {}", devices.empty() ? "" : "; ",
                               valueText(device["index"]), valueText(device["serial"]));
    return section("Board", html::listOf({{"name", valueText(board["name"])},
                                          {"index", valueText(board["index"])},
                                          {"serial", valueText(board["serial"])},
                                          {"type", valueText(board["type"])},
                                          {"devices", devices.empty() ? "none" : devices},
                                          {"installation", report.installation}}));
}

std::string phyRowsOf(const Json& each) {
    auto rows =
        tag("tr", tag("th", {{"colspan", "4"}, {"scope", "rowgroup"}},
                      escaped(fmt::format("{} {}", valueText(each["register"]), valueText(each["name"]))) +
                          tag("code", escaped(valueText(each["value"]))))) +
        "\n";
    for (const auto& field : each["fields"]) {
        const bool isSet = field["value"] != 0;
        rows +=
            tag("tr", {{"class", isSet ? "set" : "clear"}},
                tag("td", escaped(valueText(field["bits"]))) + tag("td", escaped(valueText(field["name"]))) +
                    tag("td", {{"class", "number"}}, escaped(valueText(field["value"]))) +
                    tag("td", escaped(valueText(field["meaning"])))) +
            "\n";
    }
    return tag("tbody", "\n" + rows);
}

std::string phyOf(const Json& registers) {
    std::string bodies;
    for (const auto& each : registers) bodies += phyRowsOf(each);
    std::string heads;
    for (const char* head : {"bits", "field", "value", "meaning"})
        heads += tag("th", {{"scope", "col"}}, head);
    const auto table = tag("table", {{"class", "phy"}},
                           tag("caption", "As the diagnosis read them; fields that are not 0 are in bold") +
                               tag("thead", tag("tr", heads)) + bodies);
    return section("PHY registers", tag("div", {{"class", "scroll"}}, table));
}

html::Table settingsTable(const char* caption, const std::vector<ReportedSetting>& settings) {
    html::Table table{caption, {"name", "value", "origin", "meaning"}, {}};
    for (const auto& setting : settings)
        table.rows.push_back({setting.name, setting.value, setting.origin, setting.meaning});
    return table;
}

std::string configurationOf(const ReportedSettings& settings) {
    auto content = tableOf(settingsTable("Tuning values of the plug-in", settings.properties)) +
                   tableOf(settingsTable("Files and environment variables", settings.others));
    std::string remarks;
    for (const auto& remark : settings.remarks) remarks += tag("li", escaped(remark));
    if (!remarks.empty()) content += tag("ul", remarks);
    return section("Configuration", content);
}

std::string logOf(const Report& report) {
    std::string log, dump;
    for (const auto& message : report.log) log += textOf(message) + "\n";
    for (const auto& line : report.dump) dump += line + (line.ends_with('\n') ? "" : "\n");
    const auto part = [](const char* name, const std::string& lines, bool isOpen) {
        return html::details(name, tag("pre", escaped(lines.empty() ? "nothing" : lines)), isOpen);
    };
    return section("Log",
                   part("What the plug-in logged during this run", log, false) +
                       part("The lines of its report, which the diagnosis was made from", dump, false));
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
    const auto sections = findingsOf(diagnosis) + linkOf(diagnosis["link"]) + chartsOf(report.track) +
                          countersOf(report) + boardOf(report) + phyOf(diagnosis["phy"]) +
                          configurationOf(report.settings) + logOf(report);
    return "<!DOCTYPE html>\n" +
           tag("html", {{"lang", "en"}, {"xmlns", "http://www.w3.org/1999/xhtml"}},
               "\n" + tag("head", "\n" + head) + "\n" +
                   tag("body", "\n" + headerOf(report) + tag("main", "\n" + sections) + "\n" +
                                   tag("footer", "Made by orvo-gige " ORVO_VERSION "."))) +
           "\n";
}

nlohmann::ordered_json readingsOf(const PortTrack& track) {
    Json values = Json::object();
    forEachCounter([&](Counter counter, const CounterRow& row) {
        auto list = Json::array();
        for (const auto& value : track.history(counter)) list.push_back(value ? Json(*value) : Json());
        values[row.isCount() ? std::string(row.key) + "PerSecond" : row.key] = std::move(list);
    });
    return {{"port", track.port().text()}, {"seconds", track.times()}, {"values", std::move(values)}};
}

} // namespace orvo::host
