#include "frame/fqimagebuffer.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <mutex>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "ipp/ippconvert.h"

namespace framquist {

namespace {

constexpr std::size_t kRowAlign = 64;

// Pixel memory shared by frame objects; the count decides copy-on-write.
// Released stores go back to a pool of their byte size, so a running stream
// takes its pixel memory from there instead of the allocator (large blocks
// would otherwise be mapped and faulted in afresh for every frame).
class PixelStore {
public:
  static PixelStore* Allocate(std::size_t bytes);
  void AddRef() { refs_.fetch_add(1, std::memory_order_relaxed); }
  void Release() {
    if (refs_.fetch_sub(1, std::memory_order_acq_rel) == 1) Recycle(this);
  }
  // Acquire pairs with the release in Release(): the other owner's last
  // reads of the pixels happen before this owner starts writing them.
  bool Unique() const { return refs_.load(std::memory_order_acquire) == 1; }
  std::uint8_t* Data() { return data_; }
  std::size_t Bytes() const { return bytes_; }

  static void Free(PixelStore* store) { delete store; }

private:
  static void Recycle(PixelStore* store);
  PixelStore() = default;
  ~PixelStore() {
    if (data_ != nullptr) ::operator delete (data_, std::align_val_t{kRowAlign});
  }
  friend struct PixelPool;
  std::atomic<int> refs_{1};
  std::size_t bytes_ = 0;
  std::uint8_t* data_ = nullptr;
};

struct PixelPool {
  // Stores kept per byte size, and in all: enough for the frames a long
  // chain holds at once, not a cache of every size ever seen.
  static constexpr std::size_t kPerSize = 16;
  static constexpr std::size_t kMaxBytes = std::size_t{256} << 20;

  std::mutex mutex;
  std::vector<std::pair<std::size_t, std::vector<PixelStore*>>> buckets; // few sizes: a list beats a map
  std::size_t pooledBytes = 0;
  std::atomic<std::uint64_t> allocated{0};
  std::atomic<std::uint64_t> reused{0};

  std::vector<PixelStore*>* Bucket(std::size_t bytes) {
    for (auto& [size, stores] : buckets)
      if (size == bytes) return &stores;
    return nullptr;
  }

  // Never destroyed: stores may be released by static objects at exit.
  static PixelPool& Get() {
    static PixelPool* pool = new PixelPool;
    return *pool;
  }
};

PixelStore* PixelStore::Allocate(std::size_t bytes) {
  PixelPool& pool = PixelPool::Get();
  if (bytes > 0) {
    std::lock_guard g(pool.mutex);
    if (std::vector<PixelStore*>* bucket = pool.Bucket(bytes); bucket != nullptr && !bucket->empty()) {
      PixelStore* store = bucket->back();
      bucket->pop_back();
      pool.pooledBytes -= bytes;
      pool.reused.fetch_add(1, std::memory_order_relaxed);
      store->refs_.store(1, std::memory_order_relaxed);
      return store;
    }
  }
  auto* store = new PixelStore;
  store->bytes_ = bytes;
  if (bytes > 0) {
    store->data_ =
        static_cast<std::uint8_t*>(::operator new (bytes + kFQFrameTailSlack, std::align_val_t{kRowAlign}));
    pool.allocated.fetch_add(1, std::memory_order_relaxed);
  }
  return store;
}

void PixelStore::Recycle(PixelStore* store) {
  PixelPool& pool = PixelPool::Get();
  const std::size_t bytes = store->bytes_;
  if (bytes > 0 && bytes <= PixelPool::kMaxBytes) {
    std::lock_guard g(pool.mutex);
    std::vector<PixelStore*>* bucket = pool.Bucket(bytes);
    if (bucket == nullptr) bucket = &pool.buckets.emplace_back(bytes, std::vector<PixelStore*>{}).second;
    if (bucket->size() < PixelPool::kPerSize && pool.pooledBytes + bytes <= PixelPool::kMaxBytes) {
      bucket->push_back(store);
      pool.pooledBytes += bytes;
      return;
    }
  }
  Free(store);
}

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
  fqiConvertFormat_8u(o.store->Data(), o.step, o.format, converted.store->Data(), converted.step, format,
                      IppiSize{o.width, o.height});
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

TFQPixelPoolStats FQGetPixelPoolStats() {
  PixelPool& pool = PixelPool::Get();
  std::lock_guard g(pool.mutex);
  return {pool.allocated.load(std::memory_order_relaxed), pool.reused.load(std::memory_order_relaxed),
          pool.pooledBytes};
}

void FQTrimPixelPool() {
  std::vector<PixelStore*> stores;
  {
    PixelPool& pool = PixelPool::Get();
    std::lock_guard g(pool.mutex);
    for (auto& [size, bucket] : pool.buckets) stores.insert(stores.end(), bucket.begin(), bucket.end());
    pool.buckets.clear();
    pool.pooledBytes = 0;
  }
  for (PixelStore* store : stores) PixelStore::Free(store);
}

} // namespace framquist
