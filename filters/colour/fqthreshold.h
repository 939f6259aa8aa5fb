// TFQThreshold: clips each colour channel of every pixel against an upper
// and a lower threshold colour. A channel above the upper rule's threshold
// becomes the upper rule's value, one below the lower rule's threshold the
// lower rule's value; the lower rule is tested first, so it wins where the
// two cross. Channels are paired by byte: the colour's red byte (lowest)
// goes with the first byte of each pixel, green with the second, blue with
// the third.
//
// Pins: InputPin, OutputPin, EnablePin (from TFQCommonFilter).
// Properties:
//   ThresholdTop (TFQThresholdValueTop): Threshold (TColor, default
//     0x808080), Value (TColor, 0, always stored), Enabled (true)
//   ThresholdBottom (TFQThresholdValueBottom): Threshold (0), Value (0,
//     always stored), Enabled (true)
// With both rules off frames pass unchanged. Formats: 32-bit frames as they
// come (alpha kept byte for byte), all others as 24-bit (grey too). Start
// and stop: nothing of its own.
//
//   auto threshold = Make<TFQThreshold>();
//   threshold->ThresholdTop().SetValue(FQRGB(255, 255, 255));
#pragma once

#include "frame/fqcommonfilter.h"

namespace framquist {

// One threshold rule; shares the owning component's lock.
class TFQThresholdValue : public TZNLockedPersistent {
public:
  explicit TFQThresholdValue(IPWLock& lock) : TFQThresholdValue(lock, 0) {}

  TColor GetThreshold() const;
  TColor GetValue() const;
  bool GetEnabled() const;
  void SetThreshold(TColor value);
  void SetValue(TColor value);
  void SetEnabled(bool value);
  // Copies all three properties, under this rule's write lock.
  void Assign(const TFQThresholdValue& source);

  // Published: Threshold, Value (always stored), Enabled (true).
  void DeclareProperties(TPWPropertyList& props) override;

protected:
  TFQThresholdValue(IPWLock& lock, TColor threshold);

private:
  const TColor defaultThreshold_;
  TColor threshold_;
  TColor value_ = 0;
  bool enabled_ = true;
};

class TFQThresholdValueTop : public TFQThresholdValue {
public:
  explicit TFQThresholdValueTop(IPWLock& lock) : TFQThresholdValue(lock, 0x808080) {}
};

class TFQThresholdValueBottom : public TFQThresholdValue {
public:
  using TFQThresholdValue::TFQThresholdValue;
};

class TFQThreshold : public TFQCommonFilter {
public:
  TFQThreshold();
  ~TFQThreshold() override;

  std::string_view GetClassName() const override { return "TFQThreshold"; }

  TFQThresholdValueTop& ThresholdTop() { return *top_; }
  TFQThresholdValueBottom& ThresholdBottom() { return *bottom_; }
  // Copy the given rule into the owned one.
  void SetThresholdTop(const TFQThresholdValue& value);
  void SetThresholdBottom(const TFQThresholdValue& value);

  // Published: those of TFQCommonFilter, ThresholdTop, ThresholdBottom.
  void DeclareProperties(TPWPropertyList& props) override;

  void SetVideoFormat(IFQImageBuffer& Buffer) override;
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override;

private:
  TFQThresholdValueTop* top_;
  TFQThresholdValueBottom* bottom_;
};

namespace Fqthreshold {
void Register();
}

} // namespace framquist
