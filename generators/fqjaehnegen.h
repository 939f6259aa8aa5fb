// TFQJaehneGen: a clocked generator of a fixed grey test pattern, a zone
// plate: concentric rings whose spatial frequency grows with the distance
// from the frame's centre. Every tick gives the same frame.
//
// Pins: OutputPin, ClockPin (from TFQCommonGen).
// Properties: those of TFQCommonGen: ImageSize (640 x 480, 1..32767 each),
//   Rate (25), PumpType, ClockSource. Frames are 24-bit, grey.
// Start and stop: nothing of its own.
//
//   auto plate = Make<TFQJaehneGen>();
//   plate->SetImageSize(720, 576); plate->OutputPin.Connect(sink->InputPin);
#pragma once

#include "frame/fqcommongen.h"

namespace framquist {

class TFQJaehneGen : public TFQCommonGen {
public:
  std::string_view GetClassName() const override { return "TFQJaehneGen"; }

protected:
  void GenerateFrame(IFQImageBuffer& Buffer, bool& Reserved1, bool& Reserved2) override;
};

namespace Fqjaehnegen {
void Register();
}

} // namespace framquist
