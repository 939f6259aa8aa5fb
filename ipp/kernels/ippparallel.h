// Row bands of one primitive call on the library's thread pool. Private.
#pragma once

#include <cstddef>

#include "ipp/ippdefs.h"

namespace framquist::ipp_detail {

// Below this many bytes per call the bands are not worth handing out.
inline constexpr std::size_t kParallelMinBytes = 256 * 1024;

using BandFn = void (*)(const void* context, int y0, int y1);

// Runs fn over [0, height) once when splitting is off or the call is small,
// else in bands [y0, y1) on several threads; returns when all are done.
void runBands(int height, std::size_t bytes, BandFn fn, const void* context) noexcept;

// body(y0, y1) over the rows of an image of `bytes` bytes in all.
template <class Body>
void forRowBands(int height, std::size_t bytes, const Body& body) noexcept {
  runBands(
      height, bytes, [](const void* c, int y0, int y1) { (*static_cast<const Body*>(c))(y0, y1); }, &body);
}

// Row y of an image.
inline const Ipp8u* bandRow(const Ipp8u* p, int step, int y) {
  return p + static_cast<std::ptrdiff_t>(step) * y;
}
inline Ipp8u* bandRow(Ipp8u* p, int step, int y) { return p + static_cast<std::ptrdiff_t>(step) * y; }

inline std::size_t imageBytes(IppiSize roi, int bytesPerPixel) {
  return static_cast<std::size_t>(roi.width) * static_cast<std::size_t>(roi.height) *
         static_cast<std::size_t>(bytesPerPixel);
}

} // namespace framquist::ipp_detail
