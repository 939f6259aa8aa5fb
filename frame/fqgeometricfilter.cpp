#include "frame/fqgeometricfilter.h"

#include <algorithm>

namespace framquist {

TFQInterpolationType TFQGeometricTransfromFilter::GetInterpolationType() const {
  TPWLockHold hold = GetLock().Read();
  return interpolation_;
}

void TFQGeometricTransfromFilter::SetInterpolationType(TFQInterpolationType value) {
  TPWLockHold hold = GetLock().Write();
  if (hold) SetInterpolationTypeInt(std::min(value, itCubic));
}

TColor TFQGeometricTransfromFilter::GetBackgroundColor() const {
  TPWLockHold hold = GetLock().Read();
  return background_;
}

void TFQGeometricTransfromFilter::SetBackgroundColor(TColor value) {
  if (TPWLockHold hold = GetLock().Write()) background_ = value;
}

TFQOutputSizeMode TFQGeometricTransfromFilter::GetOutputSizeMode() const {
  TPWLockHold hold = GetLock().Read();
  return sizeMode_;
}

void TFQGeometricTransfromFilter::SetOutputSizeMode(TFQOutputSizeMode value) {
  if (TPWLockHold hold = GetLock().Write()) sizeMode_ = std::min(value, osmInput);
}

unsigned TFQGeometricTransfromFilter::GetInterpolationCode(bool smoothEdge) const {
  return (1u << GetInterpolationType()) | (smoothEdge ? kFQSmoothEdgeFlag : 0u);
}

namespace {
const TPWEnumType kInterpolationTypes{"TFQInterpolationType", {"itNearestNeighbor", "itLinear", "itCubic"}};
const TPWEnumType kOutputSizeModes{"TFQOutputSizeMode",
                                   {"osmBoundingRect", "osmMaxBoundingRect", "osmInput"}};
} // namespace

void TFQGeometricTransfromFilter::DeclareProperties(TPWPropertyList& props) {
  TFQCommonROIFilter::DeclareProperties(props);
  props.Enum(
      "InterpolationType", kInterpolationTypes, [this] { return static_cast<int>(GetInterpolationType()); },
      [this](int v) { SetInterpolationType(static_cast<TFQInterpolationType>(v)); }, itLinear);
  props.Color(
      "BackgroundColor", [this] { return GetBackgroundColor(); },
      [this](std::uint32_t v) { SetBackgroundColor(v); }, 0u);
  props.Enum(
      "OutputSizeMode", kOutputSizeModes, [this] { return static_cast<int>(GetOutputSizeMode()); },
      [this](int v) { SetOutputSizeMode(static_cast<TFQOutputSizeMode>(v)); }, osmBoundingRect);
}

SIZE TFQGeometricTransfromFilter::GetOutputSize(int width, int height) {
  TPWLockHold hold = GetLock().Read();
  TRect r;
  switch (sizeMode_) {
  case osmInput:
    return {width, height};
  case osmMaxBoundingRect:
    r = GetMaxBoundingRect(width, height);
    break;
  default:
    r = GetBoundingRect(width, height);
    break;
  }
  return {std::max(r.Width(), 0), std::max(r.Height(), 0)};
}

void TFQGeometricTransfromFilter::SetSizeRate(int& Width, int& Height, TFQVideoFormat& Format, int Rate,
                                              unsigned Flags, unsigned& IntervalLow, unsigned& IntervalHigh) {
  const SIZE out = GetOutputSize(Width, Height);
  Width = out.cx;
  Height = out.cy;
  TFQCommonROIFilter::SetSizeRate(Width, Height, Format, Rate, Flags, IntervalLow, IntervalHigh);
}

bool TFQGeometricTransfromFilter::BufferOperation(const TPWOperation& op) {
  const auto* frame = OpAs<TFQPWImageBufferOperation>(op);
  // Held across the frame, so the new size is posted right ahead of it.
  TPWLockHold hold;
  if (frame != nullptr && GetEnabled()) {
    hold = GetLock().Write();
    const SIZE out = GetOutputSize(frame->Buffer.GetWidth(), frame->Buffer.GetHeight());
    if (stream_.Running && (out.cx != stream_.Width || out.cy != stream_.Height) && CanSoftRestart()) {
      stream_.Width = out.cx;
      stream_.Height = out.cy;
      OutputPin.PostStart(stream_.Width, stream_.Height, stream_.Interval, stream_.Format, stream_.Rate,
                          stream_.Flags);
    }
  }
  return TFQCommonROIFilter::BufferOperation(op);
}

} // namespace framquist
