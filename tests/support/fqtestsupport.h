// Helpers shared by the component tests: frames with known contents and
// comparisons that look only at visible pixels.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "frame/fqendpoints.h"
#include "frame/fqimagebuffer.h"
#include "pinweave/pwcomponent.h"

namespace framquist::test {

// Fails a test that hangs instead of hanging the run: unless destroyed
// within `limit`, it prints what was still running and aborts the process
// (a deadlock then shows as a crash with every thread's stack under TSan).
class Watchdog {
public:
  Watchdog(std::chrono::milliseconds limit, std::string what);
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

private:
  std::mutex mutex_;
  std::condition_variable done_;
  bool finished_ = false;
  std::thread thread_;
};

// A frame whose every byte is pseudo-random (deterministic in seed).
IFQImageBuffer RandomFrame(int width, int height, TFQVideoFormat format, std::uint32_t seed);

// A frame filled with one colour (TColor; 32-bit frames take the alpha
// from bits 24-31, grey frames the colour's luma).
IFQImageBuffer SolidFrame(int width, int height, TFQVideoFormat format, TColor colour);

// A copy of `frame` converted to `format`; the original is left alone.
IFQImageBuffer Converted(const IFQImageBuffer& frame, TFQVideoFormat format);

// The bytes of pixel (x, y), and writing them.
std::vector<std::uint8_t> PixelAt(const IFQImageBuffer& frame, int x, int y);
void SetPixel(IFQImageBuffer& frame, int x, int y, const std::vector<std::uint8_t>& bytes);

// Calls fn(bytes) or fn(bytes, x, y), whichever it takes.
template <class Fn, class Bytes>
decltype(auto) CallOnPixel(Fn& fn, Bytes& bytes, int x, int y) {
  if constexpr (std::is_invocable_v<Fn&, Bytes&, int, int>)
    return fn(bytes, x, y);
  else
    return fn(bytes);
}

// A frame of `in`'s size and format with each pixel's bytes as fn rewrote
// them: how most tests build the frame they expect.
template <class Fn>
IFQImageBuffer MapPixels(const IFQImageBuffer& in, Fn fn) {
  IFQImageBuffer out = IFQImageBuffer::Create(in.GetWidth(), in.GetHeight(), in.GetFormat());
  for (int y = 0; y < in.GetHeight(); ++y)
    for (int x = 0; x < in.GetWidth(); ++x) {
      std::vector<std::uint8_t> px = PixelAt(in, x, y);
      CallOnPixel(fn, px, x, y);
      SetPixel(out, x, y, px);
    }
  return out;
}

// How many pixels pred(bytes) (or pred(bytes, x, y)) holds for.
template <class Pred>
int CountPixels(const IFQImageBuffer& frame, Pred pred) {
  int n = 0;
  for (int y = 0; y < frame.GetHeight(); ++y)
    for (int x = 0; x < frame.GetWidth(); ++x) {
      const std::vector<std::uint8_t> px = PixelAt(frame, x, y);
      n += CallOnPixel(pred, px, x, y) ? 1 : 0;
    }
  return n;
}

// True when both frames have the same size and format and equal visible
// bytes; on a difference, `why` says where.
bool SameFrame(const IFQImageBuffer& a, const IFQImageBuffer& b, std::string* why = nullptr);

// Whether a frame holds both redder pixels (third byte above the first)
// and bluer ones: a frame coloured by one fire palette never does.
bool MixesRedAndBlue(const IFQImageBuffer& frame);

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
    const long long before = grabber->GetFrameCount();
    EXPECT_TRUE(source->Push(frame));
    EXPECT_EQ(grabber->GetFrameCount(), before + 1); // synchronous: exactly one frame out
    return grabber->GetLastFrame();
  }
};

// clock -> generator -> grabber: the caller's Tick makes each frame.
template <class T>
struct GenChain {
  TPWOwned<TFQTickClock> clock = Make<TFQTickClock>();
  TPWOwned<T> gen = Make<T>();
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();
  GenChain(int width, int height) {
    EXPECT_TRUE(clock->OutputPin.Connect(gen->ClockPin));
    EXPECT_TRUE(gen->OutputPin.Connect(grabber->InputPin));
    gen->SetImageSize(width, height);
  }
  // Starts the chain from its far end, ticks n times and stops it again.
  std::vector<IFQImageBuffer> Frames(int n) {
    grabber->Start();
    std::vector<IFQImageBuffer> out;
    for (int i = 0; i < n; ++i) {
      const long long before = grabber->GetFrameCount();
      clock->Tick();
      EXPECT_EQ(grabber->GetFrameCount(), before + 1);
      out.push_back(grabber->GetLastFrame());
    }
    grabber->Stop();
    return out;
  }
};

// Runs `in` through the chain `frames` times while another thread keeps
// calling change(0), change(1), ...; a setting must reach a frame whole, so
// every output has to equal one of `allowed`. Returns how many did not.
template <class T, class Change>
int MixedFrames(FilterChain<T>& chain, const IFQImageBuffer& in, int frames, Change change,
                const std::vector<IFQImageBuffer>& allowed) {
  std::atomic<bool> stop{false}, started{false};
  std::thread setter([&] {
    for (int i = 0; !stop.load(); ++i) {
      change(i);
      started = true;
    }
  });
  while (!started.load()) std::this_thread::yield();
  int mixed = 0;
  for (int f = 0; f < frames; ++f) {
    const IFQImageBuffer out = chain.Run(in);
    mixed += std::none_of(allowed.begin(), allowed.end(), [&](const auto& a) { return SameFrame(out, a); });
  }
  stop = true;
  setter.join();
  return mixed;
}

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
