#include "generators/fqjaehnegen.h"

#include "frame/fqregistry.h"
#include "generators/fqjaehnedispatcher.h"

namespace framquist {

void TFQJaehneGen::GenerateFrame(IFQImageBuffer& Buffer, bool&, bool&) {
  // The buffer comes 24-bit (the base's format), which the pattern needs.
  // Failures leave the frame as it was, as for every primitive here.
  const SIZE size = Buffer.GetSize();
  ippiImageJaehne_8u_C3R(Buffer.GetWritePointer(), Buffer.GetLineStep(), IppiSize{size.cx, size.cy});
}

namespace Fqjaehnegen {
void Register() { RegisterComponents("Framquist", {FQClass<TFQJaehneGen>("TFQJaehneGen")}); }
} // namespace Fqjaehnegen

} // namespace framquist
