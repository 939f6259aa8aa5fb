#include "generators/fquniformnoise.h"

#include "frame/fqregistry.h"
#include "ipp/ipprandom.h"

namespace framquist {

TFQUniformNoise::TFQUniformNoise() { SetSeed(31192); }

void TFQUniformNoise::SetLow(Ipp8u value) {
  if (TPWLockHold hold = GetLock().Write()) {
    low_.store(value, std::memory_order_relaxed);
    if (value > GetHigh()) high_.store(value, std::memory_order_relaxed);
  }
}

void TFQUniformNoise::SetHigh(Ipp8u value) {
  if (TPWLockHold hold = GetLock().Write()) {
    high_.store(value, std::memory_order_relaxed);
    if (value < GetLow()) low_.store(value, std::memory_order_relaxed);
  }
}

void TFQUniformNoise::DeclareProperties(TPWPropertyList& props) {
  TFQBasicNoise::DeclareProperties(props);
  props.Int<Ipp8u>(
      "Low", [this] { return GetLow(); }, [this](std::int64_t v) { SetLow(ClampTo<Ipp8u>(v)); }, 0);
  props.Int<Ipp8u>(
      "High", [this] { return GetHigh(); }, [this](std::int64_t v) { SetHigh(ClampTo<Ipp8u>(v)); }, 255);
  props.Int<Ipp16u>(
      "Seed", [this] { return GetSeed(); }, [this](std::int64_t v) { SetSeed(ClampTo<Ipp16u>(v)); }, 31192);
}

void TFQUniformNoise::AddNoise(TNoiseForm Form, Ipp8u* Ptr, int Step, IppiSize Size, unsigned int* Seed) {
  const Ipp8u low = GetLow(), high = GetHigh();
  switch (Form) {
  case nfC1:
    ippiAddRandUniform_Direct_8u_C1IR(Ptr, Step, Size, low, high, Seed);
    break;
  case nfAC4:
    ippiAddRandUniform_Direct_8u_AC4IR(Ptr, Step, Size, low, high, Seed);
    break;
  case nfC4:
    ippiAddRandUniform_Direct_8u_C4IR(Ptr, Step, Size, low, high, Seed);
    break;
  default:
    ippiAddRandUniform_Direct_8u_C3IR(Ptr, Step, Size, low, high, Seed);
    break;
  }
}

namespace Fquniformnoise {
void Register() { RegisterComponents("Framquist", {FQClass<TFQUniformNoise>("TFQUniformNoise")}); }
} // namespace Fquniformnoise

} // namespace framquist
