#include "capture/fqvideofile.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "frame/fqregistry.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace framquist {
namespace {

constexpr AVRational kHns{1, 10'000'000}; // our frame times: 100-ns units

// The scaler flags the ffmpeg command uses for its own conversions, so a
// file decodes here to the very pixels the command gives.
constexpr int kScaleFlags = SWS_BICUBIC;

// FFmpeg's frame threads hand frames over through atomics in code that
// ThreadSanitizer cannot see; its builds decode on one thread to stay quiet.
#if defined(__SANITIZE_THREAD__)
constexpr int kDecoderThreads = 1;
#else
constexpr int kDecoderThreads = 0; // as many as suit the machine
#endif

std::string AvError(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

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

std::int64_t FrameDuration(const AVFrame* frame) {
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 30, 100)
  return frame->duration;
#else
  return frame->pkt_duration;
#endif
}

int InterruptCallback(void* opaque) {
  const auto* stop = static_cast<const std::function<bool()>*>(opaque);
  return (*stop && (*stop)()) ? 1 : 0;
}

} // namespace

// ---- TFQVideoFileSource ----------------------------------------------------

struct TFQVideoFileSource::TReader {
  std::string path;
  std::function<bool()> stop; // interrupts blocking reads (pipes, network)
  AVFormatContext* format = nullptr;
  AVCodecContext* decoder = nullptr;
  int stream = -1;
  AVPacket* packet = nullptr;
  AVFrame* frame = nullptr;
  SwsContext* scaler = nullptr;
  const int* scalerCoefficients = nullptr; // colour details set on `scaler`
  int scalerRange = -1;
  std::int64_t interval = 0; // 100-ns units, 0 when unknown
  int readError = 0;         // a read failure other than the end, seen while draining

  TReader() = default;
  TReader(const TReader&) = delete;
  TReader& operator=(const TReader&) = delete;
  ~TReader() { Close(); }

