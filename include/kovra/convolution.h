/* The image convolution of KOVRA, usable from C and C++: a bank of square filters applied to a single-precision
 * image as one matrix product, without building the patch matrix.
 *
 * inputFormat 0: planar image, element (x, y, c) at image[x + y*imageWidth + c*imageWidth*imageHeight];
 *             1: interleaved, at image[c + (x + y*imageWidth)*channels].
 * filters:    filter n's tap ((fy*filterX + fx)*channels + c) at filters[n + tap*filterCount].
 * outputFormat 0: one plane per filter, pixel m = ox + oy*outputWidth of filter n at output[m + n*M], with
 *                 M = outputWidth*outputHeight; 1: the filters of a pixel adjacent, at output[n + m*filterCount].
 * The output pixel (ox, oy) reads the image at x = ox*stride + fx - padLeft, y = oy*stride + fy - padLeft, zero
 * outside the image. accumulate adds the result to the output instead of overwriting it. The caller chooses the
 * output size; it is not derived from the image or compared with it.
 *
 * A null pointer, a format above 1, a negative padLeft or a filterX below 1 is reported on the standard error
 * stream and the call returns with the output untouched. Calls from several threads at once are safe, whatever
 * their shapes. */
#ifndef KOVRA_CONVOLUTION_H
#define KOVRA_CONVOLUTION_H

#ifndef __cplusplus
#include <stdbool.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

void convolution_mm(unsigned int inputFormat, unsigned int outputFormat, bool accumulate, const float* image,
                    int imageWidth, int imageHeight, int channels, const float* filters, int filterCount, int filterX,
                    int padLeft, int stride, float* output, int outputWidth, int outputHeight);

#ifdef __cplusplus
}
#endif

#endif
