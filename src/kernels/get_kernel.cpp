// Kernel selection: a table of (processor test -> factory), best first, the portable kernel last, and
// the per-type singleton that runs it once.
#include "kernels/get_kernel.h"

#include <iterator>

namespace kovra::kernels {

std::atomic<const char*> kernel_name{nullptr};

namespace {

template <typename T> struct kernel_choice {
  bool (*available)();
  std::shared_ptr<kernel_object<T>> (*make)();
  const char* name;
};

bool any_processor() { return true; }

template <typename T> std::shared_ptr<kernel_object<T>> make_plain_kernel() {
  return std::make_shared<kernel_object<T>>(plain_blocking<T>::value);
}

template <typename T>
constexpr kernel_choice<T> kernel_choices[] = {
    // processor test   factory                 kernel_name
    {any_processor,     make_plain_kernel<T>,   "none"},
};

template <typename T> std::shared_ptr<kernel_object<T>> select_kernel() {
  static_assert(kernel_choices<T>[std::size(kernel_choices<T>) - 1].available == any_processor,
                "the last choice must accept every processor");
  for (const kernel_choice<T>& choice : kernel_choices<T>) {
    if (!choice.available()) continue;
    std::shared_ptr<kernel_object<T>> kernel = choice.make();
    kernel_name.store(choice.name);
    return kernel;
  }
  __builtin_unreachable();
}

}  // namespace

template <typename T> std::shared_ptr<kernel_object<T>> get_kernel() {
  // The compiler's guard makes racing first calls wait for one selection; later calls only copy.
  static const std::shared_ptr<kernel_object<T>> kernel = select_kernel<T>();
  return kernel;
}

template std::shared_ptr<kernel_object<float>> get_kernel<float>();
template std::shared_ptr<kernel_object<double>> get_kernel<double>();
template std::shared_ptr<kernel_object<std::complex<float>>> get_kernel<std::complex<float>>();
template std::shared_ptr<kernel_object<std::complex<double>>> get_kernel<std::complex<double>>();

}  // namespace kovra::kernels