  void Close() {
    sws_freeContext(scaler);
    scaler = nullptr;
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&decoder);
    avformat_close_input(&format);
  }

  // Empty on success, else why not.
  std::string Open() {
    format = avformat_alloc_context();
    if (format == nullptr) return AvError(AVERROR(ENOMEM));
    format->interrupt_callback = {InterruptCallback, &stop};
    int r = avformat_open_input(&format, path.c_str(), nullptr, nullptr); // frees format on failure
    if (r < 0) return AvError(r);
    r = avformat_find_stream_info(format, nullptr);
    if (r < 0) return AvError(r);
    const AVCodec* codec = nullptr;
    stream = av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    if (stream < 0) return "no video stream";
    AVStream* st = format->streams[stream];
    if (codec == nullptr) return std::string("no decoder for ") + avcodec_get_name(st->codecpar->codec_id);
    decoder = avcodec_alloc_context3(codec);
    if (decoder == nullptr) return AvError(AVERROR(ENOMEM));
    r = avcodec_parameters_to_context(decoder, st->codecpar);
    if (r < 0) return AvError(r);
    decoder->pkt_timebase = st->time_base;
    decoder->thread_count = kDecoderThreads;
    r = avcodec_open2(decoder, codec, nullptr);
    if (r < 0) return AvError(r);
    packet = av_packet_alloc();
    frame = av_frame_alloc();
    if (packet == nullptr || frame == nullptr) return AvError(AVERROR(ENOMEM));

    AVRational rate = st->avg_frame_rate;
    if (rate.num <= 0 || rate.den <= 0) rate = st->r_frame_rate;
    if (rate.num > 0 && rate.den > 0)
      interval = av_rescale_q(1, av_inv_q(rate), kHns);
    else if (st->time_base.num > 0 && st->time_base.num * 1000LL >= st->time_base.den)
      interval = av_rescale_q(1, st->time_base, kHns); // a time base of a millisecond or more is a frame rate
    return {};
  }

  int Width() const { return decoder->width; }
  int Height() const { return decoder->height; }
  AVRational TimeBase() const { return format->streams[stream]->time_base; }

  // 1: a frame is in `frame`; 0: the input has ended; < 0: an error.
  int Next() {
    for (;;) {
      int r = avcodec_receive_frame(decoder, frame);
      if (r == 0) return 1;
      if (r == AVERROR_EOF) return 0;
      if (r != AVERROR(EAGAIN)) return r;
      r = av_read_frame(format, packet);
      if (r < 0) {
        if (r != AVERROR_EOF) readError = r;
        avcodec_send_packet(decoder, nullptr); // hand out what the decoder holds
        continue;
      }
      if (packet->stream_index == stream) {
        r = avcodec_send_packet(decoder, packet);
        // A damaged packet costs its own frame, not the rest of the file.
        if (r < 0 && r != AVERROR_INVALIDDATA) {
          av_packet_unref(packet);
          return r;
        }
      }
      av_packet_unref(packet);
    }
  }

  // Back to the first frame; false when the input cannot seek.
  bool Rewind() {
    const std::int64_t at = format->start_time != AV_NOPTS_VALUE ? format->start_time : 0;
    if (avformat_seek_file(format, -1, INT64_MIN, at, at, 0) < 0) return false;
    avcodec_flush_buffers(decoder);
    readError = 0;
    return true;
  }

  // The decoded frame in our layout; empty when the pixel format cannot be converted.
  IFQImageBuffer Convert(TFQVideoFormat format) {
    const int w = frame->width, h = frame->height;
    scaler = sws_getCachedContext(scaler, w, h, static_cast<AVPixelFormat>(frame->format), w, h,
                                  PixelFormatOf(format), kScaleFlags, nullptr, nullptr, nullptr);
    if (scaler == nullptr) return {};
    // Honour the frame's matrix and range, as the ffmpeg command's scaler does.
    const int* coefficients = sws_getCoefficients(frame->colorspace);
    int *inverse = nullptr, *table = nullptr;
    int srcRange = 0, dstRange = 0, brightness = 0, contrast = 0, saturation = 0;
    if (sws_getColorspaceDetails(scaler, &inverse, &srcRange, &table, &dstRange, &brightness, &contrast,
                                 &saturation) >= 0) {
      if (frame->color_range != AVCOL_RANGE_UNSPECIFIED) srcRange = frame->color_range == AVCOL_RANGE_JPEG;
      if (coefficients != scalerCoefficients || srcRange != scalerRange) {
        sws_setColorspaceDetails(scaler, coefficients, srcRange, coefficients, dstRange, brightness, contrast,
                                 saturation);
        scalerCoefficients = coefficients;
        scalerRange = srcRange;
      }
    }
    IFQImageBuffer out = IFQImageBuffer::Create(w, h, format);
    std::uint8_t* data[4] = {out.GetWritePointer(), nullptr, nullptr, nullptr};
    int stride[4] = {out.GetLineStep(), 0, 0, 0};
    sws_scale(scaler, frame->data, frame->linesize, 0, h, data, stride);
    return out;
  }
};

TFQVideoFileSource::TFQVideoFileSource() = default;

TFQVideoFileSource::~TFQVideoFileSource() { Shutdown(); }

void TFQVideoFileSource::SetLoop(bool value) {
  TPWLockHold hold = GetLock().Write();
  if (hold) loop_.store(value, std::memory_order_relaxed);
}

void TFQVideoFileSource::SetVideoFormat(TFQVideoFormat value) {
  TPWLockHold hold = GetLock().Write();
  if (hold) format_.store(value == vf32Bit ? vf32Bit : vf24Bit, std::memory_order_relaxed);
}

void TFQVideoFileSource::SetRealTime(bool value) {
  TPWLockHold hold = GetLock().Write();
  if (hold) realTime_.store(value, std::memory_order_relaxed);
}

void TFQVideoFileSource::SetStartFrame(long long value) {
  TPWLockHold hold = GetLock().Write();
  if (hold) startFrame_.store(std::max(value, 0LL), std::memory_order_relaxed);
}

