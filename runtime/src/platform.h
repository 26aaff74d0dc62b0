// Platform macros of the vesk runtime, each defined as 0 or 1 and tested with #if (the build uses -Wundef,
// so a misspelt name fails to compile), and the one processor hint that the spin loops need.
#pragma once

#if defined(__ANDROID__)
#define VESK_ANDROID 1
#else
#define VESK_ANDROID 0
#endif

#if defined(__x86_64__) || defined(__i386__)
#define VESK_X86 1
#else
#define VESK_X86 0
#endif

#if defined(__arm__) || defined(__aarch64__)
#define VESK_ARM 1
#else
#define VESK_ARM 0
#endif

namespace vesk::internal {

// Tells the processor that this is a spin-wait loop (frees pipeline resources for a sibling hyper-thread
// and saves power); a no-op where there is no such hint.
inline void cpu_relax() {
#if VESK_X86
  __builtin_ia32_pause();
#elif VESK_ARM
  asm volatile("yield" ::: "memory");
#endif
}

}  // namespace vesk::internal
