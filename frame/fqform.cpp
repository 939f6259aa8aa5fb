#include "frame/fqform.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "frame/fqregistry.h"

namespace framquist {

using Json = nlohmann::ordered_json;

TFQFormError::TFQFormError(std::string file, int line, int column, std::string place, std::string what)
    : std::runtime_error([&] {
        std::string m = file;
        if (line > 0) m += ":" + std::to_string(line) + ":" + std::to_string(column);
        m += ": ";
        if (!place.empty()) m += place + ": ";
        return m + what;
      }()),
      File(std::move(file)), Line(line), Column(column), Place(std::move(place)), What(std::move(what)) {}

namespace {

// ---- where each value of a JSON text stands --------------------------------

// Walks the text once and records the line and column of every value by its
// place ("components[1].properties.MirrorType"), so errors found after
// parsing can still point into the file.
class Locator {
public:
  explicit Locator(std::string_view text) : text_(text) {
    SkipSpace();
    Value("");
  }
  std::pair<int, int> Find(const std::string& place) const {
    auto it = places_.find(place);
    return it == places_.end() ? std::pair<int, int>{0, 0} : it->second;
  }

private:
  void SkipSpace() {
    while (pos_ < text_.size() &&
           (text_[pos_] == ' ' || text_[pos_] == '\t' || text_[pos_] == '\n' || text_[pos_] == '\r'))
      Advance();
  }
  void Advance() {
    if (text_[pos_] == '\n') {
      ++line_;
      col_ = 1;
    } else {
      ++col_;
    }
    ++pos_;
  }
  std::string String() {
    std::string out;
    Advance(); // opening quote
    while (pos_ < text_.size() && text_[pos_] != '"') {
      if (text_[pos_] == '\\' && pos_ + 1 < text_.size()) Advance();
      out += text_[pos_];
      Advance();
    }
    if (pos_ < text_.size()) Advance();
    return out;
  }
  void Value(const std::string& place) {
    if (pos_ >= text_.size()) return;
    places_[place] = {line_, col_};
    const char c = text_[pos_];
    if (c == '{') {
      Advance();
      SkipSpace();
      while (pos_ < text_.size() && text_[pos_] != '}') {
        if (text_[pos_] != '"') return; // malformed: the parser reports it
        const std::string key = String();
        SkipSpace();
        if (pos_ < text_.size() && text_[pos_] == ':') Advance();
        SkipSpace();
        Value(place.empty() ? key : place + "." + key);
        SkipSpace();
        if (pos_ < text_.size() && text_[pos_] == ',') Advance();
        SkipSpace();
      }
      if (pos_ < text_.size()) Advance();
    } else if (c == '[') {
      Advance();
      SkipSpace();
      for (int i = 0; pos_ < text_.size() && text_[pos_] != ']'; ++i) {
        Value(place + "[" + std::to_string(i) + "]");
        SkipSpace();
        if (pos_ < text_.size() && text_[pos_] == ',') Advance();
        SkipSpace();
      }
      if (pos_ < text_.size()) Advance();
    } else if (c == '"') {
      String();
    } else {
      while (pos_ < text_.size() &&
             std::string_view(",]} \t\r\n").find(text_[pos_]) == std::string_view::npos)
        Advance();
    }
  }

