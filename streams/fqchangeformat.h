// TFQChangeFormat: converts every frame to a chosen pixel format and
// announces that format downstream.
//
// Pins: InputPin, OutputPin, EnablePin (from TFQCommonFilter).
// Properties: Format (TFQVideoFormat code, default 0 = 24-bit): 6 grey,
//   3 32-bit, 4 and 5 16-bit, 0 and every other code 24-bit; 7 (no
//   particular format) is stored as 0.
// Formats: every format is taken as it arrives, so a conversion starts
// from the original pixels and, while disabled, frames and the announced
// format pass unchanged. Start: announces Format while enabled (size and
// rate unchanged). Stop: nothing of its own.
//
//   auto change = Make<TFQChangeFormat>();
//   change->SetFormat(vfGrey); // everything downstream sees grey frames
#pragma once

#include "frame/fqcommonfilter.h"

namespace framquist {

class TFQChangeFormat : public TFQCommonFilter {
public:
  std::string_view GetClassName() const override { return "TFQChangeFormat"; }

  TFQVideoFormat GetFormat() const;
  void SetFormat(TFQVideoFormat value);

  // Published: those of TFQCommonFilter, Format (0).
  void DeclareProperties(TPWPropertyList& props) override;

  void SetVideoFormat(IFQImageBuffer& Buffer) override;
  void SetSizeRate(int& Width, int& Height, TFQVideoFormat& Format, int Rate, unsigned Flags,
                   unsigned& IntervalLow, unsigned& IntervalHigh) override;
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override;

private:
  TFQVideoFormat format_ = vf24Bit; // guarded by the lock
};

namespace Fqchangeformat {
void Register();
}

} // namespace framquist
