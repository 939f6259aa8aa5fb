// labels: threaded
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <thread>

#include "capture/fqrawpipe.h"
#include "capturetest.h"

namespace framquist {
namespace {

using namespace std::chrono_literals;
using namespace test;

std::string FdName(int fd) { return "/dev/fd/" + std::to_string(fd); }

TEST(Y4M, ReadsAPipeAsFfmpegDecodesIt) {
  FQ_SKIP_WITHOUT_FFMPEG();
  TScratch scratch;
  for (const auto& [pixelFormat, extra] :
       {std::pair{"yuv420p", ""}, std::pair{"yuv422p", ""}, std::pair{"yuv444p", ""}, std::pair{"gray", ""},
        std::pair{"yuv420p", "-color_range pc"}}) {
    SCOPED_TRACE(std::string(pixelFormat) + " " + extra);
    const bool grey = std::string(pixelFormat) == "gray";
    ASSERT_TRUE(Ffmpeg("-f lavfi -i testsrc=size=64x48:rate=10 -frames:v 6 -pix_fmt " +
                       std::string(pixelFormat) + " " + extra + " -f yuv4mpegpipe " + scratch / "in.y4m"));
    const auto expected = FfmpegFrames(scratch / "in.y4m", 64, 48, grey ? vfGrey : vf24Bit);
    ASSERT_EQ(expected.size(), 6u);

    FILE* pipe = popen(("cat " + scratch / "in.y4m").c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    TReader<TFQY4MSource> reader(FdName(fileno(pipe)));
    const auto frames = reader.Read();
    pclose(pipe);
    EXPECT_EQ(reader.source->GetLastError(), "");
    EXPECT_EQ(reader.grabber->GetStreamInfo().Interval, 1'000'000);
    ExpectFrames(frames, expected, 1'000'000);
  }
}

TEST(Y4M, SinkWritesWhatFfmpegAndTheSourceRead) {
  FQ_SKIP_WITHOUT_FFMPEG();
  TScratch scratch;
  // Frames in other formats than the stream's are converted, not misread.
  const std::vector<IFQImageBuffer> frames{Gradient(40, 30, vf24Bit, 0), RandomFrame(40, 30, vf24Bit, 5),
                                           RandomFrame(40, 30, vf32Bit, 6),
                                           RandomFrame(40, 30, vf16Bit565, 7)};
  ASSERT_EQ(Write<TFQY4MSink>(scratch / "out.y4m", frames, 333'667), "");
  std::ifstream head(scratch / "out.y4m");
  std::string header;
  std::getline(head, header);
  EXPECT_EQ(header, "YUV4MPEG2 W40 H30 F10000000:333667 Ip A1:1 C444 XYSCSS=444 XCOLORRANGE=LIMITED");

  const auto decoded = FfmpegFrames(scratch / "out.y4m", 40, 30, vf24Bit);
  const auto back = TReader<TFQY4MSource>(scratch / "out.y4m").Read();
  ASSERT_EQ(decoded.size(), 4u);
  ASSERT_EQ(back.size(), 4u);
  for (std::size_t i = 0; i < back.size(); ++i) {
    EXPECT_EQ(Difference(back[i], decoded[i]).Max, 0) << "frame " << i;
    // 8-bit limited-range YUV keeps colours to within a few levels.
    EXPECT_LE(Difference(back[i], As(frames[i], vf24Bit)).Max, 3) << "frame " << i;
  }

  // Grey streams are mono and come back unchanged.
  const std::vector<IFQImageBuffer> grey{RandomFrame(9, 7, vfGrey, 1), RandomFrame(9, 7, vfGrey, 2)};
  ASSERT_EQ(Write<TFQY4MSink>(scratch / "grey.y4m", grey), "");
  const auto greyBack = TReader<TFQY4MSource>(scratch / "grey.y4m").Read();
  ASSERT_EQ(greyBack.size(), 2u);
  EXPECT_TRUE(SameFrame(greyBack[1], grey[1]));
}

TEST(Y4M, BrokenStreamsAreReported) {
  TScratch scratch;
  const std::string header = "YUV4MPEG2 W4 H2 F25:1 C444\n";
  const std::string frame = "FRAME\n" + std::string(4 * 2 * 3, '\x80');
  struct Case {
    std::string bytes;
    std::string error;
    std::size_t frames;
  };
  for (const Case& c : {Case{"", "no data", 0}, Case{"GIF89a\n", "not a YUV4MPEG2 stream", 0},
                        Case{std::string(5000, 'Y'), "not a YUV4MPEG2 stream", 0},
                        Case{"YUV4MPEG2 W0 H2\n", "bad frame size 'W0'", 0},
                        Case{"YUV4MPEG2 W4 H2 C420p10\n", "unsupported colour space 'C420p10'", 0},
                        Case{header + frame + "FRAMX\n", "bad frame header at frame 1", 1},
                        Case{header + frame + frame.substr(0, 16), "truncated frame 1", 1}}) {
    SCOPED_TRACE(c.error);
    std::ofstream(scratch / "bad.y4m", std::ios::binary) << c.bytes;
    TReader<TFQY4MSource> reader(scratch / "bad.y4m");
    EXPECT_EQ(reader.Read().size(), c.frames);
    EXPECT_EQ(reader.source->GetLastError(), "cannot read '" + scratch / "bad.y4m" + "': " + c.error);
  }
}

TEST(RawPipe, RawFramesRoundTripExactlyThroughAPipe) {
  for (const TFQVideoFormat format : {vf24Bit, vf32Bit, vfGrey}) {
    SCOPED_TRACE(int(format));
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    TReader<TFQRawVideoSource> reader(FdName(fds[0]));
    reader.source->SetWidth(33);
    reader.source->SetHeight(17);
    reader.source->SetVideoFormat(format);
    reader.source->SetRate(50);
    reader.source->Start(); // reads on its thread while this one writes
    std::vector<IFQImageBuffer> frames;
    for (std::uint32_t i = 0; i < 40; ++i) frames.push_back(RandomFrame(33, 17, format, i));
    EXPECT_EQ(Write<TFQRawVideoSink>(FdName(fds[1]), frames), "");
    close(fds[1]);
    const auto back = reader.Finish();
    close(fds[0]);
    EXPECT_EQ(reader.source->GetLastError(), "");
    ExpectFrames(back, frames, 200'000);
  }
}

TEST(RawPipe, FailuresAreReportedNotFatal) {
  const std::vector<IFQImageBuffer> frames{RandomFrame(8, 8, vf24Bit, 1), RandomFrame(8, 8, vf24Bit, 2)};
  EXPECT_EQ(Write<TFQY4MSink>("/nonexistent-dir/x.y4m", frames),
            "cannot write '/nonexistent-dir/x.y4m': No such file or directory");
  TReader<TFQY4MSource> missing("/nonexistent-dir/x.y4m");
  missing.source->Start();
  EXPECT_EQ(missing.source->GetLastError(),
            "cannot open '/nonexistent-dir/x.y4m': No such file or directory");
  EXPECT_FALSE(missing.source->IsStreaming());

  // A reader that went away: an error, not SIGPIPE.
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  close(fds[0]);
  EXPECT_EQ(Write<TFQRawVideoSink>(FdName(fds[1]), frames),
            "cannot write '" + FdName(fds[1]) + "': Broken pipe");
  close(fds[1]);

  // Stop while the thread waits on a pipe that stays silent.
  ASSERT_EQ(pipe(fds), 0);
  TReader<TFQY4MSource> silent(FdName(fds[0]));
  silent.source->Start();
  std::this_thread::sleep_for(50ms);
  const auto begin = std::chrono::steady_clock::now();
  silent.source->Stop();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
  EXPECT_FALSE(silent.source->IsStreaming());
  EXPECT_EQ(silent.source->GetLastError(), "");
  EXPECT_EQ(silent.grabber->GetStartCount(), 0); // no header, no stream
  close(fds[0]);
  close(fds[1]);

  // A truncated last frame: the whole frames go out, then the error.
  TScratch scratch;
  std::ofstream(scratch / "short.raw", std::ios::binary) << std::string(8 * 8 * 3 * 5 / 2, '\x10');
  TReader<TFQRawVideoSource> reader(scratch / "short.raw");
  reader.source->SetWidth(8);
  reader.source->SetHeight(8);
  EXPECT_EQ(reader.Read().size(), 2u);
  EXPECT_EQ(reader.source->GetLastError(), "cannot read '" + scratch / "short.raw" + "': truncated frame 2");
}

TEST(RawPipe, StartsAndStopsFromSeveralThreads) {
  TReader<TFQRawVideoSource> reader("/dev/zero"); // endless black frames
  reader.source->SetWidth(8);
  reader.source->SetHeight(8);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < 25; ++i) (i + t) % 2 != 0 ? reader.source->Start() : reader.source->Stop();
    });
  for (auto& thread : threads) thread.join();
  reader.source->Stop();
  EXPECT_FALSE(reader.source->IsStreaming());
  EXPECT_GT(reader.grabber->GetStartCount(), 0);
  EXPECT_EQ(reader.grabber->GetStopCount(), reader.grabber->GetStartCount()); // one stop per stream
}

} // namespace
} // namespace framquist
