#include "frame/fqsinkfilter.h"

namespace framquist {

TFQSinkFilter::TFQSinkFilter() : InputPin(this, "InputPin") {}

TFQSinkFilter::~TFQSinkFilter() = default;

TFQStreamInfo TFQSinkFilter::GetStreamInfo() const {
  TPWLockHold hold = GetLock().Read();
  return stream_;
}

bool TFQSinkFilter::SinkDispatch(TPWSinkPin& pin, const TPWOperation& op) {
  if (&pin != &InputPin) return false;
  TPWLockHold hold = GetLock().Write();
  if (const auto* frame = OpAs<TFQPWImageBufferOperation>(op)) {
    const long long limit = limit_.load(std::memory_order_acquire);
    if (limit > 0 && frames_.load(std::memory_order_relaxed) >= limit) return true;
    IFQImageBuffer buffer = frame->Buffer;
    SetVideoFormat(buffer);
    ProcessImage(buffer);
    frames_.fetch_add(1, std::memory_order_acq_rel);
    return true;
  }
  if (const auto* start = OpAs<TPWStartFrameOperation>(op)) {
    stream_ = {start->Width, start->Height, start->Format, start->Interval, start->Rate, start->Flags, true};
    IntStart(start->Width, start->Height);
    starts_.fetch_add(1, std::memory_order_acq_rel);
    return true;
  }
  if (OpAs<TPWStopOperation>(op) != nullptr) {
    stream_.Running = false;
    StreamStop();
    stops_.fetch_add(1, std::memory_order_acq_rel);
    return true;
  }
  return false;
}

} // namespace framquist
