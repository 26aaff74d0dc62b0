// The checks that every vector kernel (x86, AArch64) must pass, bit for bit: the micro kernels against a scalar
// model of their arithmetic (which the portable bodies with the same tiles must also meet on integer panels) and on
// panels that end at an unreadable page, AXPY, SCAL and the tile packers against the portable kernel, every output
// between guards.
#pragma once

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <stdexcept>
#include <utility>
#include <vector>

#include "kernels/kernel_object.h"
#include "values.h"

namespace kovra_test {

// Element (i, j) of the product of panels a (mr rows) and b (nr columns) as the kernels sum it: each real
// sum from +0 with one fused multiply-add per step, in order of depth; a complex one from its four real sums.
template <typename T> T model_sum(int k, const T* a, int mr, int i, const T* b, int nr, int j) {
  const auto re = [](const T& v) { return helper::REAL(v); };
  const auto im = [](const T& v) { return helper::IMAG(v); };  // 0 for a real type: its sum less +0 is itself
  const auto sum = [&](auto part_a, auto part_b) {
    real_t<T> acc = 0;
    for (int p = 0; p < k; ++p) acc = std::fma(part_a(a[p * mr + i]), part_b(b[p * nr + j]), acc);
    return acc;
  };
  return make<T>(sum(re, re) - sum(im, im), sum(im, re) + sum(re, im));
}

// Values in [-1, 1], or nonzero integers of at most 4 in every part, on which every sum of a panel is exact.
template <typename T> std::vector<T> kernel_values(bool whole, int count, unsigned seed) {
  std::vector<T> out = random_values<T>(count, seed);
  const auto step = [](real_t<T> x) { return x < 0 ? std::floor(4 * x) : 1 + std::floor(4 * x); };
  for (T& v : out) v = whole ? make<T>(step(helper::REAL(v)), step(helper::IMAG(v))) : v;
  return out;
}

// Depths 0 to 9, 16, 24 and past a block (a loop of eight steps at a time runs none to two rounds, then every
// remainder), with and without clear (C then starts as NaN); C has a line of sentinels before and after it and
// rows of them between its lines. With alpha 1 micro_kernel's expected tile is micro_kernel_t's transposed. On
// integers, where alpha's parts are positive so that no order of the exact sums turns a zero into -0, the portable
// bodies with the same tiles must give the model's bits too.
template <typename T> void check_micro_kernels(const kernels::kernel_object<T>& kern, const char* name) {
  const kernels::kernel_object<T> plain(kern.block_m, kern.block_n, kern.block_k, kern.tile_m, kern.tile_n);
  const int mr = kern.tile_m, nr = kern.tile_n, ldc = mr + 3, ldt = nr + 2;
  const std::pair<T, bool> runs[] = {{make<T>(-1.375, 0.625), false}, {make<T>(1), false}, {make<T>(2, 3), true}};
  for (const auto& [alpha, whole] : runs)
    for (int k : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 16, 24, kern.block_k + 3}) {
      const std::vector<T> a = kernel_values<T>(whole, mr * k, 11 + k);
      const std::vector<T> b = kernel_values<T>(whole, nr * k, 12 + k), old = kernel_values<T>(whole, mr * nr, 13 + k);
      for (bool clear : {false, true}) {
        std::vector<T> c(ldc * (nr + 2), sentinel<T>()), ct(ldt * (mr + 2), sentinel<T>());
        std::vector<T> want = c, want_t = ct;
        for (int i = 0; i < mr; ++i)
          for (int j = 0; j < nr; ++j) {
            const int at = i + (j + 1) * ldc, at_t = j + (i + 1) * ldt;
            const T s = model_sum(k, a.data(), mr, i, b.data(), nr, j), was = old[i + j * mr];
            c[at] = ct[at_t] = clear ? nan_element<T>() : was;
            want[at] = !clear ? multiply_add(alpha, s, was) : k == 0 ? T{} : plain_mul(alpha, s);
            want_t[at_t] = clear ? s : plain_add(was, s);
          }
        for (const kernels::kernel_object<T>* run : {&kern, &plain}) {
          if (run == &plain && !whole) continue;
          std::vector<T> got = c, got_t = ct;
          run->micro_kernel(&alpha, k, a.data(), b.data(), got.data() + ldc, ldc, clear);
          run->micro_kernel_t(k, a.data(), b.data(), got_t.data() + ldt, ldt, clear);
          const char* who = run == &plain ? "portable" : name;
          EXPECT_TRUE(all_same_bits(got, want)) << who << " k=" << k << " clear=" << clear << " " << describe(alpha);
          EXPECT_TRUE(all_same_bits(got_t, want_t)) << who << " by rows, k=" << k << " clear=" << clear;
        }
      }
    }
}

