// TFQSinkFilter: base of components with an image input only (analysers,
// grabbers, writers). Per frame, holding the write lock: SetVideoFormat,
// then ProcessImage. A start-frame calls IntStart(width, height); a stop
// calls StreamStop.
//
// Pins: InputPin.
#pragma once

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
};

} // namespace framquist
