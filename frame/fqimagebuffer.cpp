#include "frame/fqimagebuffer.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

namespace framquist {

namespace {

constexpr std::size_t kRowAlign = 64;

// Pixel memory shared by frame objects; the count decides copy-on-write.
class PixelStore {
public:
  static PixelStore* Allocate(std::size_t bytes) {
    auto* store = new PixelStore;
    store->bytes_ = bytes;
    if (bytes > 0)
      store->data_ = static_cast<std::uint8_t*>(::operator new (bytes, std::align_val_t{kRowAlign}));
    return store;
  }
  void AddRef() { refs_.fetch_add(1, std::memory_order_relaxed); }
  void Release() {
    if (refs_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }
  // Acquire pairs with the release in Release(): the other owner's last
  // reads of the pixels happen before this owner starts writing them.
  bool Unique() const { return refs_.load(std::memory_order_acquire) == 1; }
  std::uint8_t* Data() { return data_; }
  std::size_t Bytes() const { return bytes_; }

private:
  PixelStore() = default;
  ~PixelStore() {
    if (data_ != nullptr) ::operator delete (data_, std::align_val_t{kRowAlign});
  }
  std::atomic<int> refs_{1};
  std::size_t bytes_ = 0;
  std::uint8_t* data_ = nullptr;
};

int StepFor(int width, TFQVideoFormat format) {
  const std::size_t row = static_cast<std::size_t>(width) * static_cast<std::size_t>(FQBytesPerPixel(format));
  const std::size_t step = (row + kRowAlign - 1) / kRowAlign * kRowAlign;
  if (step > static_cast<std::size_t>(std::numeric_limits<int>::max()))
    throw std::length_error("IFQImageBuffer: row too wide");
  return static_cast<int>(step);
}

struct Bgra {
  std::uint8_t b, g, r, a;
};

Bgra ReadPixel(const std::uint8_t* p, TFQVideoFormat format) {
  switch (format) {
  case vfGrey:
    return {p[0], p[0], p[0], 255};
  case vf32Bit:
    return {p[0], p[1], p[2], p[3]};
  case vf16Bit565: {
    const unsigned v = p[0] | (p[1] << 8);
    const unsigned r = (v >> 11) & 31, g = (v >> 5) & 63, b = v & 31;
    return {static_cast<std::uint8_t>((b << 3) | (b >> 2)), static_cast<std::uint8_t>((g << 2) | (g >> 4)),
            static_cast<std::uint8_t>((r << 3) | (r >> 2)), 255};
  }
  case vf16Bit555: {
    const unsigned v = p[0] | (p[1] << 8);
    const unsigned r = (v >> 10) & 31, g = (v >> 5) & 31, b = v & 31;
    return {static_cast<std::uint8_t>((b << 3) | (b >> 2)), static_cast<std::uint8_t>((g << 3) | (g >> 2)),
            static_cast<std::uint8_t>((r << 3) | (r >> 2)), 255};
  }
  default:
    return {p[0], p[1], p[2], 255};
  }
}

void WritePixel(std::uint8_t* p, TFQVideoFormat format, Bgra c) {
  switch (format) {
  case vfGrey:
    p[0] = FQLuma(c.r, c.g, c.b);
    break;
  case vf32Bit:
    p[0] = c.b, p[1] = c.g, p[2] = c.r, p[3] = c.a;
    break;
  case vf16Bit565: {
    const unsigned v = ((c.r >> 3) << 11) | ((c.g >> 2) << 5) | (c.b >> 3);
    p[0] = static_cast<std::uint8_t>(v & 0xff), p[1] = static_cast<std::uint8_t>(v >> 8);
    break;
  }
  case vf16Bit555: {
    const unsigned v = ((c.r >> 3) << 10) | ((c.g >> 3) << 5) | (c.b >> 3);
    p[0] = static_cast<std::uint8_t>(v & 0xff), p[1] = static_cast<std::uint8_t>(v >> 8);
    break;
  }
  default:
    p[0] = c.b, p[1] = c.g, p[2] = c.r;
    break;
  }
}

} // namespace

class TFQImageBufferObject {
public:
  TFQImageBufferObject() = default;
  TFQImageBufferObject(const TFQImageBufferObject&) = delete;
  TFQImageBufferObject& operator=(const TFQImageBufferObject&) = delete;
  ~TFQImageBufferObject() { Drop(); }

  void Drop() {
    if (store != nullptr) store->Release();
    store = nullptr;
  }

  void Allocate(int w, int h, TFQVideoFormat f) {
    if (w < 0 || h < 0) throw std::invalid_argument("IFQImageBuffer: negative size");
    Drop();
    width = w;
    height = h;
    format = FQNormalizeFormat(f);
    step = StepFor(w, format);
    if (w > 0 && h > 0)
      store = PixelStore::Allocate(static_cast<std::size_t>(step) * static_cast<std::size_t>(h));
  }

