// SPDX-License-Identifier: MIT
// Capture files, as `replay` reads them and as the simulated board plays them.
#include "base/Failure.h"
#include "frames/CaptureReader.h"
#include "fuzz/FuzzInput.h"
#include "wire/CaptureFile.h"
#include "wire/WireSpec.h"

namespace {

/// Reads every byte, for the sanitizers to see.
std::size_t sumOf(const std::uint8_t* bytes, std::size_t count) {
    std::size_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) sum += bytes[i];
    return sum;
}

volatile std::size_t seen; // keeps the reading

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    const orvo::test::MemoryFile file(bytes, count);
    try {
        orvo::host::CaptureReader reader(file.path());
        std::uint64_t number = 0;
        for (orvo::host::CapturedFrame frame; reader.next(frame);) {
            orvo::test::demand(frame.number == ++number && frame.length <= frame.originalLength);
            seen = sumOf(frame.bytes, frame.length);
        }
    } catch (const orvo::host::Failure& failure) {
        orvo::test::demand(std::string_view(failure.what()).find('\n') == std::string_view::npos);
    }
    try {
        orvo::sim::CaptureReader reader(file.path());
        while (const auto frame = reader.next()) seen = sumOf(frame->bytes.data(), frame->bytes.size());
    } catch (const orvo::sim::WireError& error) {
        orvo::test::demand(std::string_view(error.what()).find('\n') == std::string_view::npos);
    }
    return 0;
}
