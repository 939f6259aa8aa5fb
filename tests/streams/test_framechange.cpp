// labels: threaded
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <thread>

#include "frame/fqendpoints.h"
#include "frame/fqregistry.h"
#include "streams/fqframechange.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;

struct Chain {
  TPWOwned<TFQImageSource> source = Make<TFQImageSource>();
  TPWOwned<TFQFrameChange> change = Make<TFQFrameChange>();
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();
  Chain() {
    EXPECT_TRUE(source->OutputPin.Connect(change->InputPin));
    EXPECT_TRUE(change->OutputPin.Connect(grabber->InputPin));
  }
  IFQImageBuffer Run(const IFQImageBuffer& frame) {
    if (!source->IsStreaming())
      source->StartStream(frame.GetWidth(), frame.GetHeight(), frame.GetFormat(), 400000);
    EXPECT_TRUE(source->Push(frame));
    return grabber->GetLastFrame();
  }
};

// One byte of the result, N new and P previous, worked out plainly.
int ExpectedByte(TFQFrameChangeOperation op, int n, int p) {
  auto divide = [](int num, int den) {
    if (den == 0) return num == 0 ? 0 : 255;
    return static_cast<int>(std::nearbyint(static_cast<double>(num) / den)); // halves to even
  };
  switch (op) {
  case fcoAdd:
    return std::min(255, n + p);
  case fcoSubtractOld:
    return std::max(0, p - n);
  case fcoSubtractNew:
    return std::max(0, n - p);
  case fcoMultiply:
    return std::min(255, n * p);
  case fcoDivideOld:
    return divide(p, n);
  case fcoDivideNew:
    return divide(n, p);
  case fcoOr:
    return n | p;
  case fcoAnd:
    return n & p;
  case fcoXor:
    return n ^ p;
  default:
    return std::abs(n - p);
  }
}

// The new frame keeps its alpha byte except with fcoAbsDiff.
IFQImageBuffer Expected(const IFQImageBuffer& n, const IFQImageBuffer& p, TFQFrameChangeOperation op) {
  IFQImageBuffer out = IFQImageBuffer::Create(n.GetWidth(), n.GetHeight(), n.GetFormat());
  const int bpp = n.GetBytesPerPixel();
  for (int y = 0; y < n.GetHeight(); ++y)
    for (int x = 0; x < n.GetWidth(); ++x) {
      const auto nb = PixelAt(n, x, y), pb = PixelAt(p, x, y);
      std::uint8_t* d = out.GetModifyPointer() + static_cast<long>(y) * out.GetLineStep() + x * bpp;
      for (int c = 0; c < bpp; ++c)
        d[c] = static_cast<std::uint8_t>(c == 3 && op != fcoAbsDiff ? nb[c] : ExpectedByte(op, nb[c], pb[c]));
    }
  return out;
}

IFQImageBuffer Filled(int w, int h, TFQVideoFormat format, std::uint8_t value) {
  IFQImageBuffer f = IFQImageBuffer::Create(w, h, format);
  std::uint8_t* p = f.GetWritePointer();
  std::memset(p, value, static_cast<size_t>(f.GetLineStep()) * h);
  return f;
}

TEST(FrameChange, EveryOperationOnEveryFormat) {
  for (TFQVideoFormat format : {vfGrey, vf24Bit, vf32Bit}) {
    Chain chain;
    const auto prev = RandomFrame(37, 9, format, 1), next = RandomFrame(37, 9, format, 2);
    for (int op = fcoAdd; op <= fcoAbsDiff; ++op) {
      const auto o = static_cast<TFQFrameChangeOperation>(op);
      chain.change->SetFrameChangeOperation(o);
      chain.Run(prev);
      std::string why;
      EXPECT_TRUE(SameFrame(chain.Run(next), Expected(next, prev, o), &why))
          << "format " << int(format) << " operation " << op << ": " << why;
    }
  }
}

TEST(FrameChange, FirstFrameAfterStartOnlyPrimes) {
  Chain chain;
  const auto a = RandomFrame(20, 6, vf24Bit, 3), b = RandomFrame(20, 6, vf24Bit, 4);
  EXPECT_TRUE(SameFrame(chain.Run(a), a));
  EXPECT_TRUE(SameFrame(chain.Run(b), Expected(b, a, fcoAbsDiff)));
  chain.source->StopStream(); // a new start resets
  EXPECT_TRUE(SameFrame(chain.Run(a), a));
  EXPECT_TRUE(SameFrame(chain.Run(b), Expected(b, a, fcoAbsDiff)));
  // A frame of another size has nothing to be combined with.
  const auto small = RandomFrame(7, 3, vf24Bit, 5);
  EXPECT_TRUE(SameFrame(chain.Run(small), small));
}

