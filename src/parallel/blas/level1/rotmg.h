// ROTMG: generates the modified rotation H that zeroes the second component of (sqrt(d1)*x1,
// sqrt(d2)*y1), for SROTMG and DROTMG. Scalar code on the calling thread: no kernel, no task.
//
// param holds (flag, h11, h21, h12, h22). flag -1: H is stored in full; 0: H = [1 h12; h21 1] and only
// h21, h12 are stored; 1: H = [h11 1; -1 h22] and only h11, h22 are stored; -2: H is the identity and
// nothing but the flag is stored. Entries that a flag does not store keep what the caller left there.
#pragma once

#include <cmath>
#include <type_traits>

#include "helper/helper.h"

namespace kovra::parallel::blas {

// The rescaling keeps d1 and |d2| inside [rgamsq, gamsq] by powers of gam. The lower bound is the
// decimal 5.9604645e-8 in R: it is 2^-24 in float but a slightly different number in double, while
// the factors that divide by gam and gamsq are exact powers of two.
template <typename R>
struct rotmg_scale {
  static constexpr R gam = 4096;
  static constexpr R gamsq = 16777216;
  static constexpr R rgamsq = [] {
    if constexpr (std::is_same_v<R, float>) return 5.9604645e-8f;
    else return 5.9604645e-8;
  }();
  static constexpr R inv_gam = 0x1p-12;
  static constexpr R inv_gamsq = 0x1p-24;
};

// The generated matrix before it is stored: flag and the four entries, unused ones at 0.
template <typename R>
struct rotmg_matrix {
  R flag = 0, h11 = 0, h21 = 0, h12 = 0, h22 = 0;

  // A rescaling step needs all four entries: fill in the implied ones of the flag 0 or 1 forms.
  // Any flag other than 0 sets h21 = -1 and h12 = 1, a -1 left by an earlier step included.
  void make_explicit() {
    if (flag == 0) {
      h11 = 1;
      h22 = 1;
    } else {
      h21 = -1;
      h12 = 1;
    }
    flag = -1;
  }
};

// Brings d1 into range, then |d2|, one factor of gamsq at a time; x1 and the first row of H follow
// d1, the second row follows d2. An infinite d1 or d2 never comes into range, as no factor changes
// it: the loops leave it alone rather than spin, and every finite value is rescaled as before.
template <typename R>
void rotmg_rescale(rotmg_matrix<R>& h, R& d1, R& d2, R& x1) {
  using k = rotmg_scale<R>;
  if (d1 != 0) {
    while (std::isfinite(d1) && (d1 <= k::rgamsq || d1 >= k::gamsq)) {
      h.make_explicit();
      if (d1 <= k::rgamsq) {
        d1 *= k::gamsq;
        x1 *= k::inv_gam;
        h.h11 *= k::inv_gam;
        h.h12 *= k::inv_gam;
      } else {
        d1 *= k::inv_gamsq;
        x1 *= k::gam;
        h.h11 *= k::gam;
        h.h12 *= k::gam;
      }
    }
  }
  if (d2 != 0) {
    while (std::isfinite(d2) && (helper::ABS(d2) <= k::rgamsq || helper::ABS(d2) >= k::gamsq)) {
      h.make_explicit();
      if (helper::ABS(d2) <= k::rgamsq) {
        d2 *= k::gamsq;
        h.h21 *= k::inv_gam;
        h.h22 *= k::inv_gam;
      } else {
        d2 *= k::inv_gamsq;
        h.h21 *= k::gam;
        h.h22 *= k::gam;
      }
    }
  }
}

template <typename R>
void rotmg_store(const rotmg_matrix<R>& h, R* param) {
  param[0] = h.flag;
  if (h.flag < 0) {
    param[1] = h.h11;
    param[2] = h.h21;
    param[3] = h.h12;
    param[4] = h.h22;
  } else if (h.flag == 0) {
    param[2] = h.h21;
    param[3] = h.h12;
  } else {
    param[1] = h.h11;
    param[4] = h.h22;
  }
}

// d1, d2 and x1 are updated in place, y1 is only read. A negative d1 (and a negative q2 below) has no
// rotation: everything is zeroed. A zero y1*d2 needs none: the flag -2 alone is written.
template <typename R>
void rotmg(R* d1, R* d2, R* x1, R y1, R* param) {
  rotmg_matrix<R> h;
  if (*d1 < 0) {
    h.flag = -1;
    *d1 = *d2 = *x1 = 0;
    rotmg_store(h, param);
    return;
  }
  const R p2 = y1 * *d2;
  if (p2 == 0) {
    param[0] = -2;
    return;
  }
  const R p1 = *d1 * *x1;
  const R q2 = y1 * p2;
  const R q1 = *x1 * p1;
  if (helper::ABS(q1) > helper::ABS(q2)) {
    h.h12 = p2 / p1;
    h.h21 = -y1 / *x1;
    const R u = std::fma(-h.h21, h.h12, R(1));
    // A u that is not positive leaves d1, d2, x1 as they are and the flag at 0.
    if (u > 0) {
      *d1 /= u;
      *d2 /= u;
      *x1 *= u;
    }
  } else if (q2 < 0) {
    h.flag = -1;
    *d1 = *d2 = *x1 = 0;
  } else {
    h.flag = 1;
    h.h11 = p1 / p2;
    h.h22 = *x1 / y1;
    const R u = std::fma(h.h11, h.h22, R(1));
    const R new_d1 = *d2 / u;
    const R new_d2 = *d1 / u;
    *x1 = y1 * u;
    *d1 = new_d1;
    *d2 = new_d2;
  }
  rotmg_rescale(h, *d1, *d2, *x1);
  rotmg_store(h, param);
}

}  // namespace kovra::parallel::blas
