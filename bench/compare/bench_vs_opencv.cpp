// Every image primitive next to the OpenCV call that computes the same thing
// (or the nearest one it has), with memcpy of the same bytes as the
// yardstick, in one process, then one Markdown table of the results.
//
// Per case: ours and OpenCV on a 1920x1080 frame, memcpy of that frame, and
// ours and memcpy on a 320x240 frame that stays in cache. Ours runs on the
// kernel target the dispatcher picked (FRAMQUIST_IPP_TARGET may force
// another), OpenCV on one thread. Rates are pixels per second of CPU time
// (the machine may be shared; CPU time hides time spent descheduled). Data
// are random bytes, so no lookup or branch is flattered by uniform input.
// In-place forms run on the result of the previous call, which for Mul, Div
// and MulCScale drifts toward 0 or 255; none of the kernels on either side
// depends on the values for its speed.
//
// Where the semantics differ, the comment at the case says how.
#include "bench/benchsupport.h"
#include "ipp/ipp.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

namespace {

using namespace framquist;

constexpr IppiSize kFull = {1920, 1080};
constexpr IppiSize kCached = {320, 240};

// splitmix64: fast enough to fill a few frames per benchmark run.
void fillRandom(Ipp8u* p, std::size_t n, std::uint64_t seed) {
  for (std::size_t i = 0; i < n; i += 8) {
    std::uint64_t z = (seed += 0x9e3779b97f4a7c15ull);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    z ^= z >> 31;
    std::memcpy(p + i, &z, std::min<std::size_t>(8, n - i));
  }
}

// Two random sources and a random destination of one frame. Buffers hold at
// least 4 bytes per pixel, so forms that write 4-byte pixels from 1-byte
// ones (C1C4R, the palette) fit too.
struct Work {
  Work(IppiSize s, int pixelBytes)
      : size(s), pixelBytes(pixelBytes), step(s.width * pixelBytes),
        bytes(static_cast<std::size_t>(s.width) * s.height * std::max(pixelBytes, 4)), a(bytes), b(bytes),
        dst(bytes) {
    fillRandom(a.data(), bytes, 1);
    fillRandom(b.data(), bytes, 2);
    fillRandom(dst.data(), bytes, 3);
  }
  cv::Mat mat(std::vector<Ipp8u>& buf, int channels) const {
    return cv::Mat(size.height, size.width, CV_8UC(channels), buf.data());
  }
  std::size_t frameBytes() const { return static_cast<std::size_t>(size.width) * size.height * pixelBytes; }

