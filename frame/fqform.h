// TFQForm: a stored graph of components, as a JSON file.
//
//   {
//     "framquist": 1,
//     "components": [
//       {"class": "TFQMirror", "name": "Mirror", "properties": {"MirrorType": "mtVertical"}}
//     ],
//     "connections": [{"from": "Source.OutputPin", "to": "Mirror.InputPin"}]
//   }
//
// Properties hold the published properties that differ from their defaults
// (sub-objects as objects, collections as arrays of objects, enumerations by
// value name, colours as "0x00BBGGRR") and the named extra properties (as
// arrays of integers, numbers and strings). Loading creates each component
// through the registry and sets its properties through their setters, in
// file order. Pins are "Component.Pin", or "Component.List[index]" for a pin
// in a pin list. Saving a loaded form gives the same file back, except
// where a component reads its streamed data back in another order (the
// colour lookup stores level, value and reads value, level): there a
// second load and save gives the first save back.
//
// Every problem is a TFQFormError naming the file, the line and column, the
// place (components[1].properties.MirrorType) and what was expected; a form
// that fails to load starts nothing. Reading is one pass over the text: a
// byte-order mark is skipped, nesting deeper than 64 levels and a key
// repeated within one object are errors. Text is UTF-8 both ways: Save fails,
// naming the property, on a string holding other bytes (or a number that is
// not finite, which JSON cannot hold).
//
//   auto form = TFQForm::Load("examples/mirror.json");
//   form->Start();
#pragma once

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "pinweave/pwcomponent.h"
#include "pinweave/pwpin.h"

namespace framquist {

class TFQFormError : public std::runtime_error {
public:
  TFQFormError(std::string file, int line, int column, std::string place, std::string what);
  const std::string File;
  const int Line;
  const int Column;
  const std::string Place;
  const std::string What;
};

struct TFQConnection {
  std::string From; // "Component.Pin" of a source pin
  std::string To;   // "Component.Pin" of a sink pin
};

class TFQForm {
public:
  TFQForm();
  ~TFQForm(); // stops the graph and destroys the components, last first
  TFQForm(const TFQForm&) = delete;
  TFQForm& operator=(const TFQForm&) = delete;

  static std::unique_ptr<TFQForm> Load(const std::filesystem::path& file);
  static std::unique_ptr<TFQForm> Parse(std::string_view text, std::string sourceName = "<form>");
  std::string Save() const;
  void SaveFile(const std::filesystem::path& file) const;

  // Adds a component of a registered class. An empty name becomes the class
  // name without its "TFQ" prefix, numbered when taken (Mirror, Mirror2);
  // any other must pass NameProblem.
  TPWComponent& Add(std::string_view className, std::string name = {});
  // Why a component name cannot be used, or empty when it can: a name is
  // UTF-8 without '.', '[', ']', spaces or control characters, since pin
  // references ("Name.Pin", "Name.List[1]") and launch lines are split on
  // those.
  static std::string NameProblem(std::string_view name);
  TPWComponent* Find(std::string_view name) const;
  std::vector<TPWComponent*> Components() const;
  std::string NameOf(const TPWComponent& component) const;

  // "Component.Pin" or "Component.List[index]"; null when there is none.
  TPWPin* FindPin(std::string_view reference) const;
  void Connect(std::string_view from, std::string_view to);
  const std::vector<TFQConnection>& Connections() const { return connections_; }

  // Sets a property from text, as the command line gives it: "Rate=30",
  // "ROI.Width=64". Throws TFQFormError (place: the component and path).
  void SetProperty(TPWComponent& component, std::string_view path, std::string_view text);

  // What loading and SetProperty noticed without failing: a number outside
  // the range its setter keeps, which the component clamps silently
  // ("Bars.ImageSize.Width: 0 is outside 1 .. 32767; clamped to 1").
  const std::vector<std::string>& Warnings() const { return warnings_; }

  // Starts every component that has no connected input (the sources), and
  // stops them again; stops travel down the chains.
  void Start();
  void Stop();

private:
  struct Entry {
    std::string Name;
    TPWOwned<TPWComponent> Component;
  };
  std::string UniqueName(std::string_view className);
  std::vector<Entry> entries_;
  std::unordered_map<std::string, TPWComponent*> byName_;
  std::unordered_map<std::string, int> nextNumber_; // per base name, where UniqueName looks first
  std::vector<TFQConnection> connections_;
  std::vector<std::string> warnings_;
  friend class TFQFormReader;
};

} // namespace framquist
