// The form reader on arbitrary bytes. Only TFQFormError may come out, and a
// form that loads must save, load again and save the same text: saving a
// loaded form gives the same file back.
#include <cstdint>
#include <string>
#include <string_view>

#include "frame/fqform.h"
#include "frame/fqregistry.h"
#include "fuzz/fqfuzzcheck.h"

using namespace framquist;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Initialize();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::unique_ptr<TFQForm> form;
  try {
    form = TFQForm::Parse(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz.json");
  } catch (const TFQFormError&) {
    return 0;
  }
  FQCheckRoundTrip(form->Save());
  return 0;
}
