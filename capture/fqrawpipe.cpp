#include "capture/fqrawpipe.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <system_error>
#include <vector>

#include "frame/fqregistry.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/mathematics.h>
#include <libswscale/swscale.h>
}

namespace framquist {
namespace {

constexpr int kScaleFlags = SWS_BICUBIC; // as the ffmpeg command converts
constexpr int kMaxSide = 32767;
constexpr std::size_t kMaxHeaderLine = 4096;

std::string SystemError(int code) { return std::error_code(code, std::generic_category()).message(); }

bool IsStandardStream(const std::string& name) { return name.empty() || name == "-"; }

std::string Describe(const std::string& name, bool output) {
  if (IsStandardStream(name)) return output ? "standard output" : "standard input";
  return "'" + name + "'";
}

// A descriptor of our own: standard streams are duplicated so closing ours
// leaves the process's open. -1 with errno set on failure.
int OpenStream(const std::string& name, bool output) {
  if (IsStandardStream(name)) return fcntl(output ? STDOUT_FILENO : STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
  return output ? open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)
                : open(name.c_str(), O_RDONLY | O_CLOEXEC);
}

// Writes all of it; false with errno set. A reader that went away gives
// EPIPE here rather than a SIGPIPE that ends the process.
bool WriteAll(int fd, const std::uint8_t* data, std::size_t size) {
  sigset_t pipeSignal, previous, pending;
  sigemptyset(&pipeSignal);
  sigaddset(&pipeSignal, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipeSignal, &previous);
  sigpending(&pending);
  const bool alreadyPending = sigismember(&pending, SIGPIPE) == 1;
  int error = 0;
  while (size > 0) {
    const ssize_t n = write(fd, data, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      error = errno;
      break;
    }
    data += n;
    size -= static_cast<std::size_t>(n);
  }
  if (error == EPIPE && !alreadyPending) {
    const timespec none{};
    sigtimedwait(&pipeSignal, nullptr, &none); // take back the signal our write raised
  }
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  errno = error;
  return error == 0;
}

// Buffered reads that give up promptly when a stop is requested, even while
// a pipe has nothing to read.
class TStreamReader {
public:
  enum class TResult { Ok, End, Truncated, TooLong, Stopped, Failed };

  TStreamReader(int fd, std::function<bool()> stop) : fd_(fd), stop_(std::move(stop)), buffer_(1 << 18) {}

  int Error() const { return error_; }

  // Exactly `size` bytes; End when none were left, Truncated when some were.
  TResult Read(std::uint8_t* out, std::size_t size) {
    std::size_t got = 0;
    while (got < size) {
      if (pos_ == end_) {
        const TResult r = Fill();
        if (r == TResult::End) return got == 0 ? TResult::End : TResult::Truncated;
        if (r != TResult::Ok) return r;
      }
      const std::size_t n = std::min(size - got, end_ - pos_);
      std::memcpy(out + got, buffer_.data() + pos_, n);
      pos_ += n;
      got += n;
    }
    return TResult::Ok;
  }

  // One line without its '\n'.
  TResult ReadLine(std::string& line, std::size_t max) {
    line.clear();
    for (;;) {
      if (pos_ == end_) {
        const TResult r = Fill();
        if (r == TResult::End) return line.empty() ? TResult::End : TResult::Truncated;
        if (r != TResult::Ok) return r;
      }
      const auto* begin = buffer_.data() + pos_;
      const auto* newline = static_cast<const std::uint8_t*>(std::memchr(begin, '\n', end_ - pos_));
      const std::size_t n = newline != nullptr ? static_cast<std::size_t>(newline - begin) : end_ - pos_;
      line.append(reinterpret_cast<const char*>(begin), n);
      pos_ += n;
      if (line.size() > max) return TResult::TooLong;
      if (newline != nullptr) {
        ++pos_;
        return TResult::Ok;
      }
    }
  }

private:
  TResult Fill() {
    if (ended_) return TResult::End;
    for (;;) {
      if (stop_()) return TResult::Stopped;
      pollfd wait{fd_, POLLIN, 0};
      const int ready = poll(&wait, 1, 50); // looks at the stop flag between waits
      if (ready < 0 && errno != EINTR) return Fail(errno);
      if (ready <= 0) continue;
      const ssize_t n = read(fd_, buffer_.data(), buffer_.size());
      if (n < 0) {
        if (errno == EINTR || errno == EAGAIN) continue;
        return Fail(errno);
      }
      if (n == 0) {
        ended_ = true;
        return TResult::End;
      }
      pos_ = 0;
      end_ = static_cast<std::size_t>(n);
      return TResult::Ok;
    }
  }