  IppiSize size;
  int pixelBytes, step;
  std::size_t bytes;
  std::vector<Ipp8u> a, b, dst;
};

// A case prepares its call on a Work (tables, maps, Mat headers) outside the
// timing and returns the call; an empty call means it could not run.
using Timed = std::function<void()>;
using Prepare = std::function<Timed(Work&)>;

struct Case {
  std::string primitive, variant;
  int pixelBytes; // of the larger image, which memcpy copies
  Prepare ours, opencv;
};

// --- Our calls, by shape ----------------------------------------------------

// fn(src, step, dst, step, roi, extra...); also the in-place two-image forms.
template <class F, class... X>
Prepare unary(F fn, X... x) {
  return [=](Work& w) -> Timed {
    return [=, &w] { fn(w.a.data(), w.step, w.dst.data(), w.step, w.size, x...); };
  };
}

// fn(src1, step, src2, step, dst, step, roi, extra...)
template <class F, class... X>
Prepare binary(F fn, X... x) {
  return [=](Work& w) -> Timed {
    return [=, &w] { fn(w.a.data(), w.step, w.b.data(), w.step, w.dst.data(), w.step, w.size, x...); };
  };
}

// fn(srcDst, step, roi, extra...)
template <class F, class... X>
Prepare inPlace(F fn, X... x) {
  return [=](Work& w) -> Timed { return [=, &w] { fn(w.dst.data(), w.step, w.size, x...); }; };
}

// fn(value, dst, step, roi)
template <class F, class V>
Prepare valueFirst(F fn, V value) {
  return [=](Work& w) -> Timed { return [=, &w] { fn(value, w.dst.data(), w.step, w.size); }; };
}

// --- OpenCV calls -------------------------------------------------------------

// f(a, b, d) on Mat headers over the Work's buffers: a and b with srcCh
// channels, d with dstCh. One untimed call checks that OpenCV wrote into
// our buffer rather than allocating its own.
template <class F>
Prepare cvCall(int srcCh, int dstCh, F f) {
  return [=](Work& w) -> Timed {
    cv::Mat a = w.mat(w.a, srcCh), b = w.mat(w.b, srcCh), d = w.mat(w.dst, dstCh);
    const uchar* const p = d.data;
    f(a, b, d);
    if (d.data != p) return {};
    return [=]() mutable { f(a, b, d); };
  };
}
template <class F>
Prepare cvCall(int ch, F f) {
  return cvCall(ch, ch, f);
}

const Prepare kNone;

// --- Tables ---------------------------------------------------------------------

// The 256-entry table our per-sample op applies, read off a ramp: every
// channel of pixel i holds i. Channels beyond opChannels map to themselves
// (alpha of the AC4 forms).
template <class F>
cv::Mat tableOf(int opChannels, int tableChannels, F op) {
  std::vector<Ipp8u> ramp(256 * opChannels), out(ramp.size());
  for (int i = 0; i < 256; ++i)
    for (int c = 0; c < opChannels; ++c) ramp[i * opChannels + c] = static_cast<Ipp8u>(i);
  op(ramp.data(), 256 * opChannels, out.data(), 256 * opChannels, IppiSize{256, 1});
  cv::Mat table(1, 256, CV_8UC(tableChannels));
  for (int i = 0; i < 256; ++i)
    for (int c = 0; c < tableChannels; ++c)
      table.data[i * tableChannels + c] = c < opChannels ? out[i * opChannels + c] : static_cast<Ipp8u>(i);
  return table;
}

Prepare cvLut(int ch, cv::Mat table) {
  return cvCall(ch, [table](cv::Mat& a, cv::Mat&, cv::Mat& d) { cv::LUT(a, table, d); });
}

// An S-curve of five points, shifted per channel so the channels differ.
using Curves = framquist::bench::LutCurves;

Curves& curves() {
  static Curves c(true);
  return c;
}

// A lens-like warp that keeps every coordinate inside the frame: the centre
// is magnified by 1/0.85, the corners stay where they are.
struct Maps {
  explicit Maps(IppiSize s) : x(s.height, s.width, CV_32F), y(s.height, s.width, CV_32F) {
    const float cx = (s.width - 1) * 0.5f, cy = (s.height - 1) * 0.5f, r2max = cx * cx + cy * cy;
    for (int j = 0; j < s.height; ++j)
      for (int i = 0; i < s.width; ++i) {
        const float dx = i - cx, dy = j - cy, k = 0.85f + 0.15f * (dx * dx + dy * dy) / r2max;
        x.at<float>(j, i) = std::clamp(cx + dx * k, 0.0f, s.width - 1.0f);
        y.at<float>(j, i) = std::clamp(cy + dy * k, 0.0f, s.height - 1.0f);
      }
  }
  cv::Mat x, y;
};

using RemapFn = IppStatus (*)(const Ipp8u*, IppiSize, int, IppiRect, const Ipp32f*, int, const Ipp32f*, int,
                              Ipp8u*, int, IppiSize, int);

Prepare ourRemap(RemapFn fn, int mode) {
  return [=](Work& w) -> Timed {
    auto m = std::make_shared<Maps>(w.size);
    const int mapStep = w.size.width * 4;
    return [=, &w] {
      fn(w.a.data(), w.size, w.step, {0, 0, w.size.width, w.size.height}, m->x.ptr<Ipp32f>(), mapStep,
         m->y.ptr<Ipp32f>(), mapStep, w.dst.data(), w.step, w.size, mode);
    };
  };
}

// Ours leaves pixels mapped outside the source alone and repeats the edge
// for neighbours beyond it; every coordinate here is inside, so replicating
// the border gives the same pixels. OpenCV's cubic is the a = -0.75 kernel,
// ours the polynomial through the four samples: same work, other weights.
Prepare cvRemap(int ch, int inter) {
  return [=](Work& w) -> Timed {
    auto m = std::make_shared<Maps>(w.size);
    return cvCall(ch, [m, inter](cv::Mat& a, cv::Mat&, cv::Mat& d) {
      cv::remap(a, d, m->x, m->y, inter, cv::BORDER_REPLICATE);
    })(w);
  };
}

// FilterGauss reads a border around its ROI; both sides get the same source,
// a frame with two pixels of image on every side. OpenCV takes the
// surrounding pixels of a sub-matrix as its border.
struct Bordered {
  explicit Bordered(IppiSize s)
      : step((s.width + 4) * 4), buf(static_cast<std::size_t>(step) * (s.height + 4)),
        full(s.height + 4, s.width + 4, CV_8UC4, buf.data()), roi(full(cv::Rect(2, 2, s.width, s.height))) {
    fillRandom(buf.data(), buf.size(), 4);
  }
  Ipp8u* origin() { return buf.data() + 2 * step + 2 * 4; }
  int step;
  std::vector<Ipp8u> buf;
  cv::Mat full, roi;
};

Prepare ourGauss(IppiMaskSize mask) {
  return [=](Work& w) -> Timed {
    auto s = std::make_shared<Bordered>(w.size);
    return [=, &w] { ippiFilterGauss_8u_AC4R(s->origin(), s->step, w.dst.data(), w.step, w.size, mask); };
  };
}

// With sigma 0 OpenCV takes its fixed 1-2-1 and 1-4-6-4-1 kernels for 3 and
// 5; our 5x5 mask has other weights and is not separable, OpenCV also blurs
// alpha.
Prepare cvGauss(int ksize) {
  return [=](Work& w) -> Timed {
    auto s = std::make_shared<Bordered>(w.size);
    return cvCall(4, [s, ksize](cv::Mat&, cv::Mat&, cv::Mat& d) {
      cv::GaussianBlur(s->roi, d, cv::Size(ksize, ksize), 0, 0, cv::BORDER_DEFAULT);
    })(w);
  };
}

// Noise: our primitives draw and add in one pass; with OpenCV that takes a
// draw into a temporary and an add. Gauss noise is signed, so its temporary
// is 16-bit. AC4 draws zero for alpha.
using RandFn = IppStatus (*)(Ipp8u*, int, IppiSize, Ipp8u, Ipp8u, unsigned int*);
constexpr Ipp8u kNoiseHigh = 32, kNoiseStdev = 16;

Prepare ourRand(RandFn fn, Ipp8u p1, Ipp8u p2) {
  return [=](Work& w) -> Timed {
    auto seed = std::make_shared<unsigned int>(12345);
    return [=, &w] { fn(w.dst.data(), w.step, w.size, p1, p2, seed.get()); };
  };
}

Prepare cvRandUniform(int ch, bool ac4) {
  return [=](Work& w) -> Timed {
    auto noise = std::make_shared<cv::Mat>(w.size.height, w.size.width, CV_8UC(ch));
    const cv::Scalar high = ac4 ? cv::Scalar::all(kNoiseHigh + 1) - cv::Scalar(0, 0, 0, kNoiseHigh)
                                : cv::Scalar::all(kNoiseHigh + 1);
    return cvCall(ch, [noise, high](cv::Mat&, cv::Mat&, cv::Mat& d) {
      cv::randu(*noise, cv::Scalar::all(0), high);
      cv::add(d, *noise, d);
    })(w);
  };
}

Prepare cvRandGauss(int ch, bool ac4) {
  return [=](Work& w) -> Timed {
    auto noise = std::make_shared<cv::Mat>(w.size.height, w.size.width, CV_16SC(ch));
    const cv::Scalar stdev =
        ac4 ? cv::Scalar(kNoiseStdev, kNoiseStdev, kNoiseStdev, 0) : cv::Scalar::all(kNoiseStdev);
    return cvCall(ch, [noise, stdev](cv::Mat&, cv::Mat&, cv::Mat& d) {
      cv::randn(*noise, cv::Scalar::all(0), stdev);
      cv::add(d, *noise, d, cv::noArray(), CV_8U);
    })(w);
  };
}

// PolarToCart works on doubles; its "pixels" are elements, 16 bytes in and
// 16 out each.
struct Polar {
  explicit Polar(IppiSize s)
      : mag(s.height, s.width, CV_64F), phase(mag.size(), CV_64F), re(mag.size(), CV_64F),
        im(mag.size(), CV_64F) {
    cv::randu(mag, 0, 100);
    cv::randu(phase, -std::numbers::pi, std::numbers::pi);
  }
  cv::Mat mag, phase, re, im;
};

// --- The cases ------------------------------------------------------------------

const Ipp8u kLT[3] = {20, 30, 40}, kGT[3] = {200, 180, 160};
const Ipp8u kSet3[3] = {10, 20, 30}, kSet4[4] = {10, 20, 30, 40};
const Ipp8u kScale3[3] = {200, 128, 90}, kScale4[4] = {200, 128, 90, 255};
const Ipp32f kTwist[3][4] = {
    {0.299f, 0.587f, 0.114f, 0}, {-0.169f, -0.331f, 0.5f, 128}, {0.5f, -0.419f, -0.081f, 128}};

std::vector<Case> cases() {
  std::vector<Case> all;
  auto add = [&](std::string p, std::string v, int pb, Prepare ours, Prepare cv) {
    all.push_back({std::move(p), std::move(v), pb, std::move(ours), std::move(cv)});
  };

  // Mirror. OpenCV flips alpha with the rest; our AC4 leaves it.
  using MirrorFn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize, IppiAxis);
  using MirrorIFn = IppStatus (*)(Ipp8u*, int, IppiSize, IppiAxis);
  const struct {
    const char* name;
    int pb;
    MirrorFn fn;
    MirrorIFn ifn;
  } mirrors[] = {{"C1", 1, ippiMirror_8u_C1R, ippiMirror_8u_C1IR},
                 {"C3", 3, ippiMirror_8u_C3R, ippiMirror_8u_C3IR},
                 {"C4", 4, ippiMirror_8u_C4R, ippiMirror_8u_C4IR},
                 {"AC4", 4, ippiMirror_8u_AC4R, ippiMirror_8u_AC4IR}};
  const struct {
    const char* name;
    IppiAxis axis;
    int flipCode;
  } axes[] = {{"horizontal", ippAxsHorizontal, 0}, {"vertical", ippAxsVertical, 1}, {"both", ippAxsBoth, -1}};
  for (bool inplace : {false, true})
    for (const auto& m : mirrors)
      for (const auto& ax : axes) {
        const int code = ax.flipCode;
        add(inplace ? "Mirror (in place)" : "Mirror", std::string(m.name) + " " + ax.name, m.pb,
            inplace ? inPlace(m.ifn, ax.axis) : unary(m.fn, ax.axis),
            inplace ? cvCall(m.pb, [code](cv::Mat&, cv::Mat&, cv::Mat& d) { cv::flip(d, d, code); })
                    : cvCall(m.pb, [code](cv::Mat& a, cv::Mat&, cv::Mat& d) { cv::flip(a, d, code); }));
      }