void TFQVideoFileSource::SetMaxFrames(long long value) {
  TPWLockHold hold = GetLock().Write();
  if (hold) maxFrames_.store(std::max(value, 0LL), std::memory_order_relaxed);
}

void TFQVideoFileSource::DeclareProperties(TPWPropertyList& props) {
  TFQWithFileName::DeclareProperties(props);
  props.Bool(
      "Loop", [this] { return GetLoop(); }, [this](bool v) { SetLoop(v); }, false);
  props.Int<TFQVideoFormat>(
      "VideoFormat", [this] { return GetVideoFormat(); },
      [this](std::int64_t v) { SetVideoFormat(static_cast<TFQVideoFormat>(v)); }, vf24Bit);
  props.Bool(
      "RealTime", [this] { return GetRealTime(); }, [this](bool v) { SetRealTime(v); }, false);
  props.Int<std::int64_t>(
      "StartFrame", [this] { return GetStartFrame(); }, [this](std::int64_t v) { SetStartFrame(v); }, 0);
  props.Int<std::int64_t>(
      "MaxFrames", [this] { return GetMaxFrames(); }, [this](std::int64_t v) { SetMaxFrames(v); }, 0);
}

bool TFQVideoFileSource::OpenInput(TStreamStart& start) {
  auto reader = std::make_unique<TReader>();
  reader->path = GetFileName();
  reader->stop = [this] { return StopRequested(); };
  const std::string why = reader->path.empty() ? "no file name" : reader->Open();
  if (!why.empty()) {
    if (!StopRequested()) ReportError("cannot open '" + reader->path + "': " + why);
    return false;
  }
  start = {reader->Width(), reader->Height(), GetVideoFormat(), reader->interval};
  reader_ = std::move(reader);
  return true;
}

void TFQVideoFileSource::ReadInput() {
  using namespace std::chrono;
  TReader* r = reader_.get();
  const long long skip = GetStartFrame();
  const long long limit = GetMaxFrames();
  long long index = 0;    // frames decoded in this pass
  long long sentPass = 0; // frames sent in this pass
  std::int64_t passOffset = 0, passBase = AV_NOPTS_VALUE;
  std::int64_t lastStart = -1, lastEnd = 0;
  bool paced = false;
  steady_clock::time_point origin;
  auto fail = [&](const std::string& what, int code) {
    if (!StopRequested()) ReportError(what + " '" + r->path + "': " + AvError(code));
  };

  while (!StopRequested()) {
    const int got = r->Next();
    if (got < 0) return fail("cannot read", got);
    if (got == 0) {
      if (r->readError != 0) return fail("cannot read", r->readError);
      if (!GetLoop() || sentPass == 0) return;
      if (!r->Rewind()) {
        // Inputs that cannot seek start again from a fresh open.
        auto fresh = std::make_unique<TReader>();
        fresh->path = r->path;
        fresh->stop = r->stop;
        const std::string why = fresh->Open();
        if (!why.empty()) {
          if (!StopRequested()) ReportError("cannot open '" + r->path + "' again: " + why);
          return;
        }
        reader_ = std::move(fresh);
        r = reader_.get();
      }
      index = sentPass = 0;
      passOffset = lastEnd;
      passBase = AV_NOPTS_VALUE;
      continue;
    }
    if (index++ < skip) {
      av_frame_unref(r->frame);
      continue;
    }

    const std::int64_t pts = r->frame->best_effort_timestamp;
    std::int64_t start;
    if (pts == AV_NOPTS_VALUE) {
      start = lastStart < 0 ? passOffset : lastEnd;
    } else {
      if (passBase == AV_NOPTS_VALUE) passBase = pts;
      start = passOffset + av_rescale_q(pts - passBase, r->TimeBase(), kHns);
    }
    if (lastStart >= 0 && start <= lastStart) start = lastStart + std::max<std::int64_t>(r->interval, 1);
    std::int64_t duration = av_rescale_q(FrameDuration(r->frame), r->TimeBase(), kHns);
    if (duration <= 0) duration = std::max<std::int64_t>(r->interval, 1);

    const TFQVideoFormat format = GetVideoFormat();
    IFQImageBuffer out = r->Convert(format);
    const char* pixelName = av_get_pix_fmt_name(static_cast<AVPixelFormat>(r->frame->format));
    av_frame_unref(r->frame);
    if (out.IsEmpty()) {
      ReportError("cannot read '" + r->path + "': cannot convert pixel format " +
                  (pixelName != nullptr ? pixelName : "?"));
      return;
    }
    out.SetTimes(start, start + duration);

    if (GetRealTime()) {
      const auto at = duration_cast<steady_clock::duration>(nanoseconds(start * 100));
      const auto now = steady_clock::now();
      if (!paced) origin = now - at;
      paced = true;
      const auto due = origin + at;
      if (due > now) {
        if (!SleepUntil(due)) return;
      } else if (now - due > seconds(1)) {
        origin = now - at; // far behind: carry on from here rather than rush to catch up
      }
    } else {
      paced = false;
    }

    Announce({out.GetWidth(), out.GetHeight(), format, r->interval});
    if (!Deliver(std::move(out))) return;
    ++sentPass;
    lastStart = start;
    lastEnd = start + duration;
    if (limit > 0 && GetFramesSent() >= limit) return;
  }
}

