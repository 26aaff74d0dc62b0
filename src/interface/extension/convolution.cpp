// convolution_mm, the image convolution entry: its seven checks in order, each reported through kovra_error with
// nothing touched, then the product.
#include "kovra/convolution.h"

#include "error/error.h"
#include "interface/entry.h"
#include "parallel/extension/convolution_mm.h"

namespace {

// The first failing check's message, or null.
const char* convolution_refusal(unsigned int input_format, unsigned int output_format, const float* image,
                                const float* filters, const float* output, int filter_x, int pad_left) {
  if (image == nullptr) return "Pointer to image is NULL";
  if (filters == nullptr) return "Pointer to filters is NULL";
  if (output == nullptr) return "Pointer to output is NULL";
  if (input_format > 1) return "Unsupported Input Format";
  if (output_format > 1) return "Unsupported Output Format";
  if (pad_left < 0) return "padLeft must be a positive number";  // zero passes: "positive" as in not negative
  if (filter_x <= 0) return "filterX must be a positive number";
  return nullptr;
}

}  // namespace

extern "C" KOVRA_EXPORT void convolution_mm(unsigned int inputFormat, unsigned int outputFormat, bool accumulate,
                                            const float* image, int imageWidth, int imageHeight, int channels,
                                            const float* filters, int filterCount, int filterX, int padLeft, int stride,
                                            float* output, int outputWidth, int outputHeight) {
  const char* refusal = convolution_refusal(inputFormat, outputFormat, image, filters, output, filterX, padLeft);
  if (refusal != nullptr) return kovra::error::kovra_error(refusal);
  kovra::parallel::extension::convolution_mm_float(inputFormat, outputFormat, accumulate, image, imageWidth,
                                                   imageHeight, channels, filters, filterCount, filterX, padLeft,
                                                   stride, output, outputWidth, outputHeight);
}
