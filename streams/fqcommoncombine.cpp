#include "streams/fqcommoncombine.h"

#include <algorithm>
#include <limits>

#include "ipp/ippcopy.h"

namespace framquist {

namespace {
const TPWEnumType kSizeModes{
    "TFQCombineSizeMode",
    {"smIntersect", "smWrappingRect", "smVerticalIntersect", "smHorizontalIntersect", "smCustom"}};

int ClampInt(long long v) {
  return static_cast<int>(
      std::clamp<long long>(v, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}
} // namespace

// ---- TFQCombineFrameSize ---------------------------------------------------

TFQCombineFrameSize::TFQCombineFrameSize(IPWLock& lock, TFQCombineChanged onChange)
    : TZNLockedPersistent(lock), onChange_(std::move(onChange)) {}

std::uint32_t TFQCombineFrameSize::GetWidth() const {
  TPWLockHold hold = Read();
  return width_;
}

std::uint32_t TFQCombineFrameSize::GetHeight() const {
  TPWLockHold hold = Read();
  return height_;
}

TFQCombineSizeMode TFQCombineFrameSize::GetSizeMode() const {
  TPWLockHold hold = Read();
  if (hWrap_ && vWrap_) return custom_ ? smCustom : smWrappingRect;
  if (hWrap_) return smHorizontalIntersect;
  if (vWrap_) return smVerticalIntersect;
  return smIntersect;
}

void TFQCombineFrameSize::Changed() {
  if (onChange_) onChange_(this);
}

void TFQCombineFrameSize::SetWidth(std::uint32_t value) {
  TPWLockHold hold = Write();
  if (!hold) return;
  width_ = value;
  Changed();
}

void TFQCombineFrameSize::SetHeight(std::uint32_t value) {
  TPWLockHold hold = Write();
  if (!hold) return;
  height_ = value;
  Changed();
}

void TFQCombineFrameSize::SetSizeMode(TFQCombineSizeMode value) {
  TPWLockHold hold = Write();
  if (!hold) return;
  custom_ = value == smCustom;
  hWrap_ = value == smWrappingRect || value == smHorizontalIntersect || value == smCustom;
  vWrap_ = value == smWrappingRect || value == smVerticalIntersect || value == smCustom;
  Changed();
}

void TFQCombineFrameSize::Assign(const TFQCombineFrameSize& other) {
  if (&other == this) return;
  std::uint32_t w, h;
  bool c, hw, vw;
  {
    TPWLockHold hold = other.Read();
    w = other.width_, h = other.height_, c = other.custom_, hw = other.hWrap_, vw = other.vWrap_;
  }
  TPWLockHold hold = Write();
  if (!hold) return;
  width_ = w, height_ = h, custom_ = c, hWrap_ = hw, vWrap_ = vw;
  Changed();
}

void TFQCombineFrameSize::DeclareProperties(TPWPropertyList& props) {
  props.Int<std::uint32_t>(
      "Width", [this] { return GetWidth(); },
      [this](std::int64_t v) { SetWidth(static_cast<std::uint32_t>(v)); }, 240);
  props.Int<std::uint32_t>(
      "Height", [this] { return GetHeight(); },
      [this](std::int64_t v) { SetHeight(static_cast<std::uint32_t>(v)); }, 180);
  props.Enum(
      "SizeMode", kSizeModes, [this] { return static_cast<int>(GetSizeMode()); },
      [this](int v) { SetSizeMode(static_cast<TFQCombineSizeMode>(std::clamp(v, 0, 4))); }, smWrappingRect);
}

// ---- TFQCombineOffset ------------------------------------------------------

TFQCombineOffset::TFQCombineOffset(IPWLock& lock, TFQCombineChanged onChange)
    : TZNLockedPersistent(lock), onChange_(std::move(onChange)) {}

std::int32_t TFQCombineOffset::GetHorizontal() const {
  TPWLockHold hold = Read();
  return horizontal_;
}

std::int32_t TFQCombineOffset::GetVertical() const {
  TPWLockHold hold = Read();
  return vertical_;
}

void TFQCombineOffset::Changed() {
  if (onChange_) onChange_(this);
}

void TFQCombineOffset::SetHorizontal(std::int32_t value) {
  TPWLockHold hold = Write();
  if (!hold) return;
  horizontal_ = value;
  Changed();
}

void TFQCombineOffset::SetVertical(std::int32_t value) {
  TPWLockHold hold = Write();
  if (!hold) return;
  vertical_ = value;
  Changed();
}

void TFQCombineOffset::Assign(const TFQCombineOffset& other) {
  if (&other == this) return;
  std::int32_t h, v;
  {
    TPWLockHold hold = other.Read();
    h = other.horizontal_, v = other.vertical_;
  }
  TPWLockHold hold = Write();
  if (!hold) return;
  horizontal_ = h, vertical_ = v;
  Changed();
}

void TFQCombineOffset::DeclareProperties(TPWPropertyList& props) {
  props.Int<std::int32_t>(
      "Horizontal", [this] { return GetHorizontal(); },
      [this](std::int64_t v) { SetHorizontal(static_cast<std::int32_t>(v)); }, 0);
  props.Int<std::int32_t>(
      "Vertical", [this] { return GetVertical(); },
      [this](std::int64_t v) { SetVertical(static_cast<std::int32_t>(v)); }, 0);
}

// ---- TFQCommonCombine: properties ------------------------------------------

TFQCommonCombine::TFQCommonCombine()
    : FrameSize(GetLock(), [this](IPWPersistent* sender) { SettingsChanged(sender); }),
      Offset(GetLock(), [this](IPWPersistent* sender) { SettingsChanged(sender); }) {}

TFQCommonCombine::~TFQCommonCombine() = default;

std::uint32_t TFQCommonCombine::GetBackgroundColor() const {
  TPWLockHold hold = GetLock().Read();
  return backgroundColor_;
}

void TFQCommonCombine::SetBackgroundColor(std::uint32_t value) {
  if (TPWLockHold hold = GetLock().Write()) backgroundColor_ = value;
}

bool TFQCommonCombine::GetStartIfNotAllRunning() const {
  TPWLockHold hold = GetLock().Read();
  return startIfNotAllRunning_;
}

void TFQCommonCombine::SetStartIfNotAllRunning(bool value) {
  if (TPWLockHold hold = GetLock().Write()) startIfNotAllRunning_ = value;
}

bool TFQCommonCombine::CanStartIfNotAllRunning() { return startIfNotAllRunning_; }

TFQCombineFramePane TFQCommonCombine::GetPane(int row, int column) const {
  TPWLockHold hold = GetLock().Read();
  if (row < 1 || row > 3 || column < 1 || column > 3) return {};
  return panes_[row - 1][column - 1];
}

TFQCombineFramePane TFQCommonCombine::GetSeparatePane(int picture) const {
  TPWLockHold hold = GetLock().Read();
  return picture == 1 || picture == 2 ? separate_[picture - 1] : TFQCombineFramePane{};
}

bool TFQCommonCombine::GetOverlapping() const {
  TPWLockHold hold = GetLock().Read();
  return overlap_;
}

bool TFQCommonCombine::GetPanesValid() const {
  TPWLockHold hold = GetLock().Read();
  return panesValid_;
}

SIZE TFQCommonCombine::GetOutputSize() const {
  TPWLockHold hold = GetLock().Read();
  return {outW_, outH_};
}

void TFQCommonCombine::DeclareProperties(TPWPropertyList& props) {
  TFQMultiInput::DeclareProperties(props);
  props.Object("FrameSize", FrameSize);
  props.Object("Offset", Offset);
  props.Color(
      "BackgroundColor", [this] { return GetBackgroundColor(); },
      [this](std::uint32_t v) { SetBackgroundColor(v); }, 0xff000000u);
  props.Bool(
      "StartIfNotAllRunning", [this] { return GetStartIfNotAllRunning(); },
      [this](bool v) { SetStartIfNotAllRunning(v); }, true);
}

void TFQCommonCombine::SettingsChanged(IPWPersistent*) { UnInitializeFramePanes(); }

void TFQCommonCombine::UnInitializeFramePanes() {
  if (TPWLockHold hold = GetLock().Write()) panesValid_ = false;
}

TFQVideoFormat TFQCommonCombine::FormatInUse() const {
  switch (outputFormat_) {
  case vf32Bit:
  case vfGrey:
    return outputFormat_;
  default:
    return vf24Bit; // 0 and 7, and the formats the combiners do not handle
  }
}

void TFQCommonCombine::BackgroundPixel(unsigned char (&pixel)[4]) const {
  pixel[0] = static_cast<unsigned char>(backgroundColor_ >> 16);
  pixel[1] = static_cast<unsigned char>(backgroundColor_ >> 8);
  pixel[2] = static_cast<unsigned char>(backgroundColor_);
  pixel[3] = static_cast<unsigned char>(backgroundColor_ >> 24);
}

// ---- layout ----------------------------------------------------------------

// One axis of the grid: the leading band, the overlap and the trailing band,
// each with its size, the picture it shows and where it starts in each
// picture.
struct TFQCommonCombine::Band {
  int size[3] = {0, 0, 0};
  TFQCombinePicToShow pic[3] = {psNone, psImageBoth, psNone};
  int start1[3] = {0, 0, 0};
  int start2[3] = {0, 0, 0};
  bool cut[3] = {false, false, false}; // the column (row) was cropped away

  int Total() const { return size[0] + size[1] + size[2]; }
  int StartIn(TFQCombinePicToShow p, int band) const { return p == psImage1 ? start1[band] : start2[band]; }

  // o: picture 1's offset from picture 2; a1, a2: the pictures' extents.
  static Band Overlap(int o, int a1, int a2, bool bands) {
    Band b;
    long long inter = std::min<long long>(a2, static_cast<long long>(o) + a1);
    int lead1 = 0, lead2 = 0;
    if (o >= 0) {
      inter -= o;
      lead2 = o;
    } else {
      lead1 = ClampInt(-static_cast<long long>(o));
    }
    const int i = ClampInt(std::max<long long>(inter, 0));
    b.size[1] = i;
    b.start1[1] = lead1;
    b.start2[1] = lead2;
    if (!bands) return b;
    if (lead2 >= 1) {
      b.pic[0] = psImage2, b.size[0] = lead2;
    } else if (lead1 > 0) {
      b.pic[0] = psImage1, b.size[0] = lead1;
    }
    if (lead2 + i >= a2 && lead1 + i < a1) {
      b.pic[2] = psImage1, b.size[2] = a1 - lead1 - i, b.start1[2] = lead1 + i;
    } else if (lead2 + i < a2) {
      b.pic[2] = psImage2, b.size[2] = a2 - lead2 - i, b.start2[2] = lead2 + i;
    }
    return b;
  }

  // Cuts the bands to `out` from the trailing end.
  void Crop(int out) {
    if (out >= Total()) return;
    if (out >= size[0] + size[1]) {
      size[2] = out - size[0] - size[1];
    } else if (out >= size[0]) {
      size[1] = out - size[0];
      size[2] = 0, cut[2] = true;
    } else {
      size[0] = std::max(out, 0);
      size[1] = size[2] = 0, cut[1] = cut[2] = true;
    }
  }
};

SIZE TFQCommonCombine::InputSize(int index) const {
  if (index >= GetInputCount()) return {};
  const TFQPinStreamState& s = GetInput(index).Stream;
  if (!s.CurrentFrame.IsEmpty()) return s.CurrentFrame.GetSize();
  return {s.Width, s.Height};
}

void TFQCommonCombine::InitializeFramePanes(bool AtStart) {
  TPWLockHold hold = GetLock().Write();
  if (!hold) return;
  const SIZE s1 = InputSize(0), s2 = InputSize(1);
  w1_ = s1.cx, h1_ = s1.cy, w2_ = s2.cx, h2_ = s2.cy;
  const int ox = Offset.GetHorizontal(), oy = Offset.GetVertical();
  // Inclusive on purpose: pictures that only touch share a zero-wide overlap.
  auto overlaps = [](long long o, long long a1, long long a2) { return o <= a2 && (o >= 0 || -o <= a1); };
  overlap_ = overlaps(ox, w1_, w2_) && overlaps(oy, h1_, h2_);
  if (overlap_)
    LayOutOverlap(AtStart, ox, oy);
  else
    LayOutSeparate(ox, oy);
  panesValid_ = true;
  paintBackground_ = true;
}

void TFQCommonCombine::LayOutOverlap(bool atStart, int ox, int oy) {
  Band h = Band::Overlap(ox, w1_, w2_, !atStart || FrameSize.HorizontalWrap());
  Band v = Band::Overlap(oy, h1_, h2_, !atStart || FrameSize.VerticalWrap());
  totalW_ = h.Total();
  totalH_ = v.Total();
  if (atStart) {
    outW_ = ClampInt(FrameSize.GetWidth());
    outH_ = ClampInt(FrameSize.GetHeight());
    switch (FrameSize.GetSizeMode()) {
    case smVerticalIntersect:
      outW_ = h.size[1], outH_ = totalH_;
      break;
    case smHorizontalIntersect:
      outW_ = totalW_, outH_ = v.size[1];
      break;
    case smIntersect:
      outW_ = h.size[1], outH_ = v.size[1];
      break;
    case smWrappingRect:
      outW_ = totalW_, outH_ = totalH_;
      break;
    case smCustom:
      break;
    }
  }
  h.Crop(outW_);
  v.Crop(outH_);

  int x[3], y[3];
  x[0] = y[0] = 0;
  for (int k = 1; k < 3; ++k) x[k] = x[k - 1] + h.size[k - 1], y[k] = y[k - 1] + v.size[k - 1];
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) {
      TFQCombineFramePane& p = panes_[r][c];
      p = {};
      p.Roi = {h.size[c], v.size[r]};
      p.OutputLoc = {x[c], y[r]};
      if (h.cut[c] || v.cut[r]) continue;
      TFQCombinePicToShow show = psNone;
      if (r == 1 && c == 1) {
        show = psImageBoth;
        p.LocInPic1 = {h.start1[1], v.start1[1]};
        p.LocInPic2 = {h.start2[1], v.start2[1]};
      } else if (r == 1 || c == 1) {
        // A side pane shows the picture its outer band comes from.
        show = r == 1 ? h.pic[c] : v.pic[r];
      } else if (h.pic[c] != psNone && v.pic[r] != psNone) {
        show = h.pic[c] == v.pic[r] ? h.pic[c] : psBackground;
      }
      p.PicToShow = show;
      if (show == psImage1) p.LocInPic1 = {h.StartIn(psImage1, c), v.StartIn(psImage1, r)};
      if (show == psImage2) p.LocInPic2 = {h.StartIn(psImage2, c), v.StartIn(psImage2, r)};
    }
  }
}

void TFQCommonCombine::LayOutSeparate(int ox, int oy) {
  // Where each picture starts on an axis, and the extent of both.
  auto place = [](long long o, long long a1, long long a2, long long& at1, long long& at2) {
    if (o > 0) {
      at1 = o, at2 = 0;
      return std::max(a2, o + a1);
    }
    at1 = 0, at2 = -o;
    return std::max(a1, -o + a2);
  };
  long long x1, x2, y1, y2;
  totalW_ = ClampInt(place(ox, w1_, w2_, x1, x2));
  totalH_ = ClampInt(place(oy, h1_, h2_, y1, y2));
  // The output keeps the size of the last overlapping layout.
  auto fit = [](long long at, int size, int out) {
    return at >= out ? 0 : static_cast<int>(std::min<long long>(size, out - at));
  };
  const int sizes[2][2] = {{w1_, h1_}, {w2_, h2_}};
  const long long at[2][2] = {{x1, y1}, {x2, y2}};
  for (int k = 0; k < 2; ++k) {
    TFQCombineFramePane& p = separate_[k];
    p = {};
    const int w = fit(at[k][0], sizes[k][0], outW_), hgt = fit(at[k][1], sizes[k][1], outH_);
    p.Roi = {w, hgt};
    p.OutputLoc = {ClampInt(at[k][0]), ClampInt(at[k][1])};
    p.PicToShow = w > 0 && hgt > 0 ? (k == 0 ? psImage1 : psImage2) : psNone;
  }
}

// ---- start and stop --------------------------------------------------------

void TFQCommonCombine::CalculateSendStart(const TFQMultiStartParams& Params) {
  // An input that joins with a size other than the one laid out (or none
  // at all before) gets the output size fixed again.
  const SIZE s1 = InputSize(0), s2 = InputSize(1);
  if (s1.cx != w1_ || s1.cy != h1_ || s2.cx != w2_ || s2.cy != h2_) panesValid_ = false;
  if (!panesValid_) InitializeFramePanes(true);
  TFQMultiInput::CalculateSendStart(Params);
  SubmitStartCommand();
}

void TFQCommonCombine::SubmitStartCommand() {
  const TFQVideoFormat format = FormatInUse();
  if (announced_ && outputRunning_ && announcedW_ == outW_ && announcedH_ == outH_ &&
      announcedFormat_ == format && announcedInterval_ == outputInterval_)
    return;
  announced_ = true;
  announcedW_ = outW_, announcedH_ = outH_, announcedFormat_ = format, announcedInterval_ = outputInterval_;
  OutputPin.PostStart(outW_, outH_, outputInterval_, format, rate_, flags_);
}

void TFQCommonCombine::SubmitBuffer(IFQImageBuffer Buffer) { OutputPin.PostFrame(std::move(Buffer)); }

void TFQCommonCombine::IntStop(bool Force) {
  panesValid_ = false;
  TFQMultiInput::IntStop(Force);
  started_ = false;
}

// ---- frame assembly --------------------------------------------------------

IFQImageBuffer TFQCommonCombine::PreparePicture(int index, TFQVideoFormat format) {
  IFQImageBuffer picture;
  const TFQPinStreamState& s = GetInput(index).Stream;
  if (s.Running && !s.CurrentFrame.IsEmpty()) {
    picture.Assign(s.CurrentFrame); // a frame object of our own; pixels stay shared
  } else {
    const SIZE size = InputSize(index);
    picture = IFQImageBuffer::Create(std::max(size.cx, 0), std::max(size.cy, 0), format);
    picture.FillColor(backgroundColor_, 0);
  }
  picture.SetFormat(format);
  return picture;
}

void TFQCommonCombine::FillRect(IFQImageBuffer& out, TPoint at, SIZE size, const unsigned char (&pixel)[4]) {
  size.cx = std::min(size.cx, out.GetWidth() - at.X);
  size.cy = std::min(size.cy, out.GetHeight() - at.Y);
  if (size.cx <= 0 || size.cy <= 0 || at.X < 0 || at.Y < 0) return;
  const int bpp = out.GetBytesPerPixel();
  const int step = out.GetLineStep();
  Ipp8u* d = out.GetWritePointer() + static_cast<std::ptrdiff_t>(at.Y) * step +
             static_cast<std::ptrdiff_t>(at.X) * bpp;
  const IppiSize roi{size.cx, size.cy};
  if (bpp == 4)
    ippiSet_8u_C4R(pixel, d, step, roi);
  else if (bpp == 1)
    ippiSet_8u_C1R(pixel[0], d, step, roi);
  else
    ippiSet_8u_C3R(pixel, d, step, roi);
}

void TFQCommonCombine::CopyPane(const IFQImageBuffer& from, TPoint src, IFQImageBuffer& out, TPoint dst,
                                SIZE size) {
  if (from.GetFormat() != out.GetFormat() || src.X < 0 || src.Y < 0 || dst.X < 0 || dst.Y < 0) return;
  size.cx = std::min({size.cx, from.GetWidth() - src.X, out.GetWidth() - dst.X});
  size.cy = std::min({size.cy, from.GetHeight() - src.Y, out.GetHeight() - dst.Y});
  if (size.cx <= 0 || size.cy <= 0) return;
  const int bpp = out.GetBytesPerPixel();
  const Ipp8u* s = from.GetReadPointer() + static_cast<std::ptrdiff_t>(src.Y) * from.GetLineStep() +
                   static_cast<std::ptrdiff_t>(src.X) * bpp;
  Ipp8u* d = out.GetWritePointer() + static_cast<std::ptrdiff_t>(dst.Y) * out.GetLineStep() +
             static_cast<std::ptrdiff_t>(dst.X) * bpp;
  const IppiSize roi{size.cx, size.cy};
  if (bpp == 4)
    ippiCopy_8u_C4R(s, from.GetLineStep(), d, out.GetLineStep(), roi);
  else if (bpp == 1)
    ippiCopy_8u_C1R(s, from.GetLineStep(), d, out.GetLineStep(), roi);
  else
    ippiCopy_8u_C3R(s, from.GetLineStep(), d, out.GetLineStep(), roi);
}

void TFQCommonCombine::CalculateSendOutput() {
  TPWLockHold hold = GetLock().Write();
  if (GetInputCount() < 2) return;
  if (outputFormat_ != vf24Bit && outputFormat_ != vf32Bit && outputFormat_ != vfGrey &&
      outputFormat_ != vfAny)
    outputFormat_ = vf24Bit;
  const TFQVideoFormat format = FormatInUse();
  IFQImageBuffer pic1 = PreparePicture(0, format);
  IFQImageBuffer pic2 = PreparePicture(1, GetFormat2());
  if (pic1.GetWidth() != w1_ || pic1.GetHeight() != h1_ || pic2.GetWidth() != w2_ || pic2.GetHeight() != h2_)
    panesValid_ = false;
  if (!panesValid_) InitializeFramePanes(false);

  IFQImageBuffer out = IFQImageBuffer::Create(std::max(outW_, 0), std::max(outH_, 0), format);
  unsigned char background[4];
  BackgroundPixel(background);
  const bool copy2 = DoCopyStream2();
  const auto drawn = [&](const TFQCombineFramePane& p) {
    return p.PicToShow == psImage1 || p.PicToShow == psBackground || p.PicToShow == psImageBoth ||
           (p.PicToShow == psImage2 && copy2);
  };
  const auto draw = [&](const TFQCombineFramePane& p) {
    if (p.PicToShow == psBackground) FillRect(out, p.OutputLoc, p.Roi, background);
    if (p.PicToShow == psImage1) CopyPane(pic1, p.LocInPic1, out, p.OutputLoc, p.Roi);
    if (p.PicToShow == psImage2 && copy2) CopyPane(pic2, p.LocInPic2, out, p.OutputLoc, p.Roi);
  };

  if (overlap_) {
    // Pixels no pane draws would otherwise show whatever memory held.
    long long covered = 0;
    for (const auto& row : panes_)
      for (const TFQCombineFramePane& p : row)
        if (drawn(p)) covered += static_cast<long long>(p.Roi.cx) * p.Roi.cy;
    if (covered < static_cast<long long>(outW_) * outH_) out.Clear();
    for (const auto& row : panes_)
      for (const TFQCombineFramePane& p : row) draw(p);
    const TFQCombineFramePane& both = panes_[1][1];
    if (both.PicToShow == psImageBoth) {
      const int bpp1 = pic1.GetBytesPerPixel(), bpp2 = pic2.GetBytesPerPixel(), bpp = out.GetBytesPerPixel();
      // Clipped to all three frames, so a stale layout can never reach past one.
      const int w =
          std::max(0, std::min({both.Roi.cx, pic1.GetWidth() - both.LocInPic1.X,
                                pic2.GetWidth() - both.LocInPic2.X, out.GetWidth() - both.OutputLoc.X}));
      const int hgt =
          std::max(0, std::min({both.Roi.cy, pic1.GetHeight() - both.LocInPic1.Y,
                                pic2.GetHeight() - both.LocInPic2.Y, out.GetHeight() - both.OutputLoc.Y}));
      const unsigned char* s1 = GetNeedsModify1() ? pic1.GetModifyPointer() : pic1.GetReadPointer();
      const unsigned char* s2 = GetNeedsModify2() ? pic2.GetModifyPointer() : pic2.GetReadPointer();
      unsigned char* d = out.GetWritePointer();
      if (s1 != nullptr)
        s1 += static_cast<std::ptrdiff_t>(both.LocInPic1.Y) * pic1.GetLineStep() +
              static_cast<std::ptrdiff_t>(both.LocInPic1.X) * bpp1;
      src2Bytes_ = 0;
      if (s2 != nullptr) {
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(both.LocInPic2.Y) * pic2.GetLineStep() +
                                  static_cast<std::ptrdiff_t>(both.LocInPic2.X) * bpp2;
        s2 += at;
        src2Bytes_ =
            static_cast<std::size_t>(static_cast<std::ptrdiff_t>(pic2.GetHeight()) * pic2.GetLineStep() - at);
      }
      if (d != nullptr)
        d += static_cast<std::ptrdiff_t>(both.OutputLoc.Y) * out.GetLineStep() +
             static_cast<std::ptrdiff_t>(both.OutputLoc.X) * bpp;
      DoCombineOp(s1, static_cast<unsigned>(pic1.GetLineStep()), s2,
                  static_cast<unsigned>(pic2.GetLineStep()), d, static_cast<unsigned>(out.GetLineStep()),
                  SIZE{w, hgt}, static_cast<unsigned>(bpp));
    }
  } else {
    FillRect(out, {0, 0}, {outW_, outH_}, background);
    for (const TFQCombineFramePane& p : separate_) draw(p);
  }

  if (drivingInput_ != nullptr && !drivingInput_->Stream.CurrentFrame.IsEmpty())
    out.SetTimes(drivingInput_->Stream.CurrentFrame.GetStartTime(),
                 drivingInput_->Stream.CurrentFrame.GetEndTime());
  SubmitBuffer(std::move(out));
}

} // namespace framquist
