// TFQCommonFilter: base of the one-input, one-output filters.
// TFQCommonROIFilter: adds a region of interest the work is restricted to.
//
// The base owns the boilerplate: pins, locking, format negotiation,
// pass-through while disabled, start and stop. Per frame, on the thread that
// delivered it and holding the component's write lock:
//   SetVideoFormat(in)                accept the format, or convert to 24-bit
//   InternalOperation(in, out, ...)   FilterInternalOperation while enabled,
//                                     ProcessDisabled (pass-through) while not
// then out is posted to OutputPin and goes out as the lock is released. A
// start-frame arriving calls Reset and SetSizeRate (which may change what is
// announced) and passes the start on; a stop calls StreamStop and passes it
// on; starts, frames and stops leave in the order they were computed.
//
// The frame a filter receives is its own (no other receiver sees it), so
// SetVideoFormat converts it where it is, and a CanInline filter gets it as
// both input and output and changes it in place, copying the pixels only
// while another frame object still shares them.
//
// Pins: InputPin, OutputPin, EnablePin (a boolean arriving sets Enabled).
// Properties: Enabled (true). TFQCommonROIFilter adds ROI (off: whole frame).
#pragma once

#include <atomic>

#include "frame/fqimagepins.h"
#include "frame/fqtypes.h"
#include "pinweave/pwcomponent.h"

namespace framquist {

// What a component announced downstream at the last start.
struct TFQStreamInfo {
  int Width = 0;
  int Height = 0;
  TFQVideoFormat Format = vf24Bit;
  std::int64_t Interval = 0;
  int Rate = 0;
  unsigned Flags = 0;
  bool Running = false;
};

class TFQCommonFilter : public TPWComponent {
public:
  TFQCommonFilter();
  ~TFQCommonFilter() override;

  TFQPWImageSinkPin InputPin;
  TFQPWImageSourcePin OutputPin;
  TPWBoolSinkPin EnablePin;

  bool GetEnabled() const { return enabled_.load(std::memory_order_acquire); }
  virtual void SetEnabled(bool value);

  TFQStreamInfo GetStreamInfo() const;

  // Published: Tag, Enabled (true).
  void DeclareProperties(TPWPropertyList& props) override;

  bool SinkDispatch(TPWSinkPin& pin, const TPWOperation& op) override;

  // Override points. The frame calls them holding the write lock.
  //
  // Format negotiation: an override that can work in the buffer's format
  // returns without calling this one; this one converts the frame to 24-bit
  // (the frame object is the receiver's own; nobody else sees the change).
  // The frame also calls it on a 1x1 probe at start to learn the format it
  // announces, so it must change nothing but the buffer.
  virtual void SetVideoFormat(IFQImageBuffer& Buffer);
  virtual void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer);
  // The start values announced downstream; the base records them. The
  // interval (100-ns units) comes as low and high word.
  virtual void SetSizeRate(int& Width, int& Height, TFQVideoFormat& Format, int Rate, unsigned Flags,
                           unsigned& IntervalLow, unsigned& IntervalHigh);
  // True: the filter works in place, and gets one frame as input and output
  // (pixels still shared with another frame are copied on the first modify;
  // a frame nobody else holds is changed without any copy).
  virtual bool CanInline() { return false; }
  virtual void Reset() {}
  // The whole per-frame step: runs FilterInternalOperation or
  // ProcessDisabled by Enabled and carries the input's times over. Setting
  // Send to false suppresses the output frame.
  virtual void InternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer, bool Enabled,
                                 bool& Send);
  // Sends the input on unchanged.
  virtual void ProcessDisabled(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer);
  virtual void StreamStop() {}
  // Called after Enabled changed, without the lock held.
  virtual void EnabledChanged() {}
  // Asked at each start: false holds the start back from downstream (the
  // component then announces the stream itself).
  virtual bool CanStart() { return true; }
  // True when the filter writes only part of the output, so the output must
  // keep the input's pixels elsewhere even behind a write pointer.
  virtual bool GetPreserveBufferData() { return false; }

protected:
  // A frame operation arrived on InputPin. The base runs the per-frame
  // step; components that queue or drop frames override it.
  virtual bool BufferOperation(const TPWOperation& Operation);
  virtual bool StartFrameOperation(const TPWStartFrameOperation& Start);
  virtual bool StopOperation(const TPWOperation& Operation);
  // The format this component announces for an incoming one.
  TFQVideoFormat NegotiateFormat(TFQVideoFormat incoming);

  std::atomic<bool> enabled_{true};
  TFQStreamInfo stream_; // guarded by the lock
};

// The region of interest: X, Y, Width, Height in pixels, used when Enabled.
class TFQRectRegion : public TZNLockedPersistent {
public:
  explicit TFQRectRegion(IPWLock& lock) : TZNLockedPersistent(lock) {}

  bool GetEnabled() const;
  int GetX() const;
  int GetY() const;
  int GetWidth() const;
  int GetHeight() const;
  void SetEnabled(bool value);
  void SetX(int value);
  void SetY(int value);
  void SetWidth(int value);
  void SetHeight(int value);
  // Sets all four and enables the region.
  void SetRect(int x, int y, int width, int height);
  void Assign(const TFQRectRegion& other);
  // Published: Enabled (false), X, Y, Width, Height (0).
  void DeclareProperties(TPWPropertyList& props) override;

  // The region clipped to a frame; empty when they do not meet. The whole
  // frame when the region is off. Read without taking the lock: the frame
  // holds it.
  TRect ClipTo(int frameWidth, int frameHeight) const;

private:
  bool enabled_ = false;
  int x_ = 0, y_ = 0, width_ = 0, height_ = 0;
};

class TFQCommonROIFilter : public TFQCommonFilter {
public:
  TFQCommonROIFilter();

  TFQRectRegion ROI;

  bool GetPreserveBufferData() override;
  // Published: those of TFQCommonFilter and ROI.
  void DeclareProperties(TPWPropertyList& props) override;

protected:
  // Reduces Size (the whole frame) to the region of interest, clipped to the
  // frame, and moves the pointers to its first pixel with the buffer's line
  // step and the format's bytes per pixel. A region outside the frame gives
  // a size of 0 x 0, so the primitive changes nothing.
  virtual void ReclaculateRoiAndOffset(SIZE& Size, unsigned char*& InPtr, IFQImageBuffer Buffer,
                                       unsigned char*& OutPtr, TFQVideoFormat Format);
  // The same for one (in-place) pointer.
  virtual void ReclaculateRoiAndOffsetI(SIZE& Size, IFQImageBuffer Buffer, unsigned char*& Ptr,
                                        TFQVideoFormat Format);
};

} // namespace framquist
