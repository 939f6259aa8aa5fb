// TFQCombine: merges two video streams pixel by pixel with one arithmetic
// or logical operation, after scaling each by a coefficient.
//
// Where the pictures overlap (see TFQCommonCombine for the layout):
//   grey and 24-bit: out = op(c1 * picture 1, c2 * picture 2), saturated;
//     Subtract and Divide take picture 1 from / into picture 2;
//   32-bit: the operation runs into picture 2's colour bytes, which is then
//     composited over picture 1 by its alpha ("over").
// A coefficient of exactly 1 leaves a picture alone, exactly 0 replaces it
// by the background colour (picture 2 keeps its alpha), anything else scales
// every byte by round(c * 255) / 255, that factor taken modulo 256 (so a
// coefficient above 1 wraps, it is not clamped).
//
// RateSource picks the input that clocks the output (frsMin: the fastest).
// After the inputs stop, AfterStop asZero / asLastFrame keeps the output
// alive: black frames or the last frame again, paced by the component
// downstream that answered the pump request at start, or else by a clock
// of its own at the stream's interval.
//
// Properties: those of TFQCommonCombine, CombineOperation (coAdd),
// RateSource (frsMin); the coefficients (1.0, 1.0) are streamed as
// "CoefficientValues" (two floats). Pins: InputPins[0], InputPins[1],
// OutputPin.
//
//   auto combine = Make<TFQCombine>();
//   a->OutputPin.Connect(*combine->InputPins[0]);
//   b->OutputPin.Connect(*combine->InputPins[1]);
//   combine->SetCombineOperation(coSubtract);  // picture 2 - picture 1
#pragma once

#include <atomic>
#include <memory>

#include "pinweave/pwpin.h"
#include "streams/fqcommoncombine.h"

namespace framquist {

class TWQClockGen;

enum TFQFrameRateSource : std::uint8_t { frsMin, frsChannel1, frsChannel2 };

class TFQCombine : public TFQCommonCombine {
public:
  TFQCombine();
  ~TFQCombine() override;
  std::string_view GetClassName() const override { return "TFQCombine"; }

  TPWPinList InputPins;

  TFQCombineOperation GetCombineOperation() const;
  void SetCombineOperation(TFQCombineOperation value);
  double GetCoefficient1() const;
  void SetCoefficient1(double value);
  double GetCoefficient2() const;
  void SetCoefficient2(double value);
  TFQFrameRateSource GetRateSource() const;
  void SetRateSource(TFQFrameRateSource value);

  // Published: those of TFQCommonCombine, CombineOperation, RateSource.
  void DeclareProperties(TPWPropertyList& props) override;
  // "CoefficientValues": Coefficient1, Coefficient2 (stored when either is not 1).
  void DefineProperties(TPWFiler& filer) override;

protected:
  void DoCombineOp(const unsigned char* Src1, unsigned Src1Step, const unsigned char* Src2, unsigned Src2Step,
                   unsigned char* Dst, unsigned DstStep, const SIZE& Size, unsigned BytesPerPixel) override;
  bool GetNeedsModify1() override;
  bool GetNeedsModify2() override;
  int GetRateChannel() override;
  void SubmitStartCommand() override;
  void SubmitBuffer(IFQImageBuffer Buffer) override;
  void SendStopCommand(bool Force) override;
  void MasterPump(const TPWMasterPumpOperation& Operation) override;
  // One frame after the inputs stopped: the last frame again, or black.
  void Pump();
  void RemoveTimer();

private:
  void ClockTick();
  // Reads the answer to the pump request posted at start.
  void ResolvePumper();

  TFQCombineOperation operation_ = coAdd;
  double coefficient1_ = 1.0;
  double coefficient2_ = 1.0;
  TFQFrameRateSource rateSource_ = frsMin;

  IFQImageBuffer lastFrame_;
  std::int64_t nextStart_ = 0; // start time of the next after-stop frame
  bool combineStarted_ = false;
  bool stopped_ = false;
  bool ownPump_ = true;
  const TPWComponent* pumper_ = nullptr;
  bool tickSeen_ = false;
  std::int64_t lastTick_ = 0;
  std::unique_ptr<TWQClockGen> clock_;
  std::shared_ptr<TPWPumpRequestOperation> pumpRequest_;
};

namespace Fqcombine {
void Register();
}

} // namespace framquist
