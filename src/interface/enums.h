// The CBLAS enumerations as the characters that the routines' own argument checks test. A value outside
// its enumeration becomes 'X', which every check refuses, so a bad enumeration is reported at the
// position of its argument like a bad character would be. Order is never mapped: the entries test it
// for CblasColMajor and take any other value as row-major.
#pragma once

#include "kovra/cblas.h"

namespace kovra::interface {

inline bool is_col_major(int order) { return order == CblasColMajor; }

inline char trans_char(int trans) {
  switch (trans) {
    case CblasNoTrans: return 'N';
    case CblasTrans: return 'T';
    case CblasConjTrans: return 'C';
    default: return 'X';
  }
}

inline char uplo_char(int uplo) {
  switch (uplo) {
    case CblasUpper: return 'U';
    case CblasLower: return 'L';
    default: return 'X';
  }
}

inline char diag_char(int diag) {
  switch (diag) {
    case CblasNonUnit: return 'N';
    case CblasUnit: return 'U';
    default: return 'X';
  }
}

inline char side_char(int side) {
  switch (side) {
    case CblasLeft: return 'L';
    case CblasRight: return 'R';
    default: return 'X';
  }
}

}  // namespace kovra::interface
