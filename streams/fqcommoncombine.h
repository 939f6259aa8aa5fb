// TFQCommonCombine: base of the components that merge two video streams
// into one (TFQCombine, TFQApplyAlpha, TFQTransparentColor).
//
// Picture 1 arrives at input 0, picture 2 at input 1. Offset places picture
// 1's top-left corner relative to picture 2's (positive: right of / below).
// The output is laid out as a 3 x 3 grid of panes: the middle pane is where
// the pictures overlap and goes to the descendant's DoCombineOp; the bands
// around it show whichever picture extends there, corners covered by
// neither picture show BackgroundColor. Pictures that do not overlap at all
// are drawn side by side on the background.
//
// The output size is fixed at start by FrameSize.SizeMode (the overlap, the
// wrapping rectangle, one of each, or FrameSize's own Width x Height). A
// change of Offset or FrameSize, or of an input's frame size, lays the panes
// out again with the next frame, cut to the output size fixed at start; a
// later start (or an input joining late with another size) fixes it anew.
// A missing or not yet running input is replaced by a frame of its last
// known size filled with BackgroundColor, so the output never stalls on it.
//
// Properties: those of TFQMultiInput, FrameSize (240 x 180, smWrappingRect),
// Offset (0, 0), BackgroundColor (opaque black, alpha in bits 24-31),
// StartIfNotAllRunning (true).
#pragma once

#include <functional>

#include "frame/fqtypes.h"
#include "streams/fqmultiinput.h"

namespace framquist {

enum TFQCombineSizeMode : std::uint8_t {
  smIntersect,
  smWrappingRect,
  smVerticalIntersect,
  smHorizontalIntersect,
  smCustom
};
enum TFQCombineOperation : std::uint8_t {
  coAdd,
  coSubtract,
  coMultiply,
  coDivide,
  coOr,
  coAnd,
  coXor,
  coAbsDiff,
  coCopy
};
enum TFQCombinePicToShow : std::uint8_t { psNone, psImage1, psImage2, psImageBoth, psBackground };

// Called after every setter of the sub-objects below, inside the owner's lock.
using TFQCombineChanged = std::function<void(IPWPersistent* Sender)>;

// The output size: Width x Height in smCustom; otherwise derived from the
// layout by SizeMode. SizeMode is kept as three flags (custom, horizontal
// wrap, vertical wrap).
class TFQCombineFrameSize : public TZNLockedPersistent {
public:
  TFQCombineFrameSize(IPWLock& lock, TFQCombineChanged onChange);
  std::uint32_t GetWidth() const;
  std::uint32_t GetHeight() const;
  TFQCombineSizeMode GetSizeMode() const;
  void SetWidth(std::uint32_t value);
  void SetHeight(std::uint32_t value);
  void SetSizeMode(TFQCombineSizeMode value);
  void Assign(const TFQCombineFrameSize& other);
  // Published: Width (240), Height (180), SizeMode (smWrappingRect).
  void DeclareProperties(TPWPropertyList& props) override;

  // The flags, read by the owner holding its lock.
  bool Custom() const { return custom_; }
  bool HorizontalWrap() const { return hWrap_; }
  bool VerticalWrap() const { return vWrap_; }

private:
  void Changed();
  TFQCombineChanged onChange_;
  std::uint32_t width_ = 240;
  std::uint32_t height_ = 180;
  bool custom_ = false;
  bool hWrap_ = true;
  bool vWrap_ = true;
};

class TFQCombineOffset : public TZNLockedPersistent {
public:
  TFQCombineOffset(IPWLock& lock, TFQCombineChanged onChange);
  std::int32_t GetHorizontal() const;
  std::int32_t GetVertical() const;
  // Every call counts as a change, even with the present value.
  void SetHorizontal(std::int32_t value);
  void SetVertical(std::int32_t value);
  void Assign(const TFQCombineOffset& other);
  // Published: Horizontal (0), Vertical (0).
  void DeclareProperties(TPWPropertyList& props) override;

private:
  void Changed();
  TFQCombineChanged onChange_;
  std::int32_t horizontal_ = 0;
  std::int32_t vertical_ = 0;
};

// One rectangle of the output.
struct TFQCombineFramePane {
  SIZE Roi;
  TFQCombinePicToShow PicToShow = psNone;
  TPoint LocInPic1;
  TPoint LocInPic2;
  TPoint OutputLoc;
};

class TFQCommonCombine : public TFQMultiInput {
public:
  TFQCommonCombine();
  ~TFQCommonCombine() override;

