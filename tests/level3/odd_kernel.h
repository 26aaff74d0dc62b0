// A test-only kernel with 3 by 5 tiles and small blocks, so that a modest matrix crosses several blocks
// in every dimension and the depth block (7) is no multiple of either tile: the packing walkers and the
// edge tiles run on any host.
#pragma once

#include <memory>

#include "kernels/kernel_object.h"

namespace kovra_test {

inline constexpr kovra::kernels::kernel_blocking odd_blocking{9, 15, 7, 3, 5, 0, 0};

template <typename T>
std::shared_ptr<kovra::kernels::kernel_object<T>> odd_kernel() {
  static_assert(kovra::kernels::sound_blocking<T>(odd_blocking));
  return std::make_shared<kovra::kernels::kernel_object<T>>(odd_blocking);
}

}  // namespace kovra_test
