// TFQTransparentColor: keys a main video stream over a background stream.
// Every main pixel whose colour lies in one of the TransparentColors ranges
// is replaced by the background pixel at the same place; the rest of the
// main picture stays. Pairing, sizes and the layout around the overlap are
// TFQCommonCombine's (main = picture 1, background = picture 2; the
// background is not drawn where the main picture does not cover it).
//
// Per format, where the pictures overlap:
//   grey: a sample m is tested as the colour (m, m, m);
//   24-bit: the pixel's blue, green and red bytes are tested;
//   32-bit: a keyed pixel, or one with alpha 0, shows the background's
//     colour, alpha 255 the main colour, any other alpha a blends main over
//     background with weight a / 255; the output alpha is the sum of both
//     alphas, saturated at 255.
//
// A range (TFQColorRange) is a colour and three tolerances. Its bounds are
// only computed when a setter changes a value: a new range, or one loaded
// from a form with every property at its default, has all bounds 0 and keys
// pure black only. The tolerances are crossed on purpose: the red component
// is widened by ToleranceBlue and the blue component by ToleranceRed.
//
// Pins: InputPin (main), BackgroundInputPin, EnablePin (a boolean arriving
// sets Enabled), OutputPin.
// Properties: those of TFQCommonCombine, TransparentColors (a collection of
// ranges: Color (0x008000), ToleranceRed, ToleranceGreen, ToleranceBlue
// (5)), Enabled (true; false passes the main picture through).
//
//   auto key = Make<TFQTransparentColor>();
//   TFQColorRange* green = key->TransparentColors.Add();
//   green->SetColor(FQRGB(0, 255, 0));  // computes the bounds
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "pinweave/pwpin.h"
#include "streams/fqcommoncombine.h"

namespace framquist {

class TFQColorRanges;

// One range of keyed colours; shares its collection's lock.
class TFQColorRange : public TZNLockedPersistent {
public:
  explicit TFQColorRange(TFQColorRanges& collection);

  TColor GetColor() const;
  std::int32_t GetToleranceRed() const;
  std::int32_t GetToleranceGreen() const;
  std::int32_t GetToleranceBlue() const;
  // A value equal to the present one changes nothing (the bounds included).
  void SetColor(TColor value);
  void SetToleranceRed(std::int32_t value);
  void SetToleranceGreen(std::int32_t value);
  void SetToleranceBlue(std::int32_t value);
  // Copies the properties and the bounds, so the copy keys what the source keys.
  void Assign(const TFQColorRange& source);

  // "clGreen 5:5:5": the colour's name, then the red, green and blue tolerances.
  std::string GetDisplayName() const;
  // Whether a pixel read as a 32-bit value (blue in the low byte, red in
  // bits 16-23, the high byte ignored) lies in the bounds, so a pixel's red
  // byte meets the bounds of the colour's red component. Reads without the
  // lock: the frame calls it holding it.
  bool InRage(TColor value) const {
    const auto x0 = static_cast<std::uint8_t>(value), x1 = static_cast<std::uint8_t>(value >> 8),
               x2 = static_cast<std::uint8_t>(value >> 16);
    return lower_[0] <= x2 && x2 <= upper_[0] && lower_[1] <= x1 && x1 <= upper_[1] && lower_[2] <= x0 &&
           x0 <= upper_[2];
  }
  TFQColorRanges& GetCollection() const { return *collection_; }

  // Published: Color (0x008000), ToleranceRed, ToleranceGreen, ToleranceBlue (5).
  void DeclareProperties(TPWPropertyList& props) override;

private:
  void CalcRange();

  TFQColorRanges* collection_;
  TColor color_ = 0x008000;
  std::int32_t toleranceRed_ = 5;
  std::int32_t toleranceGreen_ = 5;
  std::int32_t toleranceBlue_ = 5;
  // Bounds per colour byte in memory order (red, green, blue component).
  std::uint8_t lower_[3] = {0, 0, 0};
  std::uint8_t upper_[3] = {0, 0, 0};
};

// The ranges of a component, in order; shares the component's lock.
class TFQColorRanges : public TZNLockedPersistent {
public:
  TFQColorRanges(TPWComponent& owner, IPWLock& lock);
  ~TFQColorRanges() override;

  // A new range with the default properties (and bounds 0), at the end;
  // null when the write lock could not be taken.
  TFQColorRange* Add();
  // The range at index, or null. GetItem takes the lock; GetIntItem does
  // not, for callers already holding it.
  TFQColorRange* GetItem(int index) const;
  TFQColorRange* GetIntItem(int index) const;
  // Copies value into the range at index (nothing when there is none).
  void SetItem(int index, const TFQColorRange& value);
  int GetCount() const;
  void Clear();
  // Whether any range, tested in order, contains the pixel value (as for
  // TFQColorRange::InRage); false when empty. Reads without the lock.
  bool InRage(TColor value) const;
  TPWComponent& GetOwner() const { return *owner_; }
  // Makes this collection a copy of source, range by range.
  void Assign(const TFQColorRanges& source);

private:
  TPWComponent* owner_;
  std::vector<std::unique_ptr<TFQColorRange>> items_;
};

class TFQTransparentColor : public TFQCommonCombine {
public:
  TFQTransparentColor();
  ~TFQTransparentColor() override;
  std::string_view GetClassName() const override { return "TFQTransparentColor"; }

  TFQPWImageSinkPin InputPin;
  TFQPWImageSinkPin BackgroundInputPin;
  TPWBoolStatePin EnablePin;
  TFQColorRanges TransparentColors;

  bool GetEnabled() const { return enabled_.load(std::memory_order_acquire); }
  void SetEnabled(bool value);
  void SetTransparentRanges(const TFQColorRanges& value) { TransparentColors.Assign(value); }

  // Published: those of TFQCommonCombine, TransparentColors, Enabled (true).
  void DeclareProperties(TPWPropertyList& props) override;

protected:
  void DoCombineOp(const unsigned char* Src1, unsigned Src1Step, const unsigned char* Src2, unsigned Src2Step,
                   unsigned char* Dst, unsigned DstStep, const SIZE& Size, unsigned BytesPerPixel) override;
  bool DoCopyStream2() override { return false; }
  // The enable pin's handler: stores the state as it comes.
  void OnEnableEvent(TPWPin& Sender, bool State);

private:
  std::atomic<bool> enabled_{true};
};

namespace Fqtransparentcolor {
void Register();
}

} // namespace framquist
