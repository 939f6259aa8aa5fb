#include "support/fqtestsupport.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <sstream>

namespace framquist::test {

Watchdog::Watchdog(std::chrono::milliseconds limit, std::string what) {
  thread_ = std::thread([this, limit, what = std::move(what)] {
    std::unique_lock g(mutex_);
    if (done_.wait_for(g, limit, [&] { return finished_; })) return;
    std::fprintf(stderr, "watchdog: \"%s\" still running after %lld ms: a deadlock or a stall\n",
                 what.c_str(), static_cast<long long>(limit.count()));
    std::fflush(stderr);
    std::abort();
  });
}

Watchdog::~Watchdog() {
  {
    std::lock_guard g(mutex_);
    finished_ = true;
  }
  done_.notify_all();
  thread_.join();
}

IFQImageBuffer RandomFrame(int width, int height, TFQVideoFormat format, std::uint32_t seed) {
  IFQImageBuffer frame = IFQImageBuffer::Create(width, height, format);
  std::mt19937 rng(seed);
  std::uint8_t* p = frame.GetWritePointer();
  const std::size_t row =
      static_cast<std::size_t>(width) * static_cast<std::size_t>(frame.GetBytesPerPixel());
  for (int y = 0; y < height; ++y)
    for (std::size_t i = 0; i < row; ++i)
      p[y * frame.GetLineStep() + static_cast<long>(i)] = static_cast<std::uint8_t>(rng());
  return frame;
}

IFQImageBuffer SolidFrame(int width, int height, TFQVideoFormat format, TColor colour) {
  IFQImageBuffer frame = IFQImageBuffer::Create(width, height, format);
  frame.FillColor(colour, 0);
  return frame;
}

IFQImageBuffer Converted(const IFQImageBuffer& frame, TFQVideoFormat format) {
  IFQImageBuffer out;
  out.Assign(frame);
  out.SetFormat(format);
  return out;
}

std::vector<std::uint8_t> PixelAt(const IFQImageBuffer& frame, int x, int y) {
  const int bpp = frame.GetBytesPerPixel();
  const std::uint8_t* p = frame.GetReadPointer() + static_cast<long>(y) * frame.GetLineStep() + x * bpp;
  return {p, p + bpp};
}

void SetPixel(IFQImageBuffer& frame, int x, int y, const std::vector<std::uint8_t>& bytes) {
  const int bpp = frame.GetBytesPerPixel();
  std::uint8_t* p = frame.GetModifyPointer() + static_cast<long>(y) * frame.GetLineStep() + x * bpp;
  std::memcpy(p, bytes.data(), std::min(bytes.size(), static_cast<std::size_t>(bpp)));
}

bool SameFrame(const IFQImageBuffer& a, const IFQImageBuffer& b, std::string* why) {
  std::ostringstream out;
  if (!(a.GetSize() == b.GetSize()) || a.GetFormat() != b.GetFormat()) {
    out << "size/format " << a.GetWidth() << "x" << a.GetHeight() << "/" << int(a.GetFormat()) << " vs "
        << b.GetWidth() << "x" << b.GetHeight() << "/" << int(b.GetFormat());
    if (why != nullptr) *why = out.str();
    return false;
  }
  const int bpp = a.GetBytesPerPixel();
  for (int y = 0; y < a.GetHeight(); ++y)
    for (int x = 0; x < a.GetWidth(); ++x) {
      const std::uint8_t* pa = a.GetReadPointer() + static_cast<long>(y) * a.GetLineStep() + x * bpp;
      const std::uint8_t* pb = b.GetReadPointer() + static_cast<long>(y) * b.GetLineStep() + x * bpp;
      if (std::memcmp(pa, pb, static_cast<std::size_t>(bpp)) != 0) {
        out << "pixel (" << x << "," << y << ") differs";
        if (why != nullptr) *why = out.str();
        return false;
      }
    }
  return true;
}

bool MixesRedAndBlue(const IFQImageBuffer& frame) {
  return CountPixels(frame, [](const auto& px) { return px[2] > px[0]; }) > 0 &&
         CountPixels(frame, [](const auto& px) { return px[0] > px[2]; }) > 0;
}

} // namespace framquist::test
