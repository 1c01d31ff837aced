// SPDX-License-Identifier: MIT
// ORVO_FOR_SEVERAL_PROCESSORS compiles a function once for each of several kinds of processor; the loader
// chooses one. Give such a function internal linkage: Clang 14 renames it, and other files would not find it.
#pragma once

// GCC and Clang know the widest vectors by different names. A sanitizer's run-time is not ready when the
// loader chooses.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORVO_SANITIZED
#elif defined(__clang__)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ORVO_SANITIZED
#endif
#endif
#if !defined(__x86_64__) || defined(ORVO_SANITIZED)
#define ORVO_FOR_SEVERAL_PROCESSORS
#elif defined(__clang__)
#define ORVO_FOR_SEVERAL_PROCESSORS [[gnu::target_clones("default", "avx2", "avx512bw")]]
#else
#define ORVO_FOR_SEVERAL_PROCESSORS [[gnu::target_clones("default", "avx2", "arch=x86-64-v4")]]
#endif
