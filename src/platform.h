// Every platform macro of the library, each defined as 0 or 1. Code tests them with #if; the build uses
// -Wundef, so a misspelt name fails to compile instead of silently reading as 0.
#pragma once

#if defined(__arm__) && !defined(__aarch64__)
#define KOVRA_ARM32 1
#else
#define KOVRA_ARM32 0
#endif

#if defined(__aarch64__)
#define KOVRA_AARCH64 1
#else
#define KOVRA_AARCH64 0
#endif

#if defined(__x86_64__)
#define KOVRA_X86_64 1
#else
#define KOVRA_X86_64 0
#endif

// Marks the public entries; everything else stays inside libKOVRA.
#define KOVRA_EXPORT __attribute__((visibility("default")))
