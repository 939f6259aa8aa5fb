// Helpers for the image-primitive tests: padded test images, target
// switching and comparison of a fast target against the reference kernels.
#pragma once

#include "ipp/ipp.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace fqipptest {

using namespace framquist;

// Switches the kernel target for a scope and restores the previous one.
class TargetScope {
public:
  explicit TargetScope(IppTarget target) : saved_(ippGetTarget()) { ippSetTarget(target); }
  ~TargetScope() { ippSetTarget(saved_); }
  TargetScope(const TargetScope&) = delete;
  TargetScope& operator=(const TargetScope&) = delete;

private:
  IppTarget saved_;
};

inline bool targetAvailable(IppTarget t) {
  return static_cast<int>(t) <= static_cast<int>(ippGetBestTarget());
}

inline std::vector<IppTarget> availableTargets() {
  std::vector<IppTarget> out;
  for (IppTarget t : {IppTarget::Reference, IppTarget::Portable, IppTarget::AVX2, IppTarget::AVX512})
    if (targetAvailable(t)) out.push_back(t);
  return out;
}

// Fixture for tests run once per fast target; targets the CPU lacks are skipped.
class PerTarget : public ::testing::TestWithParam<IppTarget> {
protected:
  void SetUp() override {
    if (!targetAvailable(GetParam())) GTEST_SKIP() << "CPU cannot run " << ippTargetName(GetParam());
  }
};

inline std::string targetParamName(const ::testing::TestParamInfo<IppTarget>& info) {
  return ippTargetName(info.param);
}

#define FQ_IPP_INSTANTIATE_FAST_TARGETS(suite)                                                               \
  INSTANTIATE_TEST_SUITE_P(Targets, suite,                                                                   \
                           ::testing::Values(IppTarget::Portable, IppTarget::AVX2, IppTarget::AVX512),       \
                           ::fqipptest::targetParamName)

// A random image holding a ROI of `roi` pixels. Padded images put the ROI
// inside a larger image (offset, wider lines, extra rows) so that writes
// outside it show up.
struct Image {
  int pixelBytes = 1;
  IppiSize roi{0, 0};
  int x0 = 0, y0 = 0, step = 0, rows = 0;
  std::vector<Ipp8u> data;

  Ipp8u* at() { return data.data() + static_cast<std::ptrdiff_t>(y0) * step + x0 * pixelBytes; }
  const Ipp8u* at() const { return data.data() + static_cast<std::ptrdiff_t>(y0) * step + x0 * pixelBytes; }
  Ipp8u& sample(int x, int y, int c) {
    return at()[static_cast<std::ptrdiff_t>(y) * step + x * pixelBytes + c];
  }
  Ipp8u sample(int x, int y, int c) const {
    return at()[static_cast<std::ptrdiff_t>(y) * step + x * pixelBytes + c];
  }
};

inline Image makeImage(int pixelBytes, IppiSize roi, bool padded, std::mt19937& rng) {
  Image im;
  im.pixelBytes = pixelBytes;
  im.roi = roi;
  if (padded) {
    im.x0 = static_cast<int>(rng() % 4);
    im.y0 = static_cast<int>(rng() % 3);
    im.step = (im.x0 + roi.width) * pixelBytes + 1 + static_cast<int>(rng() % 40);
    im.rows = im.y0 + roi.height + static_cast<int>(rng() % 3);
  } else {
    im.step = roi.width * pixelBytes;
    im.rows = roi.height;
  }
  im.data.resize(static_cast<std::size_t>(im.step) * im.rows);
  for (auto& b : im.data) b = static_cast<Ipp8u>(rng());
  return im;
}

// Checks that only samples firstChannel..firstChannel+channels-1 of ROI
// pixels differ between before and after.
inline void expectOnlyRoiWritten(const Image& before, const Image& after, int firstChannel, int channels,
                                 const std::string& what) {
  for (int r = 0; r < before.rows; ++r)
    for (int b = 0; b < before.step; ++b) {
      const std::size_t i = static_cast<std::size_t>(r) * before.step + b;
      if (before.data[i] == after.data[i]) continue;
      const int x = (b - before.x0 * before.pixelBytes), y = r - before.y0;
      const bool inRoi =
          y >= 0 && y < before.roi.height && x >= 0 && x < before.roi.width * before.pixelBytes;
      const int c = x % before.pixelBytes;
      ASSERT_TRUE(inRoi && c >= firstChannel && c < firstChannel + channels)
          << what << ": byte " << b << " of row " << r << " written";
    }
}

inline std::string firstMismatch(const std::vector<Ipp8u>& a, const std::vector<Ipp8u>& b, int step) {
  for (std::size_t i = 0; i < a.size(); ++i)
    if (a[i] != b[i])
      return "row " + std::to_string(i / step) + " byte " + std::to_string(i % step) + ": " +
             std::to_string(a[i]) + " vs " + std::to_string(b[i]);
  return "";
}

