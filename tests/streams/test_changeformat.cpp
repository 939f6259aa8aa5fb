// labels: threaded
#include <gtest/gtest.h>

#include "frame/fqendpoints.h"
#include "streams/fqchangeformat.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using test::RandomFrame;
using test::SameFrame;

using test::Converted;
using Chain = test::FilterChain<TFQChangeFormat>;

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
}

// Announced and delivered formats, from 32-bit and grey sources, enabled
// and disabled.
TEST(ChangeFormat, AnnouncesAndConvertsWhileEnabledPassesWhileDisabled) {
  for (TFQVideoFormat incoming : {vf32Bit, vfGrey, vf16Bit565})
    for (TFQVideoFormat wanted : {vfGrey, vf32Bit, vf24Bit, vfAny}) {
      Chain chain;
      chain.filter->SetFormat(wanted);
      const TFQVideoFormat stored = FQStoredFormat(wanted);
      chain.source->StartStream(16, 8, incoming, 400000);
      EXPECT_EQ(chain.grabber->GetStreamInfo().Format, stored);
      const auto in = RandomFrame(16, 8, incoming, 3);
      ASSERT_TRUE(chain.source->Push(in));
      std::string why;
      EXPECT_TRUE(SameFrame(chain.grabber->GetLastFrame(), Converted(in, stored), &why))
          << int(incoming) << " -> " << int(wanted) << ": " << why;
      chain.source->StopStream();

      chain.filter->SetEnabled(false);
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
  EXPECT_EQ(test::MixedFrames(chain, in, 300,
                              [&](int i) { chain.filter->SetFormat(i % 2 ? vfGrey : vf24Bit); },
                              {Converted(in, vfGrey), Converted(in, vf24Bit)}),
            0);
}

} // namespace
} // namespace framquist
