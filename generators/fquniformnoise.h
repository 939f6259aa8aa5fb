// TFQUniformNoise: adds uniformly distributed noise: every sample gains an
// integer drawn evenly from Low to High (so it only brightens), saturating
// at 255. Over an input within the region of interest; alone, over frames
// of BackgroundColor, alpha included (see TFQBasicNoise).
//
// Pins: InputPin, OutputPin, EnablePin, ClockPin.
// Properties: those of TFQBasicNoise, Low (0..255, default 0), High
//   (0..255, default 255), Seed (0..65535, default 31192; moves while
//   frames flow). Setting Low above High raises High to it; setting High
//   below Low lowers Low to it.
// Start restarts the noise from Seed; stop does nothing of its own.
//
//   auto noise = Make<TFQUniformNoise>();
//   noise->SetHigh(40); source->OutputPin.Connect(noise->InputPin);
#pragma once

#include "generators/fqbasicnoise.h"

namespace framquist {

class TFQUniformNoise : public TFQBasicNoise {
public:
  TFQUniformNoise();
  std::string_view GetClassName() const override { return "TFQUniformNoise"; }

  Ipp8u GetLow() const { return low_.load(std::memory_order_relaxed); }
  void SetLow(Ipp8u value);
  Ipp8u GetHigh() const { return high_.load(std::memory_order_relaxed); }
  void SetHigh(Ipp8u value);
  Ipp16u GetSeed() const { return GetSeedHalf(); }
  void SetSeed(Ipp16u value) { SetSeedHalf(value); }

  // Published: those of TFQBasicNoise, Low (0), High (255), Seed (31192).
  void DeclareProperties(TPWPropertyList& props) override;

protected:
  void AddNoise(TNoiseForm Form, Ipp8u* Ptr, int Step, IppiSize Size, unsigned int* Seed) override;

private:
  std::atomic<Ipp8u> low_{0};
  std::atomic<Ipp8u> high_{255};
};

namespace Fquniformnoise {
void Register();
}

} // namespace framquist
