// Helpers shared by the component tests: frames with known contents and
// comparisons that look only at visible pixels.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "frame/fqendpoints.h"
#include "frame/fqimagebuffer.h"
#include "pinweave/pwcomponent.h"

namespace framquist::test {

// A frame whose every byte is pseudo-random (deterministic in seed).
IFQImageBuffer RandomFrame(int width, int height, TFQVideoFormat format, std::uint32_t seed);

// The bytes of pixel (x, y).
std::vector<std::uint8_t> PixelAt(const IFQImageBuffer& frame, int x, int y);

// True when both frames have the same size and format and equal visible
// bytes; on a difference, `why` says where.
bool SameFrame(const IFQImageBuffer& a, const IFQImageBuffer& b, std::string* why = nullptr);

// source -> filter -> grabber, driven the way applications drive it: Run
// starts the stream at the first frame's size and format, pushes the frame
// and returns what arrived.
template <class T>
struct FilterChain {
  TPWOwned<TFQImageSource> source = Make<TFQImageSource>();
  TPWOwned<T> filter = Make<T>();
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();
  FilterChain() {
    EXPECT_TRUE(source->OutputPin.Connect(filter->InputPin));
    EXPECT_TRUE(filter->OutputPin.Connect(grabber->InputPin));
  }
  IFQImageBuffer Run(const IFQImageBuffer& frame) {
    if (!source->IsStreaming())
      source->StartStream(frame.GetWidth(), frame.GetHeight(), frame.GetFormat(), 400000);
    EXPECT_TRUE(source->Push(frame));
    return grabber->GetLastFrame();
  }
};

} // namespace framquist::test
