// image_kernel_neon_fma_scalar<float>: the image kernel that kernel_neon_fma_scalar<float> makes, for its 8 by 4
// tiles. It writes exactly what the default bodies of image_kernel_object<float> write (image_kernel_object.h), with
// the interleaved packers vectorised; the planar packer stays the default body.
//
//   pack_channels_interleaved, 8 by 4: the 8 rows' pixels are located once per call (one division per row); each
//     group of 4 channels is one unaligned 16-byte load per pixel in the image (zeros outside), an 8 by 4 transpose
//     in two 4 by 4 blocks, and 8 stores of 4 lanes so that dst[t*8 + i] is channel t of row i. A group that
//     reaches past the last channel (a run starting off a multiple of 4) goes element by element, so that no load
//     ever reads past a pixel's channels.
//   pack_three_channels, 8 by 3: per row one 8-byte and one 4-byte load make (c0, c1, c2, 0); the two 4 by 4
//     transposes drop the fourth channel and exactly 24 elements are stored.
//
// Sources and dst need element alignment only. Other tile numbers than 8 by 4 run the default bodies. The bodies
// are built with VFPv4 like the kernel that makes the object, so they are reached only on processors with it.
#pragma once

#include "kernels/image_kernel_object.h"
#include "platform.h"

#if KOVRA_ARM32

namespace kovra::kernels {

// Only float has the vector forms.
template <typename T>
class image_kernel_neon_fma_scalar;

template <>
class image_kernel_neon_fma_scalar<float> : public image_kernel_object<float> {
 public:
  void pack_channels_interleaved(int c_begin, int c_end, int p, int p_end, const float* image, float* dst, int x0,
                                 int y0, int line, int row, int rows) const override;
  void pack_three_channels(const float* image, float* dst, int x0, int y0, int line, int row, int rows) const override;
};

}  // namespace kovra::kernels

#endif  // KOVRA_ARM32
