#include "generators/fqgaussnoise.h"

#include "frame/fqregistry.h"
#include "ipp/ipprandom.h"

namespace framquist {

TFQGaussNoise::TFQGaussNoise() { SetSeed(31192); }

void TFQGaussNoise::SetMean(Ipp8u value) {
  if (TPWLockHold hold = GetLock().Write()) mean_.store(value, std::memory_order_relaxed);
}

void TFQGaussNoise::SetStDev(Ipp8u value) {
  if (TPWLockHold hold = GetLock().Write()) stdev_.store(value, std::memory_order_relaxed);
}

void TFQGaussNoise::DeclareProperties(TPWPropertyList& props) {
  TFQBasicNoise::DeclareProperties(props);
  props.Int<Ipp8u>(
      "Mean", [this] { return GetMean(); }, [this](std::int64_t v) { SetMean(ClampTo<Ipp8u>(v)); }, 0);
  props.Int<Ipp8u>(
      "StDev", [this] { return GetStDev(); }, [this](std::int64_t v) { SetStDev(ClampTo<Ipp8u>(v)); }, 100);
  props.Int<Ipp16u>(
      "Seed", [this] { return GetSeed(); }, [this](std::int64_t v) { SetSeed(ClampTo<Ipp16u>(v)); }, 31192);
}

void TFQGaussNoise::AddNoise(TNoiseForm Form, Ipp8u* Ptr, int Step, IppiSize Size, unsigned int* Seed) {
  const Ipp8u mean = GetMean(), stdev = GetStDev();
  switch (Form) {
  case nfC1:
    ippiAddRandGauss_Direct_8u_C1IR(Ptr, Step, Size, mean, stdev, Seed);
    break;
  case nfAC4:
    ippiAddRandGauss_Direct_8u_AC4IR(Ptr, Step, Size, mean, stdev, Seed);
    break;
  case nfC4:
    ippiAddRandGauss_Direct_8u_C4IR(Ptr, Step, Size, mean, stdev, Seed);
    break;
  default:
    ippiAddRandGauss_Direct_8u_C3IR(Ptr, Step, Size, mean, stdev, Seed);
    break;
  }
}

namespace Fqgaussnoise {
void Register() { RegisterComponents("Framquist", {FQClass<TFQGaussNoise>("TFQGaussNoise")}); }
} // namespace Fqgaussnoise

} // namespace framquist
