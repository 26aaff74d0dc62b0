// The convolution cases: layers of a small vision network on an interleaved image with interleaved output, in
// GFLOPS of the product they amount to (2 M N K, M output pixels, N filters, K taps of a filter). convolution_mm
// packs its patches straight from the image; the usual way builds the M by K patch matrix with im2col and hands
// it to SGEMM. CONV_MM times convolution_mm against im2col + the peer's SGEMM, CONV_IM2COL our own SGEMM after
// the same im2col against the same peer, so the two rows of a layer show what skipping the patch matrix is worth.
// The size n of a case is the output width of its layer.
#include <algorithm>
#include <cstddef>
#include <iomanip>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench_case.h"
#include "gemm_reference.h"
#include "kovra/cblas.h"
#include "kovra/convolution.h"
#include "operand_buffer.h"

namespace kovra::bench {
namespace {

const std::string convolution_family = "CONV";

// Square images, filters and outputs; pad is the zero border on every side.
struct conv_layer {
  int output_width;
  int image_width;
  int channels;
  int filter;
  int stride;
  int pad;
  int filters;

  int pixels() const { return output_width * output_width; }           // M
  int depth() const { return filter * filter * channels; }             // K
  double flops() const { return 2.0 * pixels() * filters * depth(); }  // 2 M N K
  double patch_bytes() const { return double(pixels()) * depth() * sizeof(float); }
};

// The first layer of such a network on a colour image, then three later layers, from 3x3 filters on a large
// map with few channels to 1x1 filters on a small map with many.
const std::vector<conv_layer> conv_layers = {
    {.output_width = 112, .image_width = 224, .channels = 3, .filter = 7, .stride = 2, .pad = 3, .filters = 64},
    {.output_width = 56, .image_width = 56, .channels = 64, .filter = 3, .stride = 1, .pad = 1, .filters = 64},
    {.output_width = 28, .image_width = 28, .channels = 128, .filter = 3, .stride = 1, .pad = 1, .filters = 128},
    {.output_width = 14, .image_width = 14, .channels = 256, .filter = 1, .stride = 1, .pad = 0, .filters = 256},
};

std::vector<int> conv_output_widths() {
  std::vector<int> widths;
  for (const conv_layer& layer : conv_layers) widths.push_back(layer.output_width);
  return widths;
}

const conv_layer& layer_of(int output_width) {
  for (const conv_layer& layer : conv_layers)
    if (layer.output_width == output_width) return layer;
  std::string known;
  for (const int width : conv_output_widths()) known += (known.empty() ? "" : ", ") + std::to_string(width);
  throw std::invalid_argument("no convolution layer has output width " + std::to_string(output_width) + " (" + known +
                              ")");
}

using sgemm_entry = decltype(&cblas_sgemm);

// The operands of one layer, refilled before every measurement: the interleaved image, the filters (filter n's
// tap k at filters[n + k*N]) and the interleaved output, with the patch buffer that im2col fills.
class conv_operands {
 public:
  explicit conv_operands(const conv_layer& layer)
      : layer_(layer),
        image_(std::size_t(layer.image_width) * layer.image_width * layer.channels, 1),
        filters_(std::size_t(layer.depth()) * layer.filters, 2),
        output_(std::size_t(layer.pixels()) * layer.filters, 3),
        patches_(std::size_t(layer.pixels()) * layer.depth(), 4) {}

  void reset() {
    image_.fill();
    filters_.fill();
    output_.fill();
  }

  void convolve() {
    convolution_mm(1, 1, false, image_.data(), layer_.image_width, layer_.image_width, layer_.channels, filters_.data(),
                   layer_.filters, layer_.filter, layer_.pad, layer_.stride, output_.data(), layer_.output_width,
                   layer_.output_width);
  }

  // im2col, then the product through `sgemm`. A patch matrix row per pixel is the natural im2col of an
  // interleaved image (a run of channels per tap) and, read as a column-major K by M matrix, gives the
  // interleaved output as the column-major N by M product filters * patches with no transposition.
  void im2col_gemm(sgemm_entry sgemm) {
    im2col();
    sgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, layer_.filters, layer_.pixels(), layer_.depth(), 1.0f,
          filters_.data(), layer_.filters, patches_.data(), layer_.depth(), 0.0f, output_.data(), layer_.filters);
  }

  // The product of the filters and the patch matrix in double, on the patch matrix of the same im2col.
  std::vector<operand_checksum> expected() {
    im2col();
    return expected_gemm_sums(gemm_view<float>{false, layer_.filters, layer_.pixels(), layer_.depth(), 1.0f,
                                               filters_.data(), layer_.filters, patches_.data(), layer_.depth(), 0.0f,
                                               output_.data(), layer_.filters});
  }

