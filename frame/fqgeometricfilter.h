// TFQGeometricTransfromFilter: base of the geometric transforms (remaps,
// rotate, shear, warp): interpolation, background, and the output size.
//
// Properties: InterpolationType (itLinear), BackgroundColor (black),
// OutputSizeMode (osmBoundingRect):
//   osmBoundingRect     the size GetBoundingRect gives for the input size
//   osmMaxBoundingRect  the size GetMaxBoundingRect gives (steady while
//                       the transform's parameters change)
//   osmInput            the input's size
// The output size is announced at start; when a property change alters it
// while running, the stream is announced again before the next frame
// (when CanSoftRestart allows; otherwise the size stays until the next
// start).
#pragma once

#include "frame/fqcommonfilter.h"

namespace framquist {

enum TFQInterpolationType : std::uint8_t { itNearestNeighbor, itLinear, itCubic };
enum TFQOutputSizeMode : std::uint8_t { osmBoundingRect, osmMaxBoundingRect, osmInput };

// The smooth-edge flag of the resampling primitives' interpolation code.
inline constexpr unsigned kFQSmoothEdgeFlag = 0x80000000u;

class TFQGeometricTransfromFilter : public TFQCommonROIFilter {
public:
  TFQInterpolationType GetInterpolationType() const;
  void SetInterpolationType(TFQInterpolationType value);
  TColor GetBackgroundColor() const;
  void SetBackgroundColor(TColor value);
  TFQOutputSizeMode GetOutputSizeMode() const;
  void SetOutputSizeMode(TFQOutputSizeMode value);

  // 2 to the power of the interpolation ordinal, with the smooth-edge flag.
  unsigned GetInterpolationCode(bool smoothEdge) const;
  // The output size for an input of width x height under the present settings.
  SIZE GetOutputSize(int width, int height);

  // Published: those of TFQCommonROIFilter, InterpolationType, BackgroundColor, OutputSizeMode.
  void DeclareProperties(TPWPropertyList& props) override;

  void SetSizeRate(int& Width, int& Height, TFQVideoFormat& Format, int Rate, unsigned Flags,
                   unsigned& IntervalLow, unsigned& IntervalHigh) override;

protected:
  // The output rectangle a transform needs for an input size.
  virtual TRect GetBoundingRect(int Width, int Height) { return {0, 0, Width, Height}; }
  virtual TRect GetMaxBoundingRect(int Width, int Height) { return GetBoundingRect(Width, Height); }
  virtual bool CanSoftRestart() { return true; }
  // Stores the interpolation type (the lock is held).
  virtual void SetInterpolationTypeInt(TFQInterpolationType value) { interpolation_ = value; }
  bool BufferOperation(const TPWOperation& Operation) override;

private:
  TFQInterpolationType interpolation_ = itLinear;
  TColor background_ = 0;
  TFQOutputSizeMode sizeMode_ = osmBoundingRect;
};

} // namespace framquist
