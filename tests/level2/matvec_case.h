// The operands of one GEMV or GBMV call for the tests: A padded with sentinels (NaN) beyond its rows,
// x and y strided with sentinels in the gaps and guards, and the reference result of the call; and the
// exported entries of each element type.
#pragma once

#include <complex>
#include <vector>

#include "kovra/cblas.h"
#include "kovra/fortran.h"

#include "parallel/blas/level2/gbmv.h"
#include "parallel/blas/level2/gemv.h"
#include "support/padded_matrix.h"
#include "support/reference_level2.h"
#include "support/strided_vector.h"
#include "support/values.h"

namespace kovra::testing {

inline int x_length(char trans, int m, int n) { return (trans & 0xDF) == 'N' ? n : m; }
inline int y_length(char trans, int m, int n) { return (trans & 0xDF) == 'N' ? m : n; }

// A full m by n A with leading dimension m + pad (at least 1).
template <typename T>
struct gemv_case {
  char trans;
  int m, n;
  padded_matrix<T> a;
  strided_vector<T> x, y;

  gemv_case(char t, int m_, int n_, int incx, int incy, unsigned seed = 1, int pad = 2)
      : trans(t), m(m_), n(n_), a(m_, n_, (m_ > 0 ? m_ : 1) + pad),
        x(x_length(t, m_, n_), incx, random_values<T>(x_length(t, m_, n_), seed + 1)),
        y(y_length(t, m_, n_), incy, random_values<T>(y_length(t, m_, n_), seed + 2)), incx_(incx), incy_(incy) {
    a.random(seed);
  }

  expected_vector<T> expected(T alpha, T beta) const {
    return reference_matvec(trans, m, n, alpha, [this](int i, int j) { return a.at(i, j); }, x.logical(), beta,
                            y.logical());
  }

  void run(T alpha, T beta) {
    parallel::blas::gemv_front(trans, m, n, alpha, a.data(), a.ld(), x.data(), incx_, beta, y.data(), incy_);
  }
  void run_serial(T alpha, T beta) {
    parallel::blas::gemv_serial(trans, m, n, alpha, a.data(), a.ld(), x.data(), incx_, beta, y.data(), incy_);
  }

  int incx_, incy_;
};

// A band m by n A with kl sub- and ku superdiagonals in band storage with leading dimension
// kl + ku + 1 + pad. Stored positions that hold no element of A keep the sentinel, so reading one spoils
// the result.
template <typename T>
struct gbmv_case {
  char trans;
  int m, n, kl, ku;
  padded_matrix<T> a;
  strided_vector<T> x, y;

  gbmv_case(char t, int m_, int n_, int kl_, int ku_, int incx, int incy, unsigned seed = 1, int pad = 1)
      : trans(t), m(m_), n(n_), kl(kl_), ku(ku_), a(kl_ + ku_ + 1, n_, kl_ + ku_ + 1 + pad),
        x(x_length(t, m_, n_), incx, random_values<T>(x_length(t, m_, n_), seed + 1)),
        y(y_length(t, m_, n_), incy, random_values<T>(y_length(t, m_, n_), seed + 2)), incx_(incx), incy_(incy) {
    a.random(seed);
    for (int j = 0; j < n; ++j)
      for (int r = 0; r <= kl + ku; ++r)
        if (const int i = r - ku + j; i < 0 || i >= m) a.at(r, j) = sentinel<T>();
  }

  T element(int i, int j) const { return i - j > kl || j - i > ku ? T(0) : a.at(ku + i - j, j); }

  expected_vector<T> expected(T alpha, T beta) const {
    return reference_matvec(trans, m, n, alpha, [this](int i, int j) { return element(i, j); }, x.logical(), beta,
                            y.logical());
  }

  void run(T alpha, T beta) {
    parallel::blas::gbmv_front(trans, m, n, kl, ku, alpha, a.data(), a.ld(), x.data(), incx_, beta, y.data(), incy_);
  }
  void run_serial(T alpha, T beta) {
    parallel::blas::gbmv_serial(trans, m, n, kl, ku, alpha, a.data(), a.ld(), x.data(), incx_, beta, y.data(),
                                incy_);
  }

  int incx_, incy_;
};

// The exported entries of each type; scalar() passes a scalar as the CBLAS form takes it.
template <typename T> struct matvec_entries;
template <> struct matvec_entries<float> {
  static constexpr auto gemv = sgemv_;
  static constexpr auto gemv_cblas = cblas_sgemv;
  static constexpr auto gbmv = sgbmv_;
  static constexpr auto gbmv_cblas = cblas_sgbmv;
  static float scalar(const float& v) { return v; }
};
template <> struct matvec_entries<double> {
  static constexpr auto gemv = dgemv_;
  static constexpr auto gemv_cblas = cblas_dgemv;
  static constexpr auto gbmv = dgbmv_;
  static constexpr auto gbmv_cblas = cblas_dgbmv;
  static double scalar(const double& v) { return v; }
};
template <> struct matvec_entries<std::complex<float>> {
  static constexpr auto gemv = cgemv_;
  static constexpr auto gemv_cblas = cblas_cgemv;
  static constexpr auto gbmv = cgbmv_;
  static constexpr auto gbmv_cblas = cblas_cgbmv;
  static const void* scalar(const std::complex<float>& v) { return &v; }
};
template <> struct matvec_entries<std::complex<double>> {
  static constexpr auto gemv = zgemv_;
  static constexpr auto gemv_cblas = cblas_zgemv;
  static constexpr auto gbmv = zgbmv_;
  static constexpr auto gbmv_cblas = cblas_zgbmv;
  static const void* scalar(const std::complex<double>& v) { return &v; }
};

inline CBLAS_TRANSPOSE cblas_trans(char t) {
  return t == 'N' ? CblasNoTrans : t == 'T' ? CblasTrans : CblasConjTrans;
}

}  // namespace kovra::testing
