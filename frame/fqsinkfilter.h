// TFQSinkFilter: base of components with an image input only (analysers,
// grabbers, writers). Per frame, holding the write lock: SetVideoFormat,
// then ProcessImage. A start-frame calls IntStart(width, height); a stop
// calls StreamStop.
//
// Pins: InputPin.
#pragma once

#include <atomic>

#include "frame/fqcommonfilter.h"
#include "frame/fqimagepins.h"
#include "pinweave/pwcomponent.h"

namespace framquist {

class TFQSinkFilter : public TPWComponent {
public:
  TFQSinkFilter();
  ~TFQSinkFilter() override;

  TFQPWImageSinkPin InputPin;

  TFQStreamInfo GetStreamInfo() const;
  // What has arrived so far: frames processed, stream starts and stops.
  long long GetFramesProcessed() const { return frames_.load(std::memory_order_acquire); }
  int GetStartsSeen() const { return starts_.load(std::memory_order_acquire); }
  int GetStopsSeen() const { return stops_.load(std::memory_order_acquire); }
  // Frames past the limit are dropped (0: no limit); a runner that must
  // write exactly N frames sets it.
  void SetFrameLimit(long long limit) { limit_.store(limit, std::memory_order_release); }

  bool SinkDispatch(TPWSinkPin& pin, const TPWOperation& op) override;

protected:
  virtual void ProcessImage(IFQImageBuffer Buffer) = 0;
  virtual void IntStart(int Width, int Height) {
    (void)Width;
    (void)Height;
  }
  virtual void StreamStop() {}
  // Sinks take every format as it comes unless they override this.
  virtual void SetVideoFormat(IFQImageBuffer& Buffer) { (void)Buffer; }

  TFQStreamInfo stream_; // guarded by the lock

private:
  std::atomic<long long> frames_{0};
  std::atomic<long long> limit_{0};
  std::atomic<int> starts_{0};
  std::atomic<int> stops_{0};
};

} // namespace framquist
