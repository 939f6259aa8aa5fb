#include "ipp/ipparith.h"

#include <atomic>

#include "ipp/kernels/ipparithkernels.h"
#include "ipp/kernels/ippcheck.h"
#include "ipp/kernels/ippparallel.h"

namespace framquist {

using namespace ipp_detail;

namespace {

IppStatus binaryWith(ArithOp op, int bytesPerPixel, bool ac4, const Ipp8u* pSrc1, int src1Step,
                     const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst, int dstStep, IppiSize roi,
                     int scaleFactor) noexcept {
  IppStatus st = checkTwo(pSrc1, src1Step, pDst, dstStep, roi, bytesPerPixel);
  if (st == ippStsNoErr) st = checkOne(pSrc2, src2Step, roi, bytesPerPixel);
  if (st != ippStsNoErr) return st;
  const int width = ac4 ? roi.width : roi.width * bytesPerPixel;
  std::atomic<int> zeroDivisor{0};
  forRowBands(roi.height, imageBytes(roi, bytesPerPixel), [&](int y0, int y1) {
    if (arithKernels().op[op][ac4 ? kColourOfAC4 : kAllSamples](
            bandRow(pSrc1, src1Step, y0), src1Step, bandRow(pSrc2, src2Step, y0), src2Step,
            bandRow(pDst, dstStep, y0), dstStep, width, y1 - y0, scaleFactor) != 0)
      zeroDivisor.store(1, std::memory_order_relaxed);
  });
  return zeroDivisor.load(std::memory_order_relaxed) != 0 ? ippStsDivByZero : ippStsNoErr;
}

} // namespace

#define FQ_ARITH_SFS(name, op, bpp, ac4)                                                                     \
  IppStatus name(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,            \
                 int dstStep, IppiSize roiSize, int scaleFactor) {                                           \
    return binaryWith(op, bpp, ac4, pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, scaleFactor);  \
  }
#define FQ_ARITH_PLAIN(name, op, bpp, ac4)                                                                   \
  IppStatus name(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,            \
                 int dstStep, IppiSize roiSize) {                                                            \
    return binaryWith(op, bpp, ac4, pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, 0);            \
  }

FQ_ARITH_SFS(ippiAdd_8u_C1RSfs, kArithAdd, 1, false)
FQ_ARITH_SFS(ippiAdd_8u_C3RSfs, kArithAdd, 3, false)
FQ_ARITH_SFS(ippiAdd_8u_AC4RSfs, kArithAdd, 4, true)
FQ_ARITH_SFS(ippiSub_8u_C1RSfs, kArithSub, 1, false)
FQ_ARITH_SFS(ippiSub_8u_C3RSfs, kArithSub, 3, false)
FQ_ARITH_SFS(ippiSub_8u_AC4RSfs, kArithSub, 4, true)
FQ_ARITH_SFS(ippiMul_8u_C1RSfs, kArithMul, 1, false)
FQ_ARITH_SFS(ippiMul_8u_C3RSfs, kArithMul, 3, false)
FQ_ARITH_SFS(ippiMul_8u_AC4RSfs, kArithMul, 4, true)
FQ_ARITH_SFS(ippiDiv_8u_C1RSfs, kArithDiv, 1, false)
FQ_ARITH_SFS(ippiDiv_8u_C3RSfs, kArithDiv, 3, false)
FQ_ARITH_SFS(ippiDiv_8u_AC4RSfs, kArithDiv, 4, true)
FQ_ARITH_PLAIN(ippiOr_8u_C1R, kArithOr, 1, false)
FQ_ARITH_PLAIN(ippiOr_8u_C3R, kArithOr, 3, false)
FQ_ARITH_PLAIN(ippiOr_8u_AC4R, kArithOr, 4, true)
FQ_ARITH_PLAIN(ippiAnd_8u_C1R, kArithAnd, 1, false)
FQ_ARITH_PLAIN(ippiAnd_8u_C3R, kArithAnd, 3, false)
FQ_ARITH_PLAIN(ippiAnd_8u_AC4R, kArithAnd, 4, true)
FQ_ARITH_PLAIN(ippiXor_8u_C1R, kArithXor, 1, false)
FQ_ARITH_PLAIN(ippiXor_8u_C3R, kArithXor, 3, false)
FQ_ARITH_PLAIN(ippiXor_8u_AC4R, kArithXor, 4, true)
FQ_ARITH_PLAIN(ippiAbsDiff_8u_C1R, kArithAbsDiff, 1, false)

// In place: pSrcDst is both the second source and the destination. Every
// kernel reads both operands of a sample (or vector) before storing it, and
// never revisits a stored byte, so the aliasing is safe.
#define FQ_ARITH_ISFS(name, op)                                                                              \
  IppStatus name(const Ipp8u* pSrc, int srcStep, Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize,           \
                 int scaleFactor) {                                                                          \
    return binaryWith(op, 4, true, pSrc, srcStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize,         \
                      scaleFactor);                                                                          \
  }
#define FQ_ARITH_IPLAIN(name, op)                                                                            \
  IppStatus name(const Ipp8u* pSrc, int srcStep, Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize) {         \
    return binaryWith(op, 4, true, pSrc, srcStep, pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize, 0);     \
  }

FQ_ARITH_ISFS(ippiAdd_8u_AC4IRSfs, kArithAdd)
FQ_ARITH_ISFS(ippiSub_8u_AC4IRSfs, kArithSub)
FQ_ARITH_ISFS(ippiMul_8u_AC4IRSfs, kArithMul)
FQ_ARITH_ISFS(ippiDiv_8u_AC4IRSfs, kArithDiv)
FQ_ARITH_IPLAIN(ippiOr_8u_AC4IR, kArithOr)
FQ_ARITH_IPLAIN(ippiAnd_8u_AC4IR, kArithAnd)
FQ_ARITH_IPLAIN(ippiXor_8u_AC4IR, kArithXor)

#undef FQ_ARITH_SFS
#undef FQ_ARITH_PLAIN
#undef FQ_ARITH_ISFS
#undef FQ_ARITH_IPLAIN

} // namespace framquist
