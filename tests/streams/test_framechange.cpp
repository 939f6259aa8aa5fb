// labels: threaded
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "frame/fqendpoints.h"
#include "streams/fqframechange.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::PixelAt;
using test::RandomFrame;
using test::SameFrame;

using Chain = test::FilterChain<TFQFrameChange>;

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
  return test::MapPixels(n, [&](std::vector<std::uint8_t>& px, int x, int y) {
    const auto pb = PixelAt(p, x, y);
    for (std::size_t c = 0; c < px.size(); ++c)
      if (c != 3 || op == fcoAbsDiff) px[c] = static_cast<std::uint8_t>(ExpectedByte(op, px[c], pb[c]));
  });
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
      chain.filter->SetFrameChangeOperation(o);
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

TEST(FrameChange, SaturationAndDivisionEdges) {
  struct Edge {
    const char* name;
    TFQFrameChangeOperation op;
    TFQVideoFormat format;
    std::uint8_t prev, next, want;
  };
  const Edge edges[] = {
      {"identical frames, alpha too", fcoAbsDiff, vf32Bit, 77, 77, 0},
      {"add saturates", fcoAdd, vfGrey, 200, 200, 255},
      {"darker old frame", fcoSubtractOld, vf24Bit, 50, 90, 0},
      {"over black", fcoDivideNew, vf24Bit, 0, 3, 255},
      {"0 / 0", fcoDivideNew, vf24Bit, 0, 0, 0},
  };
  for (const Edge& e : edges) {
    Chain chain;
    chain.filter->SetFrameChangeOperation(e.op);
    chain.Run(Filled(9, 4, e.format, e.prev));
    EXPECT_TRUE(SameFrame(chain.Run(Filled(9, 4, e.format, e.next)), Filled(9, 4, e.format, e.want)))
        << e.name;
  }
  // Out-of-range operations pass frames uncombined.
  Chain chain;
  chain.filter->SetFrameChangeOperation(static_cast<TFQFrameChangeOperation>(12));
  const auto g = RandomFrame(9, 4, vf24Bit, 7);
  chain.Run(RandomFrame(9, 4, vf24Bit, 8));
  EXPECT_TRUE(SameFrame(chain.Run(g), g));
}

// Another thread switches the operation while frames flow: every frame is
// wholly one operation's result.
TEST(FrameChange, OperationSetFromAnotherThreadIsSeenWhole) {
  Chain chain;
  const auto f = RandomFrame(64, 16, vf32Bit, 8);
  chain.Run(f); // the priming frame
  EXPECT_EQ(test::MixedFrames(chain, f, 300,
                              [&](int i) { chain.filter->SetFrameChangeOperation(i % 2 ? fcoAdd : fcoXor); },
                              {Expected(f, f, fcoAdd), Expected(f, f, fcoXor)}),
            0);
}

} // namespace
} // namespace framquist