  // Copy and Set. AC4 copy is mixChannels of the three colour channels (the
  // same result); AC4 set is setTo, which writes alpha too.
  auto copyTo = [](cv::Mat& a, cv::Mat&, cv::Mat& d) { a.copyTo(d); };
  add("Copy", "C1", 1, unary(ippiCopy_8u_C1R), cvCall(1, copyTo));
  add("Copy", "C3", 3, unary(ippiCopy_8u_C3R), cvCall(3, copyTo));
  add("Copy", "C4", 4, unary(ippiCopy_8u_C4R), cvCall(4, copyTo));
  add("Copy", "AC4", 4, unary(ippiCopy_8u_AC4R), cvCall(4, [](cv::Mat& a, cv::Mat&, cv::Mat& d) {
        const int fromTo[] = {0, 0, 1, 1, 2, 2};
        cv::mixChannels(&a, 1, &d, 1, fromTo, 3);
      }));
  add(
      "Copy", "C4CR (alpha)", 4,
      [](Work& w) -> Timed {
        return [&w] { ippiCopy_8u_C4CR(w.a.data() + 3, w.step, w.dst.data() + 3, w.step, w.size); };
      },
      cvCall(4, [](cv::Mat& a, cv::Mat&, cv::Mat& d) {
        const int fromTo[] = {3, 3};
        cv::mixChannels(&a, 1, &d, 1, fromTo, 1);
      }));
  add(
      "Copy", "C1C4R (to alpha)", 4,
      [](Work& w) -> Timed {
        return [&w] { ippiCopy_8u_C1C4R(w.a.data(), w.size.width, w.dst.data() + 3, w.step, w.size); };
      },
      cvCall(1, 4, [](cv::Mat& a, cv::Mat&, cv::Mat& d) {
        const int fromTo[] = {0, 3};
        cv::mixChannels(&a, 1, &d, 1, fromTo, 1);
      }));
  auto setTo = [](cv::Scalar v) { return [v](cv::Mat&, cv::Mat&, cv::Mat& d) { d.setTo(v); }; };
  add("Set", "C1", 1, valueFirst(ippiSet_8u_C1R, Ipp8u{10}), cvCall(1, setTo(cv::Scalar(10))));
  add("Set", "C3", 3, valueFirst(ippiSet_8u_C3R, kSet3), cvCall(3, setTo(cv::Scalar(10, 20, 30))));
  add("Set", "C4", 4, valueFirst(ippiSet_8u_C4R, kSet4), cvCall(4, setTo(cv::Scalar(10, 20, 30, 40))));
  add("Set", "AC4", 4, valueFirst(ippiSet_8u_AC4R, kSet3), cvCall(4, setTo(cv::Scalar(10, 20, 30, 40))));