  TResult Fail(int error) {
    error_ = error;
    return TResult::Failed;
  }

  int fd_;
  std::function<bool()> stop_;
  std::vector<std::uint8_t> buffer_;
  std::size_t pos_ = 0, end_ = 0;
  bool ended_ = false;
  int error_ = 0;
};

AVPixelFormat PixelFormatOf(TFQVideoFormat format) {
  switch (FQNormalizeFormat(format)) {
  case vfGrey:
    return AV_PIX_FMT_GRAY8;
  case vf32Bit:
    return AV_PIX_FMT_BGRA;
  default:
    return AV_PIX_FMT_BGR24;
  }
}

// Scales `in` into planes of `format` at width x height.
bool ScaleInto(SwsContext*& scaler, const IFQImageBuffer& in, AVPixelFormat format, int width, int height,
               std::uint8_t* const planes[4], const int strides[4]) {
  scaler = sws_getCachedContext(scaler, in.GetWidth(), in.GetHeight(), PixelFormatOf(in.GetFormat()), width,
                                height, format, kScaleFlags, nullptr, nullptr, nullptr);
  if (scaler == nullptr) return false;
  const std::uint8_t* source[4] = {in.GetReadPointer(), nullptr, nullptr, nullptr};
  const int sourceStride[4] = {in.GetLineStep(), 0, 0, 0};
  sws_scale(scaler, source, sourceStride, 0, in.GetHeight(), planes, strides);
  return true;
}

struct TStreamHeader {
  int Width = 0;
  int Height = 0;
  AVPixelFormat Pixel = AV_PIX_FMT_YUV420P;
  bool FullRange = false;
  std::int64_t Interval = 400'000;
};

bool ParseInt(const std::string& text, long long& value) {
  if (text.empty()) return false;
  char* end = nullptr;
  errno = 0;
  value = std::strtoll(text.c_str(), &end, 10);
  return errno == 0 && *end == '\0';
}

// Empty on success, else what is wrong with the stream header.
std::string ParseStreamHeader(const std::string& line, TStreamHeader& header) {
  static constexpr std::string_view kMagic = "YUV4MPEG2";
  if (line.compare(0, kMagic.size(), kMagic) != 0 ||
      (line.size() > kMagic.size() && line[kMagic.size()] != ' '))
    return "not a YUV4MPEG2 stream";
  std::string colour = "420jpeg";
  std::size_t at = kMagic.size();
  while (at < line.size()) {
    const std::size_t next = std::min(line.find(' ', at + 1), line.size());
    const std::string token = line.substr(at + 1, next - at - 1);
    at = next;
    if (token.empty()) continue;
    const std::string value = token.substr(1);
    long long number = 0;
    switch (token[0]) {
    case 'W':
    case 'H':
      if (!ParseInt(value, number) || number < 1 || number > kMaxSide)
        return "bad frame size '" + token + "'";
      (token[0] == 'W' ? header.Width : header.Height) = static_cast<int>(number);
      break;
    case 'F': {
      const std::size_t colon = value.find(':');
      long long num = 0, den = 0;
      if (colon == std::string::npos || !ParseInt(value.substr(0, colon), num) ||
          !ParseInt(value.substr(colon + 1), den) || num < 0 || den < 0)
        return "bad frame rate '" + token + "'";
      if (num > 0 && den > 0) header.Interval = std::max<std::int64_t>(av_rescale(10'000'000, den, num), 1);
      break;
    }
    case 'C':
      colour = value;
      break;
    case 'X':
      if (value == "COLORRANGE=FULL") header.FullRange = true;
      break;
    default: // interlacing, aspect ratio and comments do not change the pixels
      break;
    }
  }
  if (header.Width == 0 || header.Height == 0) return "no frame size";
  if (colour == "420jpeg" || colour == "420mpeg2" || colour == "420paldv" || colour == "420")
    header.Pixel = AV_PIX_FMT_YUV420P;
  else if (colour == "411")
    header.Pixel = AV_PIX_FMT_YUV411P;
  else if (colour == "422")
    header.Pixel = AV_PIX_FMT_YUV422P;
  else if (colour == "444")
    header.Pixel = AV_PIX_FMT_YUV444P;
  else if (colour == "444alpha")
    header.Pixel = AV_PIX_FMT_YUVA444P;
  else if (colour == "mono")
    header.Pixel = AV_PIX_FMT_GRAY8;
  else
    return "unsupported colour space 'C" + colour + "'";
  return {};
}

} // namespace

// ---- TFQY4MSource ----------------------------------------------------------

struct TFQY4MSource::TInput {
  std::string name;
  int fd = -1;
  std::unique_ptr<TStreamReader> reader;
  SwsContext* scaler = nullptr;