  TFQCombineFrameSize FrameSize;
  TFQCombineOffset Offset;

  std::uint32_t GetBackgroundColor() const;
  void SetBackgroundColor(std::uint32_t value);
  bool GetStartIfNotAllRunning() const;
  void SetStartIfNotAllRunning(bool value);

  // The layout in force, for inspection: pane (row, column), 1-based; the
  // two panes of the non-overlapping layout (picture 1 or 2); the output size.
  TFQCombineFramePane GetPane(int row, int column) const;
  TFQCombineFramePane GetSeparatePane(int picture) const;
  bool GetOverlapping() const;
  bool GetPanesValid() const;
  SIZE GetOutputSize() const;

  // Published: those of TFQMultiInput, FrameSize, Offset, BackgroundColor,
  // StartIfNotAllRunning.
  void DeclareProperties(TPWPropertyList& props) override;

protected:
  // The per-pixel work on the overlap: Size pixels of Src1 (picture 1) and
  // Src2 (picture 2) into Dst, BytesPerPixel of the output (1, 3 or 4).
  virtual void DoCombineOp(const unsigned char* Src1, unsigned Src1Step, const unsigned char* Src2,
                           unsigned Src2Step, unsigned char* Dst, unsigned DstStep, const SIZE& Size,
                           unsigned BytesPerPixel) = 0;
  // True when DoCombineOp writes into that picture (it then gets a private copy).
  virtual bool GetNeedsModify1() { return false; }
  virtual bool GetNeedsModify2() { return false; }
  // Whether picture 2 is drawn where picture 1 does not cover it.
  virtual bool DoCopyStream2() { return true; }
  // The format picture 2 is converted to before DoCombineOp.
  virtual TFQVideoFormat GetFormat2() { return FormatInUse(); }

  void InitializeFramePanes(bool AtStart);
  void UnInitializeFramePanes();
  void SettingsChanged(IPWPersistent* Sender);

  void CalculateSendStart(const TFQMultiStartParams& Params) override;
  void CalculateSendOutput() override;
  virtual void SubmitStartCommand();
  virtual void SubmitBuffer(IFQImageBuffer Buffer);
  void IntStop(bool Force) override;
  bool CanStartIfNotAllRunning() override;

  // The output format with unsupported codes forced to 24-bit.
  TFQVideoFormat FormatInUse() const;
  // BackgroundColor as a pixel: blue, green, red, alpha.
  void BackgroundPixel(unsigned char (&pixel)[4]) const;
  SIZE OutputSize() const { return {outW_, outH_}; }
  // Bytes of picture 2's pixel memory from the Src2 pointer of the current
  // DoCombineOp call to its end, for operations that write into it with
  // another line step.
  std::size_t src2Bytes_ = 0;

private:
  struct Band;
  SIZE InputSize(int index) const;
  IFQImageBuffer PreparePicture(int index, TFQVideoFormat format);
  void LayOutOverlap(bool atStart, int ox, int oy);
  void LayOutSeparate(int ox, int oy);
  void CropOverlap();
  void PlaceGrid();
  void FillRect(IFQImageBuffer& out, TPoint at, SIZE size, const unsigned char (&pixel)[4]);
  void CopyPane(const IFQImageBuffer& from, TPoint src, IFQImageBuffer& out, TPoint dst, SIZE size);

  std::uint32_t backgroundColor_ = 0xff000000u;
  bool startIfNotAllRunning_ = true;
  TFQCombineFramePane panes_[3][3];
  TFQCombineFramePane separate_[2];
  int w1_ = 0, h1_ = 0, w2_ = 0, h2_ = 0;
  bool overlap_ = false;
  int totalW_ = 0, totalH_ = 0;
  int outW_ = 0, outH_ = 0;
  bool panesValid_ = false;
  bool paintBackground_ = true;
  // What the output pin announced last, so an unchanged re-start is not repeated.
  bool announced_ = false;
  int announcedW_ = 0, announcedH_ = 0;
  TFQVideoFormat announcedFormat_ = vf24Bit;
  std::int64_t announcedInterval_ = 0;
};

} // namespace framquist
