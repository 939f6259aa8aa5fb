// TFQGammaFilter: applies the video gamma curve (ITU-R BT.709) to the three
// colour bytes of every pixel, forward (linear light to gamma-corrected) or
// inverse.
//
// Pins: InputPin, OutputPin, EnablePin (from TFQCommonFilter).
// Properties: GammaType (TFQGammaType, default gtForward):
//   gtForward  y = 4.5 x below 0.018, else 1.099 x^0.45 - 0.099
//   gtInverse  the inverse curve
// Formats: 32-bit frames as they come (alpha kept byte for byte), all
// others as 24-bit (grey too). Start and stop: nothing of its own.
//
//   auto gamma = Make<TFQGammaFilter>();
//   gamma->SetGammaType(gtInverse);
#pragma once

#include "frame/fqcommonfilter.h"

namespace framquist {

enum TFQGammaType : std::uint8_t { gtForward, gtInverse };

class TFQGammaFilter : public TFQCommonFilter {
public:
  std::string_view GetClassName() const override { return "TFQGammaFilter"; }

  TFQGammaType GetGammaType() const { return gammaType_.load(std::memory_order_relaxed); }
  void SetGammaType(TFQGammaType value);

  // Published: those of TFQCommonFilter, GammaType (gtForward).
  void DeclareProperties(TPWPropertyList& props) override;

  void SetVideoFormat(IFQImageBuffer& Buffer) override;
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override;

private:
  // Atomic so a getter on another thread needs no lock; stored under the lock.
  std::atomic<TFQGammaType> gammaType_{gtForward};
};

namespace Fqgammafilter {
void Register();
}

} // namespace framquist
