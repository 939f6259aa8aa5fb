// TFQMirror: flips every frame about its horizontal axis, its vertical axis
// or both.
//
// Pins: InputPin, OutputPin, EnablePin (from TFQCommonFilter).
// Properties: MirrorType (TFQMirrorType, default mtHorizontal):
//   mtHorizontal  upside down: output row y = input row (height - 1 - y)
//   mtVertical    left and right exchange
//   mtBoth        both (a turn by 180 degrees)
// Formats: grey and 32-bit frames as they come (alpha kept byte for byte),
// all others as 24-bit. Start and stop: nothing of its own.
//
//   auto mirror = Make<TFQMirror>();
//   mirror->SetMirrorType(mtVertical);
#pragma once

#include "frame/fqcommonfilter.h"

namespace framquist {

enum TFQMirrorType : std::uint8_t { mtHorizontal, mtVertical, mtBoth };

class TFQMirror : public TFQCommonFilter {
public:
  std::string_view GetClassName() const override { return "TFQMirror"; }

  TFQMirrorType GetMirrorType() const { return mirrorType_.load(std::memory_order_relaxed); }
  void SetMirrorType(TFQMirrorType value);

  // Published: those of TFQCommonFilter, MirrorType (always stored).
  void DeclareProperties(TPWPropertyList& props) override;

  void SetVideoFormat(IFQImageBuffer& Buffer) override;
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override;

private:
  // Atomic so a getter on another thread needs no lock; stored under the lock.
  std::atomic<TFQMirrorType> mirrorType_{mtHorizontal};
};

namespace Fqmirror {
void Register();
}

} // namespace framquist
