// TFQFrameChange: combines every frame with the one before it, byte by
// byte, for instance to show only what changed (the default, absolute
// difference).
//
// Pins: InputPin, OutputPin, EnablePin (from TFQCommonFilter).
// Properties: FrameChangeOperation (TFQFrameChangeOperation, default
// fcoAbsDiff). With N the new byte and P the previous frame's, results
// saturated to 0..255 and quotients rounded (halves to even):
//   fcoAdd          N + P            fcoDivideOld  P / N
//   fcoSubtractOld  P - N            fcoDivideNew  N / P
//   fcoSubtractNew  N - P            fcoOr, fcoAnd, fcoXor  bitwise
//   fcoMultiply     N * P            fcoAbsDiff    |N - P|
// A zero divisor gives 255 (0 for 0 / 0). 32-bit frames keep the new
// frame's alpha byte, except with fcoAbsDiff, which differences it too.
// Formats: grey and 32-bit frames as they come, all others as 24-bit.
// Start: the first frame after it (or after creation) only primes the
// previous frame and passes unchanged; so does a frame whose size or
// format differs from the previous one. Stop: nothing of its own.
//
//   auto change = Make<TFQFrameChange>();
//   change->SetFrameChangeOperation(fcoSubtractNew); // only what brightened
#pragma once

#include "frame/fqcommonfilter.h"

namespace framquist {

enum TFQFrameChangeOperation : std::uint8_t {
  fcoAdd,
  fcoSubtractOld,
  fcoSubtractNew,
  fcoMultiply,
  fcoDivideOld,
  fcoDivideNew,
  fcoOr,
  fcoAnd,
  fcoXor,
  fcoAbsDiff
};

class TFQFrameChange : public TFQCommonFilter {
public:
  std::string_view GetClassName() const override { return "TFQFrameChange"; }

  TFQFrameChangeOperation GetFrameChangeOperation() const {
    return operation_.load(std::memory_order_relaxed);
  }
  // Values beyond fcoAbsDiff are stored and make frames pass uncombined.
  void SetFrameChangeOperation(TFQFrameChangeOperation value);

  // Published: those of TFQCommonFilter, FrameChangeOperation (fcoAbsDiff).
  void DeclareProperties(TPWPropertyList& props) override;

  void SetVideoFormat(IFQImageBuffer& Buffer) override;
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override;
  void Reset() override;

private:
  // Atomic so a getter on another thread needs no lock; stored under the lock.
  std::atomic<TFQFrameChangeOperation> operation_{fcoAbsDiff};
  // Guarded by the lock (the frame holds it).
  IFQImageBuffer previous_;
  bool havePrevious_ = false;
};

namespace Fqframechange {
void Register();
}

} // namespace framquist
