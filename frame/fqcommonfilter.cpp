#include "frame/fqcommonfilter.h"

#include <algorithm>

namespace framquist {

TFQCommonFilter::TFQCommonFilter()
    : InputPin(this, "InputPin"), OutputPin(this, "OutputPin"),
      EnablePin(this, "EnablePin", [this](TPWSinkPin&, const TPWOperation& op) {
        const auto* b = OpAs<TPWBoolOperation>(op);
        if (b == nullptr) return false;
        SetEnabled(b->Value);
        return true;
      }) {
  OutputPin.AddFunctionSink(InputPin);
}

TFQCommonFilter::~TFQCommonFilter() = default;

void TFQCommonFilter::SetEnabled(bool value) {
  bool changed = false;
  {
    TPWLockHold hold = GetLock().Write();
    if (!hold) return;
    changed = enabled_.exchange(value, std::memory_order_acq_rel) != value;
  }
  if (changed) EnabledChanged();
}

void TFQCommonFilter::DeclareProperties(TPWPropertyList& props) {
  TPWComponent::DeclareProperties(props);
  props.Bool(
      "Enabled", [this] { return GetEnabled(); }, [this](bool v) { SetEnabled(v); }, true);
}

TFQStreamInfo TFQCommonFilter::GetStreamInfo() const {
  TPWLockHold hold = GetLock().Read();
  return stream_;
}

bool TFQCommonFilter::SinkDispatch(TPWSinkPin& pin, const TPWOperation& op) {
  if (&pin != &InputPin) return false;
  if (OpAs<TPWSuppliedBufferOperation>(op) != nullptr) return BufferOperation(op);
  if (const auto* start = OpAs<TPWStartFrameOperation>(op)) return StartFrameOperation(*start);
  if (OpAs<TPWStopOperation>(op) != nullptr) return StopOperation(op);
  return OutputPin.Notify(op); // pump requests and the like travel on
}

TFQVideoFormat TFQCommonFilter::NegotiateFormat(TFQVideoFormat incoming) {
  IFQImageBuffer probe = IFQImageBuffer::Create(1, 1, incoming);
  SetVideoFormat(probe);
  return probe.GetFormat();
}

bool TFQCommonFilter::StartFrameOperation(const TPWStartFrameOperation& start) {
  int width = start.Width, height = start.Height;
  TFQVideoFormat format = start.Format;
  unsigned low = 0, high = 0;
  PWSplitInterval(start.Interval, low, high);
  TPWLockHold hold = GetLock().Write();
  Reset();
  format = NegotiateFormat(format);
  SetSizeRate(width, height, format, start.Rate, start.Flags, low, high);
  if (CanStart())
    OutputPin.PostStart(width, height, PWJoinInterval(low, high), format, start.Rate, start.Flags);
  return true;
}

bool TFQCommonFilter::StopOperation(const TPWOperation& op) {
  TPWLockHold hold = GetLock().Write();
  StreamStop();
  stream_.Running = false;
  OutputPin.Post(op);
  return true;
}

bool TFQCommonFilter::BufferOperation(const TPWOperation& op) {
  const auto* frame = OpAs<TFQPWImageBufferOperation>(op);
  if (frame == nullptr) return OutputPin.Notify(op);
  // The frame object is this filter's alone, so it is converted and, for a
  // filter that works in place, changed where it is: its pixels are copied
  // only while another frame still shares them.
  IFQImageBuffer in = frame->Buffer;
  // The hold is empty only when this thread already reads the component,
  // which keeps setters out just the same.
  TPWLockHold hold = GetLock().Write();
  SetVideoFormat(in);
  IFQImageBuffer out = CanInline() ? in : IFQImageBuffer();
  out.SetPreserveOnWrite(GetPreserveBufferData());
  bool send = true;
  InternalOperation(in, out, GetEnabled(), send);
  if (send) OutputPin.PostFrame(std::move(out)); // goes out as the lock is released
  return true;
}

void TFQCommonFilter::SetVideoFormat(IFQImageBuffer& Buffer) {
  // Converted where it is: the frame object is the receiver's own.
  Buffer.SetFormat(vf24Bit);
}

void TFQCommonFilter::FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) {
  OutBuffer.Assign(InBuffer);
}

void TFQCommonFilter::SetSizeRate(int& Width, int& Height, TFQVideoFormat& Format, int Rate, unsigned Flags,
                                  unsigned& IntervalLow, unsigned& IntervalHigh) {
  stream_ = {Width, Height, Format, PWJoinInterval(IntervalLow, IntervalHigh), Rate, Flags, true};
}

void TFQCommonFilter::InternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer, bool Enabled,
                                        bool& Send) {
  if (Enabled)
    FilterInternalOperation(InBuffer, OutBuffer);
  else
    ProcessDisabled(InBuffer, OutBuffer);
  if (!OutBuffer.SameObject(InBuffer)) OutBuffer.SetTimes(InBuffer.GetStartTime(), InBuffer.GetEndTime());
  Send = true;
}

