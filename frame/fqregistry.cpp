#include "frame/fqregistry.h"

#include <algorithm>
#include <map>
#include <mutex>

namespace framquist {

namespace {
struct Registry {
  std::mutex mutex;
  std::map<std::string, TFQClassInfo, std::less<>> classes;
};

Registry& TheRegistry() {
  static Registry registry;
  return registry;
}
} // namespace

void RegisterComponents(std::string_view page, std::initializer_list<TFQClassInfo> classes) {
  Registry& r = TheRegistry();
  std::lock_guard g(r.mutex);
  for (const TFQClassInfo& info : classes) {
    TFQClassInfo entry = info;
    entry.Page = std::string(page);
    r.classes[entry.ClassName] = std::move(entry);
  }
}

TPWOwned<TPWComponent> TFQRegistry::Create(std::string_view className) {
  std::function<TPWOwned<TPWComponent>()> create;
  {
    Registry& r = TheRegistry();
    std::lock_guard g(r.mutex);
    auto it = r.classes.find(className);
    if (it == r.classes.end()) return nullptr;
    create = it->second.Create;
  }
  return create();
}

bool TFQRegistry::Contains(std::string_view className) {
  Registry& r = TheRegistry();
  std::lock_guard g(r.mutex);
  return r.classes.find(className) != r.classes.end();
}

std::vector<TFQClassInfo> TFQRegistry::List() {
  Registry& r = TheRegistry();
  std::lock_guard g(r.mutex);
  std::vector<TFQClassInfo> out;
  for (const auto& [name, info] : r.classes) out.push_back(info);
  return out;
}

void TFQRegistry::UnregisterPage(std::string_view page) {
  Registry& r = TheRegistry();
  std::lock_guard g(r.mutex);
  std::erase_if(r.classes, [&](const auto& entry) { return entry.second.Page == page; });
}

} // namespace framquist