// Runs op(src, dst) with the reference kernels and with `target` on copies
// of the same images and expects bit-identical buffers, padding included.
// The reference run must write nothing outside the ROI channels given.
template <class Op>
void expectMatchesReference(IppTarget target, const Image& src, const Image& dst, Op op,
                            const std::string& what, int firstChannel, int channels) {
  Image refSrc = src, refDst = dst, fastSrc = src, fastDst = dst;
  {
    TargetScope scope(IppTarget::Reference);
    ASSERT_EQ(op(refSrc, refDst), ippStsNoErr) << what;
  }
  {
    TargetScope scope(target);
    ASSERT_EQ(op(fastSrc, fastDst), ippStsNoErr) << what;
  }
  expectOnlyRoiWritten(dst, refDst, firstChannel, channels, what + " (reference)");
  ASSERT_TRUE(refDst.data == fastDst.data)
      << what << ": " << firstMismatch(refDst.data, fastDst.data, dst.step);
  ASSERT_TRUE(refSrc.data == fastSrc.data) << what << " changed its source";
}

// The same, and then again with the source as destination, for primitives
// that may work in place: that must also give what a separate destination
// holding the same pixels gets, so a row is read before it is overwritten.
template <class Op>
void expectMatchesReferenceOutAndInPlace(IppTarget target, const Image& src, const Image& dst, Op op,
                                         const std::string& what, int firstChannel, int channels) {
  expectMatchesReference(target, src, dst, op, what, firstChannel, channels);
  expectMatchesReference(
      target, src, src, [&](Image&, Image& d) { return op(d, d); }, what + " in place", firstChannel,
      channels);
  TargetScope scope(target);
  Image source = src, separate = src, inPlace = src;
  ASSERT_EQ(op(source, separate), op(inPlace, inPlace)) << what;
  ASSERT_TRUE(separate.data == inPlace.data)
      << what << " in place: " << firstMismatch(separate.data, inPlace.data, src.step);
}

// The argument checks all primitives share, through call(src, srcStep, dst,
// dstStep, roi) on an 8x4 ROI: null pointers, empty or negative sizes and
// lines shorter than a ROI row give their error and write nothing.
// srcBytes 0: there is no source (in-place forms), src is to be ignored.
template <class Call>
void expectArgumentErrors(int srcBytes, int dstBytes, Call call, const std::string& what) {
  std::mt19937 rng(1);
  const IppiSize ok{8, 4};
  const int srcRow = 8 * srcBytes, dstRow = 8 * dstBytes;
  const Image src = makeImage(srcBytes > 0 ? srcBytes : 1, ok, false, rng);
  Image dst = makeImage(dstBytes, ok, false, rng);
  const Image before = dst;
  const Ipp8u* s = src.at();
  EXPECT_EQ(call(s, srcRow, nullptr, dstRow, ok), ippStsNullPtrErr) << what;
  EXPECT_EQ(call(s, srcRow, dst.at(), dstRow, IppiSize{0, 4}), ippStsSizeErr) << what;
  EXPECT_EQ(call(s, srcRow, dst.at(), dstRow, IppiSize{8, -1}), ippStsSizeErr) << what;
  EXPECT_EQ(call(s, srcRow, dst.at(), dstRow - 1, ok), ippStsStepErr) << what;
  EXPECT_EQ(call(s, srcRow, dst.at(), -dstRow, ok), ippStsStepErr) << what;
  if (srcBytes > 0) {
    EXPECT_EQ(call(nullptr, srcRow, dst.at(), dstRow, ok), ippStsNullPtrErr) << what;
    EXPECT_EQ(call(s, srcRow - 1, dst.at(), dstRow, ok), ippStsStepErr) << what;
    EXPECT_EQ(call(s, 0, dst.at(), dstRow, ok), ippStsStepErr) << what;
  }
  EXPECT_TRUE(dst.data == before.data) << what;
}

// ROI sizes that cross every vector width used (16 to 192 bytes) at 1, 3
// and 4 bytes per pixel, plus one large odd-sized image.
inline std::vector<IppiSize> testSizes() {
  std::vector<IppiSize> sizes;
  for (int w = 1; w <= 70; ++w)
    for (int h : {1, 2, 3}) sizes.push_back({w, h});
  for (int w : {95, 96, 97, 127, 128, 129, 191, 192, 193, 255, 256, 257})
    for (int h : {4, 5}) sizes.push_back({w, h});
  sizes.push_back({385, 289});
  return sizes;
}

inline std::string describe(const char* fn, IppiSize roi, bool padded) {
  return std::string(fn) + " " + std::to_string(roi.width) + "x" + std::to_string(roi.height) +
         (padded ? " padded" : " packed");
}

} // namespace fqipptest