  // Threshold with each value equal to its level, which is clamping: a
  // per-channel min / max against a Scalar in OpenCV (alpha bounded by 255
  // and 0, so it passes unchanged).
  for (bool ac4 : {false, true}) {
    const int ch = ac4 ? 4 : 3;
    const cv::Scalar lt(kLT[0], kLT[1], kLT[2], 0), gt(kGT[0], kGT[1], kGT[2], 255);
    const char* v = ac4 ? "AC4" : "C3";
    add("Threshold_LTValGTVal", v, ch,
        unary(ac4 ? ippiThreshold_LTValGTVal_8u_AC4R : ippiThreshold_LTValGTVal_8u_C3R, kLT, kLT, kGT, kGT),
        cvCall(ch, [lt, gt](cv::Mat& a, cv::Mat&, cv::Mat& d) {
          cv::max(a, lt, d);
          cv::min(d, gt, d);
        }));
    add("Threshold_GTVal", v, ch,
        unary(ac4 ? ippiThreshold_GTVal_8u_AC4R : ippiThreshold_GTVal_8u_C3R, kGT, kGT),
        cvCall(ch, [gt](cv::Mat& a, cv::Mat&, cv::Mat& d) { cv::min(a, gt, d); }));
    add("Threshold_LTVal", v, ch,
        unary(ac4 ? ippiThreshold_LTVal_8u_AC4R : ippiThreshold_LTVal_8u_C3R, kLT, kLT),
        cvCall(ch, [lt](cv::Mat& a, cv::Mat&, cv::Mat& d) { cv::max(a, lt, d); }));
  }

