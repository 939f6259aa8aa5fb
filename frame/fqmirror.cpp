#include "frame/fqmirror.h"

#include "frame/fqregistry.h"
#include "ipp/ippmirror.h"

namespace framquist {

void TFQMirror::SetMirrorType(TFQMirrorType value) {
  if (value > mtBoth) value = mtBoth;
  TPWLockHold hold = GetLock().Write();
  if (hold && value != GetMirrorType()) mirrorType_.store(value, std::memory_order_relaxed);
}

namespace {
const TPWEnumType kMirrorTypes{"TFQMirrorType", {"mtHorizontal", "mtVertical", "mtBoth"}};
} // namespace

void TFQMirror::DeclareProperties(TPWPropertyList& props) {
  TFQCommonFilter::DeclareProperties(props);
  props.Enum(
      "MirrorType", kMirrorTypes, [this] { return static_cast<int>(GetMirrorType()); },
      [this](int v) { SetMirrorType(static_cast<TFQMirrorType>(v)); }, std::nullopt);
}

void TFQMirror::SetVideoFormat(IFQImageBuffer& Buffer) {
  const TFQVideoFormat format = Buffer.GetFormat();
  if (format == vfGrey || format == vf32Bit) return;
  TFQCommonFilter::SetVideoFormat(Buffer);
}

void TFQMirror::FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) {
  OutBuffer.Assign(InBuffer);
  const SIZE size = InBuffer.GetSize();
  const Ipp8u* src = InBuffer.GetReadPointer();
  // A 32-bit output keeps the fourth byte that Assign carried over (not
  // mirrored), so it must own the input's pixels before the colour bytes
  // are written; the others are written whole.
  Ipp8u* dst = InBuffer.GetFormat() == vf32Bit ? OutBuffer.GetModifyPointer() : OutBuffer.GetWritePointer();
  const int step = OutBuffer.GetLineStep();
  const IppiSize roi{size.cx, size.cy};
  IppiAxis axis = ippAxsHorizontal;
  switch (GetMirrorType()) {
  case mtVertical:
    axis = ippAxsVertical;
    break;
  case mtBoth:
    axis = ippAxsBoth;
    break;
  default:
    break;
  }
  switch (InBuffer.GetFormat()) {
  case vfGrey:
    ippiMirror_8u_C1R(src, step, dst, step, roi, axis);
    break;
  case vf32Bit:
    ippiMirror_8u_AC4R(src, step, dst, step, roi, axis);
    break;
  default:
    ippiMirror_8u_C3R(src, step, dst, step, roi, axis);
    break;
  }
}

namespace Fqmirror {
void Register() { RegisterComponents("Framquist", {FQClass<TFQMirror>("TFQMirror")}); }
} // namespace Fqmirror

} // namespace framquist
