#include "streams/fqcombine.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "frame/fqregistry.h"
#include "ipp/ippalpha.h"
#include "ipp/ipparith.h"
#include "ipp/ippcopy.h"
#include "ipp/ippmulcscale.h"
#include "wavquist/wqclock.h"

namespace framquist {

namespace {
const TPWEnumType kOperations{
    "TFQCombineOperation",
    {"coAdd", "coSubtract", "coMultiply", "coDivide", "coOr", "coAnd", "coXor", "coAbsDiff", "coCopy"}};
const TPWEnumType kRateSources{"TFQFrameRateSource", {"frsMin", "frsChannel1", "frsChannel2"}};

// The after-stop clock's pace when the stream announced no interval: 25 per second.
constexpr std::int64_t kDefaultInterval = 400'000;

// round(c * 255) as a byte: the low 8 bits, so coefficients above 1 wrap.
Ipp8u ScaleByte(double coefficient) {
  const double v = std::nearbyint(coefficient * 255.0);
  if (!(std::fabs(v) < 9.0e18)) return 0; // NaN or beyond any integer: no low bits to keep
  return static_cast<Ipp8u>(static_cast<std::uint64_t>(static_cast<std::int64_t>(v)) & 0xffu);
}
} // namespace

TFQCombine::TFQCombine()
    : InputPins(this, "InputPins", 2, 2, InputPinCreator([this](int index) {
                  return std::make_unique<TFQPWImageSinkPin>(this,
                                                             "InputPins[" + std::to_string(index) + "]");
                }),
                InputPinRemover()) {
  AddPinList(InputPins);
}

TFQCombine::~TFQCombine() = default;

TFQCombineOperation TFQCombine::GetCombineOperation() const {
  TPWLockHold hold = GetLock().Read();
  return operation_;
}

void TFQCombine::SetCombineOperation(TFQCombineOperation value) {
  if (TPWLockHold hold = GetLock().Write()) operation_ = value;
}

double TFQCombine::GetCoefficient1() const {
  TPWLockHold hold = GetLock().Read();
  return coefficient1_;
}

void TFQCombine::SetCoefficient1(double value) {
  if (TPWLockHold hold = GetLock().Write()) coefficient1_ = value;
}

double TFQCombine::GetCoefficient2() const {
  TPWLockHold hold = GetLock().Read();
  return coefficient2_;
}

void TFQCombine::SetCoefficient2(double value) {
  if (TPWLockHold hold = GetLock().Write()) coefficient2_ = value;
}

TFQFrameRateSource TFQCombine::GetRateSource() const {
  TPWLockHold hold = GetLock().Read();
  return rateSource_;
}

void TFQCombine::SetRateSource(TFQFrameRateSource value) {
  if (TPWLockHold hold = GetLock().Write()) rateSource_ = value;
}

void TFQCombine::DeclareProperties(TPWPropertyList& props) {
  TFQCommonCombine::DeclareProperties(props);
  props.Enum(
      "CombineOperation", kOperations, [this] { return static_cast<int>(GetCombineOperation()); },
      [this](int v) { SetCombineOperation(static_cast<TFQCombineOperation>(std::clamp(v, 0, 8))); }, coAdd);
  props.Enum(
      "RateSource", kRateSources, [this] { return static_cast<int>(GetRateSource()); },
      [this](int v) { SetRateSource(static_cast<TFQFrameRateSource>(std::clamp(v, 0, 2))); }, frsMin);
}

void TFQCombine::DefineProperties(TPWFiler& filer) {
  TFQCommonCombine::DefineProperties(filer);
  const double c1 = GetCoefficient1(), c2 = GetCoefficient2();
  filer.DefineProperty(
      "CoefficientValues",
      [this](TPWReader& r) {
        r.ReadListBegin();
        const double a = r.ReadFloat();
        const double b = r.ReadFloat();
        r.ReadListEnd();
        SetCoefficient1(a);
        SetCoefficient2(b);
      },
      [this](TPWWriter& w) {
        w.WriteListBegin();
        w.WriteFloat(GetCoefficient1());
        w.WriteFloat(GetCoefficient2());
        w.WriteListEnd();
      },
      c1 != 1.0 || c2 != 1.0);
}

bool TFQCombine::GetNeedsModify1() { return coefficient1_ != 1.0; }

bool TFQCombine::GetNeedsModify2() { return coefficient2_ != 1.0 || FormatInUse() == vf32Bit; }

int TFQCombine::GetRateChannel() { return static_cast<int>(rateSource_) - 1; }

// ---- the operation ---------------------------------------------------------

void TFQCombine::DoCombineOp(const unsigned char* Src1, unsigned Src1Step, const unsigned char* Src2,
                             unsigned Src2Step, unsigned char* Dst, unsigned DstStep, const SIZE& Size,
                             unsigned BytesPerPixel) {
  if (Src2 == nullptr) return;
  // Both pictures are private copies here whenever a step below writes them.
  auto* p1 = const_cast<Ipp8u*>(Src1);
  auto* p2 = const_cast<Ipp8u*>(Src2);
  const int s1 = static_cast<int>(Src1Step), s2 = static_cast<int>(Src2Step), sd = static_cast<int>(DstStep);
  const IppiSize roi{Size.cx, Size.cy};
  const IppiSize bytes{Size.cx * static_cast<int>(BytesPerPixel), Size.cy};
  unsigned char fill[4];
  BackgroundPixel(fill);
  const TFQVideoFormat format = FormatInUse();

  if (format == vf32Bit) {
    if (coefficient1_ != 1.0) {
      if (coefficient1_ == 0.0) {
        ippiSet_8u_C4R(fill, p1, s1, roi);
      } else {
        const Ipp8u v = ScaleByte(coefficient1_);
        const Ipp8u v4[4] = {v, v, v, v};
        ippiMulCScale_8u_C4IR(v4, p1, s1, roi);
      }
    }
    if (coefficient2_ != 1.0) {
      if (coefficient2_ == 0.0) {
        ippiSet_8u_AC4R(fill, p2, s2, roi); // picture 2 keeps its alpha
      } else {
        const Ipp8u v = ScaleByte(coefficient2_);
        const Ipp8u v4[4] = {v, v, v, v};
        ippiMulCScale_8u_C4IR(v4, p2, s2, roi);
      }
    }
    switch (operation_) {
    case coAdd:
      ippiAdd_8u_AC4IRSfs(p1, s1, p2, s2, roi, 0);
      break;
    case coSubtract:
      ippiSub_8u_AC4IRSfs(p1, s1, p2, s2, roi, 0);
      break;
    case coMultiply:
      ippiMul_8u_AC4IRSfs(p1, s1, p2, s2, roi, 0);
      break;
    case coDivide:
      ippiDiv_8u_AC4IRSfs(p1, s1, p2, s2, roi, 0);
      break;
    case coOr:
      ippiOr_8u_AC4IR(p1, s1, p2, s2, roi);
      break;
    case coAnd:
      ippiAnd_8u_AC4IR(p1, s1, p2, s2, roi);
      break;
    case coXor:
      ippiXor_8u_AC4IR(p1, s1, p2, s2, roi);
      break;
    case coAbsDiff: {
      // Written into picture 2 with the output's line step, as the
      // operation always has; rows that would land past picture 2's memory
      // are left out.
      IppiSize rows = bytes;
      if (sd > 0 && bytes.width > 0) {
        const auto fit =
            src2Bytes_ < static_cast<std::size_t>(bytes.width)
                ? 0
                : (src2Bytes_ - static_cast<std::size_t>(bytes.width)) / static_cast<std::size_t>(sd) + 1;
        rows.height = static_cast<int>(std::min<std::size_t>(fit, static_cast<std::size_t>(bytes.height)));
      }
      if (rows.height > 0) ippiAbsDiff_8u_C1R(p1, s1, p2, s2, p2, sd, rows);
      break;
    }
    case coCopy:
      break;
    }
    ippiAlphaComp_8u_AC4R(p2, s2, p1, s1, Dst, sd, roi, ippAlphaOver);
    return;
  }

  const bool grey = format == vfGrey;
  auto scale = [&](double coefficient, Ipp8u* p, int step) {
    if (coefficient == 1.0) return;
    if (coefficient == 0.0) {
      if (grey)
        ippiSet_8u_C1R(fill[0], p, step, roi);
      else
        ippiSet_8u_C3R(fill, p, step, roi);
      return;
    }
    const Ipp8u v = ScaleByte(coefficient);
    const Ipp8u v3[3] = {v, v, v};
    if (grey)
      ippiMulCScale_8u_C1IR(v, p, step, roi);
    else
      ippiMulCScale_8u_C3IR(v3, p, step, roi);
  };
  scale(coefficient1_, p1, s1);
  scale(coefficient2_, p2, s2);
  switch (operation_) {
  case coAdd:
    (grey ? ippiAdd_8u_C1RSfs : ippiAdd_8u_C3RSfs)(p1, s1, p2, s2, Dst, sd, roi, 0);
    break;
  case coSubtract:
    (grey ? ippiSub_8u_C1RSfs : ippiSub_8u_C3RSfs)(p1, s1, p2, s2, Dst, sd, roi, 0);
    break;
  case coMultiply:
    (grey ? ippiMul_8u_C1RSfs : ippiMul_8u_C3RSfs)(p1, s1, p2, s2, Dst, sd, roi, 0);
    break;
  case coDivide:
    (grey ? ippiDiv_8u_C1RSfs : ippiDiv_8u_C3RSfs)(p1, s1, p2, s2, Dst, sd, roi, 0);
    break;
  case coOr:
    (grey ? ippiOr_8u_C1R : ippiOr_8u_C3R)(p1, s1, p2, s2, Dst, sd, roi);
    break;
  case coAnd:
    (grey ? ippiAnd_8u_C1R : ippiAnd_8u_C3R)(p1, s1, p2, s2, Dst, sd, roi);
    break;
  case coXor:
    (grey ? ippiXor_8u_C1R : ippiXor_8u_C3R)(p1, s1, p2, s2, Dst, sd, roi);
    break;
  case coAbsDiff:
    ippiAbsDiff_8u_C1R(p1, s1, p2, s2, Dst, sd, bytes);
    break;
  case coCopy:
    (grey ? ippiCopy_8u_C1R : ippiCopy_8u_C3R)(p2, s2, Dst, sd, roi);
    break;
  }
}

// ---- start, stop and the after-stop pump -----------------------------------

void TFQCombine::SubmitStartCommand() {
  RemoveTimer();
  stopped_ = false;
  if (!combineStarted_) {
    // Ask downstream who paces the stream. Posted ahead of the start; the
    // answer is read when it matters (after the inputs stop), and nobody
    // answering leaves the pace to us.
    pumpRequest_ = std::make_shared<TPWPumpRequestOperation>(2, this);
    OutputPin.Post(pumpRequest_);
    ownPump_ = true;
    pumper_ = nullptr;
    tickSeen_ = false;
  }
  TFQCommonCombine::SubmitStartCommand();
  combineStarted_ = true;
}

void TFQCombine::ResolvePumper() {
  if (!pumpRequest_) return;
  const TPWComponent* answer = pumpRequest_->Pumper.load(std::memory_order_acquire);
  ownPump_ = answer == nullptr || answer == this;
  pumper_ = ownPump_ ? nullptr : answer;
  if (!ownPump_) pumpRequest_.reset(); // answered for good
}

void TFQCombine::SubmitBuffer(IFQImageBuffer Buffer) {
  nextStart_ = Buffer.GetEndTime();
  lastFrame_.Assign(Buffer); // an object of our own: the one sent is the receiver's
  TFQCommonCombine::SubmitBuffer(std::move(Buffer));
}

void TFQCombine::SendStopCommand(bool Force) {
  if (GetAfterStop() != asStop && !Force) {
    stopped_ = true;
    RemoveTimer();
    ResolvePumper();
    if (!IsDestroying() && ownPump_) {
      clock_ = std::make_unique<TWQClockGen>([this] { ClockTick(); },
                                             outputInterval_ > 0 ? outputInterval_ : kDefaultInterval);
      clock_->Start();
    }
    return;
  }
  TFQCommonCombine::SendStopCommand(Force);
  RemoveTimer();
  stopped_ = false;
  combineStarted_ = false;
}

void TFQCombine::RemoveTimer() {
  // Waited for once the lock is released: its tick may be waiting for it.
  WQRetireClock(GetLock(), std::move(clock_));
}

void TFQCombine::ClockTick() {
  TPWLockHold hold = GetLock().Write();
  if (!hold || TWQClockGen::Cancelled()) return;
  Pump();
}

void TFQCombine::Pump() {
  if (!stopped_ || !IsOutputRunning()) return;
  IFQImageBuffer frame;
  if (GetAfterStop() == asLastFrame && !lastFrame_.IsEmpty()) {
    frame.Assign(lastFrame_);
  } else {
    const SIZE size = OutputSize();
    frame = IFQImageBuffer::Create(std::max(size.cx, 0), std::max(size.cy, 0), FormatInUse());
    frame.Clear();
  }
  const std::int64_t interval = outputInterval_ > 0 ? outputInterval_ : kDefaultInterval;
  frame.SetTimes(nextStart_, nextStart_ + interval);
  nextStart_ += interval;
  OutputPin.PostFrame(std::move(frame));
}

void TFQCombine::MasterPump(const TPWMasterPumpOperation& Operation) {
  TFQCommonCombine::MasterPump(Operation);
  if (!stopped_) return;
  ResolvePumper();
  if (!ownPump_ && Operation.Sender == pumper_ && (!tickSeen_ || Operation.Tick != lastTick_)) Pump();
  tickSeen_ = true;
  lastTick_ = Operation.Tick;
}

namespace Fqcombine {
void Register() { RegisterComponents("Framquist", {FQClass<TFQCombine>("TFQCombine")}); }
} // namespace Fqcombine

} // namespace framquist
