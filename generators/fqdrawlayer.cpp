#include "generators/fqdrawlayer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace framquist {

namespace {
// Sets pixels [x0, x1) of row y to 255, clipped to the image.
void FillSpan(IFQImageBuffer& grey, std::uint8_t* data, int y, int x0, int x1) {
  x0 = std::max(x0, 0);
  x1 = std::min(x1, grey.GetWidth());
  if (y < 0 || y >= grey.GetHeight() || x1 <= x0) return;
  std::memset(data + static_cast<std::ptrdiff_t>(y) * grey.GetLineStep() + x0, 255,
              static_cast<std::size_t>(x1 - x0));
}

// The first pixel whose centre is at or right of a coordinate.
int FirstCentreFrom(double v) { return static_cast<int>(std::ceil(v - 0.5)); }
} // namespace

// ---- IZNDrawItem -----------------------------------------------------------

bool IZNDrawItem::GetEnabled() const {
  TPWLockHold hold = Read();
  return enabled_;
}
void IZNDrawItem::SetEnabled(bool value) {
  if (TPWLockHold hold = Write()) enabled_ = value;
}
std::vector<TPoint> IZNDrawItem::GetContours() const {
  TPWLockHold hold = Read();
  return contours_;
}
void IZNDrawItem::SetContours(std::vector<TPoint> value) {
  if (TPWLockHold hold = Write()) contours_ = std::move(value);
}
void IZNDrawItem::DeclareProperties(TPWPropertyList& props) {
  props.Bool(
      "Enabled", [this] { return GetEnabled(); }, [this](bool v) { SetEnabled(v); }, true);
}

// ---- TZNDrawBoxItem --------------------------------------------------------

#define FQ_BOX_FIELD(Name, field)                                                                            \
  int TZNDrawBoxItem::Get##Name() const {                                                                    \
    TPWLockHold hold = Read();                                                                               \
    return field;                                                                                            \
  }                                                                                                          \
  void TZNDrawBoxItem::Set##Name(int value) {                                                                \
    if (TPWLockHold hold = Write()) field = value;                                                           \
  }
FQ_BOX_FIELD(Left, left_)
FQ_BOX_FIELD(Top, top_)
FQ_BOX_FIELD(Width, width_)
FQ_BOX_FIELD(Height, height_)
#undef FQ_BOX_FIELD

void TZNDrawBoxItem::SetBounds(int left, int top, int width, int height) {
  if (TPWLockHold hold = Write()) left_ = left, top_ = top, width_ = width, height_ = height;
}

void TZNDrawBoxItem::DeclareProperties(TPWPropertyList& props) {
  IZNDrawItem::DeclareProperties(props);
  const auto i = [&](const char* name, int (TZNDrawBoxItem::*get)() const, void (TZNDrawBoxItem::*set)(int)) {
    props.Int<int>(
        name, [this, get] { return static_cast<std::int64_t>((this->*get)()); },
        [this, set](std::int64_t v) { (this->*set)(static_cast<int>(v)); }, 0);
  };
  i("Left", &TZNDrawBoxItem::GetLeft, &TZNDrawBoxItem::SetLeft);
  i("Top", &TZNDrawBoxItem::GetTop, &TZNDrawBoxItem::SetTop);
  i("Width", &TZNDrawBoxItem::GetWidth, &TZNDrawBoxItem::SetWidth);
  i("Height", &TZNDrawBoxItem::GetHeight, &TZNDrawBoxItem::SetHeight);
}

TZNDrawBoxItem::TBox TZNDrawBoxItem::ScaledBox(double scaleX, double scaleY) const {
  TPWLockHold hold = Read();
  return {left_ * scaleX, top_ * scaleY, (static_cast<double>(left_) + width_) * scaleX,
          (static_cast<double>(top_) + height_) * scaleY};
}

void TZNDrawRectangle::Render(IFQImageBuffer& Grey, double ScaleX, double ScaleY) const {
  const TBox b = ScaledBox(ScaleX, ScaleY);
  std::uint8_t* data = Grey.GetModifyPointer();
  const int x0 = FirstCentreFrom(b.Left), x1 = FirstCentreFrom(b.Right);
  for (int y = std::max(FirstCentreFrom(b.Top), 0); y < std::min(FirstCentreFrom(b.Bottom), Grey.GetHeight());
       ++y)
    FillSpan(Grey, data, y, x0, x1);
}

void TZNDrawEllipse::Render(IFQImageBuffer& Grey, double ScaleX, double ScaleY) const {
  const TBox b = ScaledBox(ScaleX, ScaleY);
  const double rx = (b.Right - b.Left) / 2, ry = (b.Bottom - b.Top) / 2;
  if (rx <= 0 || ry <= 0) return;
  const double cx = b.Left + rx, cy = b.Top + ry;
  std::uint8_t* data = Grey.GetModifyPointer();
  for (int y = std::max(FirstCentreFrom(b.Top), 0); y < std::min(FirstCentreFrom(b.Bottom), Grey.GetHeight());
       ++y) {
    const double dy = (y + 0.5 - cy) / ry;
    const double half = rx * std::sqrt(std::max(0.0, 1.0 - dy * dy));
    FillSpan(Grey, data, y, FirstCentreFrom(cx - half), FirstCentreFrom(cx + half));
  }
}

