// convolution_mm against a direct loop in every layout, its checks, the empty product, the cached image kernel,
// and calls of different shapes from several application threads at once.
#include "kovra/convolution.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <latch>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

#include "kernels/get_kernel.h"
#include "kernels/kernel_object.h"
#include "support/cases.h"
#include "support/reference.h"

namespace kovra_test {
namespace {

struct shape {
  int width, height, channels, count, filter_x, pad, stride, out_width, out_height;
  int pixels() const { return out_width * out_height; }
  int depth() const { return filter_x * filter_x * channels; }
};

// One convolution: the same image values planar and interleaved, and the filters.
struct problem : shape {
  std::vector<float> planar, interleaved, filters;

  problem(const shape& s, unsigned seed)
      : shape(s),
        planar(random_values<float>(width * height * channels, seed)),
        interleaved(planar.size()),
        filters(random_values<float>(depth() * count, seed + 1)) {
    const int plane = width * height;
    for (int c = 0; c < channels; ++c)
      for (int p = 0; p < plane; ++p) interleaved[c + p * channels] = planar[p + c * plane];
  }
  // Tap l = (fy*filter_x + fx)*channels + c of filter n on output pixel m: zero outside the image.
  long double term(int m, int n, int l) const {
    const int c = l % channels, fx = l / channels % filter_x, fy = l / channels / filter_x;
    const int x = m % out_width * stride + fx - pad, y = m / out_width * stride + fy - pad;
    if (x < 0 || x >= width || y < 0 || y >= height) return 0;
    return static_cast<long double>(planar[x + y * width + c * width * height]) * filters[n + l * count];
  }
  void run(unsigned in, unsigned out, bool accumulate, float* output) const {
    convolution_mm(in, out, accumulate, in == 0 ? planar.data() : interleaved.data(), width, height, channels,
                   filters.data(), count, filter_x, pad, stride, output, out_width, out_height);
  }
};

// The output in `format`: pixels by filters by columns (0) or filters by pixels (1), between guard zones.
struct output {
  unsigned format;
  padded_matrix<float> cells;