  // Gamma: OpenCV has no gamma primitive; the nearest is cv::LUT with our
  // curve as its table.
  for (bool inverse : {false, true})
    for (bool ac4 : {false, true}) {
      using GammaFn = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize);
      const GammaFn fn = inverse ? (ac4 ? ippiGammaInv_8u_AC4R : ippiGammaInv_8u_C3R)
                                 : (ac4 ? ippiGammaFwd_8u_AC4R : ippiGammaFwd_8u_C3R);
      const GammaFn c3 = inverse ? ippiGammaInv_8u_C3R : ippiGammaFwd_8u_C3R;
      const int ch = ac4 ? 4 : 3;
      add(inverse ? "GammaInv" : "GammaFwd", ac4 ? "AC4" : "C3", ch, unary(fn),
          cvLut(ch, tableOf(3, ch, c3)));
    }

  // Lookup through control points: cv::LUT with the 256 entries our curve
  // gives, one table per channel.
  {
    Curves& c = curves();
    const struct {
      const char* name;
      IppStatus (*c1)(const Ipp8u*, int, Ipp8u*, int, IppiSize, const Ipp32s*, const Ipp32s*, int);
      IppStatus (*c3)(const Ipp8u*, int, Ipp8u*, int, IppiSize, const Ipp32s**, const Ipp32s**, int*);
      IppStatus (*c4)(const Ipp8u*, int, Ipp8u*, int, IppiSize, const Ipp32s**, const Ipp32s**, int*);
    } luts[] = {{"LUT", ippiLUT_8u_C1R, ippiLUT_8u_C3R, ippiLUT_8u_C4R},
                {"LUT_Linear", ippiLUT_Linear_8u_C1R, ippiLUT_Linear_8u_C3R, ippiLUT_Linear_8u_C4R},
                {"LUT_Cubic", ippiLUT_Cubic_8u_C1R, ippiLUT_Cubic_8u_C3R, ippiLUT_Cubic_8u_C4R}};
    for (const auto& l : luts) {
      const auto c1 = l.c1;
      const auto c3 = l.c3;
      const auto c4 = l.c4;
      auto own1 = [&c, c1](const Ipp8u* s, int ss, Ipp8u* d, int ds, IppiSize r) {
        c1(s, ss, d, ds, r, c.pv[0], c.pl[0], c.n[0]);
      };
      auto own3 = [&c, c3](const Ipp8u* s, int ss, Ipp8u* d, int ds, IppiSize r) {
        c3(s, ss, d, ds, r, c.pv, c.pl, c.n);
      };
      auto own4 = [&c, c4](const Ipp8u* s, int ss, Ipp8u* d, int ds, IppiSize r) {
        c4(s, ss, d, ds, r, c.pv, c.pl, c.n);
      };
      add(l.name, "C1", 1, unary(own1), cvLut(1, tableOf(1, 1, own1)));
      add(l.name, "C3", 3, unary(own3), cvLut(3, tableOf(3, 3, own3)));
      add(l.name, "C4", 4, unary(own4), cvLut(4, tableOf(4, 4, own4)));
    }
  }

  // Colour twist: cv::transform with the same matrix; for AC4 a 4x5 matrix
  // whose last row copies alpha through.
  {
    cv::Mat m3(3, 4, CV_32F), m4 = cv::Mat::zeros(4, 5, CV_32F);
    for (int r = 0; r < 3; ++r)
      for (int k = 0; k < 4; ++k) {
        m3.at<float>(r, k) = kTwist[r][k];
        m4.at<float>(r, k == 3 ? 4 : k) = kTwist[r][k];
      }
    m4.at<float>(3, 3) = 1;
    add("ColorTwist32f", "C3", 3, unary(ippiColorTwist32f_8u_C3R, kTwist),
        cvCall(3, [m3](cv::Mat& a, cv::Mat&, cv::Mat& d) { cv::transform(a, d, m3); }));
    add("ColorTwist32f", "AC4", 4, unary(ippiColorTwist32f_8u_AC4R, kTwist),
        cvCall(4, [m4](cv::Mat& a, cv::Mat&, cv::Mat& d) { cv::transform(a, d, m4); }));
  }

  // Arithmetic and logic, scale factor 0 (OpenCV scale 1). Sub and Div take
  // their operands the other way round: ours is src2 - src1, src2 / src1.
  // OpenCV's AC4 counterpart is the 4-channel call, alpha included, and it
  // divides by zero to 0 where ours gives 255.
  {
    using Bin = IppStatus (*)(const Ipp8u*, int, const Ipp8u*, int, Ipp8u*, int, IppiSize, int);
    using Logic = IppStatus (*)(const Ipp8u*, int, const Ipp8u*, int, Ipp8u*, int, IppiSize);
    using BinI = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize, int);
    using LogicI = IppStatus (*)(const Ipp8u*, int, Ipp8u*, int, IppiSize);
    using CvBin = std::function<void(cv::Mat&, cv::Mat&, cv::Mat&)>;
    const struct {
      const char* name;
      Bin c1, c3, ac4;
      BinI ac4i;
      CvBin cv; // (src1, src2, dst) in our operand order
    } arith[] = {
        {"Add", ippiAdd_8u_C1RSfs, ippiAdd_8u_C3RSfs, ippiAdd_8u_AC4RSfs, ippiAdd_8u_AC4IRSfs,
         [](cv::Mat& a, cv::Mat& b, cv::Mat& d) { cv::add(a, b, d); }},
        {"Sub", ippiSub_8u_C1RSfs, ippiSub_8u_C3RSfs, ippiSub_8u_AC4RSfs, ippiSub_8u_AC4IRSfs,
         [](cv::Mat& a, cv::Mat& b, cv::Mat& d) { cv::subtract(b, a, d); }},
        {"Mul", ippiMul_8u_C1RSfs, ippiMul_8u_C3RSfs, ippiMul_8u_AC4RSfs, ippiMul_8u_AC4IRSfs,
         [](cv::Mat& a, cv::Mat& b, cv::Mat& d) { cv::multiply(a, b, d, 1); }},
        {"Div", ippiDiv_8u_C1RSfs, ippiDiv_8u_C3RSfs, ippiDiv_8u_AC4RSfs, ippiDiv_8u_AC4IRSfs,
         [](cv::Mat& a, cv::Mat& b, cv::Mat& d) { cv::divide(b, a, d, 1); }},
    };
    for (const auto& op : arith) {
      const CvBin f = op.cv;
      const std::string p = std::string(op.name) + " Sfs";
      add(p, "C1", 1, binary(op.c1, 0), cvCall(1, f));
      add(p, "C3", 3, binary(op.c3, 0), cvCall(3, f));
      add(p, "AC4", 4, binary(op.ac4, 0), cvCall(4, f));
      add(p, "AC4IR", 4, unary(op.ac4i, 0), cvCall(4, [f](cv::Mat& a, cv::Mat&, cv::Mat& d) { f(a, d, d); }));
    }
    const struct {
      const char* name;
      Logic c1, c3, ac4;
      LogicI ac4i;
      CvBin cv;
    } logic[] = {
        {"Or", ippiOr_8u_C1R, ippiOr_8u_C3R, ippiOr_8u_AC4R, ippiOr_8u_AC4IR,
         [](cv::Mat& a, cv::Mat& b, cv::Mat& d) { cv::bitwise_or(a, b, d); }},
        {"And", ippiAnd_8u_C1R, ippiAnd_8u_C3R, ippiAnd_8u_AC4R, ippiAnd_8u_AC4IR,
         [](cv::Mat& a, cv::Mat& b, cv::Mat& d) { cv::bitwise_and(a, b, d); }},
        {"Xor", ippiXor_8u_C1R, ippiXor_8u_C3R, ippiXor_8u_AC4R, ippiXor_8u_AC4IR,
         [](cv::Mat& a, cv::Mat& b, cv::Mat& d) { cv::bitwise_xor(a, b, d); }},
    };
    for (const auto& op : logic) {
      const CvBin f = op.cv;
      add(op.name, "C1", 1, binary(op.c1), cvCall(1, f));
      add(op.name, "C3", 3, binary(op.c3), cvCall(3, f));
      add(op.name, "AC4", 4, binary(op.ac4), cvCall(4, f));
      add(op.name, "AC4IR", 4, unary(op.ac4i),
          cvCall(4, [f](cv::Mat& a, cv::Mat&, cv::Mat& d) { f(a, d, d); }));
    }
    add("AbsDiff", "C1", 1, binary(ippiAbsDiff_8u_C1R),
        cvCall(1, [](cv::Mat& a, cv::Mat& b, cv::Mat& d) { cv::absdiff(a, b, d); }));
  }

  // Multiplying by a fraction of 255: convertTo for one channel, multiply by
  // a Scalar with scale 1/255 for several.
  add("MulCScale", "C1IR", 1, valueFirst(ippiMulCScale_8u_C1IR, Ipp8u{200}),
      cvCall(1, [](cv::Mat&, cv::Mat&, cv::Mat& d) { d.convertTo(d, -1, 200 / 255.0); }));
  add("MulCScale", "C3IR", 3, valueFirst(ippiMulCScale_8u_C3IR, kScale3),
      cvCall(3, [](cv::Mat&, cv::Mat&, cv::Mat& d) {
        cv::multiply(d, cv::Scalar(200, 128, 90), d, 1 / 255.0);
      }));
  add("MulCScale", "C4IR", 4, valueFirst(ippiMulCScale_8u_C4IR, kScale4),
      cvCall(4, [](cv::Mat&, cv::Mat&, cv::Mat& d) {
        cv::multiply(d, cv::Scalar(200, 128, 90, 255), d, 1 / 255.0);
      }));

  // Noise: cv::randu / cv::randn into a temporary, then cv::add.
  {
    const struct {
      const char* name;
      int pb;
      bool ac4;
      RandFn uniform, gauss;
    } rands[] = {
        {"C1IR", 1, false, ippiAddRandUniform_Direct_8u_C1IR, ippiAddRandGauss_Direct_8u_C1IR},
        {"C3IR", 3, false, ippiAddRandUniform_Direct_8u_C3IR, ippiAddRandGauss_Direct_8u_C3IR},
        {"C4IR", 4, false, ippiAddRandUniform_Direct_8u_C4IR, ippiAddRandGauss_Direct_8u_C4IR},
        {"AC4IR", 4, true, ippiAddRandUniform_Direct_8u_AC4IR, ippiAddRandGauss_Direct_8u_AC4IR},
    };
    for (const auto& r : rands)
      add("AddRandUniform_Direct", r.name, r.pb, ourRand(r.uniform, 0, kNoiseHigh),
          cvRandUniform(r.pb, r.ac4));
    for (const auto& r : rands)
      add("AddRandGauss_Direct", r.name, r.pb, ourRand(r.gauss, 0, kNoiseStdev), cvRandGauss(r.pb, r.ac4));
  }

  // A 256-entry palette of 32-bit pixels: OpenCV's LUT keeps the source's
  // channel count, so it has no counterpart.
  add(
      "LUTPalette", "8u32u C1R", 4,
      [](Work& w) -> Timed {
        auto table = std::make_shared<std::vector<Ipp32u>>(256);
        for (int i = 0; i < 256; ++i) (*table)[i] = 0xff000000u | (i * 0x010101u);
        return [=, &w] {
          ippiLUTPalette_8u32u_C1R(w.a.data(), w.size.width, reinterpret_cast<Ipp32u*>(w.dst.data()), w.step,
                                   w.size, table->data(), 8);
        };
      },
      kNone);

  add("FilterGauss", "AC4 3x3", 4, ourGauss(ippMskSize3x3), cvGauss(3));
  add("FilterGauss", "AC4 5x5", 4, ourGauss(ippMskSize5x5), cvGauss(5));

  // Alpha composition: OpenCV's core and imgproc have none.
  add("AlphaComp", "AC4 over", 4, binary(ippiAlphaComp_8u_AC4R, ippAlphaOver), kNone);
  add("AlphaComp", "AC4 over premul", 4, binary(ippiAlphaComp_8u_AC4R, ippAlphaOverPremul), kNone);
  add("AlphaComp", "AC4IR over", 4, unary(ippiAlphaComp_8u_AC4IR, ippAlphaOver), kNone);

  {
    const struct {
      const char* name;
      int pb;
      RemapFn fn;
    } remaps[] = {{"C1", 1, ippiRemap_8u_C1R},
                  {"C3", 3, ippiRemap_8u_C3R},
                  {"C4", 4, ippiRemap_8u_C4R},
                  {"AC4", 4, ippiRemap_8u_AC4R}};
    const struct {
      const char* name;
      int ours, cv;
    } modes[] = {{"nearest", IPPI_INTER_NN, cv::INTER_NEAREST},
                 {"linear", IPPI_INTER_LINEAR, cv::INTER_LINEAR},
                 {"cubic", IPPI_INTER_CUBIC, cv::INTER_CUBIC}};
    for (const auto& r : remaps)
      for (const auto& m : modes)
        add("Remap", std::string(r.name) + " " + m.name, r.pb, ourRemap(r.fn, m.ours), cvRemap(r.pb, m.cv));
  }

  add("ImageJaehne", "C3", 3, inPlace(ipp_builtin::ippiImageJaehne_8u_C3R), kNone);

  add(
      "PolarToCart", "64f (per element)", 16,
      [](Work& w) -> Timed {
        auto p = std::make_shared<Polar>(w.size);
        const int len = w.size.width * w.size.height;
        return [p, len] {
          ipp_builtin::ippsPolarToCart_64f(p->mag.ptr<Ipp64f>(), p->phase.ptr<Ipp64f>(), p->re.ptr<Ipp64f>(),
                                           p->im.ptr<Ipp64f>(), len);
        };
      },
      [](Work& w) -> Timed {
        auto p = std::make_shared<Polar>(w.size);
        return [p] { cv::polarToCart(p->mag, p->phase, p->re, p->im); };
      });
  return all;
}

