// Helpers shared by the component tests: frames with known contents and
// comparisons that look only at visible pixels.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frame/fqimagebuffer.h"

namespace framquist::test {

// A frame whose every byte is pseudo-random (deterministic in seed).
IFQImageBuffer RandomFrame(int width, int height, TFQVideoFormat format, std::uint32_t seed);

// The bytes of pixel (x, y).
std::vector<std::uint8_t> PixelAt(const IFQImageBuffer& frame, int x, int y);

// True when both frames have the same size and format and equal visible
// bytes; on a difference, `why` says where.
bool SameFrame(const IFQImageBuffer& a, const IFQImageBuffer& b, std::string* why = nullptr);

} // namespace framquist::test
