// TFQFireLayer: the fire as a drawing layer. Its fuel line follows the
// outline of the layer's shapes: for every column of each enabled item's
// mask, the top of every filled run and the bottom of the last one. The
// fire is composited over each frame (made 32-bit) as ATop, keeping the
// frame's alpha. With no items at all it burns from the bottom row like
// TFQFire; with items that outline nothing it draws nothing.
//
// Pins: InputPin, OutputPin, EnablePin.
// Properties: Enabled (true) and those of TFQFire with the same ranges and
// defaults, except LeftOffset and RightOffset (0).
// A stream start rebuilds the heat map cold at the frame size.
//
//   auto layer = Make<TFQFireLayer>();
//   layer->AddItem<TZNDrawEllipse>().SetBounds(40, 30, 200, 120);
#pragma once

#include "generators/fqdrawlayer.h"
#include "generators/fqfire.h"

namespace framquist {

class TFQFireLayer : public TFQDrawFilterLayer, public TZNFireControls {
public:
  TFQFireLayer();
  ~TFQFireLayer() override;
  std::string_view GetClassName() const override { return "TFQFireLayer"; }

  // The outline of one item in heat-map cells; call holding the lock.
  std::vector<TPoint> PopulateGetContours(const IZNDrawItem& Item);

  void DeclareProperties(TPWPropertyList& props) override;

protected:
  void Filter(IFQImageBuffer& Buffer) override;
  void DoSizeRate(int Width, int Height) override;
};

namespace Fqfirelayer {
void Register();
}

} // namespace framquist
