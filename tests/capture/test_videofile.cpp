// labels: threaded
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>

#include "capture/fqvideofile.h"
#include "capturetest.h"
#include "frame/fqendpoints.h"
#include "frame/fqregistry.h"
#include "support/fqtestsupport.h"

namespace framquist {
namespace {

using namespace std::chrono_literals;
using test::Ffmpeg;
using test::MaxDifference;
using test::ReadRawFrames;
using test::SameFrame;
using test::TScratch;

// file -> TFQVideoFileSource -> grabber, as an application plays a file.
struct Player {
  TPWOwned<TFQVideoFileSource> source = Make<TFQVideoFileSource>();
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();
  explicit Player(const std::string& file, TFQVideoFormat format = vf24Bit) {
    source->SetFileName(file);
    source->SetVideoFormat(format);
    grabber->SetKeepCount(1000);
    EXPECT_TRUE(source->OutputPin.Connect(grabber->InputPin));
  }
  std::vector<IFQImageBuffer> Play() {
    source->Start();
    EXPECT_TRUE(source->WaitUntilFinished(20s));
    EXPECT_EQ(source->GetLastError(), "");
    EXPECT_EQ(grabber->GetStopCount(), grabber->GetStartCount() > 0 ? 1 : 0);
    return grabber->GetFrames();
  }
};

// frames -> TFQImageSource -> TFQVideoFileSink; the sink's last error.
std::string Record(const std::string& file, const std::vector<IFQImageBuffer>& frames,
                   std::int64_t interval = 400000, const std::string& codec = "") {
  auto source = Make<TFQImageSource>();
  auto sink = Make<TFQVideoFileSink>();
  sink->SetFileName(file);
  sink->SetCodec(codec);
  EXPECT_TRUE(source->OutputPin.Connect(sink->InputPin));
  source->StartStream(frames[0].GetWidth(), frames[0].GetHeight(), frames[0].GetFormat(), interval);
  for (const auto& frame : frames) source->Push(frame);
  source->StopStream();
  return sink->GetLastError();
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
  ASSERT_TRUE(Ffmpeg("-i " + clip + " -f rawvideo -pix_fmt bgr24 " + scratch / "clip.bgr"));
  const auto expected = ReadRawFrames(scratch / "clip.bgr", 160, 120, vf24Bit);
  ASSERT_EQ(expected.size(), 12u);

  Player player(clip);
  const auto frames = player.Play();
  ASSERT_EQ(frames.size(), 12u);
  const TFQStreamInfo info = player.grabber->GetStreamInfo();
  EXPECT_EQ(info.Width, 160);
  EXPECT_EQ(info.Height, 120);
  EXPECT_EQ(info.Interval, 1'000'000); // 10 per second
  for (std::size_t i = 0; i < frames.size(); ++i) {
    std::string why;
    // Same scaler, same flags and colour details: the very same bytes.
    EXPECT_TRUE(SameFrame(frames[i], expected[i], &why)) << "frame " << i << ": " << why;
    EXPECT_EQ(frames[i].GetStartTime(), static_cast<std::int64_t>(i) * 1'000'000);
    EXPECT_EQ(frames[i].GetEndTime(), static_cast<std::int64_t>(i + 1) * 1'000'000);
  }
  EXPECT_EQ(player.source->GetFramesSent(), 12);

  // 32-bit output: the same colours, opaque.
  Player wide(clip, vf32Bit);
  const auto frames32 = wide.Play();
  ASSERT_EQ(frames32.size(), 12u);
  EXPECT_EQ(wide.grabber->GetStreamInfo().Format, vf32Bit);
  IFQImageBuffer opaque = IFQImageBuffer::Create(160, 120, vf32Bit);
  opaque.Assign(expected[5]);
  opaque.SetFormat(vf32Bit);
  EXPECT_EQ(MaxDifference(frames32[5], opaque), 0);
}

TEST_F(VideoFile, LosslessFilesReadBackExactly) {
  struct Case {
    const char* name;
    TFQVideoFormat format;
  };
  for (const Case c : {Case{"rgb.mkv", vf24Bit}, Case{"alpha.mkv", vf32Bit}, Case{"grey.mkv", vfGrey},
                       Case{"seq%03d.png", vf24Bit}, Case{"alpha%03d.png", vf32Bit}}) {
    SCOPED_TRACE(c.name);
    std::vector<IFQImageBuffer> frames;
    for (std::uint32_t i = 0; i < 4; ++i) frames.push_back(test::RandomFrame(37, 21, c.format, 11 + i));
    ASSERT_EQ(Record(scratch / c.name, frames), "");

    // Grey comes back as 24-bit with equal channels.
    Player player(scratch / c.name, c.format == vf32Bit ? vf32Bit : vf24Bit);
    const auto back = player.Play();
    ASSERT_EQ(back.size(), frames.size());
    for (std::size_t i = 0; i < back.size(); ++i) {
      IFQImageBuffer expected;
      expected.Assign(frames[i]);
      if (c.format == vfGrey) expected.SetFormat(vf24Bit);
      EXPECT_EQ(MaxDifference(back[i], expected), 0) << "frame " << i;
    }
  }
  EXPECT_TRUE(std::filesystem::exists(scratch / "seq004.png"));
}

TEST_F(VideoFile, LossyContainersAreReadableAndClose) {
  std::vector<IFQImageBuffer> frames;
  for (int i = 0; i < 5; ++i) frames.push_back(test::Gradient(64, 48, vf24Bit, i));
  // Average difference allowed per byte: gif stores 3-3-2 colour, the rest
  // are lossy codecs at the default quality (y4m only by its 4:4:4 YUV).
  for (const auto& [name, tolerance] :
       {std::pair{"a.mp4", 3.0}, std::pair{"a.webm", 3.0}, std::pair{"a.avi", 3.0}, std::pair{"a.y4m", 1.0},
        std::pair{"a.gif", 25.0}, std::pair{"a.jpg", 3.0}}) {
    SCOPED_TRACE(name);
    ASSERT_EQ(Record(scratch / name, frames), "");
    const auto back = Player(scratch / name).Play();
    // A single image name keeps the last frame only.
    ASSERT_EQ(back.size(), std::string(name) == "a.jpg" ? 1u : frames.size());
    const IFQImageBuffer& original = back.size() == 1 ? frames.back() : frames[2];
    const IFQImageBuffer& decoded = back.size() == 1 ? back[0] : back[2];
    ASSERT_EQ(decoded.GetSize(), original.GetSize());
    double sum = 0;
    for (int y = 0; y < 48; ++y)
      for (int x = 0; x < 64; ++x)
        for (int k = 0; k < 3; ++k)
          sum += std::abs(test::PixelAt(decoded, x, y)[k] - test::PixelAt(original, x, y)[k]);
    EXPECT_LT(sum / (64 * 48 * 3), tolerance);
  }
}

TEST_F(VideoFile, LoopPlaysOnWithIncreasingTimes) {
  Player player(clip);
  player.source->SetLoop(true);
  player.source->SetMaxFrames(30);
  const auto frames = player.Play();
  ASSERT_EQ(frames.size(), 30u);
  for (std::size_t i = 1; i < frames.size(); ++i)
    EXPECT_EQ(frames[i].GetStartTime(), static_cast<std::int64_t>(i) * 1'000'000) << "frame " << i;
  EXPECT_TRUE(SameFrame(frames[12], frames[0]));
  EXPECT_TRUE(SameFrame(frames[29], frames[5]));

  // StartFrame skips the head of the file.
  Player tail(clip);
  tail.source->SetStartFrame(9);
  const auto last = tail.Play();
  ASSERT_EQ(last.size(), 3u);
  EXPECT_TRUE(SameFrame(last[0], frames[9]));
  EXPECT_EQ(last[0].GetStartTime(), 0);
}

TEST_F(VideoFile, StopsFromItsOwnDeliveryAndPacesInRealTime) {
  Player player(clip);
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
  Player paced(clip);
  paced.source->SetRealTime(true);
  paced.source->SetMaxFrames(5);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(paced.Play().size(), 5u);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 390ms);

