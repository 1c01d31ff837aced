// SPDX-License-Identifier: MIT
// All tuning values of the board software.
#pragma once

namespace orvo::templates::platform {

/// One property: its key ("Section::Name", with a section of the properties files), the environment variable
/// and the command-line option that can set it (empty for none; the option without leading dashes), and its
/// default.
struct TweakPropertyEntry {
    const char* key;
    const char* environmentVariable;
    const char* commandLineOption;
    const char* defaultValue;
};

/// All properties, shared with other users of the board software, ended by a row of null pointers. This
/// plug-in itself reads only GIGE::DriverClassPortMask.
extern const TweakPropertyEntry tweakPropertyTable[];

} // namespace orvo::templates::platform
