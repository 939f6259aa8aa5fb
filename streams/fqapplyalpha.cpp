#include "streams/fqapplyalpha.h"

#include "frame/fqregistry.h"
#include "ipp/ippcopy.h"

namespace framquist {

TFQApplyAlpha::TFQApplyAlpha() : InputPin(this, "InputPin"), AlphaInputPin(this, "AlphaInputPin") {
  // The main picture is picture 1, the alpha picture 2.
  AddInputPin(InputPin);
  OutputPin.AddFunctionSink(InputPin);
  AddInputPin(AlphaInputPin);
  OutputPin.AddFunctionSink(AlphaInputPin);
}

TFQApplyAlpha::~TFQApplyAlpha() = default;

void TFQApplyAlpha::CalculateSendStart(const TFQMultiStartParams& Params) {
  TFQMultiStartParams params = Params;
  params.Format = vf32Bit;
  TFQCommonCombine::CalculateSendStart(params);
}

void TFQApplyAlpha::CalculateSendOutput() {
  TPWLockHold hold = GetLock().Write();
  if (!hold) return;
  outputFormat_ = vf32Bit;
  TFQCommonCombine::CalculateSendOutput();
}

TFQVideoFormat TFQApplyAlpha::GetFormat2() {
  const TFQPinStreamState& s = GetInput(1).Stream;
  const TFQVideoFormat format = s.CurrentFrame.IsEmpty() ? s.Format : s.CurrentFrame.GetFormat();
  return format == vf32Bit ? vf32Bit : vfGrey;
}

void TFQApplyAlpha::DoCombineOp(const unsigned char* Src1, unsigned Src1Step, const unsigned char* Src2,
                                unsigned Src2Step, unsigned char* Dst, unsigned DstStep, const SIZE& Size,
                                unsigned BytesPerPixel) {
  (void)BytesPerPixel;
  if (Src1 == nullptr || Src2 == nullptr || Dst == nullptr) return;
  const IppiSize roi{Size.cx, Size.cy};
  const int s1 = static_cast<int>(Src1Step), s2 = static_cast<int>(Src2Step), sd = static_cast<int>(DstStep);
  ippiCopy_8u_AC4R(Src1, s1, Dst, sd, roi);
  // Picture 2 was prepared in GetFormat2()'s format, which this same frame asks again.
  if (GetFormat2() == vf32Bit)
    ippiCopy_8u_C4CR(Src2 + 3, s2, Dst + 3, sd, roi);
  else
    ippiCopy_8u_C1C4R(Src2, s2, Dst + 3, sd, roi);
}

namespace Fqapplyalpha {
void Register() { RegisterComponents("Framquist", {FQClass<TFQApplyAlpha>("TFQApplyAlpha")}); }
} // namespace Fqapplyalpha

} // namespace framquist
