// SPDX-License-Identifier: MIT
// What `diagnose` makes of a PHY's registers, of the plug-in's report, and of a diagnosis that was kept: the
// first byte says of which.
#include "base/Failure.h"
#include "fuzz/FuzzInput.h"
#include "inspect/diagnosis/Diagnosis.h"
#include "inspect/diagnosis/PhyFields.h"

using namespace orvo::host;

namespace {

void showAll(const DumpReport& report) {
    for (const bool wasDown : {false, true}) {
        const auto diagnosis = diagnosisOf(report, "0/1", wasDown);
        orvo::test::demand(!diagnosisText(diagnosis).empty());
        orvo::test::demand(changesBetween(diagnosis, diagnosis).empty());
        diagnosis.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }
}

void decodePhy(orvo::test::FuzzInput& input) {
    DumpReport report;
    for (auto& content : report.phy) content = input.take<std::uint16_t>();
    for (auto* snapshot : {&report.first, &report.second})
        forEachCounter([&](Counter counter, const CounterRow&) {
            if (input.take<std::uint8_t>() % 2) (*snapshot)[counter] = input.take<std::uint64_t>();
        });
    for (const auto& field : phyFields()) {
        field.meaningOf(report.phy[field.phyRegister]);
        orvo::test::demand(field.of(report.phy[field.phyRegister]) < 1U << (field.high - field.low + 1));
    }
    showAll(report);
}

void readReport(const std::string& text) {
    std::vector<std::string> messages;
    for (std::size_t begin = 0; begin < text.size();) {
        const auto end = std::min(text.find('\n', begin), text.size());
        messages.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    showAll(DumpReport::parse(messages, "gige"));
}

void readKept(const std::string& text) {
    const orvo::test::MemoryFile file(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    const auto diagnosis = readDiagnosis(file.path());
    changesBetween(diagnosis, diagnosisOf({}, "0/1", false));
    diagnosisText(diagnosisOf({}, "0/1", false));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    orvo::test::FuzzInput input(bytes, count);
    try {
        switch (input.take<char>()) {
        case 'p':
            decodePhy(input);
            break;
        case 'r':
            readReport(input.takeRest());
            break;
        default:
            readKept(input.takeRest());
        }
    } catch (const Failure& failure) {
        orvo::test::demand(std::string_view(failure.what()).find('\n') == std::string_view::npos);
    }
    return 0;
}