  std::string_view text_;
  std::size_t pos_ = 0;
  int line_ = 1, col_ = 1;
  std::map<std::string, std::pair<int, int>> places_;
};

std::string JsonKind(const Json& v) {
  if (v.is_boolean()) return "a boolean";
  if (v.is_number_integer()) return "an integer";
  if (v.is_number()) return "a number";
  if (v.is_string()) return "a string";
  if (v.is_array()) return "an array";
  if (v.is_object()) return "an object";
  return "null";
}

std::string Join(const std::vector<std::string>& items) {
  std::string out;
  for (const auto& s : items) out += (out.empty() ? "" : ", ") + s;
  return out;
}

std::string ColorText(std::uint32_t c) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%08X", c);
  return buf;
}

// A value for a property, or an error message saying what was expected.
struct Converted {
  TPWValue Value;
  std::string Error;
};

Converted ConvertJson(const TPWProperty& p, const Json& v) {
  const auto expected = [&](const std::string& what) {
    return Converted{{}, "expected " + what + ", found " + JsonKind(v)};
  };
  switch (p.Type) {
  case TPWPropType::Bool:
    if (!v.is_boolean()) return expected("a boolean (true or false)");
    return {v.get<bool>(), {}};
  case TPWPropType::Int: {
    if (!v.is_number_integer()) return expected("an integer");
    if (v.is_number_unsigned() && v.get<std::uint64_t>() > static_cast<std::uint64_t>(p.Max))
      return {{},
              v.dump() + " is out of range (" + std::to_string(p.Min) + " to " + std::to_string(p.Max) + ")"};
    const auto i = v.get<std::int64_t>();
    if (i < p.Min || i > p.Max)
      return {{},
              v.dump() + " is out of range (" + std::to_string(p.Min) + " to " + std::to_string(p.Max) + ")"};
    return {i, {}};
  }
  case TPWPropType::Float:
    if (!v.is_number()) return expected("a number");
    return {v.get<double>(), {}};
  case TPWPropType::String:
    if (!v.is_string()) return expected("a string");
    return {v.get<std::string>(), {}};
  case TPWPropType::Enum: {
    const std::string names = Join(p.Enum->Values);
    if (!v.is_string()) return expected("one of " + names);
    const int ordinal = p.Enum->Find(v.get<std::string>());
    if (ordinal < 0)
      return {{}, "'" + v.get<std::string>() + "' is not a " + p.Enum->Name + "; expected one of " + names};
    return {static_cast<std::int64_t>(ordinal), {}};
  }
  case TPWPropType::Color: {
    if (v.is_number_integer()) {
      const auto i = v.get<std::int64_t>();
      if (i < 0 || i > 0xffffffffLL)
        return {{}, v.dump() + " is out of range for a colour (0 to 0xFFFFFFFF)"};
      return {i, {}};
    }
    if (v.is_string()) {
      const std::string s = v.get<std::string>();
      std::size_t used = 0;
      unsigned long long c = 0;
      try {
        c = std::stoull(s, &used, 0);
      } catch (...) {
        used = 0;
      }
      if (used == s.size() && used > 0 && c <= 0xffffffffULL) return {static_cast<std::int64_t>(c), {}};
    }
    return expected("a colour (an integer or a string such as \"0x0000FF\" for red)");
  }
  default:
    return {{}, "cannot be set directly"};
  }
}

Json ValueToJson(const TPWProperty& p, const TPWValue& v) {
  switch (p.Type) {
  case TPWPropType::Bool:
    return std::get<bool>(v);
  case TPWPropType::Int:
    return std::get<std::int64_t>(v);
  case TPWPropType::Float:
    return std::get<double>(v);
  case TPWPropType::String:
    return std::get<std::string>(v);
  case TPWPropType::Enum: {
    const auto i = std::get<std::int64_t>(v);
    return i >= 0 && i < static_cast<std::int64_t>(p.Enum->Values.size())
               ? Json(p.Enum->Values[static_cast<size_t>(i)])
               : Json(i);
  }
  case TPWPropType::Color:
    return ColorText(static_cast<std::uint32_t>(std::get<std::int64_t>(v)));
  default:
    return nullptr;
  }
}

// Extra properties: a property's items are a JSON array (a lone scalar item
// may stand alone); inside it, arrays are lists, and numbers with a
// fraction or exponent are floats.
void JsonToItems(const Json& v, std::vector<TPWStreamItem>& out, std::string& error) {
  TPWStreamItem item;
  if (v.is_array()) {
    item.Kind = TPWStreamItem::ListBegin;
    out.push_back(item);
    for (const Json& e : v) JsonToItems(e, out, error);
    item.Kind = TPWStreamItem::ListEnd;
    out.push_back(item);
  } else if (v.is_number_integer()) {
    item.Kind = TPWStreamItem::Integer;
    item.IntValue = v.get<std::int64_t>();
    out.push_back(item);
  } else if (v.is_number()) {
    item.Kind = TPWStreamItem::Float;
    item.FloatValue = v.get<double>();
    out.push_back(item);
  } else if (v.is_string()) {
    item.Kind = TPWStreamItem::String;
    item.StringValue = v.get<std::string>();
    out.push_back(item);
  } else if (error.empty()) {
    error = "expected integers, numbers, strings and arrays, found " + JsonKind(v);
  }
}

Json ItemsToJson(const std::vector<TPWStreamItem>& items) {
  std::vector<Json> stack{Json::array()};
  for (const TPWStreamItem& item : items) {
    switch (item.Kind) {
    case TPWStreamItem::ListBegin:
      stack.push_back(Json::array());
      break;
    case TPWStreamItem::ListEnd:
      if (stack.size() > 1) {
        Json done = std::move(stack.back());
        stack.pop_back();
        stack.back().push_back(std::move(done));
      }
      break;
    case TPWStreamItem::Integer:
      stack.back().push_back(item.IntValue);
      break;
    case TPWStreamItem::Float:
      stack.back().push_back(item.FloatValue);
      break;
    case TPWStreamItem::String:
      stack.back().push_back(item.StringValue);
      break;
    }
  }
  while (stack.size() > 1) { // unbalanced writer: close what is open
    Json done = std::move(stack.back());
    stack.pop_back();
    stack.back().push_back(std::move(done));
  }
  // The items in order, as an array; a single scalar item stands alone.
  return stack[0].size() == 1 && !stack[0][0].is_array() ? stack[0][0] : stack[0];
}

Json WriteObject(IPWPersistent& object) {
  Json out = Json::object();
  const TPWPropertyList props = PWDeclaredProperties(object);
  for (const TPWProperty& p : props.Items()) {
    if (p.Type == TPWPropType::Object) {
      Json sub = WriteObject(*p.Object);
      if (!sub.empty()) out[p.Name] = std::move(sub);
    } else if (p.Type == TPWPropType::Collection) {
      Json items = Json::array();
      for (int i = 0, n = p.Count(); i < n; ++i)
        if (IPWPersistent* item = p.Item(i)) items.push_back(WriteObject(*item));
      if (!items.empty()) out[p.Name] = std::move(items);
    } else {
      const TPWValue v = p.Get();
      if (p.Default && *p.Default == v) continue;
      out[p.Name] = ValueToJson(p, v);
    }
  }
  const TPWFiler filer = PWDefinedProperties(object);
  for (const TPWExtraProperty& extra : filer.Items()) {
    if (!extra.HasData) continue;
    TPWWriter writer;
    extra.Write(writer);
    out[extra.Name] = ItemsToJson(writer.Items());
  }
  return out;
}

std::vector<std::string> PropertyNames(IPWPersistent& object) {
  std::vector<std::string> names;
  const TPWPropertyList props = PWDeclaredProperties(object);
  const TPWFiler filer = PWDefinedProperties(object);
  for (const TPWProperty& p : props.Items()) names.push_back(p.Name);
  for (const TPWExtraProperty& e : filer.Items()) names.push_back(e.Name);
  return names;
}

std::vector<std::string> PinNames(const TPWComponent& c) {
  std::vector<std::string> names;
  for (TPWPin* pin : c.GetPins()) names.push_back(pin->GetName());
  for (TPWPinList* list : c.GetPinLists())
    names.push_back(list->GetName() + "[0.." + std::to_string(list->GetMaxCount() - 1) + "]");
  return names;
}

std::string PinDescription(const TPWPin& pin) {
  return std::string(pin.GetKind()) + (pin.IsSource() ? " source" : " sink");
}

} // namespace

