// TFQApplyAlpha: gives a video stream an alpha channel taken from a second
// stream. Each output pixel has the colour of the main input (picture 1)
// and, as its fourth byte, the alpha input's value at the same place
// (picture 2): the alpha byte of 32-bit alpha frames, else the grey level
// (frames of other formats are converted to grey first).
//
// The output is always 32-bit, whatever the inputs are. Pairing, sizes and
// the layout around the overlap are TFQCommonCombine's; the alpha picture
// is never drawn where the main picture does not cover it.
//
// Pins: InputPin, AlphaInputPin, OutputPin.
// Properties: those of TFQCommonCombine.
//
//   auto apply = Make<TFQApplyAlpha>();
//   video->OutputPin.Connect(apply->InputPin);
//   matte->OutputPin.Connect(apply->AlphaInputPin);
#pragma once

#include "streams/fqcommoncombine.h"

namespace framquist {

class TFQApplyAlpha : public TFQCommonCombine {
public:
  TFQApplyAlpha();
  ~TFQApplyAlpha() override;
  std::string_view GetClassName() const override { return "TFQApplyAlpha"; }

  TFQPWQueuedImageSinkPin InputPin;
  TFQPWQueuedImageSinkPin AlphaInputPin;

protected:
  void CalculateSendStart(const TFQMultiStartParams& Params) override;
  void CalculateSendOutput() override;
  TFQVideoFormat GetFormat2() override;
  bool DoCopyStream2() override { return false; }
  void DoCombineOp(const unsigned char* Src1, unsigned Src1Step, const unsigned char* Src2, unsigned Src2Step,
                   unsigned char* Dst, unsigned DstStep, const SIZE& Size, unsigned BytesPerPixel) override;
};

namespace Fqapplyalpha {
void Register();
}

} // namespace framquist