  // Stop from another thread while it paces: prompt, one stop.
  Player stopped(clip);
  stopped.source->SetRealTime(true);
  stopped.source->Start();
  ASSERT_TRUE(stopped.grabber->WaitForFrames(1, 5s));
  stopped.source->Stop();
  EXPECT_FALSE(stopped.source->IsStreaming());
  EXPECT_LT(stopped.grabber->GetFrameCount(), 12);
  EXPECT_EQ(stopped.grabber->GetStopCount(), 1);
}

TEST_F(VideoFile, FailuresAreReportedNotThrown) {
  Player missing(scratch / "missing.mp4");
  missing.source->Start();
  EXPECT_FALSE(missing.source->IsStreaming());
  EXPECT_EQ(missing.source->GetLastError(),
            "cannot open '" + scratch / "missing.mp4" + "': No such file or directory");
  EXPECT_EQ(missing.grabber->GetStartCount(), 0);

  const std::vector<IFQImageBuffer> frames{test::RandomFrame(16, 16, vf24Bit, 1)};
  EXPECT_EQ(Record("/nonexistent-dir/out.mkv", frames),
            "cannot write '/nonexistent-dir/out.mkv': No such file or directory");
  EXPECT_NE(Record(scratch / "out.unknownext", frames).find("no container"), std::string::npos);
  EXPECT_NE(Record(scratch / "out.mkv", frames, 400000, "nosuchcodec").find("no encoder 'nosuchcodec'"),
            std::string::npos);

  // A failed start ignores frames until the next start, which may succeed.
  auto source = Make<TFQImageSource>();
  auto sink = Make<TFQVideoFileSink>();
  source->OutputPin.Connect(sink->InputPin);
  sink->SetFileName("/nonexistent-dir/out.mkv");
  source->StartStream(16, 16, vf24Bit, 400000);
  source->Push(frames[0]);
  source->StopStream();
  sink->SetFileName(scratch / "late.mkv");
  source->StartStream(16, 16, vf24Bit, 400000);
  source->Push(frames[0]);
  source->StopStream();
  EXPECT_EQ(Player(scratch / "late.mkv").Play().size(), 1u);
}

TEST_F(VideoFile, KeepsTheFirstSizeAndCountsUntimedFrames) {
  auto source = Make<TFQImageSource>();
  auto sink = Make<TFQVideoFileSink>();
  sink->SetFileName(scratch / "sizes.mkv");
  source->OutputPin.Connect(sink->InputPin);
  source->StartStream(32, 24, vf24Bit, 0); // no interval: frames come without times
  source->Push(test::Gradient(32, 24, vf24Bit, 0));
  source->Push(test::Gradient(32, 24, vf24Bit, 1));
  source->StartStream(16, 12, vfGrey, 0); // announced again, smaller and grey
  source->Push(test::Gradient(16, 12, vfGrey, 2));
  source->StopStream();
  ASSERT_EQ(sink->GetLastError(), "");

  const auto back = Player(scratch / "sizes.mkv").Play();
  ASSERT_EQ(back.size(), 3u);
  for (std::size_t i = 0; i < back.size(); ++i) {
    EXPECT_EQ(back[i].GetSize(), (SIZE{32, 24}));
    EXPECT_EQ(back[i].GetStartTime(), static_cast<std::int64_t>(i) * 400'000); // 25 per second by count
  }
}

TEST(VideoFileRegistry, ClassesAreRegisteredAndPublishTheirProperties) {
  using test::Published;
  Fqvideofile::Register();
  auto source = TFQRegistry::Create("TFQVideoFileSource");
  auto sink = TFQRegistry::Create("TFQVideoFileSink");
  ASSERT_NE(source, nullptr);
  ASSERT_NE(sink, nullptr);
  EXPECT_EQ(source->GetClassName(), "TFQVideoFileSource");
  EXPECT_EQ(sink->GetClassName(), "TFQVideoFileSink");
  // Values from forms go through the setters, clamping included.
  EXPECT_EQ(Published(*source, "FileName", std::string("a.mp4")), TPWValue(std::string("a.mp4")));
  EXPECT_EQ(Published(*source, "Loop", true), TPWValue(true));
  EXPECT_EQ(Published(*source, "RealTime", true), TPWValue(true));
  EXPECT_EQ(Published(*source, "VideoFormat", std::int64_t{vf32Bit}), TPWValue(std::int64_t{vf32Bit}));
  EXPECT_EQ(Published(*source, "VideoFormat", std::int64_t{vfGrey}), TPWValue(std::int64_t{vf24Bit}));
  EXPECT_EQ(Published(*source, "StartFrame", std::int64_t{4}), TPWValue(std::int64_t{4}));
  EXPECT_EQ(Published(*source, "MaxFrames", std::int64_t{-3}), TPWValue(std::int64_t{0}));
  EXPECT_EQ(Published(*sink, "Codec", std::string("ffv1")), TPWValue(std::string("ffv1")));
  EXPECT_EQ(Published(*sink, "Quality", std::int64_t{150}), TPWValue(std::int64_t{100}));
  EXPECT_EQ(Published(*sink, "PixelFormat", std::string("gray")), TPWValue(std::string("gray")));
  EXPECT_EQ(static_cast<TFQVideoFileSink&>(*sink).GetPixelFormat(), "gray");
}

} // namespace
} // namespace framquist
