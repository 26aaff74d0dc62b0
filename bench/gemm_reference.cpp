// The reference sums of GEMM, accumulated in double precision (complex double for complex data), and the
// same sums taken over a call's result.
#include "gemm_reference.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

#include "operand_buffer.h"

namespace kovra::bench {
namespace {

// Whole rows and columns checked entry by entry: evenly spread ones meet every worker's share and every
// cache block of a large C; the last ones hold the partial tiles at its edges, for tiles up to 16.
constexpr int spread_lines = 16;
constexpr int edge_lines = 16;

// Streams of the weights of the sum over all of C, apart from those of the operands' data.
constexpr std::uint64_t row_weight_stream = 101;
constexpr std::uint64_t column_weight_stream = 102;

// A sum of k products whose roundings are independent is off by about sqrt(k) roundings of its terms;
// this many times that bounds it with a wide margin.
constexpr double rounding_spread = 4;
// A complex product or sum is made of real ones, each rounding on its own.
constexpr double complex_rounding_factor = 2;

template <typename T>
using wide_t = std::conditional_t<is_complex_v<T>, std::complex<double>, double>;

template <typename T>
wide_t<T> widen(const T& value) {
  return static_cast<wide_t<T>>(value);
}

// The size that the magnitudes add up: |x|, and |re| + |im| for complex x, which exceeds the modulus by
// at most sqrt(2) and costs no square root.
template <typename T>
double size_of(const T& value) {
  if constexpr (is_complex_v<T>)
    return std::fabs(static_cast<double>(value.real())) + std::fabs(static_cast<double>(value.imag()));
  else
    return std::fabs(static_cast<double>(value));
}

// Entry (row, col) of op(M), for M column-major with leading dimension ld.
template <typename T>
const T& element(bool transposed, const T* m, int ld, int row, int col) {
  return transposed ? m[static_cast<std::size_t>(row) * ld + col] : m[row + static_cast<std::size_t>(col) * ld];
}

// y = op(M) x with op(M) rows by cols, each element taken as `as` maps it (its value or its size). The
// loop order follows the storage, so that M is read along its columns either way.
template <typename W, typename T, typename As>
std::vector<W> product(bool transposed, int rows, int cols, const T* m, int ld, const std::vector<W>& x, As as) {
  std::vector<W> y(static_cast<std::size_t>(rows));
  if (transposed) {
    for (int i = 0; i < rows; ++i) {
      const T* column = m + static_cast<std::size_t>(i) * ld;
      W sum{};
      for (int l = 0; l < cols; ++l) sum += as(column[l]) * x[l];
      y[i] = sum;
    }
  } else {
    for (int l = 0; l < cols; ++l) {
      const T* column = m + static_cast<std::size_t>(l) * ld;
      const W scale = x[l];
      for (int i = 0; i < rows; ++i) y[i] += as(column[i]) * scale;
    }
  }
  return y;
}

template <typename T>
std::vector<wide_t<T>> product_values(bool transposed, int rows, int cols, const T* m, int ld,
                                      const std::vector<wide_t<T>>& x) {
  return product(transposed, rows, cols, m, ld, x, [](const T& e) { return widen(e); });
}

template <typename T>
std::vector<double> product_sizes(bool transposed, int rows, int cols, const T* m, int ld,
                                  const std::vector<double>& x) {
  return product(transposed, rows, cols, m, ld, x, [](const T& e) { return size_of(e); });
}

template <typename W>
std::vector<double> sizes_of(const std::vector<W>& v) {
  std::vector<double> sizes(v.size());
  std::transform(v.begin(), v.end(), sizes.begin(), [](const W& e) { return size_of(e); });
  return sizes;
}

// Weights of the sum over C, from their own stream; complex weights mix the real and imaginary parts
// of C, so that an error in either changes the real part of the sum.
template <typename T>
std::vector<wide_t<T>> weights(int count, std::uint64_t stream) {
  std::vector<wide_t<T>> w(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < w.size(); ++i) {
    if constexpr (is_complex_v<T>)
      w[i] = {fill_value(stream, 2 * i), fill_value(stream, 2 * i + 1)};
    else
      w[i] = fill_value(stream, i);
  }
  return w;
}

// The lines checked entry by entry. An entry in both a checked row and a checked column is listed once,
// with its column.
struct checked_lines {
  std::vector<int> rows;
  std::vector<int> columns;
  std::vector<bool> column_checked;
};

// Of rows or columns 0 to extent - 1, extent being at least 1.
std::vector<int> lines_of(int extent) {
  std::vector<int> lines;
  for (int s = 0; s < spread_lines; ++s)
    lines.push_back(static_cast<int>(static_cast<std::int64_t>(s) * extent / spread_lines));
  for (int i = std::max(0, extent - edge_lines); i < extent; ++i) lines.push_back(i);
  std::sort(lines.begin(), lines.end());
  lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
  return lines;
}

checked_lines lines_to_check(int m, int n) {
  checked_lines lines{lines_of(m), lines_of(n), std::vector<bool>(static_cast<std::size_t>(n))};
  for (const int j : lines.columns) lines.column_checked[j] = true;
  return lines;
}

// Appends the checksum of entry (i, j): one for a real entry, one per part for a complex one.
template <typename W>
void add_entry(std::vector<operand_checksum>& sums, int i, int j, const W& value, double magnitude) {
  const std::string place = "C(" + std::to_string(i + 1) + "," + std::to_string(j + 1) + ")";
  if constexpr (std::is_same_v<W, double>) {
    sums.push_back({place, {value, magnitude}});
  } else {
    sums.push_back({"Re " + place, {value.real(), magnitude}});
    sums.push_back({"Im " + place, {value.imag(), magnitude}});
  }
}

// Re(u^T (alpha op(A) B + beta C) v) and its bound, by matrix-vector products from the right.
template <typename T>
operand_checksum expected_weighted_sum(const gemm_view<T>& g) {
  const auto u = weights<T>(g.m, row_weight_stream);
  const auto v = weights<T>(g.n, column_weight_stream);
  const auto v_sizes = sizes_of(v);
  const auto bv = product_values(false, g.k, g.n, g.b, g.ldb, v);
  const auto bv_sizes = product_sizes(false, g.k, g.n, g.b, g.ldb, v_sizes);
  const auto abv = product_values(g.transpose_a, g.m, g.k, g.a, g.lda, bv);
  const auto abv_sizes = product_sizes(g.transpose_a, g.m, g.k, g.a, g.lda, bv_sizes);
  const auto cv = product_values(false, g.m, g.n, g.c, g.ldc, v);
  const auto cv_sizes = product_sizes(false, g.m, g.n, g.c, g.ldc, v_sizes);
  wide_t<T> value{};
  double magnitude = 0;
  for (int i = 0; i < g.m; ++i) {
    value += u[i] * (widen(g.alpha) * abv[i] + widen(g.beta) * cv[i]);
    magnitude += size_of(u[i]) * (size_of(g.alpha) * abv_sizes[i] + size_of(g.beta) * cv_sizes[i]);
  }
  return {"C", {std::real(value), magnitude}};
}

}  // namespace

template <typename T>
std::vector<operand_checksum> expected_gemm_sums(const gemm_view<T>& g) {
  const checked_lines lines = lines_to_check(g.m, g.n);
  std::vector<operand_checksum> sums{expected_weighted_sum(g)};
  auto add = [&](int i, int j, const wide_t<T>& product, double product_size) {
    const T& c = g.c[i + static_cast<std::size_t>(j) * g.ldc];
    add_entry(sums, i, j, widen(g.alpha) * product + widen(g.beta) * widen(c),
              size_of(g.alpha) * product_size + size_of(g.beta) * size_of(c));
  };
  // A checked column j of op(A) B is op(A) times column j of B.
  for (const int j : lines.columns) {
    std::vector<wide_t<T>> b_column(static_cast<std::size_t>(g.k));
    for (int l = 0; l < g.k; ++l) b_column[l] = widen(element(false, g.b, g.ldb, l, j));
    const auto column = product_values(g.transpose_a, g.m, g.k, g.a, g.lda, b_column);
    const auto column_sizes = product_sizes(g.transpose_a, g.m, g.k, g.a, g.lda, sizes_of(b_column));
    for (int i = 0; i < g.m; ++i) add(i, j, column[i], column_sizes[i]);
  }
  // A checked row i of op(A) B is B^T times row i of op(A).
  for (const int i : lines.rows) {
    std::vector<wide_t<T>> a_row(static_cast<std::size_t>(g.k));
    for (int l = 0; l < g.k; ++l) a_row[l] = widen(element(g.transpose_a, g.a, g.lda, i, l));
    const auto row = product_values(true, g.n, g.k, g.b, g.ldb, a_row);
    const auto row_sizes = product_sizes(true, g.n, g.k, g.b, g.ldb, sizes_of(a_row));
    for (int j = 0; j < g.n; ++j)
      if (!lines.column_checked[j]) add(i, j, row[j], row_sizes[j]);
  }
  return sums;
}

template <typename T>
std::vector<operand_checksum> gemm_result_sums(int m, int n, const T* c, int ldc) {
  const checked_lines lines = lines_to_check(m, n);
  const auto u = weights<T>(m, row_weight_stream);
  const auto v = weights<T>(n, column_weight_stream);
  const auto cv = product_values(false, m, n, c, ldc, v);
  const auto cv_sizes = product_sizes(false, m, n, c, ldc, sizes_of(v));
  wide_t<T> value{};
  double magnitude = 0;
  for (int i = 0; i < m; ++i) {
    value += u[i] * cv[i];
    magnitude += size_of(u[i]) * cv_sizes[i];
  }
  std::vector<operand_checksum> sums{{"C", {std::real(value), magnitude}}};
  auto add = [&](int i, int j) {
    const T& entry = c[i + static_cast<std::size_t>(j) * ldc];
    add_entry(sums, i, j, widen(entry), size_of(entry));
  };
  for (const int j : lines.columns)
    for (int i = 0; i < m; ++i) add(i, j);
  for (const int i : lines.rows)
    for (int j = 0; j < n; ++j)
      if (!lines.column_checked[j]) add(i, j);
  return sums;
}

template <typename T>
double gemm_rounding(int k) {
  const double factor = is_complex_v<T> ? complex_rounding_factor : 1;
  return factor * rounding_spread * std::numeric_limits<real_t<T>>::epsilon() * std::sqrt(std::max(k, 1));
}

template std::vector<operand_checksum> expected_gemm_sums(const gemm_view<float>&);
template std::vector<operand_checksum> expected_gemm_sums(const gemm_view<double>&);
template std::vector<operand_checksum> expected_gemm_sums(const gemm_view<std::complex<float>>&);
template std::vector<operand_checksum> expected_gemm_sums(const gemm_view<std::complex<double>>&);
template std::vector<operand_checksum> gemm_result_sums(int, int, const float*, int);
template std::vector<operand_checksum> gemm_result_sums(int, int, const double*, int);
template std::vector<operand_checksum> gemm_result_sums(int, int, const std::complex<float>*, int);
template std::vector<operand_checksum> gemm_result_sums(int, int, const std::complex<double>*, int);
template double gemm_rounding<float>(int);
template double gemm_rounding<double>(int);
template double gemm_rounding<std::complex<float>>(int);
template double gemm_rounding<std::complex<double>>(int);

}  // namespace kovra::bench
