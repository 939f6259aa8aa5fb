// labels: threaded
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <tuple>

#include "capture/fqrawpipe.h"
#include "capture/fqvideofile.h"
#include "capturetest.h"
#include "frame/fqregistry.h"

namespace framquist {
namespace {

using namespace std::chrono_literals;
using namespace test;
using TPlayer = TReader<TFQVideoFileSource>;

// Plays the file to its end, which must come without an error.
std::vector<IFQImageBuffer> Play(TPlayer& player) {
  auto frames = player.Read();
  EXPECT_EQ(player.source->GetLastError(), "");
  return frames;
}

std::vector<IFQImageBuffer> Play(const std::string& file, TFQVideoFormat format = vf24Bit) {
  TPlayer player(file);
  player.source->SetVideoFormat(format);
  return Play(player);
}

class VideoFile : public ::testing::Test {
protected:
  void SetUp() override {
    FQ_SKIP_WITHOUT_FFMPEG();
    clip = scratch / "clip.mp4";
    ASSERT_TRUE(Ffmpeg("-f lavfi -i testsrc=size=160x120:rate=10 -frames:v 12 -pix_fmt yuv420p " + clip));
  }
  TScratch scratch;
  std::string clip;
};

TEST_F(VideoFile, DecodesTheSamePixelsAsTheFfmpegCommand) {
  const auto expected = FfmpegFrames(clip, 160, 120, vf24Bit);
  ASSERT_EQ(expected.size(), 12u);

  TPlayer player(clip);
  const auto frames = Play(player);
  const TFQStreamInfo info = player.grabber->GetStreamInfo();
  EXPECT_EQ(info.Width, 160);
  EXPECT_EQ(info.Height, 120);
  EXPECT_EQ(info.Interval, 1'000'000); // 10 per second
  // Same scaler, same flags and colour details: the very same bytes.
  ExpectFrames(frames, expected, 1'000'000);
  EXPECT_EQ(player.source->GetFramesSent(), 12);

  // 32-bit output: the same colours, opaque.
  const auto frames32 = Play(clip, vf32Bit);
  ASSERT_EQ(frames32.size(), 12u);
  EXPECT_EQ(frames32[5].GetFormat(), vf32Bit);
  EXPECT_EQ(Difference(frames32[5], As(expected[5], vf32Bit)).Max, 0);
}

TEST_F(VideoFile, WrittenFilesReadBackWithinTheirCodecsLoss) {
  // Allowed mean difference per byte; 0: lossless, every byte back (noise
  // shows any loss). gif stores 3-3-2 colour, the lossy codecs run at the
  // default quality on smooth pictures, y4m loses only by its 4:4:4 YUV.
  struct Case {
    const char* name;
    TFQVideoFormat format;
    double tolerance;
  };
  for (const Case c :
       {Case{"rgb.mkv", vf24Bit, 0}, Case{"alpha.mkv", vf32Bit, 0}, Case{"grey.mkv", vfGrey, 0},
        Case{"seq%03d.png", vf24Bit, 0}, Case{"alpha%03d.png", vf32Bit, 0}, Case{"a.mp4", vf24Bit, 3},
        Case{"a.webm", vf24Bit, 3}, Case{"a.avi", vf24Bit, 3}, Case{"a.y4m", vf24Bit, 1},
        Case{"a.gif", vf24Bit, 25}, Case{"a.jpg", vf24Bit, 3}}) {
    SCOPED_TRACE(c.name);
    std::vector<IFQImageBuffer> frames;
    for (std::uint32_t i = 0; i < 5; ++i)
      frames.push_back(c.tolerance == 0 ? RandomFrame(37, 21, c.format, 11 + i)
                                        : Gradient(64, 48, c.format, i));
    ASSERT_EQ(Write<TFQVideoFileSink>(scratch / c.name, frames), "");

    // Grey comes back as 24-bit with equal channels.
    const TFQVideoFormat played = c.format == vf32Bit ? vf32Bit : vf24Bit;
    const auto back = Play(scratch / c.name, played);
    // A single image name keeps the last frame only.
    const bool single = std::string(c.name) == "a.jpg";
    ASSERT_EQ(back.size(), single ? 1u : frames.size());
    for (std::size_t i = 0; i < back.size(); ++i) {
      const TDifference d = Difference(back[i], As(single ? frames.back() : frames[i], played));
      EXPECT_LE(c.tolerance == 0 ? d.Max : d.Mean, c.tolerance) << "frame " << i;
    }
  }
  EXPECT_TRUE(std::filesystem::exists(scratch / "seq005.png"));
}

TEST_F(VideoFile, LoopPlaysOnWithIncreasingTimes) {
  TPlayer player(clip);
  player.source->SetLoop(true);
  player.source->SetMaxFrames(30);
  const auto frames = Play(player);
  ASSERT_EQ(frames.size(), 30u);
  for (std::size_t i = 1; i < frames.size(); ++i)
    EXPECT_EQ(frames[i].GetStartTime(), static_cast<std::int64_t>(i) * 1'000'000) << "frame " << i;
  EXPECT_TRUE(SameFrame(frames[12], frames[0]));
  EXPECT_TRUE(SameFrame(frames[29], frames[5]));

  // StartFrame skips the head of the file.
  TPlayer tail(clip);
  tail.source->SetStartFrame(9);
  const auto last = Play(tail);
  ASSERT_EQ(last.size(), 3u);
  EXPECT_TRUE(SameFrame(last[0], frames[9]));
  EXPECT_EQ(last[0].GetStartTime(), 0);
}

TEST_F(VideoFile, StopsFromItsOwnDeliveryAndPacesInRealTime) {
  TPlayer player(clip);
  player.source->SetLoop(true);
  std::atomic<int> seen{0};
  player.grabber->SetOnFrame([&](const IFQImageBuffer&) {
    if (++seen == 3) player.source->Stop(); // on the reader thread: only flags
  });
  player.source->Start();
  ASSERT_TRUE(player.source->WaitUntilFinished(10s));
  EXPECT_EQ(player.grabber->GetFrameCount(), 3);
  EXPECT_EQ(player.grabber->GetStopCount(), 1);

  // 10 frames per second: five frames span at least 0.4 s.
  TPlayer paced(clip);
  paced.source->SetRealTime(true);
  paced.source->SetMaxFrames(5);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Play(paced).size(), 5u);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 390ms);

