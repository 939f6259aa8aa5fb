// TFQColorTwist: replaces the three colour bytes of every pixel by an
// affine combination of them, a 3 x 4 matrix of floats: output byte k =
// row k's Red * byte 0 + Green * byte 1 + Blue * byte 2 + Offset, rounded
// and saturated to 0..255. Rows and weights are named Red, Green, Blue
// after bytes 0, 1, 2 in memory order.
//
// Pins: InputPin, OutputPin, EnablePin (from TFQCommonFilter).
// Properties: ColorTwists (TFQColorTwists) with RedTwist, GreenTwist,
// BlueTwist (TFQColorChannelTwist, rows 0, 1, 2), each with Red, Green,
// Blue, Offset (Single, any value, always stored). Every coefficient starts
// at 0, so a new component outputs black until it is set.
// Formats: 32-bit frames as they come (alpha kept byte for byte), all
// others as 24-bit (grey too). Start and stop: nothing of its own.
//
//   auto twist = Make<TFQColorTwist>();
//   twist->ColorTwists().RedTwist().SetItem(2, 1.0f);  // byte 0 from byte 2
#pragma once

#include "frame/fqcommonfilter.h"

namespace framquist {

// One row of the owner's matrix; holds no numbers of its own.
class TFQColorChannelTwist : public TZNLockedPersistent {
public:
  TFQColorChannelTwist(float* row, IPWLock& lock) : TZNLockedPersistent(lock), row_(row) {}

  // Index 0..3: Red, Green, Blue, Offset. Read without the lock.
  float GetItem(int index) const;
  // Stores under the write lock; the store happens even without it.
  void SetItem(int index, float value);
  void Assign(const TFQColorChannelTwist& source);

  // Published: Red, Green, Blue, Offset (always stored).
  void DeclareProperties(TPWPropertyList& props) override;

private:
  float* row_;
};

class TFQColorTwists : public TZNLockedPersistent {
public:
  explicit TFQColorTwists(IPWLock& lock);
  ~TFQColorTwists() override;

  TFQColorChannelTwist& RedTwist() { return *rows_[0]; }
  TFQColorChannelTwist& GreenTwist() { return *rows_[1]; }
  TFQColorChannelTwist& BlueTwist() { return *rows_[2]; }
  void SetRedTwist(const TFQColorChannelTwist& value) { rows_[0]->Assign(value); }
  void SetGreenTwist(const TFQColorChannelTwist& value) { rows_[1]->Assign(value); }
  void SetBlueTwist(const TFQColorChannelTwist& value) { rows_[2]->Assign(value); }
  // Copies all twelve coefficients in one hold of the write lock.
  void Assign(const TFQColorTwists& source);

  // The matrix, row after row; read by the frame, which holds the lock.
  const float (*Matrix() const)[4] { return matrix_; }

  // Published: RedTwist, GreenTwist, BlueTwist.
  void DeclareProperties(TPWPropertyList& props) override;

private:
  float matrix_[3][4] = {};
  TFQColorChannelTwist* rows_[3];
};

class TFQColorTwist : public TFQCommonFilter {
public:
  TFQColorTwist();
  ~TFQColorTwist() override;

  std::string_view GetClassName() const override { return "TFQColorTwist"; }

  TFQColorTwists& ColorTwists() { return *twists_; }
  void SetColorTwists(const TFQColorTwists& value);

  // Published: those of TFQCommonFilter, ColorTwists.
  void DeclareProperties(TPWPropertyList& props) override;

  void SetVideoFormat(IFQImageBuffer& Buffer) override;
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override;

private:
  TFQColorTwists* twists_;
};

namespace Fqcolortwist {
void Register();
}

} // namespace framquist
