// Helpers shared by the capture tests: a scratch folder, the ffmpeg command
// and what it decodes, sources read to their end, sinks fed one stream, and
// frame comparisons.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "frame/fqendpoints.h"
#include "frame/fqimagebuffer.h"
#include "pinweave/pwcomponent.h"
#include "support/fqtestsupport.h"

namespace framquist::test {

inline bool HaveFfmpeg() {
  static const bool have = std::system("ffmpeg -version >/dev/null 2>&1") == 0;
  return have;
}

#define FQ_SKIP_WITHOUT_FFMPEG()                                                                             \
  if (!::framquist::test::HaveFfmpeg())                                                                      \
  GTEST_SKIP() << "the ffmpeg command is not installed (tools/deps.sh installs it)"

// Runs the ffmpeg command quietly; true when it succeeded.
inline bool Ffmpeg(const std::string& args) {
  return std::system(("ffmpeg -hide_banner -loglevel error -nostdin -y " + args).c_str()) == 0;
}

// A folder of the running test's own, removed afterwards.
struct TScratch {
  std::filesystem::path dir;
  TScratch() {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    dir = std::filesystem::temp_directory_path() /
          ("fqcapture-" + std::to_string(getpid()) + "-" + info->test_suite_name() + "-" + info->name());
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
  }
  ~TScratch() {
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
  }
  std::string operator/(const std::string& name) const { return (dir / name).string(); }
};

// `file` as the ffmpeg command decodes it to packed frames of `format`
// (grey, 24 or 32-bit); none when it fails.
inline std::vector<IFQImageBuffer> FfmpegFrames(const std::string& file, int width, int height,
                                                TFQVideoFormat format) {
  const std::string raw = file + ".raw";
  const char* pixels = format == vfGrey ? "gray " : format == vf32Bit ? "bgra " : "bgr24 ";
  std::vector<IFQImageBuffer> frames;
  if (!Ffmpeg("-i " + file + " -f rawvideo -pix_fmt " + pixels + raw)) return frames;
  std::ifstream in(raw, std::ios::binary);
  const std::size_t row = static_cast<std::size_t>(width * FQBytesPerPixel(format));
  std::vector<char> data(row * static_cast<std::size_t>(height));
  while (in.read(data.data(), static_cast<std::streamsize>(data.size()))) {
    IFQImageBuffer frame = IFQImageBuffer::Create(width, height, format);
    for (int y = 0; y < height; ++y)
      std::memcpy(frame.GetWritePointer() + static_cast<long>(y) * frame.GetLineStep(), data.data() + y * row,
                  row);
    frames.push_back(frame);
  }
  return frames;
}

// The same frames as `expected`, the i-th timed from i to i + 1 intervals.
inline void ExpectFrames(const std::vector<IFQImageBuffer>& frames,
                         const std::vector<IFQImageBuffer>& expected, std::int64_t interval) {
  ASSERT_EQ(frames.size(), expected.size());
  for (std::size_t i = 0; i < frames.size(); ++i) {
    std::string why;
    EXPECT_TRUE(SameFrame(frames[i], expected[i], &why)) << "frame " << i << ": " << why;
    EXPECT_EQ(frames[i].GetStartTime(), static_cast<std::int64_t>(i) * interval) << "frame " << i;
    EXPECT_EQ(frames[i].GetEndTime(), static_cast<std::int64_t>(i + 1) * interval) << "frame " << i;
  }
}

// A copy of `frame` in `format`.
inline IFQImageBuffer As(const IFQImageBuffer& frame, TFQVideoFormat format) {
  IFQImageBuffer copy;
  copy.Assign(frame);
  copy.SetFormat(format);
  return copy;
}

// How far the visible bytes of two frames differ; frames of another size or
// format differ without bound.
struct TDifference {
  int Max = 0;
  double Mean = 0;
};

inline TDifference Difference(const IFQImageBuffer& a, const IFQImageBuffer& b) {
  if (!(a.GetSize() == b.GetSize()) || a.GetFormat() != b.GetFormat())
    return {std::numeric_limits<int>::max(), std::numeric_limits<double>::infinity()};
  TDifference d;
  const int row = a.GetWidth() * a.GetBytesPerPixel();
  for (int y = 0; y < a.GetHeight(); ++y) {
    const std::uint8_t* pa = a.GetReadPointer() + static_cast<long>(y) * a.GetLineStep();
    const std::uint8_t* pb = b.GetReadPointer() + static_cast<long>(y) * b.GetLineStep();
    for (int i = 0; i < row; ++i) {
      d.Max = std::max(d.Max, std::abs(pa[i] - pb[i]));
      d.Mean += std::abs(pa[i] - pb[i]);
    }
  }
  d.Mean /= static_cast<double>(row) * a.GetHeight();
  return d;
}

// A smooth picture (lossy codecs keep it close), different for each seed.
inline IFQImageBuffer Gradient(int width, int height, TFQVideoFormat format, int seed) {
  IFQImageBuffer frame = IFQImageBuffer::Create(width, height, format);
  const int bpp = frame.GetBytesPerPixel();
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      std::uint8_t* p = frame.GetWritePointer() + static_cast<long>(y) * frame.GetLineStep() + x * bpp;
      const std::uint8_t v[4] = {static_cast<std::uint8_t>(x * 200 / width),
                                 static_cast<std::uint8_t>(y * 200 / height),
                                 static_cast<std::uint8_t>(40 + seed * 10), 255};
      std::memcpy(p, v, static_cast<std::size_t>(bpp));
    }
  return frame;
}

// A threaded source into a grabber, as an application reads a file or pipe.
template <class TSource>
struct TReader {
  TPWOwned<TSource> source = Make<TSource>();
  TPWOwned<TFQImageGrabber> grabber = Make<TFQImageGrabber>();
  explicit TReader(const std::string& file) {
    source->SetFileName(file);
    grabber->SetKeepCount(1000);
    EXPECT_TRUE(source->OutputPin.Connect(grabber->InputPin));
  }
  // Waits for the end of what Start() began; every stream sent its stop.
  std::vector<IFQImageBuffer> Finish() {
    EXPECT_TRUE(source->WaitUntilFinished(std::chrono::seconds(20)));
    EXPECT_EQ(grabber->GetStopCount(), grabber->GetStartCount());
    return grabber->GetFrames();
  }
  std::vector<IFQImageBuffer> Read() {
    source->Start();
    return Finish();
  }
};

// frames -> TFQImageSource -> sink as one stream; the sink's last error.
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

} // namespace framquist::test
