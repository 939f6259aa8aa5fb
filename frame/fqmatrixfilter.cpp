#include "frame/fqmatrixfilter.h"

#include <algorithm>

#include "ipp/ippcopy.h"

namespace framquist {

// ---- TFQSize ---------------------------------------------------------------

TFQSize::TFQSize(IPWLock& lock, int width, int height, int minimum, int maximum,
                 std::function<void()> changed)
    : TZNLockedPersistent(lock), width_(std::clamp(width, minimum, maximum)),
      height_(std::clamp(height, minimum, maximum)), min_(minimum), max_(maximum), defaultWidth_(width_),
      defaultHeight_(height_), changed_(std::move(changed)) {}

void TFQSize::DeclareProperties(TPWPropertyList& props) {
  props.Int<std::int32_t>(
      "Width", [this] { return GetWidth(); }, [this](std::int64_t v) { SetWidth(static_cast<int>(v)); },
      defaultWidth_);
  props.Int<std::int32_t>(
      "Height", [this] { return GetHeight(); }, [this](std::int64_t v) { SetHeight(static_cast<int>(v)); },
      defaultHeight_);
}

int TFQSize::GetWidth() const {
  TPWLockHold hold = Read();
  return width_;
}

int TFQSize::GetHeight() const {
  TPWLockHold hold = Read();
  return height_;
}

SIZE TFQSize::GetSize() const {
  TPWLockHold hold = Read();
  return {width_, height_};
}

void TFQSize::Store(int& field, int value) {
  TPWLockHold hold = Write();
  if (!hold) return;
  value = std::clamp(value, min_, max_);
  if (value == field) return;
  field = value;
  if (changed_) changed_();
}

void TFQSize::SetWidth(int value) { Store(width_, value); }
void TFQSize::SetHeight(int value) { Store(height_, value); }

void TFQSize::Assign(const TFQSize& other) {
  const SIZE s = other.GetSize();
  TPWLockHold hold = Write();
  if (!hold) return;
  SetWidth(s.cx);
  SetHeight(s.cy);
}

// ---- TFQCommonROIMatrixFilter ----------------------------------------------

TFQCommonROIMatrixFilter::TFQCommonROIMatrixFilter()
    : MatrixSize(GetLock(), 3, 3, 1, 255, [this] { MatrixChanged(); }) {}

void TFQCommonROIMatrixFilter::MatrixChanged() { Changed(); }

TPoint TFQCommonROIMatrixFilter::GetAnchor() const {
  // The anchor asked for, kept inside the present matrix; a matrix that
  // shrinks and grows again gets the same anchor back.
  TPWLockHold hold = GetLock().Read();
  const SIZE m = MatrixSize.GetSize();
  return {std::min(anchor_.X, m.cx - 1), std::min(anchor_.Y, m.cy - 1)};
}

void TFQCommonROIMatrixFilter::SetAnchor(int x, int y) {
  TPWLockHold hold = GetLock().Write();
  if (!hold) return;
  anchor_ = {std::clamp(x, 0, 254), std::clamp(y, 0, 254)};
}

void TFQCommonROIMatrixFilter::DeclareProperties(TPWPropertyList& props) {
  TFQCommonROIFilter::DeclareProperties(props);
  props.Object("MatrixSize", MatrixSize);
  props.Int<std::int32_t>(
      "AnchorX", [this] { return GetAnchor().X; },
      [this](std::int64_t v) { SetAnchor(static_cast<int>(std::clamp<std::int64_t>(v, 0, 254)), anchor_.Y); },
      1);
  props.Int<std::int32_t>(
      "AnchorY", [this] { return GetAnchor().Y; },
      [this](std::int64_t v) { SetAnchor(anchor_.X, static_cast<int>(std::clamp<std::int64_t>(v, 0, 254))); },
      1);
}

void TFQCommonROIMatrixFilter::ReclaculateRoiAndOffsetInt(SIZE& Size, unsigned char*& InPtr,
                                                          IFQImageBuffer Buffer, unsigned char*& OutPtr,
                                                          TFQVideoFormat Format) {
  const SIZE m = MatrixSize.GetSize();
  const TPoint a = GetAnchor();
  TRect r = ROI.ClipTo(Size.cx, Size.cy);
  // Keep every neighbourhood inside the frame.
  r.Left = std::max(r.Left, a.X);
  r.Top = std::max(r.Top, a.Y);
  r.Right = std::min(r.Right, Size.cx - (m.cx - 1 - a.X));
  r.Bottom = std::min(r.Bottom, Size.cy - (m.cy - 1 - a.Y));
  if (r.Right <= r.Left || r.Bottom <= r.Top) {
    Size = {0, 0};
    return;
  }
  Size = {r.Width(), r.Height()};
  const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(r.Top) * Buffer.GetLineStep() +
                                static_cast<std::ptrdiff_t>(r.Left) * FQBytesPerPixel(Format);
  InPtr += offset;
  OutPtr += offset;
}

// ---- TFQCommonROIMatrixFilterIntermidiate ----------------------------------

void TFQCommonROIMatrixFilterIntermidiate::FilterInternalOperation(IFQImageBuffer InBuffer,
                                                                   IFQImageBuffer& OutBuffer) {
  OutBuffer.Assign(InBuffer);
  const TFQVideoFormat format = InBuffer.GetFormat();
  SIZE size = InBuffer.GetSize();
  auto* src = const_cast<unsigned char*>(InBuffer.GetReadPointer());
  unsigned char* dst = OutBuffer.GetModifyPointer();
  if (src == nullptr || dst == nullptr) return;
  ReclaculateRoiAndOffsetInt(size, src, InBuffer, dst, format);
  if (size.cx <= 0 || size.cy <= 0) return;
  const int step = OutBuffer.GetLineStep();
  const bool done =
      PerformFilter(src, InBuffer.GetLineStep(), dst, step, size, MatrixSize.GetSize(), GetAnchor(), format);
  if (!done && format == vf32Bit)
    ippiCopy_8u_C4CR(src + 3, InBuffer.GetLineStep(), dst + 3, step, IppiSize{size.cx, size.cy});
}

} // namespace framquist
