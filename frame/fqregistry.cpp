#include "frame/fqregistry.h"

#include <algorithm>
#include <map>
#include <mutex>

#include "capture/fqrawpipe.h"
#include "capture/fqvideofile.h"
#include "filters/colour/fqcolorlookup.h"
#include "filters/colour/fqcolortwist.h"
#include "filters/colour/fqgammafilter.h"
#include "filters/colour/fqthreshold.h"
#include "filters/colour/fqtransparentcolor.h"
#include "frame/fqendpoints.h"
#include "frame/fqmirror.h"
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

namespace {
struct Registry {
  std::mutex mutex;
  std::map<std::string, TFQClassInfo, std::less<>> classes;
};

Registry& TheRegistry() {
  static Registry registry;
  return registry;
}
} // namespace

void RegisterComponents(std::string_view page, std::initializer_list<TFQClassInfo> classes) {
  Registry& r = TheRegistry();
  std::lock_guard g(r.mutex);
  for (const TFQClassInfo& info : classes) {
    TFQClassInfo entry = info;
    entry.Page = std::string(page);
    r.classes[entry.ClassName] = std::move(entry);
  }
}

TPWOwned<TPWComponent> TFQRegistry::Create(std::string_view className) {
  std::function<TPWOwned<TPWComponent>()> create;
  {
    Registry& r = TheRegistry();
    std::lock_guard g(r.mutex);
    auto it = r.classes.find(className);
    if (it == r.classes.end()) return nullptr;
    create = it->second.Create;
  }
  return create();
}

bool TFQRegistry::Contains(std::string_view className) {
  Registry& r = TheRegistry();
  std::lock_guard g(r.mutex);
  return r.classes.find(className) != r.classes.end();
}

std::vector<TFQClassInfo> TFQRegistry::List() {
  Registry& r = TheRegistry();
  std::lock_guard g(r.mutex);
  std::vector<TFQClassInfo> out;
  for (const auto& [name, info] : r.classes) out.push_back(info);
  return out;
}

void TFQRegistry::UnregisterPage(std::string_view page) {
  Registry& r = TheRegistry();
  std::lock_guard g(r.mutex);
  std::erase_if(r.classes, [&](const auto& entry) { return entry.second.Page == page; });
}

// ---- the package -----------------------------------------------------------

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
