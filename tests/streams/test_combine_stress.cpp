// labels: threaded
// Two inputs pushing from their own threads while a third thread re-lays
// the combiner out: every output frame must match the stream announced
// before it.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include "streams/fqcombine.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

TEST(CombineStress, TwoPushingInputsAndALayoutChangingThread) {
  test::CombineChain<TFQCombine> rig("InputPins[0]", "InputPins[1]");
  std::atomic<long long> frames{0}, malformed{0};
  std::atomic<unsigned> checksum{0};
  rig.grabber->SetOnFrame([&](const IFQImageBuffer& f) {
    // Runs on the delivering thread; the grabber holds its lock.
    const TFQStreamInfo s = rig.grabber->GetStreamInfo();
    if (f.GetWidth() != s.Width || f.GetHeight() != s.Height || f.GetFormat() != s.Format) ++malformed;
    unsigned sum = 0; // read every visible byte: the sanitizers see any stray one
    const int row = f.GetWidth() * f.GetBytesPerPixel();
    for (int y = 0; y < f.GetHeight(); ++y)
      for (int x = 0; x < row; ++x)
        sum += f.GetReadPointer()[static_cast<std::ptrdiff_t>(y) * f.GetLineStep() + x];
    checksum += sum;
    ++frames;
  });
  rig.source1->StartStream(64, 48, vf24Bit, 400000);
  rig.source2->StartStream(40, 56, vf32Bit, 800000);

  std::atomic<bool> done{false};
  auto pusher = [](TFQImageSource& source, int n, int w, int h, TFQVideoFormat format, std::uint32_t seed) {
    for (int i = 0; i < n; ++i)
      source.Push(test::RandomFrame(w, h, format, seed + static_cast<std::uint32_t>(i % 7)));
  };
  std::thread a(pusher, std::ref(*rig.source1), 3000, 64, 48, vf24Bit, 1u);
  std::thread b(pusher, std::ref(*rig.source2), 1500, 40, 56, vf32Bit, 100u);
  std::thread changer([&] {
    std::mt19937 rng(7);
    std::uniform_int_distribution<int> offset(-70, 70), mode(0, 4), size(0, 90), op(0, 8);
    while (!done.load()) {
      rig.combiner->Offset.SetHorizontal(offset(rng));
      rig.combiner->Offset.SetVertical(offset(rng));
      rig.combiner->FrameSize.SetSizeMode(static_cast<TFQCombineSizeMode>(mode(rng)));
      rig.combiner->FrameSize.SetWidth(static_cast<std::uint32_t>(size(rng)));
      rig.combiner->FrameSize.SetHeight(static_cast<std::uint32_t>(size(rng)));
      rig.combiner->SetCombineOperation(static_cast<TFQCombineOperation>(op(rng)));
      rig.combiner->SetCoefficient1(op(rng) / 4.0);
      // Now and then a restart fixes a new output size mid-stream.
      if (op(rng) == 0) rig.source2->StartStream(40, 56, vf32Bit, 800000);
      std::this_thread::yield();
    }
  });
  a.join();
  b.join();
  done = true;
  changer.join();
  rig.source1->StopStream();
  rig.source2->StopStream();

  EXPECT_GT(frames.load(), 100); // restarts and the slow input lose some pairs by design
  EXPECT_EQ(malformed.load(), 0);
  EXPECT_EQ(rig.grabber->GetStopCount(), 1);
}

} // namespace
} // namespace framquist