  std::vector<operand_checksum> sums() const {
    return gemm_result_sums(layer_.filters, layer_.pixels(), output_.data(), layer_.filters);
  }

 private:
  // A plain im2col: each pixel's row of K taps, one filter row at a time. A filter row is one run of the image
  // row it meets, with zeros for the taps that fall beside or outside the image.
  void im2col() {
    const int c = layer_.channels, f = layer_.filter, w = layer_.image_width;
    const std::size_t run = std::size_t(f) * c;
    float* dst = patches_.data();
    const float* image = image_.data();
    for (int oy = 0; oy < layer_.output_width; ++oy) {
      for (int ox = 0; ox < layer_.output_width; ++ox) {
        const int x0 = ox * layer_.stride - layer_.pad;
        // Taps [first, last) of a filter row land inside the image's columns.
        const int first = std::min(f, std::max(0, -x0));
        const int last = std::max(first, std::min(f, w - x0));
        for (int fy = 0; fy < f; ++fy, dst += run) {
          const int y = oy * layer_.stride + fy - layer_.pad;
          if (y < 0 || y >= w) {
            std::fill_n(dst, run, 0.0f);
            continue;
          }
          std::fill_n(dst, std::size_t(first) * c, 0.0f);
          std::copy_n(image + (std::size_t(y) * w + (x0 + first)) * c, std::size_t(last - first) * c,
                      dst + std::size_t(first) * c);
          std::fill(dst + std::size_t(last) * c, dst + run, 0.0f);
        }
      }
    }
  }

  conv_layer layer_;
  operand_buffer<float> image_;
  operand_buffer<float> filters_;
  operand_buffer<float> output_;
  operand_buffer<float> patches_;  // its fill is never used: im2col writes every element
};

std::string milliseconds(double seconds) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(3) << seconds * 1e3 << " ms";
  return text.str();
}

// Seconds per call, then the layer, its product and the patch matrix that convolution_mm never builds.
std::string conv_note(int n, double ours_seconds, std::optional<double> peer_seconds, bool patches_built) {
  const conv_layer& layer = layer_of(n);
  std::ostringstream text;
  text << "KOVRA " << milliseconds(ours_seconds);
  if (peer_seconds) text << ", peer " << milliseconds(*peer_seconds);
  text << "; " << layer.image_width << "x" << layer.image_width << "x" << layer.channels << ", " << layer.filters
       << " filters " << layer.filter << "x" << layer.filter << "/" << layer.stride << " pad " << layer.pad << ": M "
       << layer.pixels() << " N " << layer.filters << " K " << layer.depth() << "; patch matrix " << std::fixed
       << std::setprecision(2) << layer.patch_bytes() / 1e6 << " MB " << (patches_built ? "built" : "not built");
  return text.str();
}

// `direct`: KOVRA runs convolution_mm; otherwise im2col and its own SGEMM. The peer runs im2col and its SGEMM.
bench_case conv_case(const char* name, bool direct) {
  return bench_case{.name = name,
                    .family = convolution_family,
                    .unit = gigaflops,
                    .work = [](int n) { return layer_of(n).flops(); },
                    .sizes = conv_output_widths(),
                    .default_run_sizes = {56},
                    .make =
                        [direct](int n, const peer_library* peer) {
                          auto o = std::make_shared<conv_operands>(layer_of(n));
                          workload w;
                          w.reset = [o] { o->reset(); };
                          if (direct)
                            w.ours = [o] { o->convolve(); };
                          else
                            w.ours = [o] { o->im2col_gemm(&cblas_sgemm); };
                          if (peer != nullptr)
                            if (const sgemm_entry theirs = peer->find<sgemm_entry>("cblas_sgemm"))
                              w.peer = [o, theirs] { o->im2col_gemm(theirs); };
                          w.expected = [o] { return o->expected(); };
                          w.sums = [o] { return o->sums(); };
                          w.rounding = gemm_rounding<float>(layer_of(n).depth());
                          return w;
                        },
                    .note =
                        [direct](int n, double ours_seconds, std::optional<double> peer_seconds) {
                          return conv_note(n, ours_seconds, peer_seconds, !direct);
                        }};
}

}  // namespace

std::vector<bench_case> convolution_cases() {
  return {
      conv_case("CONV_MM", true),
      conv_case("CONV_IM2COL", false),
  };
}

}  // namespace kovra::bench
