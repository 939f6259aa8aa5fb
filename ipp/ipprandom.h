// Adding pseudo-random noise to 8-bit images in place: uniformly
// distributed (AddRandUniform) or normally distributed (AddRandGauss).
//
// Addressing and ROI conventions are those of ipp/ippcopy.h. Every sample s
// of the ROI becomes s + r saturated to 0..255, with r drawn anew for each
// sample:
//   Uniform  r is an integer from low to high inclusive (bounds given the
//            other way round are taken in order);
//   Gauss    r = mean + round(stdev * z), z a standard normal deviate.
// The AC4 forms leave alpha untouched and draw nothing for it; the C4 forms
// noise all four channels.
//
// The generator's whole state is the 32-bit word at pSeed: each draw
// advances it, and the state after the last draw is written back, so equal
// seeds give equal noise and consecutive calls continue one sequence.
// Draws are taken in memory order (row by row, pixel by pixel, channel by
// channel) and the sequence is the same on every kernel target.
//
// Status: ippStsNullPtrErr (pSrcDst or pSeed null), ippStsSizeErr (a side
// below 1), ippStsStepErr (a line step shorter than one ROI row); the image
// and the seed are then left as they were.
#pragma once

#include "ipp/ippdefs.h"

namespace framquist {

IppStatus ippiAddRandUniform_Direct_8u_C1IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u low,
                                            Ipp8u high, unsigned int* pSeed);
IppStatus ippiAddRandUniform_Direct_8u_C3IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u low,
                                            Ipp8u high, unsigned int* pSeed);
IppStatus ippiAddRandUniform_Direct_8u_C4IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u low,
                                            Ipp8u high, unsigned int* pSeed);
IppStatus ippiAddRandUniform_Direct_8u_AC4IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u low,
                                             Ipp8u high, unsigned int* pSeed);

IppStatus ippiAddRandGauss_Direct_8u_C1IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u mean,
                                          Ipp8u stdev, unsigned int* pSeed);
IppStatus ippiAddRandGauss_Direct_8u_C3IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u mean,
                                          Ipp8u stdev, unsigned int* pSeed);
IppStatus ippiAddRandGauss_Direct_8u_C4IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u mean,
                                          Ipp8u stdev, unsigned int* pSeed);
IppStatus ippiAddRandGauss_Direct_8u_AC4IR(Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize, Ipp8u mean,
                                           Ipp8u stdev, unsigned int* pSeed);

} // namespace framquist
