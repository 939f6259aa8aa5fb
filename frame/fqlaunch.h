// The one-line chain of `framquist launch`: elements separated by "!", each
// a class name followed by Name=Value settings (A.B=Value for
// sub-properties, Name=... names the component); consecutive elements are
// linked from the first video output to the first video input. Quotes group
// a value with spaces. A name passes the same check as a form's
// (TFQForm::NameProblem), so whatever launches also saves and runs as a form.
//
//   auto form = FQBuildLaunchLine(
//       "TFQTestPattern ! TFQMirror MirrorType=mtVertical ! TFQVideoFileSink FileName=out.mkv");
#pragma once

#include <memory>
#include <string_view>

#include "frame/fqform.h"

namespace framquist {

// Throws TFQFormError (file "chain", place "element N") on any mistake.
std::unique_ptr<TFQForm> FQBuildLaunchLine(std::string_view chain);

} // namespace framquist