void TFQVideoFileSource::CloseInput() { reader_.reset(); }

// ---- TFQVideoFileSink ------------------------------------------------------

namespace {

const AVCodec* FirstEncoder(std::initializer_list<const char*> names) {
  for (const char* name : names)
    if (const AVCodec* codec = avcodec_find_encoder_by_name(name)) return codec;
  return nullptr;
}

const AVCodec* DefaultEncoder(const AVOutputFormat* container, const std::string& fileName) {
  const std::string_view name = container->name;
  if (name == "mp4" || name == "mov") return FirstEncoder({"libx264", "mpeg4"});
  if (name == "matroska") return FirstEncoder({"ffv1"});
  if (name == "webm") return FirstEncoder({"libvpx-vp9", "libvpx", "libaom-av1"});
  // Image sequences go by extension, the rest by the container's own choice.
  const AVCodecID id = av_guess_codec(container, nullptr, fileName.c_str(), nullptr, AVMEDIA_TYPE_VIDEO);
  return id == AV_CODEC_ID_NONE ? nullptr : avcodec_find_encoder(id);
}

bool Lists(const AVPixelFormat* list, AVPixelFormat format) {
  for (; list != nullptr && *list != AV_PIX_FMT_NONE; ++list)
    if (*list == format) return true;
  return false;
}

AVPixelFormat NaturalPixelFormat(const AVCodec* codec, const AVOutputFormat* container, AVPixelFormat input) {
  const bool grey = input == AV_PIX_FMT_GRAY8;
  // The y4m muxer takes YUV only; 4:4:4 keeps all the colour there is.
  if (std::string_view(container->name) == "yuv4mpegpipe")
    return grey ? AV_PIX_FMT_GRAY8 : AV_PIX_FMT_YUV444P;
  if (codec->pix_fmts == nullptr) return input; // raw codecs store any layout
  std::vector<AVPixelFormat> usable;
  for (const AVPixelFormat* p = codec->pix_fmts; *p != AV_PIX_FMT_NONE; ++p)
    if (sws_isSupportedOutput(*p)) usable.push_back(*p);
  usable.push_back(AV_PIX_FMT_NONE);
  if (Lists(usable.data(), input)) return input;
  // Lossy video codecs: 4:2:0, which every player takes.
  const AVCodecDescriptor* descriptor = avcodec_descriptor_get(codec->id);
  if (!grey && descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_LOSSY) != 0) {
    const AVPixelFormat yuv420 = codec->id == AV_CODEC_ID_MJPEG ? AV_PIX_FMT_YUVJ420P : AV_PIX_FMT_YUV420P;
    if (Lists(usable.data(), yuv420)) return yuv420;
  }
  return avcodec_find_best_pix_fmt_of_list(usable.data(), input, input == AV_PIX_FMT_BGRA, nullptr);
}

