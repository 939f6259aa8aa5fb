#include "wavquist/wqclock.h"

#include <algorithm>
#include <utility>

namespace framquist {

namespace {
int64_t ClampInterval(int64_t interval) { return std::clamp(interval, kWQMinInterval, kWQMaxInterval); }
int64_t ClampOptionalInterval(int64_t interval) { return interval <= 0 ? 0 : ClampInterval(interval); }
} // namespace

TWQClockGen::TWQClockGen(std::function<void()> callback, int64_t interval)
    : worker_(std::move(callback), ClampInterval(interval)) {}

void TWQClockGen::SetInterval(int64_t interval) { worker_.SetInterval(ClampInterval(interval)); }

TWQClockThread::TWQClockThread(std::function<void()> callback, int64_t interval)
    : worker_(std::move(callback), ClampOptionalInterval(interval)) {}

void TWQClockThread::SetInterval(int64_t interval) { worker_.SetInterval(ClampOptionalInterval(interval)); }

} // namespace framquist
