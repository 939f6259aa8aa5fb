// A small drawing-layer host: filters that draw over each frame from a list
// of shapes.
//
// IZNDrawItem is one shape. It shares its layer's lock, can be switched off
// (Enabled), may carry a cached outline (Contours: points in frame pixels,
// used instead of rendering when not empty) and renders itself as a filled
// grey mask (255 inside, untouched outside; pixel centres decide). Shapes:
//   TZNDrawRectangle  Left, Top, Width, Height (0)
//   TZNDrawEllipse    the same bounding box
//   TZNDrawPolygon    Points (streamed as "Points": X, Y pairs; even-odd fill)
//
// TFQDrawFilterLayer: InputPin, OutputPin, EnablePin; property Enabled
// (true). Frames are made 32-bit and handed to Filter; a stream start calls
// DoSizeRate with the frame size. The item list is changed under the lock,
// so items may be added and removed while frames flow.
//
//   auto& r = layer->AddItem<TZNDrawRectangle>();
//   r.SetBounds(10, 20, 100, 50);
#pragma once

#include <memory>
#include <vector>

#include "frame/fqcommonfilter.h"

namespace framquist {

class IZNDrawItem : public TZNLockedPersistent {
public:
  explicit IZNDrawItem(IPWLock& lock) : TZNLockedPersistent(lock) {}

  bool GetEnabled() const;
  void SetEnabled(bool value);
  // The cached outline; empty when none.
  std::vector<TPoint> GetContours() const;
  void SetContours(std::vector<TPoint> value);

  // Fills the shape into a grey image (255 inside), the geometry multiplied
  // by the scale factors.
  virtual void Render(IFQImageBuffer& Grey, double ScaleX, double ScaleY) const = 0;

  // Published: Enabled (true).
  void DeclareProperties(TPWPropertyList& props) override;

private:
  bool enabled_ = true;
  std::vector<TPoint> contours_;
};

// The bounding box shared by rectangles and ellipses.
class TZNDrawBoxItem : public IZNDrawItem {
public:
  using IZNDrawItem::IZNDrawItem;

  int GetLeft() const;
  void SetLeft(int value);
  int GetTop() const;
  void SetTop(int value);
  int GetWidth() const;
  void SetWidth(int value);
  int GetHeight() const;
  void SetHeight(int value);
  void SetBounds(int left, int top, int width, int height);

  // Published: those of IZNDrawItem, Left, Top, Width, Height (0).
  void DeclareProperties(TPWPropertyList& props) override;

protected:
  struct TBox {
    double Left, Top, Right, Bottom;
  };
  TBox ScaledBox(double scaleX, double scaleY) const;

private:
  int left_ = 0, top_ = 0, width_ = 0, height_ = 0;
};

class TZNDrawRectangle : public TZNDrawBoxItem {
public:
  using TZNDrawBoxItem::TZNDrawBoxItem;
  void Render(IFQImageBuffer& Grey, double ScaleX, double ScaleY) const override;
};

class TZNDrawEllipse : public TZNDrawBoxItem {
public:
  using TZNDrawBoxItem::TZNDrawBoxItem;
  void Render(IFQImageBuffer& Grey, double ScaleX, double ScaleY) const override;
};

class TZNDrawPolygon : public IZNDrawItem {
public:
  using IZNDrawItem::IZNDrawItem;

  std::vector<TPoint> GetPoints() const;
  void SetPoints(std::vector<TPoint> value);

  void Render(IFQImageBuffer& Grey, double ScaleX, double ScaleY) const override;
  // "Points": a list of X, Y integer pairs.
  void DefineProperties(TPWFiler& filer) override;

private:
  std::vector<TPoint> points_;
};

class TFQDrawFilterLayer : public TFQCommonFilter {
public:
  std::string_view GetClassName() const override { return "TFQDrawFilterLayer"; }

  // A new item sharing this layer's lock, appended to the list.
  template <class T>
  T& AddItem() {
    auto item = std::make_shared<T>(GetLock());
    T& ref = *item;
    AddItem(std::move(item));
    return ref;
  }
  void AddItem(std::shared_ptr<IZNDrawItem> item);
  // False when the item is not in the list.
  bool RemoveItem(const IZNDrawItem& item);
  void ClearItems();
  int GetItemCount() const;
  std::shared_ptr<IZNDrawItem> GetItem(int index) const;

  void SetVideoFormat(IFQImageBuffer& Buffer) override;
  void SetSizeRate(int& Width, int& Height, TFQVideoFormat& Format, int Rate, unsigned Flags,
                   unsigned& IntervalLow, unsigned& IntervalHigh) override;
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override;

protected:
  // Draws over a 32-bit frame; called holding the lock.
  virtual void Filter(IFQImageBuffer& Buffer) { (void)Buffer; }
  // The frame size at a stream start; called holding the lock.
  virtual void DoSizeRate(int Width, int Height) {
    (void)Width;
    (void)Height;
  }
  // The list itself, for a subclass holding the lock.
  const std::vector<std::shared_ptr<IZNDrawItem>>& Items() const { return items_; }

private:
  std::vector<std::shared_ptr<IZNDrawItem>> items_;
};

} // namespace framquist
