# SPDX-License-Identifier: MIT
# Our headers open with plain comments that say what the file is for; Doxygen gets them as the file's documentation. Lines
# stay where they are.
1s|.*|/// @file|
2,/^#pragma once/s|^//|///|
