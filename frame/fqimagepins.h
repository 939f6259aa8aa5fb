// Image pins and the frame operation.
//
// TFQPWImageSourcePin (published as OutputPin) sends frames, stream starts
// and stops downstream; TFQPWImageSinkPin (published as InputPin) receives
// them. A sink pin also keeps the state of the stream it receives, which
// components with several inputs read under their lock.
#pragma once

#include <cstdint>

#include "frame/fqimagebuffer.h"
#include "pinweave/pwpin.h"

namespace framquist {

// A frame travelling downstream. The frame object belongs to the receiver
// it is delivered to; further receivers of one send get frame objects of
// their own that share the pixels until one of them writes.
class TFQPWImageBufferOperation : public TPWSuppliedBufferOperation {
public:
  explicit TFQPWImageBufferOperation(IFQImageBuffer buffer) : Buffer(std::move(buffer)) {}
  TPWOperation CopyForReceiver() const override {
    IFQImageBuffer own;
    own.Assign(Buffer);
    return std::make_shared<TFQPWImageBufferOperation>(std::move(own));
  }
  IFQImageBuffer Buffer;
};

class TFQPWImageSourcePin : public TPWSourcePin {
public:
  TFQPWImageSourcePin(TPWComponent* owner, std::string name, TPWSourceHandler handler = {})
      : TPWSourcePin(owner, std::move(name), pkVideo, std::move(handler)) {}

  // The Send forms deliver now, on the caller's thread; the Post forms keep
  // the order of the pin's posted operations and deliver once the caller
  // releases the owner's lock (see pwpin.h). A frame object sent or posted
  // is handed over: the sender keeps an Assign-ed copy if it needs one.
  bool SendFrame(IFQImageBuffer buffer) {
    return Notify(std::make_shared<TFQPWImageBufferOperation>(std::move(buffer)));
  }
  bool SendStart(int width, int height, std::int64_t interval, TFQVideoFormat format, int rate = 0,
                 unsigned flags = 0) {
    return Notify(std::make_shared<TPWStartFrameOperation>(width, height, interval, format, rate, flags));
  }
  bool SendStop() { return Notify(std::make_shared<TPWStopOperation>()); }
  void PostFrame(IFQImageBuffer buffer) {
    Post(std::make_shared<TFQPWImageBufferOperation>(std::move(buffer)));
  }
  void PostStart(int width, int height, std::int64_t interval, TFQVideoFormat format, int rate = 0,
                 unsigned flags = 0) {
    Post(std::make_shared<TPWStartFrameOperation>(width, height, interval, format, rate, flags));
  }
  void PostStop() { Post(std::make_shared<TPWStopOperation>()); }
};

// Stream state kept per input; guarded by the owner's lock.
struct TFQPinStreamState {
  bool Running = false;
  bool Stopped = false;
  bool NewFrame = false;
  int Width = 0;
  int Height = 0;
  TFQVideoFormat Format = vf24Bit;
  std::int64_t Interval = 0;
  std::int32_t PumpCountdown = 0;
  IFQImageBuffer CurrentFrame;
};

class TFQPWImageSinkPin : public TPWSinkPin {
public:
  TFQPWImageSinkPin(TPWComponent* owner, std::string name, TPWSinkHandler handler = {})
      : TPWSinkPin(owner, std::move(name), pkVideo, std::move(handler)) {}

  TFQPinStreamState Stream;
};

} // namespace framquist
