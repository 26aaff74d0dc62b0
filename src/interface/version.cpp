// KOVRAVersionString and KOVRAVersionInfo: the library's name, version and the kernel chosen on this
// processor. Nothing here can fail but the kernel's own creation.
#include "kovra/kovra_version.h"

#include "interface/version_numbers.h"
#include "kernels/get_kernel.h"
#include "platform.h"

namespace {

constexpr const char* library_name = "Norvane Basic Linear Algebra Subroutines (KOVRA)";
constexpr const char* vendor_name = "Norvane Technologies, Inc. (NVL)";
// Read by nothing in the library; kept for applications that print the whole record.
constexpr int version_extra = 1;
// The one architecture this library is built for; the portable path reports it too.
constexpr const char* architecture_name = "armv7a";
// The date of this release rather than of the build, so that every build reports the same record.
constexpr const char* release_date = "Feb  5 2015";

}  // namespace

extern "C" KOVRA_EXPORT void KOVRAVersionString(const char** out) { *out = kovra::interface::version_text; }

extern "C" KOVRA_EXPORT int KOVRAVersionInfo(KOVRAVersionRecord* out) {
  // Choosing the float kernel writes kernel_name; every type chooses by the same test, so the name
  // stands for all four.
  kovra::kernels::get_kernel<float>();
  out->name = library_name;
  out->vendor = vendor_name;
  out->major = kovra::interface::version_major;
  out->minor = kovra::interface::version_minor;
  out->patch = kovra::interface::version_patch;
  out->extra = version_extra;
  out->kernel = kovra::kernels::kernel_name.load();
  out->architecture = architecture_name;
  out->date = release_date;
  return 0;
}
