// TFQFire: a synthetic fire. A heat map of 8-bit cells is fed from a fuel
// line along its bottom row that ignites at random; each step carries heat
// one row up with random decay and sideways drift, and the map is coloured
// through a 256-entry palette with alpha (white-hot and opaque at 255,
// transparent below 64).
//
// Pins: InputPin, OutputPin, EnablePin, ClockPin. With the input unconnected
// it generates 32-bit frames of ImageSize (the palette's alpha included);
// with an input it composites the fire over each frame (made 32-bit) inside
// the region of interest, as ATop: the frame's alpha is kept.
// Properties (ranges are clamped by the setters):
//   FireColor (fcRed; fcGreen, fcBlue)   palette family
//   Flammability (3, min 1)   IncreaseStep (1)   Smoothness (2, 0 = off)
//   Decay (5, 1..100)   IgnitionPeriod (5, 0 = no ignition)
//   ReignitionPeriod (20, min 1)   Distribution (1, 0..10)   MinFire (50)
//   LeftOffset, RightOffset (10: cells at the ends of the fuel line that
//   never burn)   Iterations (1, 1..100 steps a frame)
//   Transparency (0, 0..100 %)   CornerSmooth (20)   Wind (0, -10..10)
//   HeatLimit (255, 1..255)   Smooth (Enabled true, MaskSize fms3x3)
// Methods PourWater/PourWaterAt/Spark/SparkAt cool or light the fuel line
// and may be called from any thread. Start (and every change of frame size)
// rebuilds the heat map cold; stop keeps it.
//
//   auto fire = Make<TFQFire>();
//   fire->SetWind(3); fire->OutputPin.Connect(sink->InputPin); fire->Start();
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "frame/fqcommongen.h"

namespace framquist {

// The process-wide pseudo-random generator: uniform in 0..N-1 for N > 0,
// 0 for N = 0, and -(0..-N-1) for negative N. Seeded for repeatable runs.
std::int32_t FQRandom(std::int32_t n);
void FQRandSeed(std::uint32_t seed);

enum TZNFireColor : std::uint8_t { fcRed, fcGreen, fcBlue };
// First value: the 3x3 mask; any other: 5x5.
enum TFQFixedMaskSize : std::uint8_t { fms3x3, fms5x5 };

// One palette entry in frame-pixel byte order.
struct TZNRGBStruct {
  std::uint8_t Blue, Green, Red, Alpha;
};

class TFQFireSmooth : public TZNLockedPersistent {
public:
  explicit TFQFireSmooth(IPWLock& lock) : TZNLockedPersistent(lock) {}
  bool GetEnabled() const;
  void SetEnabled(bool value);
  TFQFixedMaskSize GetMaskSize() const;
  void SetMaskSize(TFQFixedMaskSize value);
  void Assign(const TFQFireSmooth& other);
  // Published: Enabled (true), MaskSize (fms3x3).
  void DeclareProperties(TPWPropertyList& props) override;

private:
  bool enabled_ = true;
  TFQFixedMaskSize maskSize_ = fms3x3;
};

// The simulation, shared by the fire components. Every accessor takes the
// owner's lock; the operations expect it held.
class TZNFireSimulator {
public:
  explicit TZNFireSimulator(IPWLock& lock);

  TFQFireSmooth Smooth;

  void InitFire(int width, int height);
  void Calculate();
  void CreatePalette();
  void Render();
  void PostProcess();
  void DrawFire(IFQImageBuffer& buffer);

  void PourWater(std::uint32_t count, std::uint32_t size);
  void PourWaterAt(std::uint32_t position, std::uint32_t size);
  void Spark(std::uint32_t count, std::uint32_t size);
  void SparkAt(std::uint32_t position, std::uint32_t size);

