// The drivers of the table-driven suites: a results table runs row by row on chosen worker counts, a
// validation table expects of every row the report of its bad argument, and a routine's entry forms (picked by
// element type, scalars as CBLAS takes them) must all leave the same bits.
#pragma once

#include <gtest/gtest.h>

#include <complex>
#include <initializer_list>
#include <optional>
#include <type_traits>
#include <vector>

#include "operands.h"
#include "worker_scope.h"

namespace kovra_test {

// check(row) for every row of the table; workers 0 keeps the runtime as it is. A failure names the row.
template <typename Table, typename Check>
void for_each_case(const Table& table, Check check, std::initializer_list<int> workers = {0}) {
  for (int w : workers) {
    std::optional<worker_scope> scope;
    if (w > 0) scope.emplace(w);
    int row = 0;
    for (const auto& c : table) {
      SCOPED_TRACE(::testing::Message() << "table row " << row++ << " on " << w << " workers");
      check(c);
    }
  }
}

// Every row has a `position`; call(row) must print the report of that position for `family` and nothing else.
template <typename Table, typename Call>
void expect_reports(const char* family, const Table& table, Call call) {
  for_each_case(table, [&](const auto& c) { EXPECT_EQ(stderr_of([&] { call(c); }), report(family, c.position)); });
}

// The one of four entries (S, D, C, Z) that takes T.
template <typename T, typename S, typename D, typename C, typename Z>
constexpr auto pick(S s, D d, C c, Z z) {
  if constexpr (std::is_same_v<T, float>) return s;
  else if constexpr (std::is_same_v<T, double>) return d;
  else if constexpr (std::is_same_v<T, std::complex<float>>) return c;
  else return z;
}

// CBLAS takes real scalars by value and complex ones by address.
template <typename T>
auto scalar(const T& v) {
  if constexpr (is_complex_v<T>) return static_cast<const void*>(&v);
  else return v;
}

// Runs every call(x, y) on its own copy of the strided x and y; all must leave the same x and y and return
// the same value, bit for bit, and touch nothing else.
template <typename T, typename... Calls>
void expect_same_effect(const std::vector<T>& x0, int incx, const std::vector<T>& y0, int incy, Calls... calls) {
  std::vector<T> first;
  int form = 0;
  const auto run = [&](auto call) {
    strided_vector<T> x(int(x0.size()), incx, x0), y(int(y0.size()), incy, y0);
    std::vector<T> seen;
    if constexpr (std::is_void_v<decltype(call(x.data(), y.data()))>) call(x.data(), y.data());
    else seen.push_back(T(call(x.data(), y.data())));
    for (const auto& v : {x.logical(), y.logical()}) seen.insert(seen.end(), v.begin(), v.end());
    EXPECT_TRUE(x.intact() && y.intact()) << "form " << form;
    if (form++ == 0) first = seen;
    else EXPECT_TRUE(all_same_bits(seen, first)) << "form " << form - 1 << " differs from the routine";
  };
  (run(calls), ...);
}

}  // namespace kovra_test