  TInput() = default;
  TInput(const TInput&) = delete;
  TInput& operator=(const TInput&) = delete;
  ~TInput() {
    sws_freeContext(scaler);
    if (fd >= 0) close(fd);
  }
};

TFQY4MSource::TFQY4MSource() = default;

TFQY4MSource::~TFQY4MSource() { Shutdown(); }

bool TFQY4MSource::OpenInput(TStreamStart&) {
  auto input = std::make_unique<TInput>();
  input->name = GetFileName();
  input->fd = OpenStream(input->name, false);
  if (input->fd < 0) {
    ReportError("cannot open " + Describe(input->name, false) + ": " + SystemError(errno));
    return false;
  }
  input->reader = std::make_unique<TStreamReader>(input->fd, [this] { return StopRequested(); });
  input_ = std::move(input);
  return true; // the header may still be on its way: the thread announces
}

void TFQY4MSource::ReadInput() {
  using TResult = TStreamReader::TResult;
  TInput& in = *input_;
  TStreamReader& reader = *in.reader;
  auto fail = [&](const std::string& why) {
    if (!StopRequested()) ReportError("cannot read " + Describe(in.name, false) + ": " + why);
  };

  std::string line;
  TResult r = reader.ReadLine(line, kMaxHeaderLine);
  if (r == TResult::Stopped) return;
  if (r == TResult::Failed) return fail(SystemError(reader.Error()));
  if (r == TResult::End) return fail("no data");
  TStreamHeader header;
  const std::string why = r == TResult::Ok ? ParseStreamHeader(line, header) : "not a YUV4MPEG2 stream";
  if (!why.empty()) return fail(why);

  const int w = header.Width, h = header.Height;
  const TFQVideoFormat format = header.Pixel == AV_PIX_FMT_GRAY8      ? vfGrey
                                : header.Pixel == AV_PIX_FMT_YUVA444P ? vf32Bit
                                                                      : vf24Bit;
  std::vector<std::uint8_t> data(static_cast<std::size_t>(av_image_get_buffer_size(header.Pixel, w, h, 1)));
  std::uint8_t* planes[4] = {};
  int strides[4] = {};
  av_image_fill_arrays(planes, strides, data.data(), header.Pixel, w, h, 1);
  if (format != vfGrey) {
    in.scaler = sws_getContext(w, h, header.Pixel, w, h, PixelFormatOf(format), kScaleFlags, nullptr, nullptr,
                               nullptr);
    if (in.scaler == nullptr) return fail("cannot convert its colour space");
    if (header.FullRange) {
      const int* coefficients = sws_getCoefficients(SWS_CS_DEFAULT);
      sws_setColorspaceDetails(in.scaler, coefficients, 1, coefficients, 0, 0, 1 << 16, 1 << 16);
    }
  }
  Announce({w, h, format, header.Interval});

  for (std::int64_t n = 0;; ++n) {
    r = reader.ReadLine(line, kMaxHeaderLine);
    if (r == TResult::End || r == TResult::Stopped) return;
    if (r == TResult::Failed) return fail(SystemError(reader.Error()));
    if (r != TResult::Ok || line.compare(0, 5, "FRAME") != 0 || (line.size() > 5 && line[5] != ' '))
      return fail("bad frame header at frame " + std::to_string(n));
    r = reader.Read(data.data(), data.size());
    if (r == TResult::Stopped) return;
    if (r == TResult::Failed) return fail(SystemError(reader.Error()));
    if (r != TResult::Ok) return fail("truncated frame " + std::to_string(n));

    IFQImageBuffer out = IFQImageBuffer::Create(w, h, format);
    if (format == vfGrey) {
      std::uint8_t* dst = out.GetWritePointer();
      for (int y = 0; y < h; ++y)
        std::memcpy(dst + static_cast<std::ptrdiff_t>(y) * out.GetLineStep(),
                    planes[0] + static_cast<std::ptrdiff_t>(y) * strides[0], static_cast<std::size_t>(w));
    } else {
      std::uint8_t* dst[4] = {out.GetWritePointer(), nullptr, nullptr, nullptr};
      const int dstStride[4] = {out.GetLineStep(), 0, 0, 0};
      sws_scale(in.scaler, planes, strides, 0, h, dst, dstStride);
    }
    out.SetTimes(n * header.Interval, (n + 1) * header.Interval);
    if (!Deliver(std::move(out))) return;
  }
}

void TFQY4MSource::CloseInput() { input_.reset(); }

// ---- TFQRawVideoSource -----------------------------------------------------

struct TFQRawVideoSource::TInput {
  std::string name;
  int fd = -1;
  std::unique_ptr<TStreamReader> reader;
  int width = 0, height = 0;
  TFQVideoFormat format = vf24Bit;
  std::int64_t interval = 0;

