// SPDX-License-Identifier: MIT
// Parts of the guides in docs/ that pages of the manual show as well.
#pragma once

#include <string>

namespace orvo::manual {

/// The first example in this language ("toml") of a guide in Markdown, as a literal display.
/// Errors: std::runtime_error when it has none.
std::string exampleOf(const std::string& guide, const std::string& language);

/// The table whose first column has this heading, as a list: the first cell is the tag, further cells follow
/// it, those beyond the second with their headings. Errors: std::runtime_error when there is none.
std::string tableOf(const std::string& guide, const std::string& heading);

} // namespace orvo::manual
