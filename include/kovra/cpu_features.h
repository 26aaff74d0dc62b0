/* The processor probe that KOVRA uses to pick its kernels, open to applications too. Usable from C and C++.
 *
 * The probe runs once, at the first getter, and its results never change afterwards. An application can
 * supply the results itself with android_setCpu or android_setCpuArm, before any getter is called. */
#ifndef KOVRA_CPU_FEATURES_H
#define KOVRA_CPU_FEATURES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The family of android_getCpuFamily(): 32-bit ARM builds report KOVRA_CPU_FAMILY_ARM, and so does every
 * processor without a family of its own; AArch64 builds report KOVRA_CPU_FAMILY_ARM64 and x86-64 builds
 * KOVRA_CPU_FAMILY_X86_64. */
#define KOVRA_CPU_FAMILY_ARM 1
#define KOVRA_CPU_FAMILY_ARM64 4
#define KOVRA_CPU_FAMILY_X86_64 5

/* Bits of android_getCpuFeatures() on ARM. The x86-64 bits below share the word; a build reports only the
 * bits of its own processor. */
#define ARM_FEATURE_ARMv7 ((uint64_t)0x1)
#define ARM_FEATURE_VFPv3 ((uint64_t)0x2)
#define ARM_FEATURE_NEON ((uint64_t)0x4)
#define ARM_FEATURE_LDREX_STREX ((uint64_t)0x8)
#define ARM_FEATURE_VFPv2 ((uint64_t)0x10)
#define ARM_FEATURE_VFP_D32 ((uint64_t)0x20)
#define ARM_FEATURE_VFP_FP16 ((uint64_t)0x40)
#define ARM_FEATURE_VFP_FMA ((uint64_t)0x80)
#define ARM_FEATURE_NEON_FMA ((uint64_t)0x100)
#define ARM_FEATURE_IDIV_ARM ((uint64_t)0x200)
#define ARM_FEATURE_IDIV_THUMB2 ((uint64_t)0x400)
#define ARM_FEATURE_IWMMXT ((uint64_t)0x800)
#define ARM_FEATURE_AES ((uint64_t)0x1000)
#define ARM_FEATURE_PMULL ((uint64_t)0x2000)
#define ARM_FEATURE_SHA1 ((uint64_t)0x4000)
#define ARM_FEATURE_SHA2 ((uint64_t)0x8000)
#define ARM_FEATURE_CRC32 ((uint64_t)0x10000)

/* Bits of android_getCpuFeatures() on AArch64, from the system's capability word. The floating-point unit and
 * Advanced SIMD are part of every AArch64 processor that Linux and Android run on; they are reported as the
 * system says, and assumed when it says nothing. */
#define ARM64_FEATURE_FP ((uint64_t)0x1)
#define ARM64_FEATURE_ASIMD ((uint64_t)0x2)
#define ARM64_FEATURE_AES ((uint64_t)0x4)
#define ARM64_FEATURE_PMULL ((uint64_t)0x8)
#define ARM64_FEATURE_SHA1 ((uint64_t)0x10)
#define ARM64_FEATURE_SHA2 ((uint64_t)0x20)
#define ARM64_FEATURE_CRC32 ((uint64_t)0x40)

/* Bits of android_getCpuFeatures() on x86-64. The instruction-set bits say what the processor has (CPUID);
 * OS_YMM and OS_ZMM say that the operating system saves the 256-bit registers (XCR0 bits 1 and 2), and
 * also the opmask and 512-bit registers (bits 5, 6 and 7 as well). An instruction set is usable only with
 * its register state saved: AVX2 and FMA need OS_YMM, the AVX-512 bits need OS_ZMM. */
#define X86_FEATURE_AVX2 ((uint64_t)0x1)
#define X86_FEATURE_FMA ((uint64_t)0x2)
#define X86_FEATURE_AVX512F ((uint64_t)0x4)
#define X86_FEATURE_AVX512DQ ((uint64_t)0x8)
#define X86_FEATURE_AVX512VL ((uint64_t)0x10)
#define X86_FEATURE_AVX512BW ((uint64_t)0x20)
#define X86_FEATURE_OS_YMM ((uint64_t)0x40)
#define X86_FEATURE_OS_ZMM ((uint64_t)0x80)

/* Each getter runs the probe if it has not run yet. */
int android_getCpuFamily(void);
uint64_t android_getCpuFeatures(void);
int android_getCpuCount(void);
/* implementer << 24 | variant << 20 | part << 4 | revision, from /proc/cpuinfo; 0 when unknown. */
uint32_t android_getCpuIdArm(void);

/* Supply the results instead of probing: 1 when they were taken, 0 when the results were already set
 * (by an earlier call or by a getter). A count below 1 is taken as 1. */
int android_setCpu(int cpu_count, uint64_t cpu_features);
/* As android_setCpu, and also stores cpu_id when the call succeeds. */
int android_setCpuArm(int cpu_count, uint64_t cpu_features, uint32_t cpu_id);

#ifdef __cplusplus
}
#endif

#endif