// Quality 0..100 onto the codec's own scale: 75 gives the codec's usual
// default, 100 its best, 0 its worst.
double QualityScale(int quality, double best, double usual, double worst) {
  return quality >= 75 ? usual + (best - usual) * (quality - 75) / 25.0
                       : worst + (usual - worst) * quality / 75.0;
}

void ApplyQuality(AVCodecContext* encoder, const AVCodec* codec, int quality, AVDictionary** options) {
  const AVClass* privateClass = codec->priv_class;
  const AVCodecDescriptor* descriptor = avcodec_descriptor_get(codec->id);
  if (privateClass != nullptr &&
      av_opt_find(&privateClass, "crf", nullptr, 0, AV_OPT_SEARCH_FAKE_OBJ) != nullptr) {
    const std::string_view name = codec->name;
    const bool scale63 =
        name.starts_with("libvpx") || name.starts_with("libaom") || name.starts_with("libsvtav1");
    const double crf = scale63 ? QualityScale(quality, 4, 31, 63) : QualityScale(quality, 0, 23, 51);
    av_dict_set(options, "crf", std::to_string(std::lround(crf)).c_str(), 0);
    if (scale63) encoder->bit_rate = 0; // constant quality rather than a bit rate
  } else if (descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_LOSSY) != 0) {
    encoder->flags |= AV_CODEC_FLAG_QSCALE;
    encoder->global_quality = static_cast<int>(FF_QP2LAMBDA * std::lround(QualityScale(quality, 1, 4, 31)));
  }
}

} // namespace

struct TFQVideoFileSink::TWriter : TOutput {
  const std::string codecName;
  const int quality;
  const std::string pixelName;
  std::string path;
  AVFormatContext* format = nullptr;
  AVCodecContext* encoder = nullptr;
  AVStream* stream = nullptr;
  AVFrame* frame = nullptr;
  AVPacket* packet = nullptr;
  SwsContext* scaler = nullptr;
  bool headerWritten = false;
  std::int64_t firstTime = AV_NOPTS_VALUE;
  std::int64_t lastPts = -1;

  TWriter(std::string codec, int level, std::string pixelFormat)
      : codecName(std::move(codec)), quality(level), pixelName(std::move(pixelFormat)) {}
  TWriter(const TWriter&) = delete;
  TWriter& operator=(const TWriter&) = delete;

