#include "ipp/ippdispatch.h"

#include "ipp/kernels/ippkernels.h"
#include "ipp/kernels/ipplutkernels.h"

#include <atomic>
#include <cctype>
#include <cstdlib>
#include <cstring>

namespace framquist {

namespace ipp_detail {

std::atomic<int> g_target{kTargetUnresolved};

namespace {

int detectBestTarget() noexcept {
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq"))
    return static_cast<int>(IppTarget::AVX512);
  if (__builtin_cpu_supports("avx2")) return static_cast<int>(IppTarget::AVX2);
  return static_cast<int>(IppTarget::Portable);
}

int bestTarget() noexcept {
  static const int best = detectBestTarget();
  return best;
}

bool equalsIgnoringCase(const char* a, const char* b) noexcept {
  for (; *a != '\0' && *b != '\0'; ++a, ++b)
    if (std::tolower(static_cast<unsigned char>(*a)) != std::tolower(static_cast<unsigned char>(*b)))
      return false;
  return *a == *b;
}

int clampTarget(int wanted) noexcept {
  const int best = bestTarget();
  return (wanted < 0 || wanted > best) ? best : wanted;
}

int targetFromEnvironment() noexcept {
  const char* name = std::getenv("FRAMQUIST_IPP_TARGET");
  if (name != nullptr)
    for (int t = 0; t <= static_cast<int>(IppTarget::AVX512); ++t)
      if (equalsIgnoringCase(name, ippTargetName(static_cast<IppTarget>(t)))) return clampTarget(t);
  return bestTarget();
}

// Resolve at load so the first primitive call does not pay for it; the lazy
// path in resolveTarget() still covers calls made by other static
// initialisers that run before this one.
[[maybe_unused]] const int g_resolvedAtLoad = resolveTarget();

} // namespace

int resolveTarget() noexcept {
  int expected = kTargetUnresolved;
  g_target.compare_exchange_strong(expected, targetFromEnvironment(), std::memory_order_relaxed);
  return g_target.load(std::memory_order_relaxed);
}

bool cpuHasAvx512Vbmi() noexcept {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx512vbmi");
}

} // namespace ipp_detail

IppTarget ippGetBestTarget() noexcept { return static_cast<IppTarget>(ipp_detail::bestTarget()); }

IppTarget ippGetTarget() noexcept { return static_cast<IppTarget>(ipp_detail::currentTarget()); }

IppTarget ippSetTarget(IppTarget target) noexcept {
  const int t = ipp_detail::clampTarget(static_cast<int>(target));
  ipp_detail::g_target.store(t, std::memory_order_relaxed);
  return static_cast<IppTarget>(t);
}

const char* ippTargetName(IppTarget target) noexcept {
  switch (target) {
  case IppTarget::Reference:
    return "reference";
  case IppTarget::Portable:
    return "portable";
  case IppTarget::AVX2:
    return "avx2";
  case IppTarget::AVX512:
    return "avx512";
  }
  return "unknown";
}

} // namespace framquist
