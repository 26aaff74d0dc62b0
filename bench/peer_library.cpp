// Loading the peer and reaching its thread-count controls.
#include "peer_library.h"

#include <dlfcn.h>

#include <stdexcept>

namespace kovra::bench {
namespace {

// The thread controls and kernel report that OpenBLAS exports; other libraries are timed with whatever
// thread count they chose.
using set_threads_fn = void (*)(int);
using get_threads_fn = int (*)();
using get_core_name_fn = const char* (*)();
constexpr const char* set_threads_symbol = "openblas_set_num_threads";
constexpr const char* get_threads_symbol = "openblas_get_num_threads";
constexpr const char* get_core_name_symbol = "openblas_get_corename";

void* open_library(const std::string& path) {
  // RTLD_LOCAL keeps the peer's names out of the global scope, so nothing of ours binds to them.
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    const char* reason = dlerror();
    throw std::runtime_error("cannot load " + path + ": " + (reason != nullptr ? reason : "unknown reason"));
  }
  return handle;
}

}  // namespace

peer_library::peer_library(const std::string& path) : path_(path), handle_(open_library(path)) {}

void* peer_library::address_of(const char* symbol) const { return dlsym(handle_, symbol); }

std::string peer_library::short_name() const {
  const auto slash = path_.find_last_of('/');
  return slash == std::string::npos ? path_ : path_.substr(slash + 1);
}

bool peer_library::set_threads(int threads) const {
  const auto set = find<set_threads_fn>(set_threads_symbol);
  if (set == nullptr) return false;
  set(threads);
  return true;
}

std::optional<int> peer_library::threads() const {
  const auto get = find<get_threads_fn>(get_threads_symbol);
  if (get == nullptr) return std::nullopt;
  return get();
}

std::optional<std::string> peer_library::kernel_target() const {
  const auto get = find<get_core_name_fn>(get_core_name_symbol);
  if (get == nullptr) return std::nullopt;
  const char* name = get();
  if (name == nullptr) return std::nullopt;
  return std::string(name);
}

}  // namespace kovra::bench
