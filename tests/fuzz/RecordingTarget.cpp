// SPDX-License-Identifier: MIT
// Recordings of board calls: the file as a whole, and the content of a block, which the checksum would keep
// from the fuzzer.
#include "base/Failure.h"
#include "device/recording/CallText.h"
#include "device/recording/RecordingFile.h"
#include "fuzz/FuzzInput.h"
#include "inspect/calls/CallView.h"

namespace {

using namespace orvo::host;

volatile std::size_t seen; // keeps the reading

void readFile(const std::uint8_t* bytes, std::size_t count) {
    const orvo::test::MemoryFile file(bytes, count);
    try {
        RecordingReader reader(file.path());
        while (const auto block = reader.next()) seen = block->calls.size();
        orvo::test::demand(reader.fault().find('\n') == std::string::npos);
    } catch (const Failure& failure) {
        orvo::test::demand(std::string_view(failure.what()).find('\n') == std::string_view::npos);
    }
}

void readBlock(const std::uint8_t* bytes, std::size_t count) {
    std::vector<Entry> entries;
    for (std::size_t i = 0; i < entryCount; ++i) entries.push_back(static_cast<Entry>(i));
    RegisterNames registers;
    try {
        for (const auto& call : callsOf(parsedBlock({bytes, count}), entries, registers).calls)
            seen = callLine(call, registers).size() + callJsonLine(call, registers).size();
    } catch (const std::exception&) { // no block
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    readFile(bytes, count);
    readBlock(bytes, count);
    return 0;
}
