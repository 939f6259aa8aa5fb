#include "filters/colour/fqthreshold.h"

#include "frame/fqregistry.h"
#include "ipp/ippcopy.h"
#include "ipp/ippthreshold.h"

namespace framquist {

TFQThresholdValue::TFQThresholdValue(IPWLock& lock, TColor threshold)
    : TZNLockedPersistent(lock), defaultThreshold_(threshold), threshold_(threshold) {}

TColor TFQThresholdValue::GetThreshold() const {
  TPWLockHold hold = Read();
  return threshold_;
}

TColor TFQThresholdValue::GetValue() const {
  TPWLockHold hold = Read();
  return value_;
}

bool TFQThresholdValue::GetEnabled() const {
  TPWLockHold hold = Read();
  return enabled_;
}

void TFQThresholdValue::SetThreshold(TColor value) {
  TPWLockHold hold = Write();
  if (hold) threshold_ = value;
}

void TFQThresholdValue::SetValue(TColor value) {
  TPWLockHold hold = Write();
  if (hold) value_ = value;
}

void TFQThresholdValue::SetEnabled(bool value) {
  TPWLockHold hold = Write();
  if (hold) enabled_ = value;
}

void TFQThresholdValue::Assign(const TFQThresholdValue& source) {
  if (&source == this) return;
  // Read the source first: it may sit under another component's lock.
  const TColor threshold = source.GetThreshold(), value = source.GetValue();
  const bool enabled = source.GetEnabled();
  TPWLockHold hold = Write();
  if (!hold) return;
  threshold_ = threshold;
  value_ = value;
  enabled_ = enabled;
}

void TFQThresholdValue::DeclareProperties(TPWPropertyList& props) {
  props.Color(
      "Threshold", [this] { return GetThreshold(); }, [this](std::uint32_t v) { SetThreshold(v); },
      defaultThreshold_);
  props.Color(
      "Value", [this] { return GetValue(); }, [this](std::uint32_t v) { SetValue(v); }, std::nullopt);
  props.Bool(
      "Enabled", [this] { return GetEnabled(); }, [this](bool v) { SetEnabled(v); }, true);
}

TFQThreshold::TFQThreshold()
    : top_(new TFQThresholdValueTop(GetLock())), bottom_(new TFQThresholdValueBottom(GetLock())) {}

TFQThreshold::~TFQThreshold() {
  delete top_;
  delete bottom_;
}

void TFQThreshold::SetThresholdTop(const TFQThresholdValue& value) { top_->Assign(value); }

void TFQThreshold::SetThresholdBottom(const TFQThresholdValue& value) { bottom_->Assign(value); }

void TFQThreshold::DeclareProperties(TPWPropertyList& props) {
  TFQCommonFilter::DeclareProperties(props);
  props.Object("ThresholdTop", *top_);
  props.Object("ThresholdBottom", *bottom_);
}

void TFQThreshold::SetVideoFormat(IFQImageBuffer& Buffer) {
  if (Buffer.GetFormat() == vf32Bit) return;
  TFQCommonFilter::SetVideoFormat(Buffer);
}

namespace {

// A colour's bytes in memory order (red first), each going with the same
// byte of a pixel.
struct TColorBytes {
  Ipp8u b[3];
  explicit TColorBytes(TColor c) : b{FQRed(c), FQGreen(c), FQBlue(c)} {}
};

} // namespace

void TFQThreshold::FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) {
  OutBuffer.Assign(InBuffer);
  const bool top = top_->GetEnabled(), bottom = bottom_->GetEnabled();
  // With no rule the copy made by Assign is the result.
  if (!top && !bottom) return;
  const SIZE size = InBuffer.GetSize();
  const IppiSize roi{size.cx, size.cy};
  const Ipp8u* src = InBuffer.GetReadPointer();
  Ipp8u* dst = OutBuffer.GetWritePointer();
  const int srcStep = InBuffer.GetLineStep(), dstStep = OutBuffer.GetLineStep();
  const TColorBytes tGT(top_->GetThreshold()), vGT(top_->GetValue());
  const TColorBytes tLT(bottom_->GetThreshold()), vLT(bottom_->GetValue());
  const bool fourBytes = InBuffer.GetFormat() == vf32Bit;
  if (top && bottom) {
    if (fourBytes)
      ippiThreshold_LTValGTVal_8u_AC4R(src, srcStep, dst, dstStep, roi, tLT.b, vLT.b, tGT.b, vGT.b);
    else
      ippiThreshold_LTValGTVal_8u_C3R(src, srcStep, dst, dstStep, roi, tLT.b, vLT.b, tGT.b, vGT.b);
  } else if (top) {
    if (fourBytes)
      ippiThreshold_GTVal_8u_AC4R(src, srcStep, dst, dstStep, roi, tGT.b, vGT.b);
    else
      ippiThreshold_GTVal_8u_C3R(src, srcStep, dst, dstStep, roi, tGT.b, vGT.b);
  } else {
    if (fourBytes)
      ippiThreshold_LTVal_8u_AC4R(src, srcStep, dst, dstStep, roi, tLT.b, vLT.b);
    else
      ippiThreshold_LTVal_8u_C3R(src, srcStep, dst, dstStep, roi, tLT.b, vLT.b);
  }
  if (fourBytes) {
    // The write pointer did not keep the alpha Assign brought; take it from the input.
    const SIZE outSize = OutBuffer.GetSize();
    const int step = OutBuffer.GetLineStep();
    ippiCopy_8u_C4CR(src + 3, step, OutBuffer.GetModifyPointer() + 3, step, {outSize.cx, outSize.cy});
  }
}

namespace Fqthreshold {
void Register() { RegisterComponents("Framquist", {FQClass<TFQThreshold>("TFQThreshold")}); }
} // namespace Fqthreshold

} // namespace framquist
