// The exact texts of the two reporters on standard error.
#include <gtest/gtest.h>

#include "error/error.h"

namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

TEST(Reporters, XerblaNamesRoutineAndPosition) {
  CaptureStderr();
  kovra::error::xerbla("GEMM ", 4);
  kovra::error::xerbla("TPSV ", 11);
  EXPECT_EQ(GetCapturedStderr(),
            "** KOVRA Error!  On Entry to GEMM  parameter number 4 had an illegal value!\n"
            "** KOVRA Error!  On Entry to TPSV  parameter number 11 had an illegal value!\n");
}

TEST(Reporters, KovraErrorPrintsMessageOnItsOwnLine) {
  CaptureStderr();
  kovra::error::kovra_error("Aligned memory allocation failed!");
  kovra::error::kovra_error("Pointer to image is NULL");
  EXPECT_EQ(GetCapturedStderr(),
            "** KOVRA SYSTEM ERROR! Aligned memory allocation failed!\n"
            "** KOVRA SYSTEM ERROR! Pointer to image is NULL\n");
}

}  // namespace