// Every length to 33, then two past four registers of AVX-512 floats (64). Each vector is followed by one more
// element: a finite one, which AXPY or SCAL running past the end would change, or a sentinel, which a clear would.
template <typename T> void check_axpy_and_scal(const kernels::kernel_object<T>& kern) {
  const kernels::kernel_object<T> plain(kernels::plain_blocking<T>::value);
  const T alpha = make<T>(0.75, -1.25), zero{}, guard = make<T>(3, -5);
  kern.axpy_kernel(-1, &alpha, nullptr, nullptr);  // a length below 1 touches nothing
  kern.scal_kernel(-1, &zero, nullptr);
  for (int n = 0; n < 140; n += n < 33 ? 1 : 37) {
    std::vector<T> x = random_values<T>(n, 40 + n);
    if (n > 9) x[n - 7] = make<T>(INFINITY, NAN), x[n / 3] = make<T>(NAN, -1);  // products the complex kernels recover
    std::vector<T> y = random_values<T>(n, 41 + n), nans(n, nan_element<T>()), zeros(n);
    for (std::vector<T>* v : {&x, &y}) v->push_back(guard);
    for (std::vector<T>* v : {&nans, &zeros}) v->push_back(sentinel<T>());
    std::vector<T> y_plain = y, s = x, s_plain = x;
    kern.axpy_kernel(n, &alpha, x.data(), y.data());
    plain.axpy_kernel(n, &alpha, x.data(), y_plain.data());
    kern.scal_kernel(n, &alpha, s.data());
    plain.scal_kernel(n, &alpha, s_plain.data());
    kern.scal_kernel(n, &zero, nans.data());
    EXPECT_TRUE(all_same_bits(y, y_plain)) << "axpy n=" << n;
    EXPECT_TRUE(all_same_bits(s, s_plain)) << "scal n=" << n;
    EXPECT_TRUE(all_same_bits(nans, zeros)) << "scal by 0 n=" << n;
  }
}

// Each tile packer against the portable one of the same tile shape, from a source with a wider stride, with a
// sentinel after the tile.
template <typename T> void check_tile_packers(const kernels::kernel_object<T>& kern) {
  using packer = void (kernels::kernel_object<T>::*)(const T*, int, T*) const;
  const kernels::kernel_object<T> plain(kern.block_m, kern.block_n, kern.block_k, kern.tile_m, kern.tile_n);
  const int size = plain.tile_size, ld = plain.tile_m + 3;
  const std::vector<T> src = random_values<T>(ld * ld, 7);
  for (const packer pack : {&kernels::kernel_object<T>::pack_a, &kernels::kernel_object<T>::pack_a_trans,
                            &kernels::kernel_object<T>::pack_b, &kernels::kernel_object<T>::pack_b_trans}) {
    std::vector<T> ours(size + 1, sentinel<T>()), theirs = ours;
    (kern.*pack)(src.data(), ld, ours.data());
    (plain.*pack)(src.data(), ld, theirs.data());
    EXPECT_TRUE(all_same_bits(ours, theirs));
  }
}

// A copy of `values` that ends where a page that cannot be read begins.
template <typename T> class panel_before_guard {
 public:
  explicit panel_before_guard(const std::vector<T>& values) {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE)), bytes = values.size() * sizeof(T);
    length_ = (bytes + page - 1) / page * page + page;
    map_ = static_cast<char*>(mmap(nullptr, length_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (map_ == MAP_FAILED || mprotect(map_ + length_ - page, page, PROT_NONE) != 0)
      throw std::runtime_error("no guarded panel");
    data_ = reinterpret_cast<T*>(map_ + length_ - page - bytes);
    std::memcpy(static_cast<void*>(data_), values.data(), bytes);
  }
  panel_before_guard(const panel_before_guard&) = delete;
  panel_before_guard& operator=(const panel_before_guard&) = delete;
  ~panel_before_guard() { munmap(map_, length_); }
  const T* data() const { return data_; }

 private:
  char* map_;
  std::size_t length_;
  T* data_;
};

// The micro kernels read nothing past their panels (a kernel that loads a step ahead must stop at the last): with
// each panel ending at an unreadable page, they give what they give elsewhere.
template <typename T> void check_panel_ends(const kernels::kernel_object<T>& kern) {
  const T alpha = make<T>(0.5, 1.5);
  for (int k : {1, 2, 9, 17}) {
    const std::vector<T> a = random_values<T>(kern.tile_m * k, k), b = random_values<T>(kern.tile_n * k, 50 + k);
    const panel_before_guard<T> guarded_a(a), guarded_b(b);
    std::vector<T> want(kern.tile_size), got(kern.tile_size), want_t(kern.tile_size), got_t(kern.tile_size);
    kern.micro_kernel(&alpha, k, a.data(), b.data(), want.data(), kern.tile_m, true);
    kern.micro_kernel(&alpha, k, guarded_a.data(), guarded_b.data(), got.data(), kern.tile_m, true);
    kern.micro_kernel_t(k, a.data(), b.data(), want_t.data(), kern.tile_n, true);
    kern.micro_kernel_t(k, guarded_a.data(), guarded_b.data(), got_t.data(), kern.tile_n, true);
    EXPECT_TRUE(all_same_bits(got, want)) << "k=" << k;
    EXPECT_TRUE(all_same_bits(got_t, want_t)) << "by rows, k=" << k;
  }
}

}  // namespace kovra_test
