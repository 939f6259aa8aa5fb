// labels: threaded
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "frame/fqendpoints.h"
#include "frame/fqregistry.h"
#include "streams/fqchangeformat.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::RandomFrame;
using test::SameFrame;

struct Chain {
  TPWOwned<TFQImageSource> source = Make<TFQImageSource>();
  TPWOwned<TFQChangeFormat> change = Make<TFQChangeFormat>();
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();
  Chain() {
    EXPECT_TRUE(source->OutputPin.Connect(change->InputPin));
    EXPECT_TRUE(change->OutputPin.Connect(grabber->InputPin));
  }
};

IFQImageBuffer Converted(const IFQImageBuffer& in, TFQVideoFormat format) {
  IFQImageBuffer out;
  out.Assign(in);
  out.SetFormat(format);
  return out;
}

TEST(ChangeFormat, StoresSevenAsZeroAndPublishesFormat) {
  auto change = Make<TFQChangeFormat>();
  EXPECT_EQ(change->GetFormat(), vf24Bit);
  change->SetFormat(vfGrey);
  EXPECT_EQ(change->GetFormat(), vfGrey);
  change->SetFormat(vfAny);
  EXPECT_EQ(change->GetFormat(), vf24Bit);
  const auto props = PWDeclaredProperties(*change);
  const TPWProperty* format = props.Find("Format");
  ASSERT_NE(format, nullptr);
  EXPECT_EQ(std::get<std::int64_t>(*format->Default), 0);
  format->Set(std::int64_t{7});
  EXPECT_EQ(change->GetFormat(), vf24Bit);
  Fqchangeformat::Register();
  EXPECT_TRUE(TFQRegistry::Contains("TFQChangeFormat"));
}

// Announced and delivered formats, from 32-bit and grey sources, enabled
// and disabled.
TEST(ChangeFormat, AnnouncesAndConvertsWhileEnabledPassesWhileDisabled) {
  for (TFQVideoFormat incoming : {vf32Bit, vfGrey, vf16Bit565})
    for (TFQVideoFormat wanted : {vfGrey, vf32Bit, vf24Bit, vfAny}) {
      Chain chain;
      chain.change->SetFormat(wanted);
      const TFQVideoFormat stored = FQStoredFormat(wanted);
      chain.source->StartStream(16, 8, incoming, 400000);
      EXPECT_EQ(chain.grabber->GetStreamInfo().Format, stored);
      const auto in = RandomFrame(16, 8, incoming, 3);
      ASSERT_TRUE(chain.source->Push(in));
      std::string why;
      EXPECT_TRUE(SameFrame(chain.grabber->GetLastFrame(), Converted(in, stored), &why))
          << int(incoming) << " -> " << int(wanted) << ": " << why;
      chain.source->StopStream();

      chain.change->SetEnabled(false);
      chain.source->StartStream(16, 8, incoming, 400000);
      EXPECT_EQ(chain.grabber->GetStreamInfo().Format, incoming);
      ASSERT_TRUE(chain.source->Push(in));
      EXPECT_TRUE(SameFrame(chain.grabber->GetLastFrame(), in, &why)) << "disabled: " << why;
    }
}

// Another thread changes Format while frames flow: each frame is wholly
// one conversion.
TEST(ChangeFormat, FormatSetFromAnotherThreadIsSeenWhole) {
  Chain chain;
  const auto in = RandomFrame(48, 12, vf32Bit, 9);
  const auto grey = Converted(in, vfGrey), colour = Converted(in, vf24Bit);
  std::atomic<int> mixed{0}, frames{0};
  chain.grabber->SetOnFrame([&](const IFQImageBuffer& out) {
    frames.fetch_add(1);
    if (!SameFrame(out, grey) && !SameFrame(out, colour)) mixed.fetch_add(1);
  });
  std::atomic<bool> stop{false}, started{false};
  std::thread setter([&] {
    for (int i = 0; !stop.load(); ++i) {
      chain.change->SetFormat(i % 2 ? vfGrey : vf24Bit);
      started = true;
    }
  });
  while (!started.load()) std::this_thread::yield();
  chain.source->StartStream(48, 12, vf32Bit, 400000);
  for (int i = 0; i < 300; ++i) chain.source->Push(in);
  stop = true;
  setter.join();
  EXPECT_EQ(frames.load(), 300);
  EXPECT_EQ(mixed.load(), 0);
}

} // namespace
} // namespace framquist