// --- Running and reporting -----------------------------------------------------

enum Kind { kOurs, kOpenCV, kMemcpy, kOursCached, kMemcpyCached, kKinds };
const char* const kKindNames[kKinds] = {"ours/1080p", "opencv/1080p", "memcpy/1080p", "ours/320x240",
                                        "memcpy/320x240"};

std::string benchName(const Case& c, Kind k) {
  std::string v = c.variant;
  std::replace(v.begin(), v.end(), ' ', '_');
  std::string p = c.primitive;
  std::replace(p.begin(), p.end(), ' ', '_');
  return p + "/" + v + "/" + kKindNames[k];
}

Timed memcpyOf(Work& w) {
  return [&w] { std::memcpy(w.dst.data(), w.a.data(), w.frameBytes()); };
}

void runCase(benchmark::State& state, IppiSize size, int pixelBytes, const Prepare& prepare) {
  Work w(size, pixelBytes);
  const Timed op = prepare(w);
  if (!op) {
    state.SkipWithError("OpenCV wrote to a buffer of its own");
    return;
  }
  for (auto _ : state) {
    op();
    benchmark::DoNotOptimize(w.dst.data());
    benchmark::ClobberMemory();
  }
  state.counters["pixels"] = benchmark::Counter(static_cast<double>(size.width) * size.height,
                                                benchmark::Counter::kIsIterationInvariantRate);
}

