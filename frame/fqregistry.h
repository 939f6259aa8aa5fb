// The component registry and the package entries.
//
// Each unit's Register() lists its classes with RegisterComponents on the
// palette page "Framquist". The package's Initialize() runs every unit's
// registration in unit order (counted, so nested calls are cheap) and
// Finalize() counts down, removing the package's classes at zero; the unit
// table they walk is the package's own (fqpackage.cpp), above the families.
// Components are then created by class name, as forms do.
//
//   framquist::Initialize();
//   auto mirror = TFQRegistry::Create("TFQMirror");
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "pinweave/pwcomponent.h"

namespace framquist {

struct TFQClassInfo {
  std::string ClassName;
  std::string Page;
  std::function<TPWOwned<TPWComponent>()> Create;
};

template <class T>
TFQClassInfo FQClass(std::string className) {
  return {std::move(className), {}, [] { return TPWOwned<TPWComponent>(Make<T>().release()); }};
}

// Registers classes on a palette page. A class registered again replaces
// the earlier entry.
void RegisterComponents(std::string_view page, std::initializer_list<TFQClassInfo> classes);

class TFQRegistry {
public:
  // Null when no class of that name is registered.
  static TPWOwned<TPWComponent> Create(std::string_view className);
  static bool Contains(std::string_view className);
  // Every registered class, sorted by name.
  static std::vector<TFQClassInfo> List();
  static void UnregisterPage(std::string_view page);
};

struct TFQPackageUnit {
  const char* Name;
  void (*Register)();
};

// The package's entries.
void Initialize();
void Finalize();
const std::vector<TFQPackageUnit>& GetPackageInfoTable();

} // namespace framquist
