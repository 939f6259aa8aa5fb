#include "streams/fqframechange.h"

#include "frame/fqregistry.h"
#include "ipp/ipparith.h"

namespace framquist {

void TFQFrameChange::SetFrameChangeOperation(TFQFrameChangeOperation value) {
  TPWLockHold hold = GetLock().Write();
  if (hold) operation_.store(value, std::memory_order_relaxed);
}

namespace {
const TPWEnumType kOperations{"TFQFrameChangeOperation",
                              {"fcoAdd", "fcoSubtractOld", "fcoSubtractNew", "fcoMultiply", "fcoDivideOld",
                               "fcoDivideNew", "fcoOr", "fcoAnd", "fcoXor", "fcoAbsDiff"}};

using SfsFn = IppStatus (*)(const Ipp8u*, int, const Ipp8u*, int, Ipp8u*, int, IppiSize, int);
using PlainFn = IppStatus (*)(const Ipp8u*, int, const Ipp8u*, int, Ipp8u*, int, IppiSize);

// The primitives of one pixel format.
struct Primitives {
  SfsFn add, sub, mul, div;
  PlainFn orOp, andOp, xorOp;
};
constexpr Primitives kGrey{ippiAdd_8u_C1RSfs, ippiSub_8u_C1RSfs, ippiMul_8u_C1RSfs, ippiDiv_8u_C1RSfs,
                           ippiOr_8u_C1R,     ippiAnd_8u_C1R,    ippiXor_8u_C1R};
constexpr Primitives kColour{ippiAdd_8u_C3RSfs, ippiSub_8u_C3RSfs, ippiMul_8u_C3RSfs, ippiDiv_8u_C3RSfs,
                             ippiOr_8u_C3R,     ippiAnd_8u_C3R,    ippiXor_8u_C3R};
constexpr Primitives kAlpha{ippiAdd_8u_AC4RSfs, ippiSub_8u_AC4RSfs, ippiMul_8u_AC4RSfs, ippiDiv_8u_AC4RSfs,
                            ippiOr_8u_AC4R,     ippiAnd_8u_AC4R,    ippiXor_8u_AC4R};
} // namespace

void TFQFrameChange::DeclareProperties(TPWPropertyList& props) {
  TFQCommonFilter::DeclareProperties(props);
  props.Enum(
      "FrameChangeOperation", kOperations, [this] { return static_cast<int>(GetFrameChangeOperation()); },
      [this](int v) { SetFrameChangeOperation(static_cast<TFQFrameChangeOperation>(v)); },
      static_cast<int>(fcoAbsDiff));
}

void TFQFrameChange::SetVideoFormat(IFQImageBuffer& Buffer) {
  const TFQVideoFormat format = Buffer.GetFormat();
  if (format == vf32Bit || format == vfGrey) return;
  TFQCommonFilter::SetVideoFormat(Buffer);
}

void TFQFrameChange::Reset() {
  TFQCommonFilter::Reset();
  havePrevious_ = false;
}

void TFQFrameChange::FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) {
  const SIZE size = InBuffer.GetSize();
  const TFQVideoFormat format = InBuffer.GetFormat();
  // A frame of another size or format has nothing to be combined with:
  // it primes like the first one.
  const bool combine = havePrevious_ && previous_.GetFormat() == format && previous_.GetWidth() == size.cx &&
                       previous_.GetHeight() == size.cy;
  // The previous frame shares the input's pixels (copy-on-write), so it
  // costs nothing unless the sender writes into its frame later.
  IFQImageBuffer previous = previous_;
  previous_ = IFQImageBuffer();
  previous_.Assign(InBuffer);
  havePrevious_ = true;

  OutBuffer.Assign(InBuffer);
  const TFQFrameChangeOperation operation = GetFrameChangeOperation();
  if (!combine || operation > fcoAbsDiff) return;

  const Ipp8u* in = InBuffer.GetReadPointer();
  const Ipp8u* prev = previous.GetReadPointer();
  const int inStep = InBuffer.GetLineStep(), prevStep = previous.GetLineStep();
  // The AC4 forms keep the output's alpha, so it must hold the input's.
  Ipp8u* out = format == vf32Bit ? OutBuffer.GetModifyPointer() : OutBuffer.GetWritePointer();
  const int outStep = OutBuffer.GetLineStep();
  const IppiSize roi{size.cx, size.cy};
  const Primitives& p = format == vfGrey ? kGrey : format == vf32Bit ? kAlpha : kColour;
  switch (operation) {
  case fcoAdd:
    p.add(in, inStep, prev, prevStep, out, outStep, roi, 0);
    break;
  case fcoSubtractOld: // previous - current
    p.sub(in, inStep, prev, prevStep, out, outStep, roi, 0);
    break;
  case fcoSubtractNew: // current - previous
    p.sub(prev, prevStep, in, inStep, out, outStep, roi, 0);
    break;
  case fcoMultiply:
    p.mul(in, inStep, prev, prevStep, out, outStep, roi, 0);
    break;
  case fcoDivideOld: // previous / current
    p.div(in, inStep, prev, prevStep, out, outStep, roi, 0);
    break;
  case fcoDivideNew: // current / previous
    p.div(prev, prevStep, in, inStep, out, outStep, roi, 0);
    break;
  case fcoOr:
    p.orOp(in, inStep, prev, prevStep, out, outStep, roi);
    break;
  case fcoAnd:
    p.andOp(in, inStep, prev, prevStep, out, outStep, roi);
    break;
  case fcoXor:
    p.xorOp(in, inStep, prev, prevStep, out, outStep, roi);
    break;
  case fcoAbsDiff: // every byte alike, alpha included
    ippiAbsDiff_8u_C1R(in, inStep, prev, prevStep, out, outStep,
                       {size.cx * FQBytesPerPixel(format), size.cy});
    break;
  }
}

namespace Fqframechange {
void Register() { RegisterComponents("Framquist", {FQClass<TFQFrameChange>("TFQFrameChange")}); }
} // namespace Fqframechange

} // namespace framquist
