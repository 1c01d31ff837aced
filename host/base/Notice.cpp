// SPDX-License-Identifier: MIT
// Lines on standard error.
#include "base/Notice.h"

#include <algorithm>
#include <cstdio>

namespace orvo::host {

void notice(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::fprintf(stderr, "orvo-gige: %s\n", text.c_str());
}

} // namespace orvo::host
