// The package: its unit table and the Initialize / Finalize entries that
// walk it. It lives above every family, so the frame and the families never
// include one another to be registered.
#include <mutex>
#include <vector>

#include "capture/fqrawpipe.h"
#include "capture/fqvideofile.h"
#include "filters/colour/fqcolorlookup.h"
#include "filters/colour/fqcolortwist.h"
#include "filters/colour/fqgammafilter.h"
#include "filters/colour/fqthreshold.h"
#include "filters/colour/fqtransparentcolor.h"
#include "frame/fqendpoints.h"
#include "frame/fqmirror.h"
#include "frame/fqregistry.h"
#include "generators/fqfire.h"
#include "generators/fqfirelayer.h"
#include "generators/fqgaussnoise.h"
#include "generators/fqjaehnegen.h"
#include "generators/fqripple.h"
#include "generators/fqtestpattern.h"
#include "generators/fquniformnoise.h"
#include "streams/fqapplyalpha.h"
#include "streams/fqchangeformat.h"
#include "streams/fqcombine.h"
#include "streams/fqframechange.h"

namespace framquist {

const std::vector<TFQPackageUnit>& GetPackageInfoTable() {
  // Unit order: the order in which Initialize registers them.
  // clang-format off
  static const std::vector<TFQPackageUnit> units = {
      {"Fqendpoints", &Fqendpoints::Register},
      {"Fqmirror", &Fqmirror::Register},
      {"Fqtestpattern", &Fqtestpattern::Register},
      {"Fquniformnoise", &Fquniformnoise::Register},
      {"Fqgaussnoise", &Fqgaussnoise::Register},
      {"Fqfire", &Fqfire::Register},
      {"Fqfirelayer", &Fqfirelayer::Register},
      {"Fqripple", &Fqripple::Register},
      {"Fqjaehnegen", &Fqjaehnegen::Register},
      {"Fqvideofile", &Fqvideofile::Register},
      {"Fqrawpipe", &Fqrawpipe::Register},
      {"Fqthreshold", &Fqthreshold::Register},
      {"Fqgammafilter", &Fqgammafilter::Register},
      {"Fqcolorlookup", &Fqcolorlookup::Register},
      {"Fqcolortwist", &Fqcolortwist::Register},
      {"Fqframechange", &Fqframechange::Register},
      {"Fqchangeformat", &Fqchangeformat::Register},
      {"Fqcombine", &Fqcombine::Register},
      {"Fqtransparentcolor", &Fqtransparentcolor::Register},
      {"Fqapplyalpha", &Fqapplyalpha::Register},
  };
  // clang-format on
  return units;
}

namespace {
std::mutex gPackageMutex;
int gPackageCount = 0;
} // namespace

void Initialize() {
  std::lock_guard g(gPackageMutex);
  if (gPackageCount++ > 0) return;
  for (const TFQPackageUnit& unit : GetPackageInfoTable()) unit.Register();
}

void Finalize() {
  std::lock_guard g(gPackageMutex);
  if (gPackageCount == 0 || --gPackageCount > 0) return;
  TFQRegistry::UnregisterPage("Framquist");
}

} // namespace framquist