// ---- reading ---------------------------------------------------------------

class TFQFormReader {
public:
  TFQFormReader(std::string_view text, std::string file)
      : text_(text), file_(std::move(file)), locator_(text) {}

  [[noreturn]] void Fail(const std::string& place, const std::string& what) const {
    const auto [line, column] = locator_.Find(place);
    throw TFQFormError(file_, line, column, place, what);
  }

  void SetObject(IPWPersistent& object, const Json& values, const std::string& place,
                 const std::string& owner) {
    if (!values.is_object()) Fail(place, "expected an object of properties, found " + JsonKind(values));
    const TPWPropertyList props = PWDeclaredProperties(object);
    const TPWFiler filer = PWDefinedProperties(object);
    for (const auto& [name, value] : values.items()) {
      const std::string at = place + "." + name;
      if (const TPWProperty* p = props.Find(name)) {
        SetProperty(*p, value, at, owner);
      } else if (const TPWExtraProperty* extra = filer.Find(name)) {
        // The value is the sequence of items (an array), or one scalar item.
        std::vector<TPWStreamItem> items;
        std::string error;
        if (value.is_array())
          for (const Json& item : value) JsonToItems(item, items, error);
        else
          JsonToItems(value, items, error);
        if (!error.empty()) Fail(at, error);
        TPWReader reader(std::move(items));
        try {
          extra->Read(reader);
        } catch (const TPWStreamError& e) {
          Fail(at, e.what());
        }
      } else {
        Fail(at, owner + " has no property '" + name + "'; expected one of: " + Join(PropertyNames(object)));
      }
    }
  }

