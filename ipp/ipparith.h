// Arithmetic and logical operations on two 8-bit images, sample by sample.
//
// Addressing, ROI and status conventions are those of ipp/ippcopy.h; every
// form here reads two sources (pSrc1, pSrc2) and writes pDst, which may be
// one of the sources. AC4 forms work on the first three samples of each
// pixel and leave each destination pixel's fourth byte as it was.
//
// Scaled forms (Sfs) compute the exact result, multiply it by
// 2^-scaleFactor, round to the nearest integer (halves to the even one) and
// saturate to 0..255:
//   Add  pSrc1 + pSrc2
//   Sub  pSrc2 - pSrc1     (the first source is subtracted from the second)
//   Mul  pSrc1 * pSrc2
//   Div  pSrc2 / pSrc1     (the first source is the divisor)
// A zero divisor gives 255, or 0 when the dividend is 0 too, and Div then
// returns the warning ippStsDivByZero (the whole ROI is still written).
// Or, And, Xor are bitwise; AbsDiff gives |pSrc1 - pSrc2|.
//
// In-place forms (I) take pSrc and pSrcDst and behave as the two-source
// form with pSrc1 = pSrc and pSrc2 = pDst = pSrcDst: Sub gives
// pSrcDst - pSrc, Div pSrcDst / pSrc. pSrc may be pSrcDst itself.
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

IppStatus ippiAdd_8u_C1RSfs(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                            int dstStep, IppiSize roiSize, int scaleFactor);
IppStatus ippiAdd_8u_C3RSfs(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                            int dstStep, IppiSize roiSize, int scaleFactor);
IppStatus ippiAdd_8u_AC4RSfs(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                             int dstStep, IppiSize roiSize, int scaleFactor);

IppStatus ippiSub_8u_C1RSfs(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                            int dstStep, IppiSize roiSize, int scaleFactor);
IppStatus ippiSub_8u_C3RSfs(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                            int dstStep, IppiSize roiSize, int scaleFactor);
IppStatus ippiSub_8u_AC4RSfs(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                             int dstStep, IppiSize roiSize, int scaleFactor);

IppStatus ippiMul_8u_C1RSfs(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                            int dstStep, IppiSize roiSize, int scaleFactor);
IppStatus ippiMul_8u_C3RSfs(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                            int dstStep, IppiSize roiSize, int scaleFactor);
IppStatus ippiMul_8u_AC4RSfs(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                             int dstStep, IppiSize roiSize, int scaleFactor);

IppStatus ippiDiv_8u_C1RSfs(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                            int dstStep, IppiSize roiSize, int scaleFactor);
IppStatus ippiDiv_8u_C3RSfs(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                            int dstStep, IppiSize roiSize, int scaleFactor);
IppStatus ippiDiv_8u_AC4RSfs(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                             int dstStep, IppiSize roiSize, int scaleFactor);

IppStatus ippiOr_8u_C1R(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                        int dstStep, IppiSize roiSize);
IppStatus ippiOr_8u_C3R(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                        int dstStep, IppiSize roiSize);
IppStatus ippiOr_8u_AC4R(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                         int dstStep, IppiSize roiSize);

IppStatus ippiAnd_8u_C1R(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                         int dstStep, IppiSize roiSize);
IppStatus ippiAnd_8u_C3R(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                         int dstStep, IppiSize roiSize);
IppStatus ippiAnd_8u_AC4R(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                          int dstStep, IppiSize roiSize);

IppStatus ippiXor_8u_C1R(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                         int dstStep, IppiSize roiSize);
IppStatus ippiXor_8u_C3R(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                         int dstStep, IppiSize roiSize);
IppStatus ippiXor_8u_AC4R(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                          int dstStep, IppiSize roiSize);

IppStatus ippiAdd_8u_AC4IRSfs(const Ipp8u* pSrc, int srcStep, Ipp8u* pSrcDst, int srcDstStep,
                              IppiSize roiSize, int scaleFactor);
IppStatus ippiSub_8u_AC4IRSfs(const Ipp8u* pSrc, int srcStep, Ipp8u* pSrcDst, int srcDstStep,
                              IppiSize roiSize, int scaleFactor);
IppStatus ippiMul_8u_AC4IRSfs(const Ipp8u* pSrc, int srcStep, Ipp8u* pSrcDst, int srcDstStep,
                              IppiSize roiSize, int scaleFactor);
IppStatus ippiDiv_8u_AC4IRSfs(const Ipp8u* pSrc, int srcStep, Ipp8u* pSrcDst, int srcDstStep,
                              IppiSize roiSize, int scaleFactor);
IppStatus ippiOr_8u_AC4IR(const Ipp8u* pSrc, int srcStep, Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize);
IppStatus ippiAnd_8u_AC4IR(const Ipp8u* pSrc, int srcStep, Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize);
IppStatus ippiXor_8u_AC4IR(const Ipp8u* pSrc, int srcStep, Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize);

IppStatus ippiAbsDiff_8u_C1R(const Ipp8u* pSrc1, int src1Step, const Ipp8u* pSrc2, int src2Step, Ipp8u* pDst,
                             int dstStep, IppiSize roiSize);

} // namespace framquist