  ~TWriter() override {
    sws_freeContext(scaler);
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&encoder);
    if (format != nullptr) {
      if ((format->oformat->flags & AVFMT_NOFILE) == 0) avio_closep(&format->pb);
      avformat_free_context(format);
    }
  }

  std::string Open(const TOutputStart& start) override {
    path = start.FileName;
    const int width = start.Width, height = start.Height;
    if (path.empty()) return "no file name";
    if (width <= 0 || height <= 0) return "no frame size";
    if (avformat_alloc_output_context2(&format, nullptr, nullptr, path.c_str()) < 0 || format == nullptr)
      return "no container for this file name";
    const AVOutputFormat* container = format->oformat;
    const AVCodec* codec =
        codecName.empty() ? DefaultEncoder(container, path) : avcodec_find_encoder_by_name(codecName.c_str());
    if (codec == nullptr)
      return codecName.empty() ? std::string("no encoder for ") + container->name
                               : "no encoder '" + codecName + "'";
    if (codec->type != AVMEDIA_TYPE_VIDEO) return "'" + codecName + "' is not a video encoder";
    if (avformat_query_codec(container, codec->id, FF_COMPLIANCE_NORMAL) == 0)
      return std::string(codec->name) + " cannot be stored in " + container->name;

    AVPixelFormat pixel;
    if (!pixelName.empty()) {
      pixel = av_get_pix_fmt(pixelName.c_str());
      if (pixel == AV_PIX_FMT_NONE) return "unknown pixel format '" + pixelName + "'";
      if (codec->pix_fmts != nullptr && !Lists(codec->pix_fmts, pixel))
        return std::string(codec->name) + " does not take " + pixelName;
    } else {
      pixel = NaturalPixelFormat(codec, container, PixelFormatOf(start.Format));
    }
    if (pixel == AV_PIX_FMT_NONE || sws_isSupportedOutput(pixel) == 0)
      return std::string("no pixel format to give ") + codec->name;

    encoder = avcodec_alloc_context3(codec);
    if (encoder == nullptr) return AvError(AVERROR(ENOMEM));
    encoder->width = width;
    encoder->height = height;
    encoder->pix_fmt = pixel;
    encoder->sample_aspect_ratio = {1, 1};
    // Some codecs take no time base denominator beyond 16 bits.
    AVRational timeBase{};
    av_reduce(&timeBase.num, &timeBase.den, start.Interval > 0 ? start.Interval : 400'000, 10'000'000, 65535);
    encoder->time_base = timeBase;
    encoder->framerate = av_inv_q(timeBase);
    const AVPixFmtDescriptor* pixelInfo = av_pix_fmt_desc_get(pixel);
    if (pixelInfo != nullptr && std::string_view(pixelInfo->name).starts_with("yuvj"))
      encoder->color_range = AVCOL_RANGE_JPEG;
    if ((container->flags & AVFMT_GLOBALHEADER) != 0) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    AVDictionary* options = nullptr;
    ApplyQuality(encoder, codec, quality, &options);
    int r = avcodec_open2(encoder, codec, &options);
    av_dict_free(&options);
    if (r < 0) return std::string("cannot open encoder ") + codec->name + ": " + AvError(r);

    stream = avformat_new_stream(format, nullptr);
    if (stream == nullptr) return AvError(AVERROR(ENOMEM));
    r = avcodec_parameters_from_context(stream->codecpar, encoder);
    if (r < 0) return AvError(r);
    stream->time_base = encoder->time_base;
    stream->avg_frame_rate = encoder->framerate;

    if ((container->flags & AVFMT_NOFILE) == 0) {
      r = avio_open(&format->pb, path.c_str(), AVIO_FLAG_WRITE);
      if (r < 0) return AvError(r);
    }
    AVDictionary* muxerOptions = nullptr;
    // A single image name without a number: each frame replaces the last.
    if (std::string_view(container->name) == "image2" && av_filename_number_test(path.c_str()) == 0)
      av_dict_set(&muxerOptions, "update", "1", 0);
    r = avformat_write_header(format, &muxerOptions);
    av_dict_free(&muxerOptions);
    if (r < 0) return AvError(r);
    headerWritten = true;

    frame = av_frame_alloc();
    packet = av_packet_alloc();
    if (frame == nullptr || packet == nullptr) return AvError(AVERROR(ENOMEM));
    frame->format = pixel;
    frame->width = width;
    frame->height = height;
    frame->color_range = encoder->color_range;
    r = av_frame_get_buffer(frame, 0);
    return r < 0 ? AvError(r) : std::string();
  }

  std::string Write(const IFQImageBuffer& in) override {
    // Frames of another size are scaled to the file's.
    scaler = sws_getCachedContext(scaler, in.GetWidth(), in.GetHeight(), PixelFormatOf(in.GetFormat()),
                                  encoder->width, encoder->height, encoder->pix_fmt, kScaleFlags, nullptr,
                                  nullptr, nullptr);
    if (scaler == nullptr) return "cannot convert the frame";
    const int r = av_frame_make_writable(frame); // the encoder may still hold the last one
    if (r < 0) return AvError(r);
    const std::uint8_t* data[4] = {in.GetReadPointer(), nullptr, nullptr, nullptr};
    const int stride[4] = {in.GetLineStep(), 0, 0, 0};
    sws_scale(scaler, data, stride, 0, in.GetHeight(), frame->data, frame->linesize);

    std::int64_t pts = lastPts + 1;
    const bool stamped = in.GetStartTime() != 0 || in.GetEndTime() != 0;
    if (stamped) {
      if (firstTime == AV_NOPTS_VALUE) firstTime = in.GetStartTime();
      pts = std::max(pts, av_rescale_q(in.GetStartTime() - firstTime, kHns, encoder->time_base));
    }
    lastPts = pts;
    frame->pts = pts;
    return Encode(frame);
  }

  std::string Encode(AVFrame* input) {
    int r = avcodec_send_frame(encoder, input);
    if (r < 0 && !(input == nullptr && r == AVERROR_EOF)) return AvError(r);
    for (;;) {
      r = avcodec_receive_packet(encoder, packet);
      if (r == AVERROR(EAGAIN) || r == AVERROR_EOF) return {};
      if (r < 0) return AvError(r);
      av_packet_rescale_ts(packet, encoder->time_base, stream->time_base);
      packet->stream_index = stream->index;
      r = av_interleaved_write_frame(format, packet); // takes the packet's contents
      if (r < 0) return AvError(r);
    }
  }

  // Flushes the encoder and writes the trailer; the first failure, if any.
  std::string Close() override {
    if (!headerWritten) return {};
    headerWritten = false;
    std::string why = Encode(nullptr);
    const int r = av_write_trailer(format);
    if (why.empty() && r < 0) why = AvError(r);
    if ((format->oformat->flags & AVFMT_NOFILE) == 0) {
      const int c = avio_closep(&format->pb);
      if (why.empty() && c < 0) why = AvError(c);
    }
    return why;
  }

  std::string Name() const override { return "'" + path + "'"; }
};