  output(unsigned f, const shape& s)
      : format(f), cells(f == 0 ? s.pixels() : s.count, f == 0 ? s.count : s.pixels(), f == 0 ? s.pixels() : s.count) {}
  float& at(int m, int n) { return format == 0 ? cells.at(m, n) : cells.at(n, m); }
  std::vector<float> by_pixels() {  // element (m, n) at m + n*pixels, whatever the format
    std::vector<float> values;
    const int pixels = format == 0 ? cells.rows() : cells.cols(), count = format == 0 ? cells.cols() : cells.rows();
    for (int n = 0; n < count; ++n)
      for (int m = 0; m < pixels; ++m) values.push_back(at(m, n));
    return values;
  }
};

TEST(Convolution, MatchesTheDirectLoopInEveryLayout) {
  const auto kernel = kernels::get_kernel<float>();
  // The smallest filter whose depth passes block_k: with 3 or 5 channels the second depth block starts inside a
  // pixel (block_k, a power of two, is no multiple of either), with 5 channels off a multiple of tile_n too.
  const auto past_block = [&](int channels) {
    int f = 1;
    while (f * f * channels <= kernel->block_k) ++f;
    return f;
  };
  const int f3 = past_block(3), f5 = past_block(5), wide = kernel->block_n + 3, tall = kernel->block_m / 20 + 1;
  const std::vector<shape> table = {
      // width, height, channels, filters, filter_x, pad, stride, output width and height
      {1, 1, 1, 1, 1, 0, 1, 1, 1},       {6, 6, 4, 13, 3, 0, 1, 1, 1},    {9, 8, 2, 5, 3, 0, 2, 4, 3},
      {7, 5, 1, 6, 3, 1, 1, 7, 5},       {10, 9, 3, 7, 5, 2, 1, 10, 9},   {8, 8, 4, 9, 3, 1, 3, 3, 3},
      {6, 7, 5, 4, 5, 3, 2, 4, 5},       {6, 5, 16, wide, 3, 1, 1, 6, 5}, {12, 11, 3, 3, 7, 3, 2, 6, 6},
      {5, 5, 2, 3, 1, 0, 1, 5, 5},       {4, 3, 3, 5, 3, 1, 2, 9, 8},     {20, tall, 1, 5, 3, 1, 1, 20, tall},
      {9, 7, 16, 6, 1, 2, 3, 5, 4},      {5, 6, 2, 3, 3, 1, 0, 4, 3},     {f3 + 2, f3, 3, 6, f3, 2, 1, 5, 3},
      {f5, f5 + 1, 5, 5, f5, 1, 1, 3, 4}, {16, 12, 3, 4, 5, 1, 1, 14, 10}};
  for_each_case(
      table,
      [&](const shape& s) {
        const problem p(s, s.depth() + s.count);
        const int pixels = s.pixels();
        const auto prior = random_values<float>(pixels * s.count, 7);
        for (const bool acc : {false, true}) {
          const auto term = [&](int m, int n, int l) { return p.term(m, n, l); };
          const auto want = reference_product<float>(pixels, s.count, s.depth(), term, 1.0f, acc ? 1.0f : 0.0f,
                                                     [&](int m, int n) { return prior[m + n * pixels]; });
          std::vector<float> first;
          for (const unsigned in : {0u, 1u})
            for (const unsigned out : {0u, 1u}) {
              SCOPED_TRACE(::testing::Message() << "input " << in << " output " << out << " accumulate " << acc);
              output o(out, s);
              for (int n = 0; n < s.count; ++n)
                for (int m = 0; m < pixels; ++m) o.at(m, n) = acc ? prior[m + n * pixels] : nan_element<float>();
              p.run(in, out, acc, o.cells.data());
              const auto got = o.by_pixels();
              EXPECT_TRUE(close_to(want, got) && o.cells.intact());
              if (first.empty())
                first = got;
              else
                EXPECT_TRUE(all_same_bits(got, first)) << "differs from the planar image and planar output";
            }
        }
      },
      {1, 2});
}

TEST(Convolution, RefusalsInOrderLeaveTheOutputAlone) {
  struct refusal {
    bool image, filters, output;
    unsigned in, out;
    int filter_x, pad;
    std::string message;  // empty: accepted
  };
  const std::vector<refusal> table = {{false, false, false, 2, 2, 0, -1, "Pointer to image is NULL"},
                                      {true, false, false, 2, 2, 0, -1, "Pointer to filters is NULL"},
                                      {true, true, false, 2, 2, 0, -1, "Pointer to output is NULL"},
                                      {true, true, true, 2, 2, 0, -1, "Unsupported Input Format"},
                                      {true, true, true, UINT_MAX, 0, 3, 0, "Unsupported Input Format"},
                                      {true, true, true, 1, 2, 0, -1, "Unsupported Output Format"},
                                      {true, true, true, 0, 0x80000000u, 3, 0, "Unsupported Output Format"},
                                      {true, true, true, 1, 1, 0, -1, "padLeft must be a positive number"},
                                      {true, true, true, 0, 1, 0, 0, "filterX must be a positive number"},
                                      {true, true, true, 1, 0, -2, 1, "filterX must be a positive number"},
                                      {true, true, true, 0, 1, 3, 0, ""}};
  const problem p({6, 5, 2, 3, 3, 1, 1, 6, 5}, 3);
  for_each_case(table, [&](const refusal& r) {
    std::vector<float> out(p.pixels() * p.count, sentinel<float>());
    const auto text = stderr_of([&] {
      convolution_mm(r.in, r.out, false, r.image ? p.planar.data() : nullptr, p.width, p.height, p.channels,
                     r.filters ? p.filters.data() : nullptr, p.count, r.filter_x, r.pad, p.stride,
                     r.output ? out.data() : nullptr, p.out_width, p.out_height);
    });
    const auto kept = [](float v) { return same_bits(v, sentinel<float>()); };
    // Accepted: nothing reported and every element written. Refused: the report and nothing written.
    EXPECT_EQ(text, r.message.empty() ? "" : "** KOVRA SYSTEM ERROR! " + r.message + "\n");
    EXPECT_EQ(std::count_if(out.begin(), out.end(), kept), r.message.empty() ? 0 : std::ssize(out));
  });
}

// No channels: the depth is 0, no block runs, and the output keeps its bits even without accumulate.
TEST(Convolution, NoChannelsLeavesTheOutput) {
  const auto before = random_values<float>(5 * 4 * 3, 6);
  const float image = 1.0f, filters = 1.0f;  // never read
  for (const unsigned format : {0u, 1u}) {
    auto values = before;
    const auto call = [&] {
      convolution_mm(format, format, false, &image, 5, 4, 0, &filters, 3, 3, 1, 1, values.data(), 5, 4);
    };
    EXPECT_EQ(stderr_of(call), "");
    EXPECT_TRUE(all_same_bits(values, before)) << "format " << format;
  }
}

// make_image_kernel hands out one cached object and gives it each call's numbers; a convolution works on its own
// object of the same class and leaves the cached one as it was.
TEST(Convolution, CachedImageKernelTakesTheLastNumbers) {
  const auto kernel = kernels::get_kernel<float>();
  const auto first = kernel->make_image_kernel(7, 6, 5, 4, 2, 1, 3, 5, 3, 2);
  const auto second = kernel->make_image_kernel(9, 8, 7, 6, 3, 0, 2, 4, 5, 1);
  ASSERT_TRUE(first == second && kernel->image == first);
  const auto numbers = [](const kernels::image_kernel_object<float>& k) {
    return std::vector<int>{k.tile_m,       k.tile_n,        k.tile_size, k.image_width, k.image_height,
                            k.output_width, k.output_height, k.stride,    k.pad_left,    k.pad_top,
                            k.channels,     k.filter_x,      k.filter_y};
  };
  const std::vector<int> expected{
      kernel->tile_m, kernel->tile_n, kernel->tile_m * kernel->tile_n, 9, 8, 7, 6, 3, 0, 2, 4, 5, 1};
  EXPECT_EQ(numbers(*first), expected);
  const auto fresh = kernel->new_image_kernel();
  const kernels::image_kernel_object<float>&made = *fresh, &cached = *first;
  EXPECT_TRUE(fresh != first && typeid(made) == typeid(cached));
  const problem p({6, 6, 3, 4, 3, 1, 1, 6, 6}, 8);
  std::vector<float> out(p.pixels() * p.count);
  p.run(1, 0, false, out.data());
  EXPECT_EQ(numbers(*kernel->image), expected);
}

// Eight threads call at once with shapes, formats and accumulate all different; each result has the bits of the
// same call made alone.
TEST(Convolution, ConcurrentCallsMatchSerialOnes) {
  const std::vector<shape> shapes = {{16, 15, 3, 7, 3, 1, 1, 16, 15},  {20, 9, 5, 6, 5, 2, 2, 10, 5},
                                     {12, 12, 1, 13, 7, 3, 1, 12, 12}, {9, 9, 16, 5, 3, 0, 1, 7, 7},
                                     {30, 4, 2, 9, 3, 1, 1, 30, 4},    {7, 7, 4, 20, 1, 0, 1, 7, 7},
                                     {11, 13, 3, 4, 5, 2, 3, 4, 5},    {6, 6, 5, 8, 3, 1, 1, 1, 1}};
  constexpr int threads = 8, repeats = 4;
  std::vector<problem> problems;
  for (int i = 0; i < threads; ++i) problems.emplace_back(shapes[i], 50 + i);
  const auto call = [&](int i) {
    auto out = random_values<float>(problems[i].pixels() * problems[i].count, 90 + i);
    problems[i].run(i % 2, i / 2 % 2, i % 3 == 0, out.data());
    return out;
  };
  std::vector<std::vector<float>> alone;
  for (int i = 0; i < threads; ++i) alone.push_back(call(i));
  std::vector<int> mismatches(threads, 0);
  std::latch start(threads);
  std::vector<std::thread> pool;
  for (int i = 0; i < threads; ++i)
    pool.emplace_back([&, i] {
      start.arrive_and_wait();
      for (int r = 0; r < repeats; ++r) mismatches[i] += !all_same_bits(call(i), alone[i]);
    });
  for (auto& t : pool) t.join();
  EXPECT_EQ(mismatches, std::vector<int>(threads, 0));
}

}  // namespace
}  // namespace kovra_test