  void SetProperty(const TPWProperty& p, const Json& value, const std::string& at, const std::string& owner) {
    if (p.Type == TPWPropType::Object) {
      SetObject(*p.Object, value, at, owner + "." + p.Name);
    } else if (p.Type == TPWPropType::Collection) {
      if (!value.is_array()) Fail(at, "expected an array of objects, found " + JsonKind(value));
      p.Clear();
      int i = 0;
      for (const Json& item : value) {
        IPWPersistent* added = p.Add();
        const std::string itemAt = at + "[" + std::to_string(i++) + "]";
        if (added == nullptr) Fail(itemAt, "the collection takes no more items");
        SetObject(*added, item, itemAt, owner + "." + p.Name);
      }
    } else {
      Converted c = ConvertJson(p, value);
      if (!c.Error.empty()) Fail(at, c.Error);
      p.Set(c.Value);
    }
  }

  std::unique_ptr<TFQForm> Read() {
    Json root;
    try {
      root = Json::parse(text_);
    } catch (const Json::parse_error& e) {
      // "[json.exception.parse_error.101] parse error at line 3, column 5: ..."
      std::string what = e.what();
      int line = 0, column = 0;
      if (auto at = what.find("at line "); at != std::string::npos)
        std::sscanf(what.c_str() + at, "at line %d, column %d", &line, &column);
      if (auto colon = what.find(": ", what.find("parse error")); colon != std::string::npos)
        what = what.substr(colon + 2);
      throw TFQFormError(file_, line, column, "", "malformed JSON: " + what);
    }
    if (!root.is_object()) Fail("", "expected a form object, found " + JsonKind(root));
    for (const auto& [key, value] : root.items())
      if (key != "framquist" && key != "components" && key != "connections")
        Fail(key, "unknown key '" + key + "'; expected framquist, components, connections");
    if (root.contains("framquist") && root["framquist"] != 1)
      Fail("framquist", "this form is of version " + root["framquist"].dump() + "; expected 1");

    auto form = std::make_unique<TFQForm>();
    if (root.contains("components")) {
      const Json& components = root["components"];
      if (!components.is_array())
        Fail("components", "expected an array of components, found " + JsonKind(components));
      for (std::size_t i = 0; i < components.size(); ++i)
        ReadComponent(*form, components[i], "components[" + std::to_string(i) + "]");
    }
    if (root.contains("connections")) {
      const Json& connections = root["connections"];
      if (!connections.is_array())
        Fail("connections", "expected an array of connections, found " + JsonKind(connections));
      for (std::size_t i = 0; i < connections.size(); ++i)
        ReadConnection(*form, connections[i], "connections[" + std::to_string(i) + "]");
    }
    for (TPWComponent* c : form->Components()) c->Loaded();
    return form;
  }

private:
  void ReadComponent(TFQForm& form, const Json& c, const std::string& place) {
    if (!c.is_object()) Fail(place, "expected a component object, found " + JsonKind(c));
    for (const auto& [key, value] : c.items())
      if (key != "class" && key != "name" && key != "properties")
        Fail(place + "." + key, "unknown key '" + key + "'; expected class, name, properties");
    if (!c.contains("class") || !c["class"].is_string())
      Fail(place, "expected \"class\": the component's class name");
    const std::string className = c["class"].get<std::string>();
    std::string name;
    if (c.contains("name")) {
      if (!c["name"].is_string() || c["name"].get<std::string>().empty())
        Fail(place + ".name", "expected a non-empty string");
      name = c["name"].get<std::string>();
      if (name.find_first_of(".[] ") != std::string::npos)
        Fail(place + ".name", "a name may not hold '.', '[', ']' or spaces");
      if (form.Find(name) != nullptr)
        Fail(place + ".name", "a component named '" + name + "' exists already");
    }
    if (!TFQRegistry::Contains(className))
      Fail(place + ".class",
           "unknown class '" + className + "'; `framquist list` shows the registered classes");
    TPWComponent& component = form.Add(className, name);
    if (c.contains("properties")) SetObject(component, c["properties"], place + ".properties", className);
  }

  void ReadConnection(TFQForm& form, const Json& c, const std::string& place) {
    if (!c.is_object() || !c.contains("from") || !c.contains("to") || !c["from"].is_string() ||
        !c["to"].is_string())
      Fail(place, "expected {\"from\": \"Component.Pin\", \"to\": \"Component.Pin\"}");
    try {
      form.Connect(c["from"].get<std::string>(), c["to"].get<std::string>());
    } catch (const TFQFormError& e) {
      Fail(place + "." + e.Place, e.What);
    }
  }

