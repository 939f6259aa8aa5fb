// TFQRipple: water waves on a height field. Without an input it generates
// an 8-bit grey shading of the waves; with an input it refracts the input
// picture through them. Drops fall at random (Rain) or where DropAt puts
// them; a still surface costs one pass of the wave step and no remap.
//
// Pins: InputPin, OutputPin, EnablePin, ClockPin (TFQCommonROIGenFilter).
// Properties: those of TFQCommonROIGenFilter (ImageSize 640 x 480, ROI, ...),
//   InterpolationType (itCubic; remap sampling of the refracted picture),
//   DampingFactor (0.07, 1e-6 .. 1; a wave loses this fraction per step),
//   Smoothing (8, at least 1; divides the slope of the surface),
//   Rain (TFQRain): Enabled (true), MinRadius (1) / MaxRadius (20), at
//     least 1 each and pushing each other, MinDepth (50) / MaxDepth (400)
//     likewise (streamed together as "Depth"), Probability (2: a drop falls
//     in one step out of Probability), NumDrops (1; assigning it sets
//     Probability instead, so one drop at most falls per step).
// Generated frames are grey; filtered frames are 32-bit with the surface's
// shading in the fourth byte (127 where it is flat), other formats being
// converted. Start and every change of size begin with flat water.
//
//   auto ripple = Make<TFQRipple>();
//   ripple->DropAt(320, 240, 30, 300.0f);  // under GetLock() while running
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "frame/fqcommongen.h"
#include "frame/fqgeometricfilter.h"

namespace framquist {

class TFQRain : public TZNLockedPersistent {
public:
  explicit TFQRain(IPWLock& lock) : TZNLockedPersistent(lock) {}

  bool GetEnabled() const;
  unsigned GetMinRadius() const;
  unsigned GetMaxRadius() const;
  float GetMinDepth() const;
  float GetMaxDepth() const;
  unsigned GetProbability() const;
  unsigned GetNumDrops() const;
  void SetEnabled(bool value);
  void SetMinRadius(unsigned value);
  void SetMaxRadius(unsigned value);
  void SetMinDepth(float value);
  void SetMaxDepth(float value);
  void SetProbability(unsigned value);
  // Stores into Probability, not NumDrops (a long-standing quirk that saved
  // forms rely on): the number of drops per step stays 1.
  void SetNumDrops(unsigned value);

  // Published: Enabled, MinRadius, MaxRadius, Probability, NumDrops.
  void DeclareProperties(TPWPropertyList& props) override;
  // "Depth": list-begin, MinDepth, MaxDepth, list-end.
  void DefineProperties(TPWFiler& filer) override;
  void ReadDepthData(TPWReader& Reader);
  void WriteDepthData(TPWWriter& Writer) const;

private:
  friend class TFQRipple; // reads the fields during a frame, under the lock
  bool enabled_ = true;
  unsigned minRadius_ = 1;
  unsigned maxRadius_ = 20;
  float minDepth_ = 50.0f;
  float maxDepth_ = 400.0f;
  unsigned probability_ = 2;
  unsigned numDrops_ = 1;
};

class TFQRipple : public TFQCommonROIGenFilter {
public:
  // 32-bit elements, used by the ripple as single-precision floats.
  class TWQIntegerBuffer {
  public:
    explicit TWQIntegerBuffer(std::size_t count = 0) : data_(count) {}
    std::size_t GetCount() const { return data_.size(); }
    float* GetFloatPointer() { return data_.data(); }
    const float* GetFloatPointer() const { return data_.data(); }

  private:
    std::vector<float> data_;
  };

  TFQRipple();
  std::string_view GetClassName() const override { return "TFQRipple"; }

  TFQRain Rain;

  TFQInterpolationType GetInterpolationType() const { return interpolation_.load(std::memory_order_relaxed); }
  void SetInterpolationType(TFQInterpolationType value);
  float GetDampingFactor() const { return damping_.load(std::memory_order_relaxed); }
  void SetDampingFactor(float value);
  unsigned GetSmoothing() const { return smoothing_.load(std::memory_order_relaxed); }
  void SetSmoothing(unsigned value);

  // Sets the cells within Radius of (X, Y) to -Depth cos(pi d / Radius).
  // Takes no lock: hold GetLock() while frames flow.
  void DropAt(int X, int Y, int Radius, float Depth);
  void InitWave(unsigned Width, unsigned Height);
  // One step of the simulation (rain first).
  void ProcessWaves();

  // For inspection (hold the lock while frames flow): the current height
  // field in bordered coordinates, (Width + 2) x (Height + 2).
  const std::vector<double>& GetCurrentWaves() const { return waves_[current_]; }
  bool IsActive() const { return active_; }
  // Frames refracted through the remap primitive so far.
  long long GetRemapCount() const { return remaps_.load(std::memory_order_relaxed); }

  // Published: those of TFQCommonROIGenFilter, InterpolationType,
  // DampingFactor, Smoothing, Rain.
  void DeclareProperties(TPWPropertyList& props) override;

  void SetVideoFormat(IFQImageBuffer& Buffer) override;
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override;
  void SetSizeRate(int& Width, int& Height, TFQVideoFormat& Format, int Rate, unsigned Flags,
                   unsigned& IntervalLow, unsigned& IntervalHigh) override;

protected:
  void GenerateFrame(IFQImageBuffer& Buffer, bool& Reserved1, bool& Reserved2) override;
  void IntStart() override;
  TFQVideoFormat GetVideoFormat() override { return vfGrey; }

private:
  struct TGradient {
    double gx, gy;
    bool moved; // the surface slopes here (tested before clamping)
  };
  TGradient Gradient(unsigned x, unsigned y) const;
  static std::uint8_t Shade(double gx);
  // A frame of another size than the field restarts it flat.
  void FitWave(int width, int height);

  std::atomic<TFQInterpolationType> interpolation_{itCubic};
  std::atomic<float> damping_{0.07f};
  std::atomic<unsigned> smoothing_{8};
  std::atomic<long long> remaps_{0};

  // Guarded by the lock.
  unsigned width_ = 0, height_ = 0;
  std::vector<double> waves_[2];
  int current_ = 0;
  bool active_ = false;
  TWQIntegerBuffer xMap_, yMap_;
};

namespace Fqripple {
void Register();
}

} // namespace framquist