  TInput() = default;
  TInput(const TInput&) = delete;
  TInput& operator=(const TInput&) = delete;
  ~TInput() {
    if (fd >= 0) close(fd);
  }
};

TFQRawVideoSource::TFQRawVideoSource() = default;

TFQRawVideoSource::~TFQRawVideoSource() { Shutdown(); }

void TFQRawVideoSource::DeclareProperties(TPWPropertyList& props) {
  TFQWithFileName::DeclareProperties(props);
  props.Int<std::int32_t>(
      "Width", [this] { return GetWidth(); },
      [this](std::int64_t v) { SetWidth(static_cast<int>(std::clamp<std::int64_t>(v, 0, kMaxSide))); }, 640);
  props.Int<std::int32_t>(
      "Height", [this] { return GetHeight(); },
      [this](std::int64_t v) { SetHeight(static_cast<int>(std::clamp<std::int64_t>(v, 0, kMaxSide))); }, 480);
  props.Float(
      "Rate", [this] { return GetRate(); }, [this](double v) { SetRate(v); }, 25.0);
  props.Int<TFQVideoFormat>(
      "VideoFormat", [this] { return GetVideoFormat(); },
      [this](std::int64_t v) { SetVideoFormat(static_cast<TFQVideoFormat>(v)); }, vf24Bit);
}

void TFQRawVideoSource::SetWidth(int value) {
  TPWLockHold hold = GetLock().Write();
  if (hold) width_.store(std::clamp(value, 1, kMaxSide), std::memory_order_relaxed);
}

void TFQRawVideoSource::SetHeight(int value) {
  TPWLockHold hold = GetLock().Write();
  if (hold) height_.store(std::clamp(value, 1, kMaxSide), std::memory_order_relaxed);
}

void TFQRawVideoSource::SetRate(double value) {
  if (std::isnan(value)) return;
  TPWLockHold hold = GetLock().Write();
  if (hold) rate_.store(std::clamp(value, 0.001, 1000.0), std::memory_order_relaxed);
}

void TFQRawVideoSource::SetVideoFormat(TFQVideoFormat value) {
  TPWLockHold hold = GetLock().Write();
  if (hold) format_.store(value == vfGrey || value == vf32Bit ? value : vf24Bit, std::memory_order_relaxed);
}

bool TFQRawVideoSource::OpenInput(TStreamStart& start) {
  auto input = std::make_unique<TInput>();
  input->name = GetFileName();
  input->width = GetWidth();
  input->height = GetHeight();
  input->format = GetVideoFormat();
  input->interval = std::llround(10'000'000.0 / GetRate());
  input->fd = OpenStream(input->name, false);
  if (input->fd < 0) {
    ReportError("cannot open " + Describe(input->name, false) + ": " + SystemError(errno));
    return false;
  }
  input->reader = std::make_unique<TStreamReader>(input->fd, [this] { return StopRequested(); });
  start = {input->width, input->height, input->format, input->interval};
  input_ = std::move(input);
  return true;
}

void TFQRawVideoSource::ReadInput() {
  using TResult = TStreamReader::TResult;
  TInput& in = *input_;
  const std::size_t row =
      static_cast<std::size_t>(in.width) * static_cast<std::size_t>(FQBytesPerPixel(in.format));
  std::vector<std::uint8_t> data(row * static_cast<std::size_t>(in.height));
  for (std::int64_t n = 0;; ++n) {
    const TResult r = in.reader->Read(data.data(), data.size());
    if (r == TResult::End || r == TResult::Stopped) return;
    if (r != TResult::Ok) {
      if (!StopRequested())
        ReportError("cannot read " + Describe(in.name, false) + ": " +
                    (r == TResult::Failed ? SystemError(in.reader->Error())
                                          : "truncated frame " + std::to_string(n)));
      return;
    }
    IFQImageBuffer out = IFQImageBuffer::Create(in.width, in.height, in.format);
    std::uint8_t* dst = out.GetWritePointer();
    for (int y = 0; y < in.height; ++y)
      std::memcpy(dst + static_cast<std::ptrdiff_t>(y) * out.GetLineStep(), data.data() + y * row, row);
    out.SetTimes(n * in.interval, (n + 1) * in.interval);
    if (!Deliver(std::move(out))) return;
  }
}

void TFQRawVideoSource::CloseInput() { input_.reset(); }

// ---- TFQY4MSink, TFQRawVideoSink -------------------------------------------

namespace {

// The output side both sinks share: a descriptor and a frame buffer.
struct TPipeOutput : TFQFileSink::TOutput {
  std::string name;
  int fd = -1;
  int width = 0;
  int height = 0;
  SwsContext* scaler = nullptr;
  std::vector<std::uint8_t> buffer;

