// SPDX-License-Identifier: MIT
// Symbol visibility of everything that crosses a library boundary. All libraries here are compiled with
// hidden visibility, so what does not carry ORVO_EXPORT stays inside its library.
#pragma once

#define ORVO_EXPORT __attribute__((visibility("default")))  ///< seen by other libraries
#define ORVO_INTERNAL __attribute__((visibility("hidden"))) ///< not so, although its class is
