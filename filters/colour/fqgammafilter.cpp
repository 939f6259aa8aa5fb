#include "filters/colour/fqgammafilter.h"

#include "frame/fqregistry.h"
#include "ipp/ippcopy.h"
#include "ipp/ippgamma.h"

namespace framquist {

void TFQGammaFilter::SetGammaType(TFQGammaType value) {
  if (value > gtInverse) value = gtInverse;
  TPWLockHold hold = GetLock().Write();
  if (hold && value != GetGammaType()) gammaType_.store(value, std::memory_order_relaxed);
}

namespace {
const TPWEnumType kGammaTypes{"TFQGammaType", {"gtForward", "gtInverse"}};
} // namespace

void TFQGammaFilter::DeclareProperties(TPWPropertyList& props) {
  TFQCommonFilter::DeclareProperties(props);
  props.Enum(
      "GammaType", kGammaTypes, [this] { return static_cast<int>(GetGammaType()); },
      [this](int v) { SetGammaType(static_cast<TFQGammaType>(v < 0 ? 0 : v)); }, static_cast<int>(gtForward));
}

void TFQGammaFilter::SetVideoFormat(IFQImageBuffer& Buffer) {
  if (Buffer.GetFormat() == vf32Bit) return;
  TFQCommonFilter::SetVideoFormat(Buffer);
}

void TFQGammaFilter::FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) {
  OutBuffer.Assign(InBuffer);
  const SIZE size = InBuffer.GetSize();
  const IppiSize roi{size.cx, size.cy};
  const Ipp8u* src = InBuffer.GetReadPointer();
  Ipp8u* dst = OutBuffer.GetWritePointer();
  const int step = OutBuffer.GetLineStep();
  const bool inverse = GetGammaType() == gtInverse;
  if (InBuffer.GetFormat() != vf32Bit) {
    if (inverse)
      ippiGammaInv_8u_C3R(src, step, dst, step, roi);
    else
      ippiGammaFwd_8u_C3R(src, step, dst, step, roi);
    return;
  }
  if (inverse)
    ippiGammaInv_8u_AC4R(src, step, dst, step, roi);
  else
    ippiGammaFwd_8u_AC4R(src, step, dst, step, roi);
  // The write pointer did not keep the alpha Assign brought; take it from the input.
  const SIZE outSize = OutBuffer.GetSize();
  ippiCopy_8u_C4CR(src + 3, step, OutBuffer.GetModifyPointer() + 3, step, {outSize.cx, outSize.cy});
}

namespace Fqgammafilter {
void Register() { RegisterComponents("Framquist", {FQClass<TFQGammaFilter>("TFQGammaFilter")}); }
} // namespace Fqgammafilter

} // namespace framquist