void TFQCommonFilter::ProcessDisabled(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) {
  // The input object itself goes on: it is ours to hand over, and a second
  // object would make the next in-place filter copy the pixels.
  OutBuffer = InBuffer;
}

// ---- TFQRectRegion ---------------------------------------------------------

bool TFQRectRegion::GetEnabled() const {
  TPWLockHold hold = Read();
  return enabled_;
}
int TFQRectRegion::GetX() const {
  TPWLockHold hold = Read();
  return x_;
}
int TFQRectRegion::GetY() const {
  TPWLockHold hold = Read();
  return y_;
}
int TFQRectRegion::GetWidth() const {
  TPWLockHold hold = Read();
  return width_;
}
int TFQRectRegion::GetHeight() const {
  TPWLockHold hold = Read();
  return height_;
}

void TFQRectRegion::SetEnabled(bool value) {
  if (TPWLockHold hold = Write()) enabled_ = value;
}
void TFQRectRegion::SetX(int value) {
  if (TPWLockHold hold = Write()) x_ = value;
}
void TFQRectRegion::SetY(int value) {
  if (TPWLockHold hold = Write()) y_ = value;
}
void TFQRectRegion::SetWidth(int value) {
  if (TPWLockHold hold = Write()) width_ = std::max(value, 0);
}
void TFQRectRegion::SetHeight(int value) {
  if (TPWLockHold hold = Write()) height_ = std::max(value, 0);
}

void TFQRectRegion::SetRect(int x, int y, int width, int height) {
  TPWLockHold hold = Write();
  if (!hold) return;
  SetX(x);
  SetY(y);
  SetWidth(width);
  SetHeight(height);
  SetEnabled(true);
}

void TFQRectRegion::Assign(const TFQRectRegion& other) {
  if (&other == this) return;
  bool e;
  int x, y, w, h;
  {
    TPWLockHold hold = other.Read();
    e = other.enabled_, x = other.x_, y = other.y_, w = other.width_, h = other.height_;
  }
  TPWLockHold hold = Write();
  if (!hold) return;
  enabled_ = e, x_ = x, y_ = y, width_ = w, height_ = h;
}

void TFQRectRegion::DeclareProperties(TPWPropertyList& props) {
  props.Bool(
      "Enabled", [this] { return GetEnabled(); }, [this](bool v) { SetEnabled(v); }, false);
  props.Int<std::int32_t>(
      "X", [this] { return GetX(); }, [this](std::int64_t v) { SetX(static_cast<int>(v)); }, 0);
  props.Int<std::int32_t>(
      "Y", [this] { return GetY(); }, [this](std::int64_t v) { SetY(static_cast<int>(v)); }, 0);
  props.Int<std::int32_t>(
      "Width", [this] { return GetWidth(); }, [this](std::int64_t v) { SetWidth(static_cast<int>(v)); }, 0);
  props.Int<std::int32_t>(
      "Height", [this] { return GetHeight(); }, [this](std::int64_t v) { SetHeight(static_cast<int>(v)); },
      0);
}

TRect TFQRectRegion::ClipTo(int frameWidth, int frameHeight) const {
  if (!enabled_) return {0, 0, frameWidth, frameHeight};
  // 64-bit sums: X + Width may overflow int.
  const auto right = std::min<long long>(static_cast<long long>(x_) + width_, frameWidth);
  const auto bottom = std::min<long long>(static_cast<long long>(y_) + height_, frameHeight);
  TRect r{std::max(x_, 0), std::max(y_, 0), static_cast<int>(right), static_cast<int>(bottom)};
  if (r.Right <= r.Left || r.Bottom <= r.Top) return {};
  return r;
}

// ---- TFQCommonROIFilter ----------------------------------------------------

TFQCommonROIFilter::TFQCommonROIFilter() : ROI(GetLock()) {}

bool TFQCommonROIFilter::GetPreserveBufferData() { return ROI.GetEnabled(); }

void TFQCommonROIFilter::DeclareProperties(TPWPropertyList& props) {
  TFQCommonFilter::DeclareProperties(props);
  props.Object("ROI", ROI);
}

void TFQCommonROIFilter::ReclaculateRoiAndOffset(SIZE& Size, unsigned char*& InPtr, IFQImageBuffer Buffer,
                                                 unsigned char*& OutPtr, TFQVideoFormat Format) {
  const TRect r = ROI.ClipTo(Size.cx, Size.cy);
  Size = {r.Width(), r.Height()};
  if (Size.cx == 0 || Size.cy == 0) return;
  const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(r.Top) * Buffer.GetLineStep() +
                                static_cast<std::ptrdiff_t>(r.Left) * FQBytesPerPixel(Format);
  InPtr += offset;
  OutPtr += offset;
}

void TFQCommonROIFilter::ReclaculateRoiAndOffsetI(SIZE& Size, IFQImageBuffer Buffer, unsigned char*& Ptr,
                                                  TFQVideoFormat Format) {
  unsigned char* unused = Ptr;
  ReclaculateRoiAndOffset(Size, Ptr, Buffer, unused, Format);
}

} // namespace framquist
