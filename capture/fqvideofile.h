// Video files: reading and writing through the FFmpeg libraries.
//
// TFQVideoFileSource: plays a video file (any container and codec FFmpeg
//   reads, and numbered image sequences such as "frame%04d.png") into
//   OutputPin, on a reader thread of its own (see TFQThreadedSource).
//   Pins: OutputPin.
//   Properties:
//     FileName     the file or sequence pattern
//     Loop         (false) at the end, start again from StartFrame; frame
//                  times keep increasing
//     VideoFormat  (vf24Bit) vf24Bit or vf32Bit (alpha from the file, else
//                  opaque); other codes mean vf24Bit
//     RealTime     (false) false: frames go as fast as downstream takes them;
//                  true: paced at the file's frame times
//     StartFrame   (0) frames of the file skipped before the first one sent
//     MaxFrames    (0 = no limit) frames sent in all, loops included
//   Start opens the file (a failure is reported, nothing is sent) and
//   announces its size and frame interval; frames carry the file's times in
//   100-ns units, counted from the first frame sent. At the end of the file
//   (or of MaxFrames) it sends a stop. Stop ends the thread and sends a stop.
//   Properties read at start, except Loop and RealTime, which the next frame
//   sees; a VideoFormat change re-announces the stream.
//
//   source->SetFileName("clip.mp4");
//   source->Start(); source->WaitUntilFinished(std::chrono::seconds(30));
//
// TFQVideoFileSink: writes the frames arriving at InputPin to a file whose
//   name picks the container: .mp4 .mkv .webm .gif .y4m .avi, or an image
//   sequence ("out%04d.png", .bmp, .jpg; a name without a number keeps the
//   last frame only).
//   Pins: InputPin. Frames: grey, 24-bit and 32-bit as they come, others as
//   24-bit.
//   Properties:
//     FileName     the output (read at each start)
//     Codec        ("") an encoder name; empty picks one for the container:
//                  mp4 libx264 (else mpeg4), mkv ffv1 (lossless), webm VP9
//                  (else VP8 or AV1), gif, images by extension, others the
//                  container's own
//     Quality      (75) 0 to 100, worst to best; lossless codecs ignore it
//     PixelFormat  ("") an FFmpeg pixel format name for the encoder; empty:
//                  the codec's natural choice (4:2:0 for lossy video codecs,
//                  the input's own layout when the codec stores it)
//   Start (a start-frame) opens the file and writes the header, timed by
//   the stream's interval (25 per second when unknown); a failure is
//   reported and frames are ignored until the next start. A start without a
//   stop in between keeps the file, scaling later frames to the first size.
//   Stop flushes the encoder and finishes the file. Frames are timed from
//   their start times (from a frame count when those are missing or do not
//   increase).
//
//   sink->SetFileName("out.mkv");
//   source->OutputPin.Connect(sink->InputPin);
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "capture/fqfileendpoints.h"

namespace framquist {

class TFQVideoFileSource : public TFQWithFileName<TFQThreadedSource> {
public:
  TFQVideoFileSource();
  ~TFQVideoFileSource() override;
  std::string_view GetClassName() const override { return "TFQVideoFileSource"; }

  bool GetLoop() const { return loop_.load(std::memory_order_relaxed); }
  void SetLoop(bool value);
  TFQVideoFormat GetVideoFormat() const { return format_.load(std::memory_order_relaxed); }
  void SetVideoFormat(TFQVideoFormat value);
  bool GetRealTime() const { return realTime_.load(std::memory_order_relaxed); }
  void SetRealTime(bool value);
  long long GetStartFrame() const { return startFrame_.load(std::memory_order_relaxed); }
  void SetStartFrame(long long value); // at least 0
  long long GetMaxFrames() const { return maxFrames_.load(std::memory_order_relaxed); }
  void SetMaxFrames(long long value); // at least 0
  // Published: Tag, FileName, Loop, VideoFormat, RealTime, StartFrame, MaxFrames.
  void DeclareProperties(TPWPropertyList& props) override;

protected:
  bool OpenInput(TStreamStart& start) override;
  void ReadInput() override;
  void CloseInput() override;

private:
  struct TReader;
  std::unique_ptr<TReader> reader_; // the open file; the stream's thread only
  // Atomic so the reader thread and getters need no lock; stored under it.
  std::atomic<bool> loop_{false};
  std::atomic<TFQVideoFormat> format_{vf24Bit};
  std::atomic<bool> realTime_{false};
  std::atomic<long long> startFrame_{0};
  std::atomic<long long> maxFrames_{0};
};

class TFQVideoFileSink : public TFQFileSink {
public:
  std::string_view GetClassName() const override { return "TFQVideoFileSink"; }

  std::string GetCodec() const;
  void SetCodec(std::string value);
  int GetQuality() const;
  void SetQuality(int value); // clamped to 0..100
  std::string GetPixelFormat() const;
  void SetPixelFormat(std::string value);
  // Published: Tag, FileName, Codec, Quality, PixelFormat.
  void DeclareProperties(TPWPropertyList& props) override;

protected:
  std::unique_ptr<TOutput> NewOutput() override;

private:
  struct TWriter;

  // All guarded by the lock.
  std::string codec_;
  int quality_ = 75;
  std::string pixelFormat_;
};

namespace Fqvideofile {
void Register();
}

} // namespace framquist
