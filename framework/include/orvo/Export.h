// SPDX-License-Identifier: MIT
// Symbol visibility across library boundaries. All libraries here are compiled with hidden visibility, so
// symbols without ORVO_EXPORT stay inside their library.
#pragma once

#define ORVO_EXPORT __attribute__((visibility("default")))  ///< visible to other libraries
#define ORVO_INTERNAL __attribute__((visibility("hidden"))) ///< hidden member of an exported class
