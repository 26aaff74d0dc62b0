// kovra::helper: the names through which generic code treats real and complex elements alike.
#pragma once

#include <cmath>
#include <complex>
#include <type_traits>

namespace kovra {

// A dimension at most this large runs serially on the calling thread, in every family.
inline constexpr int serial_cutoff = 8;

template <typename T> struct is_complex : std::false_type {};
template <typename R> struct is_complex<std::complex<R>> : std::true_type {};
template <typename T> inline constexpr bool is_complex_v = is_complex<T>::value;

// R, the real type of T.
template <typename T> struct real_of { using type = T; };
template <typename R> struct real_of<std::complex<R>> { using type = R; };
template <typename T> using real_t = typename real_of<T>::type;

namespace helper {

inline int MAX(int a, int b) { return a > b ? a : b; }
inline int MIN(int a, int b) { return a < b ? a : b; }

// Conjugation is the identity on real types, whatever the flag.
template <typename T> inline T CONJG(bool conjugate, T v) {
  if constexpr (is_complex_v<T>) {
    return conjugate ? T(v.real(), -v.imag()) : v;
  } else {
    (void)conjugate;
    return v;
  }
}

inline float REAL(float v) { return v; }
inline double REAL(double v) { return v; }
inline float REAL(std::complex<float> v) { return v.real(); }
inline double REAL(std::complex<double> v) { return v.real(); }
inline float IMAG(float) { return 0.0f; }
inline double IMAG(double) { return 0.0; }
inline float IMAG(std::complex<float> v) { return v.imag(); }
inline double IMAG(std::complex<double> v) { return v.imag(); }
inline float ABS(float v) { return std::fabs(v); }
inline double ABS(double v) { return std::fabs(v); }
inline float SQRT(float v) { return sqrtf(v); }
inline double SQRT(double v) { return sqrt(v); }

// Exact comparison with zero; a complex value is zero only if both parts are (-0 counts as 0).
template <typename T> inline bool is_zero(const T& v) {
  if constexpr (is_complex_v<T>) return v.real() == 0 && v.imag() == 0;
  else return v == 0;
}

// Option letters are kept as given and folded to upper case (c & 0xDF) where they are tested.
inline char fold_letter(char c) { return static_cast<char>(c & 0xDF); }

// A transposition letter: N, T or C in either case.
inline bool valid_trans(char c) {
  const char t = fold_letter(c);
  return t == 'N' || t == 'T' || t == 'C';
}

// Exact comparison with one; a complex value is one only if its imaginary part is zero.
template <typename T> inline bool is_one(const T& v) {
  if constexpr (is_complex_v<T>) return v.real() == 1 && v.imag() == 0;
  else return v == 1;
}

}  // namespace helper
}  // namespace kovra