// The console output as usual, each run's pixel rate kept, and the table
// after the last run.
class TableReporter : public benchmark::ConsoleReporter {
public:
  explicit TableReporter(const std::vector<Case>& cases) : cases_(cases) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& r : runs) {
      if (r.run_type != Run::RT_Iteration || r.error_occurred || r.cpu_accumulated_time <= 0) continue;
      const std::string name = r.run_name.str();
      const bool cached = name.find("320x240") != std::string::npos;
      const IppiSize s = cached ? kCached : kFull;
      const double rate = static_cast<double>(s.width) * s.height * static_cast<double>(r.iterations) /
                          r.cpu_accumulated_time;
      double& best = rates_[name];
      best = std::max(best, rate); // the best of repetitions
    }
  }

  void Finalize() override {
    ConsoleReporter::Finalize();
    std::ostream& out = GetOutputStream();
    out << "\nours: " << ippTargetName(ippGetTarget()) << " kernels; OpenCV " << CV_VERSION
        << ", 1 thread; MPix/s of CPU time\n\n";
    out << "| primitive | variant | ours MPix/s | OpenCV MPix/s | ours/OpenCV | ours % of memcpy (1080p) "
           "| ours % of memcpy (in cache 320x240) |\n";
    out << "|---|---|--:|--:|--:|--:|--:|\n";
    for (const Case& c : cases_) {
      const double ours = rate(c, kOurs), cv = rate(c, kOpenCV), mem = rate(c, kMemcpy),
                   oursCached = rate(c, kOursCached), memCached = rate(c, kMemcpyCached);
      if (ours == 0 && oursCached == 0) continue; // filtered out
      const std::string none = c.opencv ? "n/a" : "—";
      out << "| " << c.primitive << " | " << c.variant << " | " << num(ours / 1e6, 0) << " | "
          << (cv > 0 ? num(cv / 1e6, 0) : none) << " | " << (cv > 0 && ours > 0 ? num(ours / cv, 2) : none)
          << " | " << percent(ours, mem) << " | " << percent(oursCached, memCached) << " |\n";
    }
    out.flush();
  }

