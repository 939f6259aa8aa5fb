#include "frame/fqlaunch.h"

#include <optional>
#include <string>
#include <vector>

#include "frame/fqregistry.h"

namespace framquist {

namespace {

// Splits a chain into words; quotes group words with spaces.
std::vector<std::string> SplitWords(std::string_view line) {
  std::vector<std::string> words;
  std::string word;
  bool inWord = false;
  char quote = 0;
  for (char c : line) {
    if (quote != 0) {
      if (c == quote)
        quote = 0;
      else
        word += c;
    } else if (c == '"' || c == '\'') {
      quote = c;
      inWord = true;
    } else if (c == ' ' || c == '\t' || c == '\n') {
      if (inWord) words.push_back(word);
      word.clear();
      inWord = false;
    } else {
      word += c;
      inWord = true;
    }
  }
  if (quote != 0) throw TFQFormError("chain", 0, 0, "the chain", "unbalanced quote");
  if (inWord) words.push_back(word);
  return words;
}

TPWPin* FirstPin(TPWComponent& c, bool source) {
  for (TPWPin* pin : c.GetPins())
    if (pin->IsSource() == source && pin->GetKind() == pkVideo) return pin;
  return nullptr;
}

} // namespace

std::unique_ptr<TFQForm> FQBuildLaunchLine(std::string_view chain) {
  auto form = std::make_unique<TFQForm>();
  const std::vector<std::string> words = SplitWords(chain);
  std::vector<std::vector<std::string>> elements(1);
  for (const std::string& w : words) {
    if (w == "!")
      elements.emplace_back();
    else
      elements.back().push_back(w);
  }
  TPWComponent* previous = nullptr;
  for (std::size_t e = 0; e < elements.size(); ++e) {
    const auto& element = elements[e];
    const std::string where = "element " + std::to_string(e + 1);
    if (element.empty()) throw TFQFormError("chain", 0, 0, where, "expected a class name");
    if (!TFQRegistry::Contains(element[0]))
      throw TFQFormError("chain", 0, 0, where,
                         "unknown class '" + element[0] + "'; `framquist list` shows the registered classes");
    // The name goes through the same check as a form's, so a chain that
    // launches also saves into a form that runs.
    std::optional<std::string> name;
    for (std::size_t i = 1; i < element.size(); ++i)
      if (element[i].rfind("Name=", 0) == 0) name = element[i].substr(5);
    if (name)
      if (const std::string problem = TFQForm::NameProblem(*name); !problem.empty())
        throw TFQFormError("chain", 0, 0, where + " (Name)", problem);
    TPWComponent* added = nullptr;
    try {
      added = &form->Add(element[0], name.value_or(std::string()));
    } catch (const TFQFormError& err) {
      throw TFQFormError("chain", 0, 0, where + " (Name)", err.What);
    }
    TPWComponent& c = *added;
    for (std::size_t i = 1; i < element.size(); ++i) {
      const std::string& setting = element[i];
      const auto eq = setting.find('=');
      if (eq == std::string::npos || eq == 0)
        throw TFQFormError("chain", 0, 0, where, "expected Name=Value, found '" + setting + "'");
      if (setting.compare(0, eq, "Name") == 0) continue;
      try {
        form->SetProperty(c, setting.substr(0, eq), setting.substr(eq + 1));
      } catch (const TFQFormError& err) {
        throw TFQFormError("chain", 0, 0, where + " (" + err.Place + ")", err.What);
      }
    }
    if (previous != nullptr) {
      TPWPin* out = FirstPin(*previous, true);
      TPWPin* in = FirstPin(c, false);
      if (out == nullptr || in == nullptr)
        throw TFQFormError(
            "chain", 0, 0, where,
            std::string(out == nullptr ? previous->GetClassName() : c.GetClassName()) +
                (out == nullptr ? " has no video output to link from" : " has no video input to link to"));
      form->Connect(form->NameOf(*previous) + "." + out->GetName(), form->NameOf(c) + "." + in->GetName());
    }
    previous = &c;
  }
  return form;
}

} // namespace framquist
