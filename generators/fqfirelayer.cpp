#include "generators/fqfirelayer.h"

#include <cstring>

#include "frame/fqregistry.h"
#include "ipp/ippalpha.h"

namespace framquist {

TFQFireLayer::TFQFireLayer() : TZNFireControls(GetLock()) {
  sim_->SetLeftOffset(0);
  sim_->SetRightOffset(0);
}
TFQFireLayer::~TFQFireLayer() = default;

void TFQFireLayer::DeclareProperties(TPWPropertyList& props) {
  TFQDrawFilterLayer::DeclareProperties(props);
  DeclareFireProperties(props, 0);
}

void TFQFireLayer::DoSizeRate(int Width, int Height) {
  TFQDrawFilterLayer::DoSizeRate(Width, Height);
  sim_->InitFire(Width, Height);
}

std::vector<TPoint> TFQFireLayer::PopulateGetContours(const IZNDrawItem& Item) {
  std::vector<TPoint> points;
  const int w = sim_->GetWidth(), h = sim_->GetHeight();
  if (w < 1 || h < 1) return points;
  IFQImageBuffer mask = IFQImageBuffer::Create(w, h, vfGrey);
  const int step = mask.GetLineStep();
  std::memset(mask.GetWritePointer(), 0, static_cast<std::size_t>(step) * static_cast<std::size_t>(h));
  Item.Render(mask, 1.0, 1.0);
  const std::uint8_t* data = mask.GetReadPointer();
  for (int x = 0; x < w; ++x) {
    bool inside = false, exited = false;
    TPoint exit;
    for (int y = 0; y < h; ++y) {
      const bool in = data[static_cast<std::ptrdiff_t>(y) * step + x] >= 30;
      if (in && !inside) points.push_back({x, y});
      if (!in && inside) exit = {x, y - 1}, exited = true;
      inside = in;
    }
    if (exited) points.push_back(exit);
  }
  return points;
}

void TFQFireLayer::Filter(IFQImageBuffer& Buffer) {
  const int w = Buffer.GetWidth(), h = Buffer.GetHeight();
  if (w < 1 || h < 1) return;
  TZNFireSimulator& sim = *sim_;
  // Outlines are found in heat-map cells, so the map must match the frame first.
  if (sim.GetWidth() != w || sim.GetHeight() != h) sim.InitFire(w, h);
  std::vector<TPoint> points;
  for (const auto& item : Items()) {
    if (!item->GetEnabled()) continue;
    std::vector<TPoint> c = item->GetContours();
    if (c.empty()) c = PopulateGetContours(*item);
    points.insert(points.end(), c.begin(), c.end());
  }
  const bool noItems = Items().empty();
  sim.ContourPoints() = std::move(points);
  // An outline leaves a fuel line of its own length behind; the bottom row
  // needs one cell per column again.
  if (noItems && static_cast<int>(sim.FuelLine().size()) != w) sim.InitFire(w, h);
  if (!noItems && sim.ContourPoints().empty()) return;
  IFQImageBuffer fire = IFQImageBuffer::Create(w, h, vf32Bit);
  sim.DrawFire(fire);
  Ipp8u* frame = Buffer.GetModifyPointer();
  ippiAlphaComp_8u_AC4R(fire.GetReadPointer(), fire.GetLineStep(), frame, Buffer.GetLineStep(), frame,
                        Buffer.GetLineStep(), {w, h}, ippAlphaATop);
}

namespace Fqfirelayer {
void Register() { RegisterComponents("Framquist", {FQClass<TFQFireLayer>("TFQFireLayer")}); }
} // namespace Fqfirelayer

} // namespace framquist
