// Reference arithmetic and logical kernels: one sample at a time.
#include "ipp/kernels/ipparithkernels.h"
#include "ipp/kernels/ipparithsamples.h"

#include <cstddef>

namespace framquist::ipp_detail {

namespace {

using SampleFn = Ipp8u (*)(Ipp8u, Ipp8u, int);

// Channels samples of every PixelBytes-sized pixel; width counts pixels.
template <SampleFn F, int Channels, int PixelBytes>
int binaryRef(const Ipp8u* src1, int src1Step, const Ipp8u* src2, int src2Step, Ipp8u* dst, int dstStep,
              int width, int height, int scaleFactor) {
  int zeroDivisor = 0;
  for (int y = 0; y < height; ++y) {
    const Ipp8u* s1 = src1 + static_cast<std::ptrdiff_t>(y) * src1Step;
    const Ipp8u* s2 = src2 + static_cast<std::ptrdiff_t>(y) * src2Step;
    Ipp8u* d = dst + static_cast<std::ptrdiff_t>(y) * dstStep;
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < Channels; ++c) {
        const int i = x * PixelBytes + c;
        if (s1[i] == 0) zeroDivisor = 1;
        d[i] = F(s1[i], s2[i], scaleFactor);
      }
  }
  return F == divSample ? zeroDivisor : 0;
}

} // namespace

const ArithKernels kArithReference = {{
    {binaryRef<addSample, 1, 1>, binaryRef<addSample, 3, 4>},
    {binaryRef<subSample, 1, 1>, binaryRef<subSample, 3, 4>},
    {binaryRef<mulSample, 1, 1>, binaryRef<mulSample, 3, 4>},
    {binaryRef<divSample, 1, 1>, binaryRef<divSample, 3, 4>},
    {binaryRef<orSample, 1, 1>, binaryRef<orSample, 3, 4>},
    {binaryRef<andSample, 1, 1>, binaryRef<andSample, 3, 4>},
    {binaryRef<xorSample, 1, 1>, binaryRef<xorSample, 3, 4>},
    {binaryRef<absDiffSample, 1, 1>, binaryRef<absDiffSample, 3, 4>},
}};

} // namespace framquist::ipp_detail