TEST(FrameChange, DocumentedEdges) {
  // Identical 32-bit frames give all zero, alpha too.
  Chain same;
  const auto f = RandomFrame(33, 5, vf32Bit, 6);
  same.Run(f);
  EXPECT_TRUE(SameFrame(same.Run(f), Filled(33, 5, vf32Bit, 0)));
  // 200 + 200 saturates.
  Chain add;
  add.change->SetFrameChangeOperation(fcoAdd);
  add.Run(Filled(9, 4, vfGrey, 200));
  EXPECT_TRUE(SameFrame(add.Run(Filled(9, 4, vfGrey, 200)), Filled(9, 4, vfGrey, 255)));
  // Subtracting the new frame from a darker old one gives 0.
  Chain sub;
  sub.change->SetFrameChangeOperation(fcoSubtractOld);
  sub.Run(Filled(9, 4, vf24Bit, 50));
  EXPECT_TRUE(SameFrame(sub.Run(Filled(9, 4, vf24Bit, 90)), Filled(9, 4, vf24Bit, 0)));
  // Dividing by a black frame gives white; 0 / 0 stays black.
  Chain div;
  div.change->SetFrameChangeOperation(fcoDivideNew);
  div.Run(Filled(9, 4, vf24Bit, 0));
  EXPECT_TRUE(SameFrame(div.Run(Filled(9, 4, vf24Bit, 3)), Filled(9, 4, vf24Bit, 255)));
  EXPECT_TRUE(SameFrame(div.Run(Filled(9, 4, vf24Bit, 0)), Filled(9, 4, vf24Bit, 0)));
  // Out-of-range operations pass frames uncombined.
  div.change->SetFrameChangeOperation(static_cast<TFQFrameChangeOperation>(12));
  const auto g = RandomFrame(9, 4, vf24Bit, 7);
  EXPECT_TRUE(SameFrame(div.Run(g), g));
}

TEST(FrameChange, PublishedAndRegistered) {
  auto change = Make<TFQFrameChange>();
  const auto props = PWDeclaredProperties(*change);
  const TPWProperty* op = props.Find("FrameChangeOperation");
  ASSERT_NE(op, nullptr);
  EXPECT_EQ(std::get<std::int64_t>(*op->Default), fcoAbsDiff);
  EXPECT_EQ(change->GetFrameChangeOperation(), fcoAbsDiff);
  op->Set(std::int64_t{fcoXor});
  EXPECT_EQ(change->GetFrameChangeOperation(), fcoXor);
  Fqframechange::Register();
  EXPECT_TRUE(TFQRegistry::Contains("TFQFrameChange"));
}

// Another thread switches the operation while frames flow: every frame is
// wholly one operation's result.
TEST(FrameChange, OperationSetFromAnotherThreadIsSeenWhole) {
  Chain chain;
  const auto f = RandomFrame(64, 16, vf32Bit, 8);
  const auto added = Expected(f, f, fcoAdd), xored = Expected(f, f, fcoXor);
  std::atomic<int> mixed{0};
  std::atomic<int> frames{0};
  chain.grabber->SetOnFrame([&](const IFQImageBuffer& out) {
    if (frames.fetch_add(1) == 0) return; // the priming frame
    std::string why;
    if (!SameFrame(out, added) && !SameFrame(out, xored, &why)) {
      if (mixed.fetch_add(1) == 0) ADD_FAILURE() << why;
    }
  });
  chain.change->SetFrameChangeOperation(fcoAdd);
  std::atomic<bool> stop{false}, started{false};
  std::thread setter([&] {
    for (int i = 0; !stop.load(); ++i) {
      chain.change->SetFrameChangeOperation(i % 2 ? fcoAdd : fcoXor);
      started = true;
    }
  });
  while (!started.load()) std::this_thread::yield();
  for (int i = 0; i < 300; ++i) chain.Run(f);
  stop = true;
  setter.join();
  EXPECT_EQ(frames.load(), 300);
  EXPECT_EQ(mixed.load(), 0);
}

} // namespace
} // namespace framquist