  // Makes the pixels this object's own; copies them only when asked to.
  std::uint8_t* Own(bool keep) {
    if (store == nullptr) return nullptr;
    if (!store->Unique()) {
      PixelStore* mine = PixelStore::Allocate(store->Bytes());
      if (keep) std::memcpy(mine->Data(), store->Data(), store->Bytes());
      store->Release();
      store = mine;
    }
    return store->Data();
  }

  int width = 0;
  int height = 0;
  TFQVideoFormat format = vf24Bit;
  int step = 0;
  std::int64_t start = 0;
  std::int64_t end = 0;
  PixelStore* store = nullptr;
  bool preserve = false;
};

IFQImageBuffer::IFQImageBuffer() : object_(std::make_shared<TFQImageBufferObject>()) {}

IFQImageBuffer IFQImageBuffer::Create(int width, int height, TFQVideoFormat format) {
  IFQImageBuffer buffer;
  buffer.object_->Allocate(width, height, format);
  return buffer;
}

void IFQImageBuffer::Assign(const IFQImageBuffer& source) {
  if (object_ == source.object_) return;
  TFQImageBufferObject& dst = *object_;
  const TFQImageBufferObject& src = *source.object_;
  if (src.store != nullptr) src.store->AddRef();
  dst.Drop();
  dst.store = src.store;
  dst.width = src.width;
  dst.height = src.height;
  dst.format = src.format;
  dst.step = src.step;
  dst.start = src.start;
  dst.end = src.end;
}

const std::uint8_t* IFQImageBuffer::GetReadPointer() const {
  return object_->store != nullptr ? object_->store->Data() : nullptr;
}

std::uint8_t* IFQImageBuffer::GetWritePointer() { return object_->Own(object_->preserve); }

void IFQImageBuffer::SetPreserveOnWrite(bool preserve) { object_->preserve = preserve; }

bool IFQImageBuffer::GetPreserveOnWrite() const { return object_->preserve; }

std::uint8_t* IFQImageBuffer::GetModifyPointer() { return object_->Own(true); }

TFQVideoFormat IFQImageBuffer::GetFormat() const { return object_->format; }

SIZE IFQImageBuffer::GetSize() const { return {object_->width, object_->height}; }

int IFQImageBuffer::GetLineStep() const { return object_->step; }

bool IFQImageBuffer::IsEmpty() const { return object_->store == nullptr; }

bool IFQImageBuffer::SharesPixels() const { return object_->store != nullptr && !object_->store->Unique(); }

void IFQImageBuffer::SetSize(int width, int height) {
  TFQImageBufferObject& o = *object_;
  if (width == o.width && height == o.height) return;
  o.Allocate(width, height, o.format);
}

void IFQImageBuffer::SetFormat(TFQVideoFormat format) {
  TFQImageBufferObject& o = *object_;
  format = FQNormalizeFormat(format);
  if (format == o.format) return;
  if (o.store == nullptr) {
    o.Allocate(o.width, o.height, format);
    return;
  }
  TFQImageBufferObject converted;
  converted.Allocate(o.width, o.height, format);
  const int inBpp = FQBytesPerPixel(o.format), outBpp = FQBytesPerPixel(format);
  for (int y = 0; y < o.height; ++y) {
    const std::uint8_t* in = o.store->Data() + static_cast<std::ptrdiff_t>(y) * o.step;
    std::uint8_t* out = converted.store->Data() + static_cast<std::ptrdiff_t>(y) * converted.step;
    for (int x = 0; x < o.width; ++x)
      WritePixel(out + x * outBpp, format, ReadPixel(in + x * inBpp, o.format));
  }
  o.Drop();
  o.store = converted.store;
  converted.store = nullptr;
  o.format = format;
  o.step = converted.step;
}

void IFQImageBuffer::FillColor(TColor color, int) {
  std::uint8_t* data = GetWritePointer();
  if (data == nullptr) return;
  const TFQImageBufferObject& o = *object_;
  const Bgra c{FQBlue(color), FQGreen(color), FQRed(color), static_cast<std::uint8_t>(color >> 24)};
  const int bpp = FQBytesPerPixel(o.format);
  std::uint8_t pixel[4];
  WritePixel(pixel, o.format, c);
  // Build the first row, then copy it down.
  for (int x = 0; x < o.width; ++x) std::memcpy(data + x * bpp, pixel, static_cast<std::size_t>(bpp));
  const std::size_t row = static_cast<std::size_t>(o.width) * static_cast<std::size_t>(bpp);
  for (int y = 1; y < o.height; ++y) std::memcpy(data + static_cast<std::ptrdiff_t>(y) * o.step, data, row);
}

void IFQImageBuffer::Clear() {
  std::uint8_t* data = GetWritePointer();
  if (data != nullptr) std::memset(data, 0, object_->store->Bytes());
}

std::int64_t IFQImageBuffer::GetStartTime() const { return object_->start; }
std::int64_t IFQImageBuffer::GetEndTime() const { return object_->end; }

void IFQImageBuffer::SetTimes(std::int64_t start, std::int64_t end) {
  object_->start = start;
  object_->end = end;
}

} // namespace framquist
