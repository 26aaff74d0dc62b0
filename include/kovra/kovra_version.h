/* Which KOVRA an application has, and which kernel it runs on this processor. Usable from C and C++. */
#ifndef KOVRA_KOVRA_VERSION_H
#define KOVRA_KOVRA_VERSION_H

#ifdef __cplusplus
extern "C" {
#endif

/* Filled by KOVRAVersionInfo. Every string is a constant of the library: never free it. */
typedef struct KOVRAVersionRecord {
  const char* name;
  const char* vendor;
  int major;
  int minor;
  int patch;
  int extra;
  const char* kernel;       /* "NEON FMA", "NEON" or "none": the kernel chosen on this processor */
  const char* architecture; /* "armv7a" */
  const char* date;         /* build date of the release, as "Mmm dd yyyy" */
} KOVRAVersionRecord;

/* Stores in *out the library's name and version as one constant text. */
void KOVRAVersionString(const char** out);
/* Fills *out; the first call chooses the kernels, running the processor probe if nothing has yet.
 * Returns 0. */
int KOVRAVersionInfo(KOVRAVersionRecord* out);

#ifdef __cplusplus
}
#endif

#endif
