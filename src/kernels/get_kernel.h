// get_kernel<T>: the one kernel object of each element type, made at the first call and shared by every
// routine for the life of the process; kernel_name tells which class was chosen.
#pragma once

#include <atomic>
#include <complex>
#include <memory>

#include "kernels/kernel_object.h"

namespace kovra::kernels {

// Text naming the class of the kernel made last ("none" for the portable one); null until a kernel
// exists. Atomic because first calls of get_kernel may run on several threads at once.
extern std::atomic<const char*> kernel_name;

// A new reference to the kernel of T, made at the first call. Never empty; std::bad_alloc escapes if the
// kernel cannot be made, and the next call tries again.
template <typename T> std::shared_ptr<kernel_object<T>> get_kernel();

extern template std::shared_ptr<kernel_object<float>> get_kernel<float>();
extern template std::shared_ptr<kernel_object<double>> get_kernel<double>();
extern template std::shared_ptr<kernel_object<std::complex<float>>> get_kernel<std::complex<float>>();
extern template std::shared_ptr<kernel_object<std::complex<double>>> get_kernel<std::complex<double>>();

}  // namespace kovra::kernels
