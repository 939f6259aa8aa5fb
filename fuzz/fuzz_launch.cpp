// The launch line on arbitrary text. Only TFQFormError may come out, and
// whatever launches saves into a form that loads and saves the same again
// (a string property that is not UTF-8 may refuse to save, by TFQFormError).
#include <cstdint>
#include <string>
#include <string_view>

#include "frame/fqlaunch.h"
#include "frame/fqregistry.h"
#include "fuzz/fqfuzzcheck.h"

using namespace framquist;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Initialize();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string saved;
  try {
    saved = FQBuildLaunchLine(std::string_view(reinterpret_cast<const char*>(data), size))->Save();
  } catch (const TFQFormError&) {
    return 0;
  }
  // Launch and run accept the same names and values.
  FQCheckRoundTrip(saved);
  return 0;
}
