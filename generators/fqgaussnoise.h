// TFQGaussNoise: adds normally distributed noise: every sample gains
// Mean + StDev x z (z a standard normal deviate) rounded to an integer,
// saturating at 0 and 255; with the default Mean 0 it darkens and brightens
// alike. Over an input within the region of interest; alone, over frames
// of BackgroundColor, alpha included (see TFQBasicNoise).
//
// Pins: InputPin, OutputPin, EnablePin, ClockPin.
// Properties: those of TFQBasicNoise, Mean (0..255, default 0), StDev
//   (0..255, default 100), Seed (0..65535, default 31192; moves while
//   frames flow).
// Start restarts the noise from Seed; stop does nothing of its own.
//
//   auto noise = Make<TFQGaussNoise>();
//   noise->SetStDev(12); source->OutputPin.Connect(noise->InputPin);
#pragma once

#include "generators/fqbasicnoise.h"

namespace framquist {

class TFQGaussNoise : public TFQBasicNoise {
public:
  TFQGaussNoise();
  std::string_view GetClassName() const override { return "TFQGaussNoise"; }

  Ipp8u GetMean() const { return mean_.load(std::memory_order_relaxed); }
  void SetMean(Ipp8u value);
  Ipp8u GetStDev() const { return stdev_.load(std::memory_order_relaxed); }
  void SetStDev(Ipp8u value);
  Ipp16u GetSeed() const { return GetSeedHalf(); }
  void SetSeed(Ipp16u value) { SetSeedHalf(value); }

  // Published: those of TFQBasicNoise, Mean (0), StDev (100), Seed (31192).
  void DeclareProperties(TPWPropertyList& props) override;

protected:
  void AddNoise(TNoiseForm Form, Ipp8u* Ptr, int Step, IppiSize Size, unsigned int* Seed) override;

private:
  std::atomic<Ipp8u> mean_{0};
  std::atomic<Ipp8u> stdev_{100};
};

namespace Fqgaussnoise {
void Register();
}

} // namespace framquist