  // Stop from another thread while it paces: prompt, one stop.
  TPlayer stopped(clip);
  stopped.source->SetRealTime(true);
  stopped.source->Start();
  ASSERT_TRUE(stopped.grabber->WaitForFrames(1, 5s));
  stopped.source->Stop();
  EXPECT_FALSE(stopped.source->IsStreaming());
  EXPECT_LT(stopped.grabber->GetFrameCount(), 12);
  EXPECT_EQ(stopped.grabber->GetStopCount(), 1);
}

TEST_F(VideoFile, FailuresAreReportedNotThrown) {
  TPlayer missing(scratch / "missing.mp4");
  missing.source->Start();
  EXPECT_FALSE(missing.source->IsStreaming());
  EXPECT_EQ(missing.source->GetLastError(),
            "cannot open '" + scratch / "missing.mp4" + "': No such file or directory");
  EXPECT_EQ(missing.grabber->GetStartCount(), 0);

  // Each start opens anew: a failed one ignores its frames, the next may succeed.
  auto source = Make<TFQImageSource>();
  auto sink = Make<TFQVideoFileSink>();
  source->OutputPin.Connect(sink->InputPin);
  for (const auto& [file, codec, error] :
       {std::tuple{std::string("/nonexistent-dir/out.mkv"), "", "No such file or directory"},
        std::tuple{scratch / "out.unknownext", "", "no container for this file name"},
        std::tuple{scratch / "out.mkv", "nosuchcodec", "no encoder 'nosuchcodec'"}}) {
    sink->SetFileName(file);
    sink->SetCodec(codec);
    source->StartStream(16, 16, vf24Bit, 400000);
    source->Push(RandomFrame(16, 16, vf24Bit, 1));
    source->StopStream();
    EXPECT_EQ(sink->GetLastError(), "cannot write '" + file + "': " + error);
  }

  // A start without a stop keeps the first size; untimed frames are timed by count.
  sink->ClearError();
  sink->SetFileName(scratch / "late.mkv");
  sink->SetCodec("");
  source->StartStream(32, 24, vf24Bit, 0); // no interval: frames come without times
  source->Push(Gradient(32, 24, vf24Bit, 0));
  source->Push(Gradient(32, 24, vf24Bit, 1));
  source->StartStream(16, 12, vfGrey, 0); // announced again, smaller and grey
  source->Push(Gradient(16, 12, vfGrey, 2));
  source->StopStream();
  ASSERT_EQ(sink->GetLastError(), "");
  const auto back = Play(scratch / "late.mkv");
  ASSERT_EQ(back.size(), 3u);
  for (std::size_t i = 0; i < back.size(); ++i) {
    EXPECT_EQ(back[i].GetSize(), (SIZE{32, 24}));
    EXPECT_EQ(back[i].GetStartTime(), static_cast<std::int64_t>(i) * 400'000); // 25 per second
  }
}

// The property names are what forms store; values from forms go through the
// setters, clamping included.
TEST(CaptureRegistry, ClassesPublishTheirPropertiesThroughTheSetters) {
  Fqrawpipe::Register();
  Fqvideofile::Register();
  const std::vector<std::pair<std::string, std::vector<std::string>>> classes{
      {"TFQY4MSource", {"Tag", "FileName"}},
      {"TFQY4MSink", {"Tag", "FileName"}},
      {"TFQRawVideoSource", {"Tag", "FileName", "Width", "Height", "Rate", "VideoFormat"}},
      {"TFQRawVideoSink", {"Tag", "FileName"}},
      {"TFQVideoFileSource",
       {"Tag", "FileName", "Loop", "VideoFormat", "RealTime", "StartFrame", "MaxFrames"}},
      {"TFQVideoFileSink", {"Tag", "FileName", "Codec", "Quality", "PixelFormat"}}};
  const auto set = [](TPWComponent& component, const char* name, const TPWValue& value) {
    const TPWPropertyList props = PWDeclaredProperties(component);
    props.Find(name)->Set(value);
    return props.Find(name)->Get();
  };
  for (const auto& [name, published] : classes) {
    auto component = TFQRegistry::Create(name);
    ASSERT_NE(component, nullptr) << name;
    const TPWPropertyList props = PWDeclaredProperties(*component);
    std::vector<std::string> names;
    for (const TPWProperty& p : props.Items()) names.push_back(p.Name);
    EXPECT_EQ(names, published) << name;
    EXPECT_EQ(set(*component, "FileName", std::string("-")), TPWValue(std::string("-"))) << name;
  }
  for (const auto& [cls, property, value, stored] :
       {std::tuple{"TFQRawVideoSource", "Width", 0, 1},
        std::tuple{"TFQRawVideoSource", "VideoFormat", int{vf16Bit565}, int{vf24Bit}},
        std::tuple{"TFQVideoFileSource", "VideoFormat", int{vfGrey}, int{vf24Bit}},
        std::tuple{"TFQVideoFileSource", "MaxFrames", -3, 0},
        std::tuple{"TFQVideoFileSink", "Quality", 150, 100}}) {
    auto component = TFQRegistry::Create(cls);
    EXPECT_EQ(set(*component, property, std::int64_t{value}), TPWValue(std::int64_t{stored}))
        << cls << "." << property;
  }
}

} // namespace
} // namespace framquist
