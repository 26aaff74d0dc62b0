// Another BLAS loaded at run time (dlopen), whose CBLAS entries kovra-bench times next to ours.
#pragma once

#include <optional>
#include <string>

namespace kovra::bench {

class peer_library {
 public:
  // Loads the library; throws std::runtime_error with the loader's message if it cannot.
  explicit peer_library(const std::string& path);

  // The library stays loaded until the process ends: unloading a BLAS whose worker threads may still
  // be parked is not safe, and nothing is gained by it.
  peer_library(const peer_library&) = delete;
  peer_library& operator=(const peer_library&) = delete;

  // The entry named `symbol`, typed as the caller's declaration of it; null if the library lacks it.
  template <typename Fn>
  Fn find(const char* symbol) const {
    return reinterpret_cast<Fn>(address_of(symbol));
  }

  const std::string& path() const { return path_; }
  // The file name without its folder, for column headings.
  std::string short_name() const;

  // Sets the peer's thread count through its own call for it; false if it has none that we know.
  bool set_threads(int threads) const;
  // The peer's thread count, if it tells.
  std::optional<int> threads() const;
  // The processor its kernels were chosen for, if it tells: a library that misreads the processor runs
  // slower kernels than it has, and its rates mean little without this.
  std::optional<std::string> kernel_target() const;

 private:
  void* address_of(const char* symbol) const;

  std::string path_;
  void* handle_;
};

}  // namespace kovra::bench
