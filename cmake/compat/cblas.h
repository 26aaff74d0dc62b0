/* <cblas.h> for programs written against the usual CBLAS header: the build puts this folder on the include
 * path (pkg-config's Cflags, the CMake target KOVRA::KOVRA), so they compile unchanged against KOVRA. */
#include <kovra/cblas.h>
