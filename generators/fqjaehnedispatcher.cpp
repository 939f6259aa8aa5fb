#include "generators/fqjaehnedispatcher.h"

#include <dlfcn.h>

#include <mutex>
#include <string_view>

#include "ipp/ippjaehne.h"

namespace framquist {

namespace {
void* FindLoaded(const char* name, std::string_view family) {
  if (name == nullptr || !std::string_view(name).starts_with(family)) return nullptr;
  return dlsym(RTLD_DEFAULT, name);
}
} // namespace

void* GetIPPIProcAddress(const char* name) { return FindLoaded(name, "ippi"); }
void* GetIPPSProcAddress(const char* name) { return FindLoaded(name, "ipps"); }

TPtr_ippiImageJaehne_8u_C3R ippiImageJaehne_8u_C3R = &ipp_builtin::ippiImageJaehne_8u_C3R;

namespace Fqjaehnedispatcher {
void Initialize() {
  static std::once_flag once;
  std::call_once(once, [] {
    if (void* p = GetIPPIProcAddress("ippiImageJaehne_8u_C3R"))
      ippiImageJaehne_8u_C3R = reinterpret_cast<TPtr_ippiImageJaehne_8u_C3R>(p);
    else
      ippiImageJaehne_8u_C3R = &ipp_builtin::ippiImageJaehne_8u_C3R;
  });
}
} // namespace Fqjaehnedispatcher

namespace {
// Resolve at load time, before any generator can run.
const bool g_resolved = (Fqjaehnedispatcher::Initialize(), true);
} // namespace

} // namespace framquist