  TPipeOutput() = default;
  TPipeOutput(const TPipeOutput&) = delete;
  TPipeOutput& operator=(const TPipeOutput&) = delete;
  ~TPipeOutput() override {
    sws_freeContext(scaler);
    if (fd >= 0) close(fd);
  }

  std::string Open(const TFQFileSink::TOutputStart& start) override {
    name = start.FileName;
    width = start.Width;
    height = start.Height;
    if (width <= 0 || height <= 0) return "no frame size";
    fd = OpenStream(name, true);
    return fd < 0 ? SystemError(errno) : std::string();
  }

  std::string Close() override {
    if (fd < 0) return {};
    const int r = close(fd);
    fd = -1;
    return r < 0 ? SystemError(errno) : std::string();
  }

  std::string Name() const override { return Describe(name, true); }

  std::string WriteBytes(const std::uint8_t* data, std::size_t size) {
    return WriteAll(fd, data, size) ? std::string() : SystemError(errno);
  }
};

struct TY4MOutput : TPipeOutput {
  AVPixelFormat pixel = AV_PIX_FMT_YUV444P;

  std::string Open(const TFQFileSink::TOutputStart& start) override {
    const std::string why = TPipeOutput::Open(start);
    if (!why.empty()) return why;
    pixel = start.Format == vfGrey ? AV_PIX_FMT_GRAY8 : AV_PIX_FMT_YUV444P;
    int num = 25, den = 1;
    if (start.Interval > 0) av_reduce(&num, &den, 10'000'000, start.Interval, 1 << 30);
    const std::string header = "YUV4MPEG2 W" + std::to_string(width) + " H" + std::to_string(height) + " F" +
                               std::to_string(num) + ":" + std::to_string(den) + " Ip A1:1 " +
                               (pixel == AV_PIX_FMT_GRAY8 ? "Cmono" : "C444 XYSCSS=444") +
                               " XCOLORRANGE=LIMITED\n";
    const int frameSize = av_image_get_buffer_size(pixel, width, height, 1);
    buffer.resize(6 + static_cast<std::size_t>(std::max(frameSize, 0)));
    std::memcpy(buffer.data(), "FRAME\n", 6);
    return WriteBytes(reinterpret_cast<const std::uint8_t*>(header.data()), header.size());
  }

