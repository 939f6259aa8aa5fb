#include "generators/fqbasicnoise.h"

namespace framquist {

void TFQBasicNoise::SetBackgroundColor(TColor value) {
  if (TPWLockHold hold = GetLock().Write()) background_.store(value, std::memory_order_relaxed);
}

void TFQBasicNoise::SetSeedHalf(Ipp16u value) {
  if (TPWLockHold hold = GetLock().Write()) {
    const std::uint32_t running = state_.load(std::memory_order_relaxed) & 0xffffu;
    state_.store(static_cast<std::uint32_t>(value) << 16 | running, std::memory_order_relaxed);
  }
}

void TFQBasicNoise::RestartSeed() {
  if (TPWLockHold hold = GetLock().Write()) {
    const std::uint32_t seed = state_.load(std::memory_order_relaxed) >> 16;
    state_.store(seed << 16 | seed, std::memory_order_relaxed);
  }
}

void TFQBasicNoise::DeclareProperties(TPWPropertyList& props) {
  TFQCommonROIGenFilter::DeclareProperties(props);
  props.Color(
      "BackgroundColor", [this] { return GetBackgroundColor(); },
      [this](std::uint32_t v) { SetBackgroundColor(v); }, 0u);
}

void TFQBasicNoise::Reset() {
  TFQCommonROIGenFilter::Reset();
  RestartSeed();
}

void TFQBasicNoise::SetVideoFormat(IFQImageBuffer& Buffer) {
  const TFQVideoFormat format = Buffer.GetFormat();
  if (format == vfGrey || format == vf32Bit) return;
  TFQCommonROIGenFilter::SetVideoFormat(Buffer);
}

// Runs holding the write lock (frame or generator tick), so no setter
// changes the state between the load and the store.
void TFQBasicNoise::Noise(TNoiseForm form, Ipp8u* ptr, int step, IppiSize size) {
  unsigned int seed = state_.load(std::memory_order_relaxed);
  AddNoise(form, ptr, step, size, &seed);
  state_.store(seed, std::memory_order_relaxed);
}

void TFQBasicNoise::FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) {
  OutBuffer.Assign(InBuffer);
  SIZE size = InBuffer.GetSize();
  unsigned char* ptr = OutBuffer.GetModifyPointer();
  if (ptr == nullptr) return;
  const TFQVideoFormat format = InBuffer.GetFormat();
  ReclaculateRoiAndOffsetI(size, OutBuffer, ptr, format);
  const TNoiseForm form = format == vfGrey ? nfC1 : format == vf32Bit ? nfAC4 : nfC3;
  // A region outside the frame leaves a 0 x 0 size: the primitive refuses
  // it and the seed stays where it was.
  Noise(form, ptr, InBuffer.GetLineStep(), IppiSize{size.cx, size.cy});
}

void TFQBasicNoise::GenerateFrame(IFQImageBuffer& Buffer, bool&, bool&) {
  Buffer.SetFormat(vf32Bit);
  Buffer.FillColor(GetBackgroundColor(), 0);
  unsigned char* ptr = Buffer.GetModifyPointer();
  if (ptr == nullptr) return;
  const SIZE size = Buffer.GetSize();
  Noise(nfC4, ptr, Buffer.GetLineStep(), IppiSize{size.cx, size.cy});
}

} // namespace framquist
