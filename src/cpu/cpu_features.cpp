// The exported probe entries and the process-wide results behind them: set once, by the first getter
// through pthread_once or by android_setCpu, and never changed afterwards.
#include "kovra/cpu_features.h"

#include <pthread.h>

#include "cpu/probe.h"
#include "platform.h"

namespace {

int inited = 0;
int family = 0;
std::uint64_t features = 0;
int count = 0;
std::uint32_t cpu_id = 0;
pthread_once_t once = PTHREAD_ONCE_INIT;

// The processor this build runs on, and the family it reports.
constexpr kovra::cpu::probe_target build_target = KOVRA_ARM32     ? kovra::cpu::probe_target::arm32
                                                  : KOVRA_AARCH64 ? kovra::cpu::probe_target::aarch64
                                                  : KOVRA_X86_64  ? kovra::cpu::probe_target::x86_64
                                                                  : kovra::cpu::probe_target::other;
constexpr int build_family = KOVRA_X86_64    ? KOVRA_CPU_FAMILY_X86_64
                             : KOVRA_AARCH64 ? KOVRA_CPU_FAMILY_ARM64
                                             : KOVRA_CPU_FAMILY_ARM;

void cpu_init() {
  inited = 1;
  const kovra::cpu::cpu_state state = kovra::cpu::run_probe(kovra::cpu::system_source(), build_target);
  family = state.family;
  features = state.features;
  count = state.count;
  cpu_id = state.cpu_id;
}

// Takes the place of the probe once android_setCpu has supplied the results.
void mark_inited() { inited = 1; }

void ensure_probed() { pthread_once(&once, cpu_init); }

}  // namespace

extern "C" KOVRA_EXPORT int android_getCpuFamily(void) {
  ensure_probed();
  return family;
}

extern "C" KOVRA_EXPORT uint64_t android_getCpuFeatures(void) {
  ensure_probed();
  return features;
}

extern "C" KOVRA_EXPORT int android_getCpuCount(void) {
  ensure_probed();
  return count;
}

extern "C" KOVRA_EXPORT uint32_t android_getCpuIdArm(void) {
  ensure_probed();
  return cpu_id;
}

// The flag is read with no lock: a race with a first getter is the caller's to avoid.
extern "C" KOVRA_EXPORT int android_setCpu(int cpu_count, uint64_t cpu_features) {
  if (inited) return 0;
  features = cpu_features;
  count = cpu_count < 1 ? 1 : cpu_count;
  family = build_family;
  pthread_once(&once, mark_inited);
  return 1;
}

extern "C" KOVRA_EXPORT int android_setCpuArm(int cpu_count, uint64_t cpu_features, uint32_t cpu_id_arm) {
  const int taken = android_setCpu(cpu_count, cpu_features);
  if (taken) cpu_id = cpu_id_arm;
  return taken;
}
