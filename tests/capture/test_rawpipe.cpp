// labels: threaded
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <thread>

#include "capture/fqrawpipe.h"
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

std::string FdName(int fd) { return "/dev/fd/" + std::to_string(fd); }

void WriteFile(const std::string& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

// A threaded source into a grabber, as an application reads a pipe.
template <class TSource>
struct Reader {
  TPWOwned<TSource> source = Make<TSource>();
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();
  explicit Reader(const std::string& file) {
    source->SetFileName(file);
    grabber->SetKeepCount(1000);
    EXPECT_TRUE(source->OutputPin.Connect(grabber->InputPin));
  }
  std::vector<IFQImageBuffer> Finish() {
    EXPECT_TRUE(source->WaitUntilFinished(20s));
    EXPECT_EQ(grabber->GetStopCount(), grabber->GetStartCount());
    return grabber->GetFrames();
  }
  std::vector<IFQImageBuffer> Read() {
    source->Start();
    return Finish();
  }
};

// frames -> TFQImageSource -> sink; the sink's last error.
template <class TSink>
std::string Write(const std::string& file, const std::vector<IFQImageBuffer>& frames,
                  std::int64_t interval = 400000) {
  auto source = Make<TFQImageSource>();
  auto sink = Make<TSink>();
  sink->SetFileName(file);
  EXPECT_TRUE(source->OutputPin.Connect(sink->InputPin));
  source->StartStream(frames[0].GetWidth(), frames[0].GetHeight(), frames[0].GetFormat(), interval);
  for (const auto& frame : frames) source->Push(frame);
  source->StopStream();
  return sink->GetLastError();
}

struct Y4MCase {
  const char* pixelFormat;
  const char* extra;
};

void PrintTo(const Y4MCase& c, std::ostream* os) { *os << c.pixelFormat << (*c.extra ? " full range" : ""); }

class Y4MFromFfmpeg : public ::testing::TestWithParam<Y4MCase> {};

TEST_P(Y4MFromFfmpeg, ReadsAPipeAsFfmpegDecodesIt) {
  FQ_SKIP_WITHOUT_FFMPEG();
  TScratch scratch;
  const Y4MCase c = GetParam();
  const bool grey = std::string(c.pixelFormat) == "gray";
  ASSERT_TRUE(Ffmpeg("-f lavfi -i testsrc=size=64x48:rate=10 -frames:v 6 -pix_fmt " +
                     std::string(c.pixelFormat) + " " + c.extra + " -f yuv4mpegpipe " + scratch / "in.y4m"));
  ASSERT_TRUE(Ffmpeg("-i " + scratch / "in.y4m" + " -f rawvideo -pix_fmt " + (grey ? "gray " : "bgr24 ") +
                     scratch / "in.raw"));
  const auto expected = ReadRawFrames(scratch / "in.raw", 64, 48, grey ? vfGrey : vf24Bit);
  ASSERT_EQ(expected.size(), 6u);

  FILE* pipe = popen(("cat " + scratch / "in.y4m").c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  Reader<TFQY4MSource> reader(FdName(fileno(pipe)));
  const auto frames = reader.Read();
  pclose(pipe);
  EXPECT_EQ(reader.source->GetLastError(), "");
  ASSERT_EQ(frames.size(), expected.size());
  EXPECT_EQ(reader.grabber->GetStreamInfo().Interval, 1'000'000);
  for (std::size_t i = 0; i < frames.size(); ++i) {
    std::string why;
    EXPECT_TRUE(SameFrame(frames[i], expected[i], &why)) << "frame " << i << ": " << why;
    EXPECT_EQ(frames[i].GetStartTime(), static_cast<std::int64_t>(i) * 1'000'000);
  }
}

INSTANTIATE_TEST_SUITE_P(ColourSpaces, Y4MFromFfmpeg,
                         ::testing::Values(Y4MCase{"yuv420p", ""}, Y4MCase{"yuv422p", ""},
                                           Y4MCase{"yuv444p", ""}, Y4MCase{"gray", ""},
                                           Y4MCase{"yuv420p", "-color_range pc"}),
                         [](const auto& info) {
                           return std::string(info.param.pixelFormat) + (*info.param.extra ? "_full" : "");
                         });

TEST(Y4M, SinkWritesWhatFfmpegAndTheSourceRead) {
  FQ_SKIP_WITHOUT_FFMPEG();
  TScratch scratch;
  std::vector<IFQImageBuffer> frames{test::Gradient(40, 30, vf24Bit, 0),
                                     test::RandomFrame(40, 30, vf24Bit, 5),
                                     test::RandomFrame(40, 30, vf32Bit, 6)};
  ASSERT_EQ(Write<TFQY4MSink>(scratch / "out.y4m", frames, 333'667), "");
  std::ifstream head(scratch / "out.y4m");
  std::string header;
  std::getline(head, header);
  EXPECT_EQ(header, "YUV4MPEG2 W40 H30 F10000000:333667 Ip A1:1 C444 XYSCSS=444 XCOLORRANGE=LIMITED");

  ASSERT_TRUE(Ffmpeg("-i " + scratch / "out.y4m" + " -f rawvideo -pix_fmt bgr24 " + scratch / "out.raw"));
  const auto decoded = ReadRawFrames(scratch / "out.raw", 40, 30, vf24Bit);
  const auto back = Reader<TFQY4MSource>(scratch / "out.y4m").Read();
  ASSERT_EQ(decoded.size(), 3u);
  ASSERT_EQ(back.size(), 3u);
  for (std::size_t i = 0; i < back.size(); ++i) {
    EXPECT_EQ(MaxDifference(back[i], decoded[i]), 0) << "frame " << i;
    IFQImageBuffer original;
    original.Assign(frames[i]);
    original.SetFormat(vf24Bit);
    // 8-bit limited-range YUV keeps colours to within a few levels.
    EXPECT_LE(MaxDifference(back[i], original), 3) << "frame " << i;
  }

  // Grey streams are mono and come back unchanged.
  const std::vector<IFQImageBuffer> grey{test::RandomFrame(9, 7, vfGrey, 1),
                                         test::RandomFrame(9, 7, vfGrey, 2)};
  ASSERT_EQ(Write<TFQY4MSink>(scratch / "grey.y4m", grey), "");
  const auto greyBack = Reader<TFQY4MSource>(scratch / "grey.y4m").Read();
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
    WriteFile(scratch / "bad.y4m", c.bytes);
    Reader<TFQY4MSource> reader(scratch / "bad.y4m");
    EXPECT_EQ(reader.Read().size(), c.frames);
    EXPECT_EQ(reader.source->GetLastError(), "cannot read '" + scratch / "bad.y4m" + "': " + c.error);
  }
}

TEST(RawPipe, RawFramesRoundTripExactlyThroughAPipe) {
  for (const TFQVideoFormat format : {vf24Bit, vf32Bit, vfGrey}) {
    SCOPED_TRACE(int(format));
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    Reader<TFQRawVideoSource> reader(FdName(fds[0]));
    reader.source->SetWidth(33);
    reader.source->SetHeight(17);
    reader.source->SetVideoFormat(format);
    reader.source->SetRate(50);
    reader.source->Start(); // reads on its thread while this one writes
    std::vector<IFQImageBuffer> frames;
    for (std::uint32_t i = 0; i < 40; ++i) frames.push_back(test::RandomFrame(33, 17, format, i));
    EXPECT_EQ(Write<TFQRawVideoSink>(FdName(fds[1]), frames), "");
    close(fds[1]);
    const auto back = reader.Finish();
    close(fds[0]);
    EXPECT_EQ(reader.source->GetLastError(), "");
    ASSERT_EQ(back.size(), frames.size());
    for (std::size_t i = 0; i < back.size(); ++i) {
      EXPECT_TRUE(SameFrame(back[i], frames[i])) << "frame " << i;
      EXPECT_EQ(back[i].GetStartTime(), static_cast<std::int64_t>(i) * 200'000);
    }
  }
}

TEST(RawPipe, ReadsFfmpegRawOutputAndReportsATruncatedFrame) {
  FQ_SKIP_WITHOUT_FFMPEG();
  TScratch scratch;
  ASSERT_TRUE(Ffmpeg("-f lavfi -i testsrc=size=30x20:rate=10 -frames:v 3 -f rawvideo -pix_fmt bgra " +
                     scratch / "in.raw"));
  const auto expected = ReadRawFrames(scratch / "in.raw", 30, 20, vf32Bit);
  ASSERT_EQ(expected.size(), 3u);
  Reader<TFQRawVideoSource> reader(scratch / "in.raw");
  reader.source->SetWidth(30);
  reader.source->SetHeight(20);
  reader.source->SetVideoFormat(vf32Bit);
  auto frames = reader.Read();
  ASSERT_EQ(frames.size(), 3u);
  EXPECT_TRUE(SameFrame(frames[2], expected[2]));

  std::filesystem::resize_file(scratch / "in.raw", 30 * 20 * 4 * 5 / 2);
  reader.grabber->Clear();
  frames = reader.Read();
  EXPECT_EQ(frames.size(), 2u);
  EXPECT_EQ(reader.source->GetLastError(), "cannot read '" + scratch / "in.raw" + "': truncated frame 2");
}

TEST(RawPipe, FailuresAreReportedNotFatal) {
  const std::vector<IFQImageBuffer> frames{test::RandomFrame(8, 8, vf24Bit, 1),
                                           test::RandomFrame(8, 8, vf24Bit, 2)};
  EXPECT_EQ(Write<TFQY4MSink>("/nonexistent-dir/x.y4m", frames),
            "cannot write '/nonexistent-dir/x.y4m': No such file or directory");
  Reader<TFQY4MSource> missing("/nonexistent-dir/x.y4m");
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
  Reader<TFQY4MSource> silent(FdName(fds[0]));
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
}

TEST(RawPipe, StartsAndStopsFromSeveralThreads) {
  Reader<TFQRawVideoSource> reader("/dev/zero"); // endless black frames
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

TEST(RawPipe, ClassesAreRegisteredAndPublishTheirProperties) {
  using test::Published;
  Fqrawpipe::Register();
  for (const char* name : {"TFQY4MSource", "TFQY4MSink", "TFQRawVideoSource", "TFQRawVideoSink"}) {
    auto component = TFQRegistry::Create(name);
    ASSERT_NE(component, nullptr) << name;
    EXPECT_EQ(component->GetClassName(), name);
    EXPECT_EQ(Published(*component, "FileName", std::string("-")), TPWValue(std::string("-")));
  }
  auto raw = TFQRegistry::Create("TFQRawVideoSource");
  EXPECT_EQ(Published(*raw, "Width", std::int64_t{0}), TPWValue(std::int64_t{1}));
  EXPECT_EQ(Published(*raw, "Height", std::int64_t{90}), TPWValue(std::int64_t{90}));
  EXPECT_EQ(Published(*raw, "Rate", 29.97), TPWValue(29.97));
  EXPECT_EQ(Published(*raw, "VideoFormat", std::int64_t{vfGrey}), TPWValue(std::int64_t{vfGrey}));
  EXPECT_EQ(Published(*raw, "VideoFormat", std::int64_t{vf16Bit565}), TPWValue(std::int64_t{vf24Bit}));
}

} // namespace
} // namespace framquist