private:
  double rate(const Case& c, Kind k) const {
    const auto it = rates_.find(benchName(c, k));
    return it == rates_.end() ? 0 : it->second;
  }
  static std::string num(double v, int decimals) {
    if (v <= 0) return "n/a";
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.*f", decimals, v);
    return buf;
  }
  static std::string percent(double part, double whole) {
    return part > 0 && whole > 0 ? num(100 * part / whole, 0) + "%" : "n/a";
  }

  const std::vector<Case>& cases_;
  std::map<std::string, double> rates_;
};

} // namespace

int main(int argc, char** argv) {
  // One thread on both sides: the ratio compares kernels, not thread pools.
  cv::setNumThreads(1);
  framquist::ippSetNumThreads(1);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

  const std::vector<Case> all = cases();
  const Prepare memcpyPrepare = memcpyOf;
  for (const Case& c : all) {
    auto reg = [&](Kind k, IppiSize size, const Prepare& p) {
      const int pb = c.pixelBytes;
      benchmark::RegisterBenchmark(benchName(c, k).c_str(), [size, pb, p](benchmark::State& s) {
        runCase(s, size, pb, p);
      })->Unit(benchmark::kMicrosecond);
    };
    reg(kOurs, kFull, c.ours);
    if (c.opencv) reg(kOpenCV, kFull, c.opencv);
    reg(kMemcpy, kFull, memcpyPrepare);
    reg(kOursCached, kCached, c.ours);
    reg(kMemcpyCached, kCached, memcpyPrepare);
  }

  TableReporter reporter(all);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
