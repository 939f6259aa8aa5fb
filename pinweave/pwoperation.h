// IPWNotifyOperation and the operations that travel between pins.
//
// An operation is immutable once sent and is shared by reference, so a
// component may keep one (a queue holds the frames it was given) while the
// sender goes on. Receivers tell operations apart by class (OpAs<T>).
// An operation that carries data a receiver may change (a frame) gives
// every receiver but the last its own copy (CopyForReceiver), so no
// receiver sees what another does with it.
//
// Direction is given by where an operation arrives: downstream at a sink pin
// (start-frame announcement, frames, stop = end of stream, pump requests of
// sources that need driving), upstream at a source pin (start and stop
// requests, master pumps = "send me one frame").
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "frame/fqvideoformat.h"

namespace framquist {

class TPWComponent;

class IPWNotifyOperation;
using TPWOperation = std::shared_ptr<const IPWNotifyOperation>;

class IPWNotifyOperation {
public:
  virtual ~IPWNotifyOperation() = default;
  // A copy for one more receiver; null (the default) shares this one.
  virtual TPWOperation CopyForReceiver() const { return nullptr; }

protected:
  IPWNotifyOperation() = default;
};

template <class T>
const T* OpAs(const TPWOperation& op) {
  return dynamic_cast<const T*>(op.get());
}

// Upstream: asks the sources above to start streaming.
class TPWStartOperation : public IPWNotifyOperation {};

// Downstream: the stream has ended. Upstream: asks the sources to stop.
class TPWStopOperation : public IPWNotifyOperation {};

// Downstream: a stream starts with these parameters. The interval is the
// frame duration in 100-ns units (0 when unknown); Rate is the nominal rate
// in frames per 1000 seconds (0 when unknown).
class TPWStartFrameOperation : public IPWNotifyOperation {
public:
  TPWStartFrameOperation(int width, int height, int64_t interval, TFQVideoFormat format, int rate = 0,
                         unsigned flags = 0)
      : Width(width), Height(height), Interval(interval), Format(format), Rate(rate), Flags(flags) {}
  int Width;
  int Height;
  int64_t Interval;
  TFQVideoFormat Format;
  int Rate;
  unsigned Flags; // further start values, passed on unchanged
};

// Downstream: a source has nothing driving it and asks to be pumped. A
// component downstream that will pace the stream with master pumps answers
// by naming itself as the pumper; while nobody answers, the pumper stays the
// requester, which then has to drive itself.
class TPWPumpRequestOperation : public IPWNotifyOperation {
public:
  explicit TPWPumpRequestOperation(int pumpType = 0, const TPWComponent* requester = nullptr)
      : PumpType(pumpType), Pumper(requester) {}
  int PumpType;
  // Written by the answering party during delivery (operations are otherwise immutable).
  mutable std::atomic<const TPWComponent*> Pumper;
};

// Upstream: deliver one frame now (the downstream side sets the pace).
// Sender and Tick let a receiver tell one pacing party's ticks apart.
class TPWMasterPumpOperation : public IPWNotifyOperation {
public:
  TPWMasterPumpOperation() = default;
  TPWMasterPumpOperation(const TPWComponent* sender, std::int64_t tick) : Sender(sender), Tick(tick) {}
  const TPWComponent* Sender = nullptr;
  std::int64_t Tick = 0;
};

// Downstream: the receiver should start pumping its own sources.
class TPWStartPumpOperation : public IPWNotifyOperation {};

// Downstream: this input takes no further part in the stream.
class TPWIgnoreStreamOperation : public IPWNotifyOperation {};

class TPWIgnoreVideoStreamOperation : public TPWIgnoreStreamOperation {
public:
  explicit TPWIgnoreVideoStreamOperation(TFQVideoFormat format = 0) : Format(format) {}
  TFQVideoFormat Format;
};

// Downstream: data. Concrete kinds carry a frame or a sample array.
class TPWSuppliedBufferOperation : public IPWNotifyOperation {};

// A clock event, sent by clock source pins to clock sink pins.
class TPWClockOperation : public IPWNotifyOperation {
public:
  explicit TPWClockOperation(int64_t time = 0) : Time(time) {}
  int64_t Time; // 100-ns units since the clock started
};

// A boolean state, sent to boolean sink pins.
class TPWBoolOperation : public IPWNotifyOperation {
public:
  explicit TPWBoolOperation(bool value) : Value(value) {}
  bool Value;
};

// Helpers for the 64-bit interval that some interfaces pass as two words.
inline int64_t PWJoinInterval(unsigned low, unsigned high) {
  return static_cast<int64_t>((static_cast<uint64_t>(high) << 32) | low);
}
inline void PWSplitInterval(int64_t interval, unsigned& low, unsigned& high) {
  low = static_cast<unsigned>(static_cast<uint64_t>(interval) & 0xffffffffu);
  high = static_cast<unsigned>(static_cast<uint64_t>(interval) >> 32);
}

} // namespace framquist
