// SPDX-License-Identifier: MIT
// Texts of wires: refused in one line, or taken apart and put together again.
#include "fuzz/FuzzInput.h"
#include "wire/WireSpec.h"

using namespace orvo::sim;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), count);
    try {
        const auto wire = parseWire(text);
        const auto again = parseWire(wire.text());
        orvo::test::demand(again.text() == wire.text() && again.kind == wire.kind && again.far == wire.far);
        parseWire(text, "/srv/captures");
    } catch (const WireError& error) {
        orvo::test::demand(std::string_view(error.what()).find('\n') == std::string_view::npos);
    }
    return 0;
}