  std::string Write(const IFQImageBuffer& frame) override {
    std::uint8_t* planes[4] = {};
    int strides[4] = {};
    av_image_fill_arrays(planes, strides, buffer.data() + 6, pixel, width, height, 1);
    if (!ScaleInto(scaler, frame, pixel, width, height, planes, strides)) return "cannot convert the frame";
    return WriteBytes(buffer.data(), buffer.size());
  }
};

struct TRawOutput : TPipeOutput {
  TFQVideoFormat format = vf24Bit;

  std::string Open(const TFQFileSink::TOutputStart& start) override {
    format = start.Format;
    return TPipeOutput::Open(start);
  }

  std::string Write(const IFQImageBuffer& frame) override {
    const std::size_t row =
        static_cast<std::size_t>(width) * static_cast<std::size_t>(FQBytesPerPixel(format));
    buffer.resize(row * static_cast<std::size_t>(height));
    IFQImageBuffer in = frame;
    if (in.GetFormat() != format) {
      IFQImageBuffer own; // the library's own conversion, as any filter would make it
      own.Assign(in);
      own.SetFormat(format);
      in = own;
    }
    if (in.GetWidth() == width && in.GetHeight() == height) {
      const std::uint8_t* src = in.GetReadPointer();
      for (int y = 0; y < height; ++y)
        std::memcpy(buffer.data() + y * row, src + static_cast<std::ptrdiff_t>(y) * in.GetLineStep(), row);
    } else {
      std::uint8_t* planes[4] = {buffer.data(), nullptr, nullptr, nullptr};
      const int strides[4] = {static_cast<int>(row), 0, 0, 0};
      if (!ScaleInto(scaler, in, PixelFormatOf(format), width, height, planes, strides))
        return "cannot convert the frame";
    }
    return WriteBytes(buffer.data(), buffer.size());
  }
};

} // namespace

std::unique_ptr<TFQFileSink::TOutput> TFQY4MSink::NewOutput() { return std::make_unique<TY4MOutput>(); }

std::unique_ptr<TFQFileSink::TOutput> TFQRawVideoSink::NewOutput() { return std::make_unique<TRawOutput>(); }

namespace Fqrawpipe {
void Register() {
  RegisterComponents("Framquist", {FQClass<TFQY4MSource>("TFQY4MSource"), FQClass<TFQY4MSink>("TFQY4MSink"),
                                   FQClass<TFQRawVideoSource>("TFQRawVideoSource"),
                                   FQClass<TFQRawVideoSink>("TFQRawVideoSink")});
}
} // namespace Fqrawpipe

} // namespace framquist
