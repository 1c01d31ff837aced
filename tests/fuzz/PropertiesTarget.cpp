// SPDX-License-Identifier: MIT
// Properties files: read in each of the ways that there are, and looked up.
#include "config/TweakProperties.h"
#include "fuzz/FuzzInput.h"

using namespace orvo::templates::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    const orvo::test::MemoryFile file(bytes, count);
    const std::string key = "GIGE::DriverClassPortMask";
    for (const bool sections : {false, true})
        for (const bool caseSensitive : {false, true}) {
            PropertiesFile properties(sections, caseSensitive);
            orvo::test::demand(properties.load(file.path(), false, true));
            bool found = false, foundAgain = false;
            const std::string value = properties.property(key, &found);
            orvo::test::demand(properties.load(file.path(), true, false));
            orvo::test::demand(properties.property(key, &foundAgain) == value && found == foundAgain);
        }
    // Out of a file without a usable value comes the default.
    TweakProperties().property<int>(tweakPropertyTable, "", file.path(), key, 0, nullptr);
    TweakProperties().internalProperty<int>(file.path(), "", "a::b", "", "", "7", 0, nullptr);
    return 0;
}
