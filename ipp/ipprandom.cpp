#include "ipp/ipprandom.h"

#include <utility>

#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ipprandomkernels.h"

namespace framquist {

using namespace ipp_detail;

namespace {

constexpr int kPixelBytes[kLayoutCount] = {1, 3, 4, 4};

IppStatus uniformWith(Layout layout, Ipp8u* p, int step, IppiSize roi, Ipp8u low, Ipp8u high,
                      unsigned int* pSeed) noexcept {
  IppStatus st = checkOne(p, step, roi, kPixelBytes[layout]);
  if (st == ippStsNoErr && pSeed == nullptr) st = ippStsNullPtrErr;
  if (st != ippStsNoErr) return st;
  if (low > high) std::swap(low, high);
  randomKernels().uniform[layout](p, step, roi.width, roi.height, low, high, pSeed);
  return st;
}

IppStatus gaussWith(Layout layout, Ipp8u* p, int step, IppiSize roi, Ipp8u mean, Ipp8u stdev,
                    unsigned int* pSeed) noexcept {
  IppStatus st = checkOne(p, step, roi, kPixelBytes[layout]);
  if (st == ippStsNoErr && pSeed == nullptr) st = ippStsNullPtrErr;
  if (st != ippStsNoErr) return st;
  randomKernels().gauss[layout](p, step, roi.width, roi.height, mean, stdev, pSeed);
  return st;
}

} // namespace

IppStatus ippiAddRandUniform_Direct_8u_C1IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u low,
                                            Ipp8u high, unsigned int* pSeed) {
  return uniformWith(kC1, pSrcDst, srcDstStep, roiSize, low, high, pSeed);
}

IppStatus ippiAddRandUniform_Direct_8u_C3IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u low,
                                            Ipp8u high, unsigned int* pSeed) {
  return uniformWith(kC3, pSrcDst, srcDstStep, roiSize, low, high, pSeed);
}

IppStatus ippiAddRandUniform_Direct_8u_C4IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u low,
                                            Ipp8u high, unsigned int* pSeed) {
  return uniformWith(kC4, pSrcDst, srcDstStep, roiSize, low, high, pSeed);
}

IppStatus ippiAddRandUniform_Direct_8u_AC4IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u low,
                                             Ipp8u high, unsigned int* pSeed) {
  return uniformWith(kAC4, pSrcDst, srcDstStep, roiSize, low, high, pSeed);
}

IppStatus ippiAddRandGauss_Direct_8u_C1IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u mean,
                                          Ipp8u stdev, unsigned int* pSeed) {
  return gaussWith(kC1, pSrcDst, srcDstStep, roiSize, mean, stdev, pSeed);
}

IppStatus ippiAddRandGauss_Direct_8u_C3IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u mean,
                                          Ipp8u stdev, unsigned int* pSeed) {
  return gaussWith(kC3, pSrcDst, srcDstStep, roiSize, mean, stdev, pSeed);
}

IppStatus ippiAddRandGauss_Direct_8u_C4IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u mean,
                                          Ipp8u stdev, unsigned int* pSeed) {
  return gaussWith(kC4, pSrcDst, srcDstStep, roiSize, mean, stdev, pSeed);
}

IppStatus ippiAddRandGauss_Direct_8u_AC4IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u mean,
                                           Ipp8u stdev, unsigned int* pSeed) {
  return gaussWith(kAC4, pSrcDst, srcDstStep, roiSize, mean, stdev, pSeed);
}

} // namespace framquist
