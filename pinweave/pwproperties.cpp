#include "pinweave/pwproperties.h"

namespace framquist {

std::string_view PWPropTypeName(TPWPropType type) {
  switch (type) {
  case TPWPropType::Bool:
    return "boolean";
  case TPWPropType::Int:
    return "integer";
  case TPWPropType::Float:
    return "number";
  case TPWPropType::String:
    return "string";
  case TPWPropType::Enum:
    return "enumeration";
  case TPWPropType::Color:
    return "colour";
  case TPWPropType::Object:
    return "object";
  case TPWPropType::Collection:
    return "collection";
  }
  return "?";
}

int TPWEnumType::Find(std::string_view value) const {
  for (std::size_t i = 0; i < Values.size(); ++i)
    if (Values[i] == value) return static_cast<int>(i);
  return -1;
}

TPWProperty& TPWPropertyList::Push(TPWProperty p) {
  // A descendant may declare a property again to change it; the later
  // declaration replaces the earlier one in place.
  for (TPWProperty& existing : items_)
    if (existing.Name == p.Name) return existing = std::move(p);
  items_.push_back(std::move(p));
  return items_.back();
}

TPWProperty& TPWPropertyList::Bool(std::string name, std::function<bool()> get, std::function<void(bool)> set,
                                   std::optional<bool> def) {
  TPWProperty p;
  p.Name = std::move(name);
  p.Type = TPWPropType::Bool;
  if (def) p.Default = TPWValue(*def);
  p.Get = [get = std::move(get)] { return TPWValue(get()); };
  p.Set = [set = std::move(set)](const TPWValue& v) { set(std::get<bool>(v)); };
  return Push(std::move(p));
}

TPWProperty& TPWPropertyList::Int(std::string name, std::function<std::int64_t()> get,
                                  std::function<void(std::int64_t)> set, std::optional<std::int64_t> def,
                                  std::int64_t min, std::int64_t max) {
  TPWProperty p;
  p.Name = std::move(name);
  p.Type = TPWPropType::Int;
  if (def) p.Default = TPWValue(*def);
  p.Min = min;
  p.Max = max;
  p.Get = [get = std::move(get)] { return TPWValue(get()); };
  p.Set = [set = std::move(set)](const TPWValue& v) { set(std::get<std::int64_t>(v)); };
  return Push(std::move(p));
}

TPWProperty& TPWPropertyList::Float(std::string name, std::function<double()> get,
                                    std::function<void(double)> set, std::optional<double> def) {
  TPWProperty p;
  p.Name = std::move(name);
  p.Type = TPWPropType::Float;
  if (def) p.Default = TPWValue(*def);
  p.Get = [get = std::move(get)] { return TPWValue(get()); };
  p.Set = [set = std::move(set)](const TPWValue& v) { set(std::get<double>(v)); };
  return Push(std::move(p));
}

TPWProperty& TPWPropertyList::String(std::string name, std::function<std::string()> get,
                                     std::function<void(std::string)> set, std::optional<std::string> def) {
  TPWProperty p;
  p.Name = std::move(name);
  p.Type = TPWPropType::String;
  if (def) p.Default = TPWValue(*def);
  p.Get = [get = std::move(get)] { return TPWValue(get()); };
  p.Set = [set = std::move(set)](const TPWValue& v) { set(std::get<std::string>(v)); };
  return Push(std::move(p));
}

TPWProperty& TPWPropertyList::Enum(std::string name, const TPWEnumType& type, std::function<int()> get,
                                   std::function<void(int)> set, std::optional<int> def) {
  TPWProperty p;
  p.Name = std::move(name);
  p.Type = TPWPropType::Enum;
  p.Enum = &type;
  p.Min = 0;
  p.Max = static_cast<std::int64_t>(type.Values.size()) - 1;
  if (def) p.Default = TPWValue(static_cast<std::int64_t>(*def));
  p.Get = [get = std::move(get)] { return TPWValue(static_cast<std::int64_t>(get())); };
  p.Set = [set = std::move(set)](const TPWValue& v) { set(static_cast<int>(std::get<std::int64_t>(v))); };
  return Push(std::move(p));
}

TPWProperty& TPWPropertyList::Color(std::string name, std::function<std::uint32_t()> get,
                                    std::function<void(std::uint32_t)> set,
                                    std::optional<std::uint32_t> def) {
  TPWProperty p;
  p.Name = std::move(name);
  p.Type = TPWPropType::Color;
  p.Min = 0;
  p.Max = 0xffffffffLL;
  if (def) p.Default = TPWValue(static_cast<std::int64_t>(*def));
  p.Get = [get = std::move(get)] { return TPWValue(static_cast<std::int64_t>(get())); };
  p.Set = [set = std::move(set)](const TPWValue& v) {
    set(static_cast<std::uint32_t>(std::get<std::int64_t>(v)));
  };
  return Push(std::move(p));
}

TPWProperty& TPWPropertyList::Object(std::string name, IPWPersistent& object) {
  TPWProperty p;
  p.Name = std::move(name);
  p.Type = TPWPropType::Object;
  p.Object = &object;
  return Push(std::move(p));
}

TPWProperty& TPWPropertyList::Collection(std::string name, std::function<int()> count,
                                         std::function<IPWPersistent*(int)> item,
                                         std::function<IPWPersistent*()> add, std::function<void()> clear) {
  TPWProperty p;
  p.Name = std::move(name);
  p.Type = TPWPropType::Collection;
  p.Count = std::move(count);
  p.Item = std::move(item);
  p.Add = std::move(add);
  p.Clear = std::move(clear);
  return Push(std::move(p));
}

const TPWProperty* TPWPropertyList::Find(std::string_view name) const {
  for (const TPWProperty& p : items_)
    if (p.Name == name) return &p;
  return nullptr;
}

TPWPropertyList PWDeclaredProperties(IPWPersistent& object) {
  TPWPropertyList list;
  object.DeclareProperties(list);
  return list;
}

// ---- streams ---------------------------------------------------------------

namespace {
const char* KindName(TPWStreamItem::TKind kind) {
  switch (kind) {
  case TPWStreamItem::ListBegin:
    return "the start of a list";
  case TPWStreamItem::ListEnd:
    return "the end of a list";
  case TPWStreamItem::Integer:
    return "an integer";
  case TPWStreamItem::Float:
    return "a number";
  case TPWStreamItem::String:
    return "a string";
  }
  return "?";
}
} // namespace

const TPWStreamItem& TPWReader::Next(TPWStreamItem::TKind expected, const char* what) {
  if (pos_ >= items_.size())
    throw TPWStreamError(std::string("expected ") + what + ", found the end of the data");
  const TPWStreamItem& item = items_[pos_];
  const bool ok =
      item.Kind == expected || (expected == TPWStreamItem::Float && item.Kind == TPWStreamItem::Integer);
  if (!ok)
    throw TPWStreamError(std::string("expected ") + what + " at item " + std::to_string(pos_ + 1) +
                         ", found " + KindName(item.Kind));
  ++pos_;
  return item;
}

void TPWReader::ReadListBegin() { Next(TPWStreamItem::ListBegin, "the start of a list"); }
void TPWReader::ReadListEnd() { Next(TPWStreamItem::ListEnd, "the end of a list"); }

bool TPWReader::EndOfList() const {
  return pos_ >= items_.size() || items_[pos_].Kind == TPWStreamItem::ListEnd;
}

std::int64_t TPWReader::ReadInteger() { return Next(TPWStreamItem::Integer, "an integer").IntValue; }

double TPWReader::ReadFloat() {
  const TPWStreamItem& item = Next(TPWStreamItem::Float, "a number");
  return item.Kind == TPWStreamItem::Integer ? static_cast<double>(item.IntValue) : item.FloatValue;
}

std::string TPWReader::ReadString() { return Next(TPWStreamItem::String, "a string").StringValue; }

void TPWFiler::DefineProperty(std::string name, std::function<void(TPWReader&)> read,
                              std::function<void(TPWWriter&)> write, bool hasData) {
  items_.push_back({std::move(name), std::move(read), std::move(write), hasData});
}

const TPWExtraProperty* TPWFiler::Find(std::string_view name) const {
  for (const TPWExtraProperty& p : items_)
    if (p.Name == name) return &p;
  return nullptr;
}

TPWFiler PWDefinedProperties(IPWPersistent& object) {
  TPWFiler filer;
  object.DefineProperties(filer);
  return filer;
}

} // namespace framquist
