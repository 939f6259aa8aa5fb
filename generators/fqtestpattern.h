// TFQTestPattern: a synthetic source for trying chains out: colour bars, a
// grey ramp or a checkerboard, with a white box that moves one step per
// frame (so flips and delays show).
//
// Pins: OutputPin, ClockPin (from TFQCommonGen).
// Properties: those of TFQCommonGen (ImageSize 640 x 480, Rate 25, ...),
//   Pattern (tpBars, default; tpRamp; tpCheckers), Motion (true).
// Frames are 24-bit. Start restarts the motion from the left edge.
//
//   auto bars = Make<TFQTestPattern>();
//   bars->OutputPin.Connect(mirror->InputPin); bars->Start();
#pragma once

#include "frame/fqcommongen.h"

namespace framquist {

enum TFQTestPatternType : std::uint8_t { tpBars, tpRamp, tpCheckers };

class TFQTestPattern : public TFQCommonGen {
public:
  std::string_view GetClassName() const override { return "TFQTestPattern"; }

  TFQTestPatternType GetPattern() const { return pattern_.load(std::memory_order_relaxed); }
  void SetPattern(TFQTestPatternType value);
  bool GetMotion() const { return motion_.load(std::memory_order_relaxed); }
  void SetMotion(bool value);

  void DeclareProperties(TPWPropertyList& props) override;

protected:
  void GenerateFrame(IFQImageBuffer& Buffer, bool& Reserved1, bool& Reserved2) override;
  void IntStart() override { frame_ = 0; }

private:
  std::atomic<TFQTestPatternType> pattern_{tpBars};
  std::atomic<bool> motion_{true};
  long long frame_ = 0; // guarded by the lock
};

namespace Fqtestpattern {
void Register();
}

} // namespace framquist
