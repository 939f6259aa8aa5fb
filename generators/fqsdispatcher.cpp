#include "generators/fqsdispatcher.h"

#include <mutex>

#include "generators/fqjaehnedispatcher.h"
#include "ipp/ippjaehne.h"

namespace framquist {

TPtr_ippsPolarToCart_64f ippsPolarToCart_64f = &ipp_builtin::ippsPolarToCart_64f;

namespace Fqsdispatcher {
void Initialize() {
  static std::once_flag once;
  std::call_once(once, [] {
    if (void* p = GetIPPSProcAddress("ippsPolarToCart_64f"))
      ippsPolarToCart_64f = reinterpret_cast<TPtr_ippsPolarToCart_64f>(p);
    else
      ippsPolarToCart_64f = &ipp_builtin::ippsPolarToCart_64f;
  });
}
} // namespace Fqsdispatcher

namespace {
const bool g_resolved = (Fqsdispatcher::Initialize(), true);
} // namespace

} // namespace framquist
