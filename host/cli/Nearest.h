// SPDX-License-Identifier: MIT
// What a user who mistyped a word probably meant.
#pragma once

#include <string>
#include <vector>

namespace orvo::host {

/// "; did you mean 'CANDIDATE'?" for the candidate that is nearest to `word`, where one is near: one mistake
/// in three letters. Empty otherwise. Dashes in front do not count.
std::string nearestHint(const std::string& word, const std::vector<std::string>& candidates);

} // namespace orvo::host