std::string TFQVideoFileSink::GetCodec() const {
  TPWLockHold hold = GetLock().Read();
  return codec_;
}

void TFQVideoFileSink::SetCodec(std::string value) {
  TPWLockHold hold = GetLock().Write();
  if (hold) codec_ = std::move(value);
}

int TFQVideoFileSink::GetQuality() const {
  TPWLockHold hold = GetLock().Read();
  return quality_;
}

void TFQVideoFileSink::SetQuality(int value) {
  TPWLockHold hold = GetLock().Write();
  if (hold) quality_ = std::clamp(value, 0, 100);
}

std::string TFQVideoFileSink::GetPixelFormat() const {
  TPWLockHold hold = GetLock().Read();
  return pixelFormat_;
}

void TFQVideoFileSink::SetPixelFormat(std::string value) {
  TPWLockHold hold = GetLock().Write();
  if (hold) pixelFormat_ = std::move(value);
}

void TFQVideoFileSink::DeclareProperties(TPWPropertyList& props) {
  TFQFileSink::DeclareProperties(props);
  props.String(
      "Codec", [this] { return GetCodec(); }, [this](std::string v) { SetCodec(std::move(v)); }, "");
  props.Int<std::int32_t>(
      "Quality", [this] { return GetQuality(); },
      [this](std::int64_t v) { SetQuality(static_cast<int>(std::clamp<std::int64_t>(v, 0, 100))); }, 75);
  props.String(
      "PixelFormat", [this] { return GetPixelFormat(); },
      [this](std::string v) { SetPixelFormat(std::move(v)); }, "");
}

std::unique_ptr<TFQFileSink::TOutput> TFQVideoFileSink::NewOutput() {
  return std::make_unique<TWriter>(codec_, quality_, pixelFormat_);
}

namespace Fqvideofile {
void Register() {
  // The codec libraries chat at their default level (encoder statistics on
  // every file); keep them to errors unless the application chose a level.
  if (av_log_get_level() == AV_LOG_INFO) av_log_set_level(AV_LOG_ERROR);
  RegisterComponents("Framquist", {FQClass<TFQVideoFileSource>("TFQVideoFileSource"),
                                   FQClass<TFQVideoFileSink>("TFQVideoFileSink")});
}
} // namespace Fqvideofile

} // namespace framquist
