// Uncompressed video on files and pipes, for shell pipelines with the
// ffmpeg command (-f yuv4mpegpipe, -f rawvideo). FileName "" or "-" means
// standard input (sources) or standard output (sinks); any other name is
// opened as a file, so "/dev/fd/N" reads or writes an inherited descriptor.
//
// TFQY4MSource: reads a YUV4MPEG2 stream on a reader thread of its own (see
//   TFQThreadedSource): colour spaces 420jpeg, 420mpeg2, 420paldv, 420, 411,
//   422, 444, 444alpha and mono, 8 bits, limited range unless the stream
//   says XCOLORRANGE=FULL. Frames are 24-bit (32-bit for 444alpha, grey for
//   mono), timed by the stream's frame rate (25 when it gives none).
//   Pins: OutputPin. Properties: FileName ("" = standard input).
//   Start opens the input (a failure is reported); the thread reads the
//   header, announces the stream and sends the frames, and at the end of the
//   input sends a stop. A broken header or a truncated frame is reported;
//   the frames before it are sent. Stop ends the thread and sends a stop.
//
// TFQY4MSink: writes the frames arriving at InputPin as YUV4MPEG2: C444 for
//   colour (alpha is dropped; the conversion to YUV is not lossless), Cmono
//   for a grey stream, the frame rate from the stream's interval (25 when
//   unknown). Pins: InputPin. Properties: FileName ("" = standard output).
//   Start opens the output and writes the header; a start without a stop in
//   between keeps the output, scaling later frames to the first size. Stop
//   closes the output (a file; standard output stays open). A failure (a
//   reader that went away) is reported and frames are ignored until the
//   next start.
//
// TFQRawVideoSource: reads headerless frames of packed pixels, rows
//   top-down with no padding: bgr24, bgra or gray by VideoFormat. Lossless.
//   Properties: FileName ("" = standard input), Width and Height (640 x 480,
//   1 to 32767), Rate (25 frames per second, 0.001 to 1000), VideoFormat
//   (vf24Bit; vf32Bit and vfGrey too, other codes mean vf24Bit). Start opens
//   the input and announces the stream; the thread sends the frames and a
//   stop at the end; a truncated last frame is reported.
//
// TFQRawVideoSink: writes each frame as packed pixels in the stream's format
//   (bgr24, bgra or gray; other formats as bgr24), rows top-down with no
//   padding. Lossless. Properties: FileName ("" = standard output). Start,
//   stop and failures as TFQY4MSink.
//
//   y4m->SetFileName("-");  // ffmpeg -i in.mp4 -f yuv4mpegpipe - | app
//   y4m->Start();
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "capture/fqfileendpoints.h"

namespace framquist {

class TFQY4MSource : public TFQWithFileName<TFQThreadedSource> {
public:
  TFQY4MSource();
  ~TFQY4MSource() override;
  std::string_view GetClassName() const override { return "TFQY4MSource"; }
  // Published: Tag, FileName.

protected:
  bool OpenInput(TStreamStart& start) override;
  void ReadInput() override;
  void CloseInput() override;

private:
  struct TInput;
  std::unique_ptr<TInput> input_; // the stream's thread only
};

class TFQY4MSink : public TFQFileSink {
public:
  std::string_view GetClassName() const override { return "TFQY4MSink"; }
  // Published: Tag, FileName.

protected:
  std::unique_ptr<TOutput> NewOutput() override;
};

class TFQRawVideoSource : public TFQWithFileName<TFQThreadedSource> {
public:
  TFQRawVideoSource();
  ~TFQRawVideoSource() override;
  std::string_view GetClassName() const override { return "TFQRawVideoSource"; }

  int GetWidth() const { return width_.load(std::memory_order_relaxed); }
  void SetWidth(int value);
  int GetHeight() const { return height_.load(std::memory_order_relaxed); }
  void SetHeight(int value);
  double GetRate() const { return rate_.load(std::memory_order_relaxed); }
  void SetRate(double value);
  TFQVideoFormat GetVideoFormat() const { return format_.load(std::memory_order_relaxed); }
  void SetVideoFormat(TFQVideoFormat value);
  // Published: Tag, FileName, Width, Height, Rate, VideoFormat.
  void DeclareProperties(TPWPropertyList& props) override;

protected:
  bool OpenInput(TStreamStart& start) override;
  void ReadInput() override;
  void CloseInput() override;

private:
  struct TInput;
  std::unique_ptr<TInput> input_; // the stream's thread only
  // Atomic so getters need no lock; stored under it.
  std::atomic<int> width_{640};
  std::atomic<int> height_{480};
  std::atomic<double> rate_{25.0};
  std::atomic<TFQVideoFormat> format_{vf24Bit};
};

class TFQRawVideoSink : public TFQFileSink {
public:
  std::string_view GetClassName() const override { return "TFQRawVideoSink"; }
  // Published: Tag, FileName.

protected:
  std::unique_ptr<TOutput> NewOutput() override;
};

namespace Fqrawpipe {
void Register();
}

} // namespace framquist
