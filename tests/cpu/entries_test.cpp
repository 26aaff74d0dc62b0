// The exported entries: results set once, by android_setCpu or by the first getter, and the real probe
// of the machine the test runs on. The results are process-wide, so every test that sets them runs in a
// child process of its own.
#include <gtest/gtest.h>

#include <sys/auxv.h>
#include <unistd.h>

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kovra/cpu_features.h"
#include "platform.h"

namespace {

// Ends the child process: 0 when every check held, else 1 after printing the failed one.
#define CHILD_CHECK(condition)                                         \
  do {                                                                 \
    if (!(condition)) {                                                \
      std::fprintf(stderr, "failed in the child: %s\n", #condition);   \
      std::_Exit(1);                                                   \
    }                                                                  \
  } while (0)

TEST(cpu_entries, SetCpuBeforeAnyGetterSuppliesTheResults) {
  EXPECT_EXIT(
      {
        CHILD_CHECK(android_setCpu(0, ARM_FEATURE_NEON) == 1);
        CHILD_CHECK(android_getCpuCount() == 1);
        CHILD_CHECK(android_getCpuFeatures() == ARM_FEATURE_NEON);
        CHILD_CHECK(android_getCpuFamily() == KOVRA_CPU_FAMILY_ARM);
        CHILD_CHECK(android_getCpuIdArm() == 0);
        CHILD_CHECK(android_setCpu(3, ARM_FEATURE_NEON_FMA) == 0);
        CHILD_CHECK(android_setCpuArm(3, ARM_FEATURE_NEON_FMA, 0x41) == 0);
        CHILD_CHECK(android_getCpuCount() == 1 && android_getCpuFeatures() == ARM_FEATURE_NEON);
        CHILD_CHECK(android_getCpuIdArm() == 0);
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(cpu_entries, SetCpuArmStoresTheId) {
  EXPECT_EXIT(
      {
        CHILD_CHECK(android_setCpuArm(6, 0x1ff, 0x412fc0f4) == 1);
        CHILD_CHECK(android_getCpuIdArm() == 0x412fc0f4);
        CHILD_CHECK(android_getCpuCount() == 6 && android_getCpuFeatures() == 0x1ff);
        CHILD_CHECK(android_setCpuArm(2, 0, 1) == 0);
        CHILD_CHECK(android_getCpuIdArm() == 0x412fc0f4);
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(cpu_entries, SetCpuAfterAGetterChangesNothing) {
  EXPECT_EXIT(
      {
        const int count = android_getCpuCount();
        const uint64_t features = android_getCpuFeatures();
        const uint32_t id = android_getCpuIdArm();
        CHILD_CHECK(android_setCpu(count + 5, ~features) == 0);
        CHILD_CHECK(android_setCpuArm(count + 5, ~features, ~id) == 0);
        CHILD_CHECK(android_getCpuCount() == count && android_getCpuFeatures() == features);
        CHILD_CHECK(android_getCpuIdArm() == id && android_getCpuFamily() == KOVRA_CPU_FAMILY_ARM);
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "");
}

// This machine, probed for real. The C library's own getauxval is the reference for the ARM features: the
// probe reaches the same word another way (under qemu-user, through /proc/self/auxv).
TEST(cpu_entries, RealProbeOfThisMachine) {
  EXPECT_EQ(android_getCpuFamily(), KOVRA_CPU_FAMILY_ARM);
  const int count = android_getCpuCount();
  EXPECT_GE(count, 1);
  EXPECT_LE(count, 32);
  // Every online processor is present and possible; the list files count ids below 32 only.
  const long online = sysconf(_SC_NPROCESSORS_ONLN);
  if (online <= 32) {
    EXPECT_GE(count, online);
  }

  const uint64_t features = android_getCpuFeatures();
#if KOVRA_ARM32
  const unsigned long hwcap = getauxval(AT_HWCAP);
  const bool neon = hwcap & HWCAP_ARM_NEON, vfpv4 = hwcap & HWCAP_ARM_VFPv4;
  EXPECT_EQ((features & ARM_FEATURE_NEON) != 0, neon);
  EXPECT_EQ((features & ARM_FEATURE_VFP_FMA) != 0, vfpv4);
  EXPECT_EQ((features & ARM_FEATURE_NEON_FMA) != 0, neon && vfpv4);
  // This build requires NEON to run at all.
  EXPECT_TRUE(features & ARM_FEATURE_NEON);
  // Under qemu-user the processor model is known by name.
  if (const char* model = std::getenv("QEMU_CPU")) {
    if (std::strcmp(model, "cortex-a15") == 0) {
      EXPECT_TRUE(features & ARM_FEATURE_NEON_FMA);
    }
    if (std::strcmp(model, "cortex-a9") == 0) {
      EXPECT_FALSE(features & (ARM_FEATURE_VFP_FMA | ARM_FEATURE_NEON_FMA));
    }
  }
#else
  EXPECT_EQ(features, 0u);
  EXPECT_EQ(android_getCpuIdArm(), 0u);
#endif
}

}  // namespace