// ---- TZNDrawPolygon --------------------------------------------------------

std::vector<TPoint> TZNDrawPolygon::GetPoints() const {
  TPWLockHold hold = Read();
  return points_;
}
void TZNDrawPolygon::SetPoints(std::vector<TPoint> value) {
  if (TPWLockHold hold = Write()) points_ = std::move(value);
}

void TZNDrawPolygon::Render(IFQImageBuffer& Grey, double ScaleX, double ScaleY) const {
  const std::vector<TPoint> points = GetPoints();
  const std::size_t n = points.size();
  if (n < 3) return;
  std::uint8_t* data = Grey.GetModifyPointer();
  std::vector<double> crossings;
  for (int y = 0; y < Grey.GetHeight(); ++y) {
    // Even-odd rule along the row through the pixel centres.
    const double py = y + 0.5;
    crossings.clear();
    for (std::size_t i = 0; i < n; ++i) {
      const TPoint& a = points[i];
      const TPoint& b = points[(i + 1) % n];
      const double ay = a.Y * ScaleY, by = b.Y * ScaleY;
      if ((ay <= py) == (by <= py)) continue;
      const double ax = a.X * ScaleX, bx = b.X * ScaleX;
      crossings.push_back(ax + (py - ay) * (bx - ax) / (by - ay));
    }
    std::sort(crossings.begin(), crossings.end());
    for (std::size_t i = 0; i + 1 < crossings.size(); i += 2)
      FillSpan(Grey, data, y, FirstCentreFrom(crossings[i]), FirstCentreFrom(crossings[i + 1]));
  }
}

void TZNDrawPolygon::DefineProperties(TPWFiler& filer) {
  bool hasData = false;
  {
    TPWLockHold hold = Read();
    hasData = !points_.empty();
  }
  filer.DefineProperty(
      "Points",
      [this](TPWReader& r) {
        std::vector<TPoint> points;
        r.ReadListBegin();
        while (!r.EndOfList()) {
          TPoint p;
          p.X = static_cast<std::int32_t>(r.ReadInteger());
          p.Y = static_cast<std::int32_t>(r.ReadInteger());
          points.push_back(p);
        }
        r.ReadListEnd();
        SetPoints(std::move(points));
      },
      [this](TPWWriter& w) {
        w.WriteListBegin();
        for (const TPoint& p : GetPoints()) {
          w.WriteInteger(p.X);
          w.WriteInteger(p.Y);
        }
        w.WriteListEnd();
      },
      hasData);
}

// ---- TFQDrawFilterLayer ----------------------------------------------------

void TFQDrawFilterLayer::AddItem(std::shared_ptr<IZNDrawItem> item) {
  if (!item) return;
  if (TPWLockHold hold = GetLock().Write()) items_.push_back(std::move(item));
}

bool TFQDrawFilterLayer::RemoveItem(const IZNDrawItem& item) {
  TPWLockHold hold = GetLock().Write();
  if (!hold) return false;
  const auto it = std::find_if(items_.begin(), items_.end(), [&](const auto& p) { return p.get() == &item; });
  if (it == items_.end()) return false;
  items_.erase(it);
  return true;
}

void TFQDrawFilterLayer::ClearItems() {
  if (TPWLockHold hold = GetLock().Write()) items_.clear();
}

int TFQDrawFilterLayer::GetItemCount() const {
  TPWLockHold hold = GetLock().Read();
  return static_cast<int>(items_.size());
}

std::shared_ptr<IZNDrawItem> TFQDrawFilterLayer::GetItem(int index) const {
  TPWLockHold hold = GetLock().Read();
  if (index < 0 || index >= static_cast<int>(items_.size())) return nullptr;
  return items_[static_cast<std::size_t>(index)];
}

void TFQDrawFilterLayer::SetVideoFormat(IFQImageBuffer& Buffer) {
  // Layers draw with alpha: everything becomes 32-bit.
  if (Buffer.GetFormat() == vf32Bit) return;
  IFQImageBuffer converted;
  converted.Assign(Buffer);
  converted.SetFormat(vf32Bit);
  Buffer = converted;
}

void TFQDrawFilterLayer::SetSizeRate(int& Width, int& Height, TFQVideoFormat& Format, int Rate,
                                     unsigned Flags, unsigned& IntervalLow, unsigned& IntervalHigh) {
  TFQCommonFilter::SetSizeRate(Width, Height, Format, Rate, Flags, IntervalLow, IntervalHigh);
  DoSizeRate(Width, Height);
}

void TFQDrawFilterLayer::FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) {
  OutBuffer.Assign(InBuffer);
  Filter(OutBuffer);
}

} // namespace framquist