  TZNFireColor GetFireColor() const;
  void SetFireColor(TZNFireColor v);
  std::uint32_t GetFlammability() const;
  void SetFlammability(std::uint32_t v);
  std::int32_t GetIncreaseStep() const;
  void SetIncreaseStep(std::int32_t v);
  std::uint32_t GetSmoothness() const;
  void SetSmoothness(std::uint32_t v);
  std::uint32_t GetDecay() const;
  void SetDecay(std::uint32_t v);
  std::uint32_t GetIgnitionPeriod() const;
  void SetIgnitionPeriod(std::uint32_t v);
  std::uint32_t GetReignitionPeriod() const;
  void SetReignitionPeriod(std::uint32_t v);
  std::uint32_t GetDistribution() const;
  void SetDistribution(std::uint32_t v);
  std::uint32_t GetMinFire() const;
  void SetMinFire(std::uint32_t v);
  std::uint32_t GetLeftOffset() const;
  void SetLeftOffset(std::uint32_t v);
  std::uint32_t GetRightOffset() const;
  void SetRightOffset(std::uint32_t v);
  std::uint32_t GetIterations() const;
  void SetIterations(std::uint32_t v);
  std::uint32_t GetTransparency() const;
  void SetTransparency(std::uint32_t v);
  std::uint32_t GetCornerSmooth() const;
  void SetCornerSmooth(std::uint32_t v);
  std::int32_t GetWind() const;
  void SetWind(std::int32_t v);
  std::uint32_t GetHeatLimit() const;
  void SetHeatLimit(std::uint32_t v);

  // For inspection (tests, layers); read under the lock.
  int GetWidth() const { return width_; }
  int GetHeight() const { return height_; }
  int GetSpanStart() const { return spanStart_; }
  int GetSpanEnd() const { return spanEnd_; }
  int GetSpan() const { return span_; }
  const std::vector<TZNRGBStruct>& GetPalette() const { return palette_; }
  std::vector<std::uint8_t>& FuelLine() { return fuelLine_; }
  std::uint8_t* HeatRow(int y) { return heatData_ + static_cast<std::ptrdiff_t>(y) * heatStep_; }
  // The fuel points of a layer; empty for the plain fire.
  std::vector<TPoint>& ContourPoints() { return contour_; }
  // The per-row decay factor for the current height (Decay x (1 - log10(Height / 100))).
  float DecayFactor() const;

private:
  void BurnPoint(std::uint8_t* dest, const std::uint8_t* source, int d, int x);
  void FillLine(std::int64_t start, std::int64_t count, std::uint8_t value);
  bool Cold(std::int64_t x) const; // in the never-burning margin

  TZNFireColor fireColor_ = fcRed;
  IPWLock& lock_;
  int width_ = 0;
  int lineLength_ = 0;
  int height_ = 0;
  std::uint32_t reignitionPeriod_ = 20;
  std::uint32_t ignitionPeriod_ = 5;
  std::uint32_t decay_ = 5;
  std::uint32_t smoothness_ = 2;
  std::uint32_t minFire_ = 50;
  int activeHeight_ = 0;
  std::uint32_t flammability_ = 3;
  std::uint32_t iterations_ = 1;
  std::uint32_t transparency_ = 0;
  std::uint32_t leftOffset_ = 10;
  std::uint32_t rightOffset_ = 10;
  std::uint32_t distribution_ = 1;
  std::vector<TZNRGBStruct> palette_;
  std::vector<std::uint8_t> fuelLine_;
  std::int32_t increaseStep_ = 1;
  IFQImageBuffer heatMap_;
  std::uint32_t cornerSmooth_ = 20;
  std::int32_t wind_ = 0;
  std::uint32_t heatLimit_ = 255;
  std::vector<TPoint> contour_, previousContour_;
  int spanStart_ = 0, spanEnd_ = 0, span_ = 0;
  std::uint8_t* heatData_ = nullptr;
  int heatStep_ = 0;
};

// The simulator and its published settings, shared by the fire components:
// every accessor forwards to the simulator, which takes the owner's lock.
class TZNFireControls {
public:
  TZNFireSimulator& Simulator() { return *sim_; }