  std::string_view text_;
  std::string file_;
  Locator locator_;
};

// ---- TFQForm ---------------------------------------------------------------

TFQForm::TFQForm() { Initialize(); }

TFQForm::~TFQForm() {
  Stop();
  while (!entries_.empty()) entries_.pop_back();
  Finalize();
}

std::unique_ptr<TFQForm> TFQForm::Parse(std::string_view text, std::string sourceName) {
  return TFQFormReader(text, std::move(sourceName)).Read();
}

std::unique_ptr<TFQForm> TFQForm::Load(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) throw TFQFormError(file.string(), 0, 0, "", "cannot read the file");
  std::stringstream text;
  text << in.rdbuf();
  return Parse(text.str(), file.string());
}

std::string TFQForm::Save() const {
  Json root = Json::object();
  root["framquist"] = 1;
  Json components = Json::array();
  for (const Entry& e : entries_) {
    Json c = Json::object();
    c["class"] = std::string(e.Component->GetClassName());
    c["name"] = e.Name;
    Json props = WriteObject(*e.Component);
    if (!props.empty()) c["properties"] = std::move(props);
    components.push_back(std::move(c));
  }
  root["components"] = std::move(components);
  Json connections = Json::array();
  for (const TFQConnection& c : connections_) {
    TPWPin* from = FindPin(c.From);
    TPWPin* to = FindPin(c.To);
    // Only links that still stand are written.
    if (from == nullptr || to == nullptr || !to->IsConnected()) continue;
    if (static_cast<TPWSinkPin*>(to)->GetSourceUnsafe() != from) continue;
    connections.push_back(Json{{"from", c.From}, {"to", c.To}});
  }
  root["connections"] = std::move(connections);
  return root.dump(2) + "\n";
}

void TFQForm::SaveFile(const std::filesystem::path& file) const {
  const std::string text = Save();
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  if (!out || !out.write(text.data(), static_cast<std::streamsize>(text.size())))
    throw TFQFormError(file.string(), 0, 0, "", "cannot write the file");
}

std::string TFQForm::UniqueName(std::string_view className) const {
  std::string base(className);
  if (base.rfind("TFQ", 0) == 0 && base.size() > 3) base = base.substr(3);
  if (Find(base) == nullptr) return base;
  for (int i = 2;; ++i)
    if (Find(base + std::to_string(i)) == nullptr) return base + std::to_string(i);
}

TPWComponent& TFQForm::Add(std::string_view className, std::string name) {
  if (name.empty()) name = UniqueName(className);
  if (Find(name) != nullptr)
    throw TFQFormError("", 0, 0, name, "a component named '" + name + "' exists already");
  TPWOwned<TPWComponent> component = TFQRegistry::Create(className);
  if (!component)
    throw TFQFormError("", 0, 0, std::string(className),
                       "unknown class '" + std::string(className) +
                           "'; `framquist list` shows the registered classes");
  component->SetName(name);
  entries_.push_back({std::move(name), std::move(component)});
  return *entries_.back().Component;
}

TPWComponent* TFQForm::Find(std::string_view name) const {
  for (const Entry& e : entries_)
    if (e.Name == name) return e.Component.get();
  return nullptr;
}

std::vector<TPWComponent*> TFQForm::Components() const {
  std::vector<TPWComponent*> out;
  for (const Entry& e : entries_) out.push_back(e.Component.get());
  return out;
}

std::string TFQForm::NameOf(const TPWComponent& component) const {
  for (const Entry& e : entries_)
    if (e.Component.get() == &component) return e.Name;
  return {};
}

TPWPin* TFQForm::FindPin(std::string_view reference) const {
  const auto dot = reference.find('.');
  if (dot == std::string_view::npos) return nullptr;
  TPWComponent* c = Find(reference.substr(0, dot));
  if (c == nullptr) return nullptr;
  const std::string_view pin = reference.substr(dot + 1);
  if (TPWPin* p = c->FindPin(pin)) return p;
  const auto open = pin.find('[');
  if (open == std::string_view::npos || pin.back() != ']') return nullptr;
  const std::string_view listName = pin.substr(0, open);
  const std::string index(pin.substr(open + 1, pin.size() - open - 2));
  if (index.empty() || index.find_first_not_of("0123456789") != std::string::npos || index.size() > 6)
    return nullptr;
  const int i = std::stoi(index);
  for (TPWPinList* list : c->GetPinLists()) {
    if (list->GetName() != listName) continue;
    // A connection to a pin past the end grows the list, within its limit.
    while (list->GetCount() <= i && list->GetCount() < list->GetMaxCount())
      if (list->Add() == nullptr) break;
    return list->GetPin(i);
  }
  return nullptr;
}

