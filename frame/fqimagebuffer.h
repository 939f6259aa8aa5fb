// IFQImageBuffer: a reference-counted handle to one frame.
//
// Copying the handle shares the frame object (as an interface pointer
// would); Assign makes another frame object a copy of this one. Pixels are
// shared between assigned frames until one of them asks for a write or
// modify pointer (copy-on-write), so passing a frame down a chain of filters
// costs no copy until a filter changes it.
//
// Layout: rows top-down (row 0 is the top of the picture), pixels in byte
// order blue, green, red (, alpha), each row starting on a 64-byte boundary
// (so the line step may exceed width x bytes per pixel). Each frame carries
// a start and end time in 100-ns units. Past its last row every frame has
// kFQFrameTailSlack writable bytes: external writers (FFmpeg's scaler) may
// run up to that far past a row's end, the last row's included.
//
// Threads: any number of threads may read one frame object; changing a
// frame object (Assign, SetFormat, SetSize, pointers for writing) while
// another thread uses the same object is not allowed. Different frame
// objects sharing pixels may be used on different threads freely.
//
//   auto frame = IFQImageBuffer::Create(640, 480, vf32Bit);
//   frame.FillColor(FQRGB(255, 0, 0) | 0xff000000u, 0);  // opaque red
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "frame/fqtypes.h"
#include "frame/fqvideoformat.h"

namespace framquist {

class TFQImageBufferObject;

inline constexpr std::size_t kFQFrameTailSlack = 64;

class IFQImageBuffer {
public:
  // A new, empty frame object (0 x 0, 24-bit).
  IFQImageBuffer();
  static IFQImageBuffer Create(int width, int height, TFQVideoFormat format);

  // Makes this frame a copy of source: size, format, times and pixels (the
  // pixels are shared until either side writes).
  void Assign(const IFQImageBuffer& source);

  const std::uint8_t* GetReadPointer() const;
  // Pixels for writing a whole new picture; earlier contents are not kept,
  // unless SetPreserveOnWrite(true) asked for them.
  std::uint8_t* GetWritePointer();
  // Pixels for changing in place; contents are kept.
  std::uint8_t* GetModifyPointer();

  // Converts the pixels to `format`. Unlisted codes (and 7) mean 24-bit.
  void SetFormat(TFQVideoFormat format);
  TFQVideoFormat GetFormat() const;
  SIZE GetSize() const;
  int GetWidth() const { return GetSize().cx; }
  int GetHeight() const { return GetSize().cy; }
  int GetLineStep() const;
  int GetBytesPerPixel() const { return FQBytesPerPixel(GetFormat()); }
  bool IsEmpty() const;

  // Resizes (keeping the format); contents are undefined afterwards.
  void SetSize(int width, int height);

  // Fills the whole frame with colour (TColor 0x00BBGGRR). 32-bit frames take
  // their alpha from bits 24-31, grey frames the colour's luma. The second
  // argument is reserved and passed 0.
  void FillColor(TColor color, int reserved);
  // Sets every byte of the picture to 0.
  void Clear();

  std::int64_t GetStartTime() const;
  std::int64_t GetEndTime() const;
  void SetTimes(std::int64_t start, std::int64_t end);

  // Makes GetWritePointer keep the contents too. The frame sets it on the
  // output of a filter that writes only part of the picture (a region of
  // interest), so the rest shows the input. A flag of the frame object:
  // Assign leaves it as it is.
  void SetPreserveOnWrite(bool preserve);
  bool GetPreserveOnWrite() const;

  // True when both handles refer to one frame object.
  bool SameObject(const IFQImageBuffer& other) const { return object_ == other.object_; }
  // True when this frame's pixels are shared with another frame object.
  bool SharesPixels() const;

private:
  std::shared_ptr<TFQImageBufferObject> object_;
};

// Grey level of a colour (rounded BT.601 luma), used by every conversion to grey.
constexpr std::uint8_t FQLuma(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
  return static_cast<std::uint8_t>((299 * r + 587 * g + 114 * b + 500) / 1000);
}

// Pixel memory. Released pixel stores are pooled per byte size (up to 16 of
// a size, 256 MiB in all), so a running stream allocates no pixel memory
// per frame once it has settled. Allocated counts fresh allocations, Reused
// stores taken from the pool; PooledBytes is what the pool holds now.
struct TFQPixelPoolStats {
  std::uint64_t Allocated = 0;
  std::uint64_t Reused = 0;
  std::size_t PooledBytes = 0;
};
TFQPixelPoolStats FQGetPixelPoolStats();
// Frees every pooled store (after a stream at a large size ends, say).
void FQTrimPixelPool();

} // namespace framquist
