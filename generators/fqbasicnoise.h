// TFQBasicNoise: what the two noise components share (not registered).
// With an input connected it is a filter that adds noise inside the region
// of interest; with none it generates 32-bit frames of BackgroundColor with
// noise added to all four bytes, alpha included.
//
// The random state is one 32-bit word: the running seed in its low half and
// the descendant's published Seed in its high half, both advanced by every
// frame. So Seed read back moves while frames flow, a start (Reset, or the
// generator's IntStart) copies the current Seed into the running seed, and
// a started stream begins from Seed x 65537. Setting Seed while running
// only changes the high half; the running seed follows at the next start.
//
// Pins: InputPin, OutputPin, EnablePin, ClockPin (from
// TFQCommonROIGenFilter).
// Properties: those of TFQCommonROIGenFilter (ROI, ImageSize 640 x 480,
//   Rate 25, ...), BackgroundColor (TColor, default 0: black, alpha 0).
// Formats: grey and 32-bit frames as they come (alpha not noised), others
// as 24-bit; generated frames are 32-bit. Works in place.
//
//   auto noise = Make<TFQUniformNoise>();          // a descendant
//   noise->SetBackgroundColor(FQRGB(0, 0, 128));   // noise over dark blue
#pragma once

#include <algorithm>
#include <atomic>
#include <limits>

#include "frame/fqcommongen.h"
#include "ipp/ippdefs.h"

namespace framquist {

class TFQBasicNoise : public TFQCommonROIGenFilter {
public:
  TColor GetBackgroundColor() const { return background_.load(std::memory_order_relaxed); }
  void SetBackgroundColor(TColor value);

  // Published: those of TFQCommonROIGenFilter, BackgroundColor (0).
  void DeclareProperties(TPWPropertyList& props) override;

  bool CanInline() override { return true; }
  void Reset() override;
  void SetVideoFormat(IFQImageBuffer& Buffer) override;
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override;

protected:
  // Which primitive a frame needs: grey, 24-bit, 32-bit keeping alpha, or
  // 32-bit noising alpha too (generated frames).
  enum TNoiseForm { nfC1, nfC3, nfAC4, nfC4 };
  // Adds the descendant's noise in place, advancing Seed.
  virtual void AddNoise(TNoiseForm Form, Ipp8u* Ptr, int Step, IppiSize Size, unsigned int* Seed) = 0;

  void GenerateFrame(IFQImageBuffer& Buffer, bool& Reserved1, bool& Reserved2) override;
  void IntStart() override { RestartSeed(); }
  TFQVideoFormat GetVideoFormat() override { return vf32Bit; }

  // A property value streamed as a 64-bit integer, clamped to T.
  template <class T>
  static T ClampTo(std::int64_t v) {
    return static_cast<T>(std::clamp<std::int64_t>(v, 0, std::numeric_limits<T>::max()));
  }

  // The high half of the random state, published by descendants as Seed.
  Ipp16u GetSeedHalf() const { return static_cast<Ipp16u>(state_.load(std::memory_order_relaxed) >> 16); }
  void SetSeedHalf(Ipp16u value);

private:
  void RestartSeed();
  void Noise(TNoiseForm form, Ipp8u* ptr, int step, IppiSize size);

  std::atomic<TColor> background_{0};
  // Running seed (low 16 bits) and Seed (high 16 bits); changed only
  // under the write lock, atomic so getters need no lock.
  std::atomic<std::uint32_t> state_{0};
};

} // namespace framquist