  TZNFireColor GetFireColor() const { return sim_->GetFireColor(); }
  void SetFireColor(TZNFireColor v) { sim_->SetFireColor(v); }
  std::uint32_t GetFlammability() const { return sim_->GetFlammability(); }
  void SetFlammability(std::uint32_t v) { sim_->SetFlammability(v); }
  std::int32_t GetIncreaseStep() const { return sim_->GetIncreaseStep(); }
  void SetIncreaseStep(std::int32_t v) { sim_->SetIncreaseStep(v); }
  std::uint32_t GetSmoothness() const { return sim_->GetSmoothness(); }
  void SetSmoothness(std::uint32_t v) { sim_->SetSmoothness(v); }
  std::uint32_t GetDecay() const { return sim_->GetDecay(); }
  void SetDecay(std::uint32_t v) { sim_->SetDecay(v); }
  std::uint32_t GetIgnitionPeriod() const { return sim_->GetIgnitionPeriod(); }
  void SetIgnitionPeriod(std::uint32_t v) { sim_->SetIgnitionPeriod(v); }
  std::uint32_t GetReignitionPeriod() const { return sim_->GetReignitionPeriod(); }
  void SetReignitionPeriod(std::uint32_t v) { sim_->SetReignitionPeriod(v); }
  std::uint32_t GetDistribution() const { return sim_->GetDistribution(); }
  void SetDistribution(std::uint32_t v) { sim_->SetDistribution(v); }
  std::uint32_t GetMinFire() const { return sim_->GetMinFire(); }
  void SetMinFire(std::uint32_t v) { sim_->SetMinFire(v); }
  std::uint32_t GetLeftOffset() const { return sim_->GetLeftOffset(); }
  void SetLeftOffset(std::uint32_t v) { sim_->SetLeftOffset(v); }
  std::uint32_t GetRightOffset() const { return sim_->GetRightOffset(); }
  void SetRightOffset(std::uint32_t v) { sim_->SetRightOffset(v); }
  std::uint32_t GetIterations() const { return sim_->GetIterations(); }
  void SetIterations(std::uint32_t v) { sim_->SetIterations(v); }
  std::uint32_t GetTransparency() const { return sim_->GetTransparency(); }
  void SetTransparency(std::uint32_t v) { sim_->SetTransparency(v); }
  std::uint32_t GetCornerSmooth() const { return sim_->GetCornerSmooth(); }
  void SetCornerSmooth(std::uint32_t v) { sim_->SetCornerSmooth(v); }
  std::int32_t GetWind() const { return sim_->GetWind(); }
  void SetWind(std::int32_t v) { sim_->SetWind(v); }
  std::uint32_t GetHeatLimit() const { return sim_->GetHeatLimit(); }
  void SetHeatLimit(std::uint32_t v) { sim_->SetHeatLimit(v); }
  TFQFireSmooth& GetSmooth() { return sim_->Smooth; }
  void SetSmooth(const TFQFireSmooth& v) { sim_->Smooth.Assign(v); }

  void PourWater(std::uint32_t count, std::uint32_t size) { sim_->PourWater(count, size); }
  void PourWaterAt(std::uint32_t position, std::uint32_t size) { sim_->PourWaterAt(position, size); }
  void Spark(std::uint32_t count, std::uint32_t size) { sim_->Spark(count, size); }
  void SparkAt(std::uint32_t position, std::uint32_t size) { sim_->SparkAt(position, size); }

protected:
  explicit TZNFireControls(IPWLock& lock);
  ~TZNFireControls();
  TZNFireControls(const TZNFireControls&) = delete;
  TZNFireControls& operator=(const TZNFireControls&) = delete;

  // Declares the settings above; only the offsets' default differs.
  void DeclareFireProperties(TPWPropertyList& props, std::uint32_t offsetDefault);

  std::unique_ptr<TZNFireSimulator> sim_;
};

class TFQFire : public TFQCommonROIGenFilter, public TZNFireControls {
public:
  TFQFire();
  ~TFQFire() override;
  std::string_view GetClassName() const override { return "TFQFire"; }

  void DeclareProperties(TPWPropertyList& props) override;

  void SetVideoFormat(IFQImageBuffer& Buffer) override;
  void SetSizeRate(int& Width, int& Height, TFQVideoFormat& Format, int Rate, unsigned Flags,
                   unsigned& IntervalLow, unsigned& IntervalHigh) override;
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override;

protected:
  void GenerateFrame(IFQImageBuffer& Buffer, bool& Reserved1, bool& Reserved2) override;
  void IntStart() override;
  TFQVideoFormat GetVideoFormat() override { return vf32Bit; }
};

namespace Fqfire {
void Register();
}

} // namespace framquist
