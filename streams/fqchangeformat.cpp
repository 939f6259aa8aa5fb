#include "streams/fqchangeformat.h"

#include "frame/fqregistry.h"

namespace framquist {

TFQVideoFormat TFQChangeFormat::GetFormat() const {
  TPWLockHold hold = GetLock().Read();
  return format_;
}

void TFQChangeFormat::SetFormat(TFQVideoFormat value) {
  TPWLockHold hold = GetLock().Write();
  if (hold) format_ = FQStoredFormat(value);
}

void TFQChangeFormat::DeclareProperties(TPWPropertyList& props) {
  TFQCommonFilter::DeclareProperties(props);
  props.Int<TFQVideoFormat>(
      "Format", [this] { return GetFormat(); },
      [this](std::int64_t v) { SetFormat(static_cast<TFQVideoFormat>(v)); }, vf24Bit);
}

void TFQChangeFormat::SetVideoFormat(IFQImageBuffer& Buffer) { (void)Buffer; }

void TFQChangeFormat::SetSizeRate(int& Width, int& Height, TFQVideoFormat& Format, int Rate, unsigned Flags,
                                  unsigned& IntervalLow, unsigned& IntervalHigh) {
  if (GetEnabled()) Format = format_;
  TFQCommonFilter::SetSizeRate(Width, Height, Format, Rate, Flags, IntervalLow, IntervalHigh);
}

void TFQChangeFormat::FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) {
  OutBuffer.Assign(InBuffer);
  OutBuffer.SetFormat(format_);
}

namespace Fqchangeformat {
void Register() { RegisterComponents("Framquist", {FQClass<TFQChangeFormat>("TFQChangeFormat")}); }
} // namespace Fqchangeformat

} // namespace framquist