void TFQForm::Connect(std::string_view from, std::string_view to) {
  auto resolve = [&](std::string_view ref, const char* place) -> TPWPin* {
    const auto dot = ref.find('.');
    if (dot == std::string_view::npos)
      throw TFQFormError("", 0, 0, place, "expected \"Component.Pin\", found \"" + std::string(ref) + "\"");
    TPWComponent* c = Find(ref.substr(0, dot));
    if (c == nullptr)
      throw TFQFormError("", 0, 0, place, "no component named '" + std::string(ref.substr(0, dot)) + "'");
    TPWPin* pin = FindPin(ref);
    if (pin == nullptr)
      throw TFQFormError("", 0, 0, place,
                         std::string(ref.substr(0, dot)) + " has no pin '" +
                             std::string(ref.substr(dot + 1)) + "'; its pins: " + Join(PinNames(*c)));
    return pin;
  };
  TPWPin* a = resolve(from, "from");
  TPWPin* b = resolve(to, "to");
  if (!a->IsSource() || b->IsSource() || a->GetKind() != b->GetKind())
    throw TFQFormError("", 0, 0, "to",
                       "cannot connect " + std::string(from) + " (" + PinDescription(*a) + ") to " +
                           std::string(to) + " (" + PinDescription(*b) +
                           "); expected a source and a sink of one kind");
  if (!TPWPin::Connect(*a, *b)) throw TFQFormError("", 0, 0, "to", "the pins refused the connection");
  // A sink has one source: a later connection replaces an earlier one.
  std::erase_if(connections_, [&](const TFQConnection& c) { return c.To == to; });
  connections_.push_back({std::string(from), std::string(to)});
}

void TFQForm::SetProperty(TPWComponent& component, std::string_view path, std::string_view text) {
  const std::string name = NameOf(component);
  IPWPersistent* object = &component;
  std::string owner(component.GetClassName());
  std::string_view rest = path;
  for (;;) {
    const auto dot = rest.find('.');
    const std::string head(rest.substr(0, dot));
    const TPWPropertyList props = PWDeclaredProperties(*object);
    const TPWProperty* p = props.Find(head);
    if (p == nullptr)
      throw TFQFormError("", 0, 0, name + "." + std::string(path),
                         owner + " has no property '" + head +
                             "'; expected one of: " + Join(PropertyNames(*object)));
    if (dot == std::string_view::npos) {
      if (p->Type == TPWPropType::Object || p->Type == TPWPropType::Collection)
        throw TFQFormError("", 0, 0, name + "." + std::string(path),
                           "'" + head + "' is an " + std::string(PWPropTypeName(p->Type)) +
                               "; set its members (" + head + ".Name=Value)");
      // Text as typed: numbers and booleans parse as JSON, anything else
      // is taken as a string (file names, enumeration names).
      Json value;
      const std::string s(text);
      if (p->Type == TPWPropType::String) {
        value = s;
      } else {
        value = Json::parse(s, nullptr, false);
        if (value.is_discarded()) value = s;
      }
      Converted c = ConvertJson(*p, value);
      if (!c.Error.empty()) throw TFQFormError("", 0, 0, name + "." + std::string(path), c.Error);
      p->Set(c.Value);
      return;
    }
    if (p->Type != TPWPropType::Object)
      throw TFQFormError("", 0, 0, name + "." + std::string(path), "'" + head + "' has no members");
    object = p->Object;
    owner += "." + head;
    rest = rest.substr(dot + 1);
  }
}

void TFQForm::Start() {
  for (const Entry& e : entries_) {
    bool hasInput = false;
    for (TPWPin* pin : e.Component->GetPins())
      if (!pin->IsSource() && pin->GetKind() == pkVideo && pin->IsConnected()) hasInput = true;
    if (!hasInput) e.Component->Start();
  }
}

void TFQForm::Stop() {
  for (const Entry& e : entries_) {
    bool hasInput = false;
    for (TPWPin* pin : e.Component->GetPins())
      if (!pin->IsSource() && pin->GetKind() == pkVideo && pin->IsConnected()) hasInput = true;
    if (!hasInput) e.Component->Stop();
  }
}

} // namespace framquist
