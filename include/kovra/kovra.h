/* Everything an application of KOVRA includes: the CBLAS form, the Fortran form, the image convolution, the
 * processor probe, the start/stop calls of the task runtime that the library runs on, and the version report. */
#ifndef KOVRA_KOVRA_H
#define KOVRA_KOVRA_H

#include "kovra/cblas.h"
#include "kovra/convolution.h"
#include "kovra/cpu_features.h"
#include "kovra/fortran.h"
#include "kovra/kovra_version.h"
#include <vesk/runtime.h>

#endif
