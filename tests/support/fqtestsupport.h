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

// A frame filled with one colour (TColor; 32-bit frames take the alpha
// from bits 24-31, grey frames the colour's luma).
IFQImageBuffer SolidFrame(int width, int height, TFQVideoFormat format, TColor colour);

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

// Two sources -> a two-input component -> grabber. Run starts both streams
// (equal intervals) at their first frames' sizes and formats, pushes one
// frame into each input and returns the last output frame.
template <class T>
struct CombineChain {
  TPWOwned<TFQImageSource> source1 = Make<TFQImageSource>();
  TPWOwned<TFQImageSource> source2 = Make<TFQImageSource>();
  TPWOwned<T> combiner = Make<T>();
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();
  CombineChain(const char* input1, const char* input2) {
    TPWPin* in1 = combiner->FindPin(input1);
    TPWPin* in2 = combiner->FindPin(input2);
    EXPECT_TRUE(in1 != nullptr && TPWPin::Connect(source1->OutputPin, *in1));
    EXPECT_TRUE(in2 != nullptr && TPWPin::Connect(source2->OutputPin, *in2));
    EXPECT_TRUE(combiner->OutputPin.Connect(grabber->InputPin));
  }
  IFQImageBuffer Run(const IFQImageBuffer& picture1, const IFQImageBuffer& picture2) {
    if (!source1->IsStreaming())
      source1->StartStream(picture1.GetWidth(), picture1.GetHeight(), picture1.GetFormat(), 400000);
    if (!source2->IsStreaming())
      source2->StartStream(picture2.GetWidth(), picture2.GetHeight(), picture2.GetFormat(), 400000);
    EXPECT_TRUE(source1->Push(picture1));
    EXPECT_TRUE(source2->Push(picture2));
    return grabber->GetLastFrame();
  }
};

} // namespace framquist::test
