// Helpers shared by the capture tests: a scratch folder, the ffmpeg command,
// files of packed frames and frame comparisons that allow a tolerance.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "frame/fqimagebuffer.h"
#include "pinweave/pwcomponent.h"

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
    std::string name = std::string(info->test_suite_name()) + "-" + info->name();
    std::replace(name.begin(), name.end(), '/', '-');
    dir = std::filesystem::temp_directory_path() / ("fqcapture-" + std::to_string(getpid()) + "-" + name);
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
  }
  ~TScratch() {
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
  }
  std::string operator/(const std::string& name) const { return (dir / name).string(); }
};

// Frames of packed pixels, as "-f rawvideo" writes them.
inline std::vector<IFQImageBuffer> ReadRawFrames(const std::string& file, int width, int height,
                                                 TFQVideoFormat format) {
  std::ifstream in(file, std::ios::binary);
  const std::size_t row = static_cast<std::size_t>(width * FQBytesPerPixel(format));
  std::vector<char> data(row * static_cast<std::size_t>(height));
  std::vector<IFQImageBuffer> frames;
  while (in.read(data.data(), static_cast<std::streamsize>(data.size()))) {
    IFQImageBuffer frame = IFQImageBuffer::Create(width, height, format);
    for (int y = 0; y < height; ++y)
      std::memcpy(frame.GetWritePointer() + static_cast<long>(y) * frame.GetLineStep(), data.data() + y * row,
                  row);
    frames.push_back(frame);
  }
  return frames;
}

// The largest difference of any visible byte; -1 when size or format differ.
inline int MaxDifference(const IFQImageBuffer& a, const IFQImageBuffer& b) {
  if (!(a.GetSize() == b.GetSize()) || a.GetFormat() != b.GetFormat()) return -1;
  int worst = 0;
  const int row = a.GetWidth() * a.GetBytesPerPixel();
  for (int y = 0; y < a.GetHeight(); ++y) {
    const std::uint8_t* pa = a.GetReadPointer() + static_cast<long>(y) * a.GetLineStep();
    const std::uint8_t* pb = b.GetReadPointer() + static_cast<long>(y) * b.GetLineStep();
    for (int i = 0; i < row; ++i) worst = std::max(worst, std::abs(pa[i] - pb[i]));
  }
  return worst;
}

// Sets a published property as a form would and reads it back.
inline TPWValue Published(TPWComponent& component, const std::string& name, const TPWValue& value) {
  const TPWPropertyList props = PWDeclaredProperties(component);
  const TPWProperty* property = props.Find(name);
  if (property == nullptr) {
    ADD_FAILURE() << component.GetClassName() << " publishes no " << name;
    return {};
  }
  property->Set(value);
  return property->Get();
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

} // namespace framquist::test
