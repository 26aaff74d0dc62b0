// The exported entries: results set once, by android_setCpu or by the first getter, and the real probe of
// the machine the test runs on. The results are process-wide, so every test that sets them runs in a
// child process of its own.
#include <gtest/gtest.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <functional>

#include "kovra/cpu_features.h"
#include "platform.h"

namespace {

void in_child(const std::function<bool()>& checks) {
  EXPECT_EXIT(std::_Exit(checks() ? 0 : 1), testing::ExitedWithCode(0), "");
}

// The first setter before any getter supplies the results (and the id with android_setCpuArm); every
// later setter, and any setter after a getter, changes nothing.
TEST(CpuEntries, ResultsAreSetOnce) {
  in_child([] {
    return android_setCpu(0, ARM_FEATURE_NEON) == 1 && android_getCpuCount() == 1 &&
           android_getCpuFeatures() == ARM_FEATURE_NEON && android_getCpuFamily() == KOVRA_CPU_FAMILY_ARM &&
           android_getCpuIdArm() == 0 && android_setCpu(3, ARM_FEATURE_NEON_FMA) == 0 &&
           android_setCpuArm(3, ARM_FEATURE_NEON_FMA, 0x41) == 0 && android_getCpuCount() == 1 &&
           android_getCpuFeatures() == ARM_FEATURE_NEON && android_getCpuIdArm() == 0;
  });
  in_child([] {
    return android_setCpuArm(6, 0x1ff, 0x412fc0f4) == 1 && android_getCpuIdArm() == 0x412fc0f4 &&
           android_getCpuCount() == 6 && android_getCpuFeatures() == 0x1ff && android_setCpuArm(2, 0, 1) == 0 &&
           android_getCpuIdArm() == 0x412fc0f4;
  });
  in_child([] {
    const int count = android_getCpuCount();
    const uint64_t features = android_getCpuFeatures();
    const uint32_t id = android_getCpuIdArm();
    return android_setCpu(count + 5, ~features) == 0 && android_setCpuArm(count + 5, ~features, ~id) == 0 &&
           android_getCpuCount() == count && android_getCpuFeatures() == features && android_getCpuIdArm() == id;
  });
}

// This machine, probed for real. The C library's getauxval is the reference for the ARM features: the
// probe reaches the same word another way (under qemu-user, through /proc/self/auxv).
TEST(CpuEntries, RealProbeOfThisMachine) {
  EXPECT_EQ(android_getCpuFamily(), KOVRA_CPU_FAMILY_ARM);
  const int count = android_getCpuCount();
  const long online = sysconf(_SC_NPROCESSORS_ONLN);  // the list files count ids below 32 only
  EXPECT_TRUE(count >= 1 && count <= 32 && (online > 32 || count >= online)) << count;
  const uint64_t features = android_getCpuFeatures();
#if KOVRA_ARM32
  const unsigned long hwcap = getauxval(AT_HWCAP);
  const bool neon = hwcap & HWCAP_ARM_NEON, vfpv4 = hwcap & HWCAP_ARM_VFPv4;
  EXPECT_TRUE(features & ARM_FEATURE_NEON);  // this build needs NEON to run at all
  EXPECT_EQ((features & ARM_FEATURE_VFP_FMA) != 0, vfpv4);
  EXPECT_EQ((features & ARM_FEATURE_NEON_FMA) != 0, neon && vfpv4);
  const char* model = std::getenv("QEMU_CPU");
  if (model && std::strcmp(model, "cortex-a15") == 0) EXPECT_TRUE(features & ARM_FEATURE_NEON_FMA);
  if (model && std::strcmp(model, "cortex-a9") == 0)
    EXPECT_FALSE(features & (ARM_FEATURE_VFP_FMA | ARM_FEATURE_NEON_FMA));
#else
  EXPECT_TRUE(features == 0u && android_getCpuIdArm() == 0u);
#endif
}

}  // namespace
