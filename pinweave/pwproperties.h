// Published properties, declared once per class.
//
// A component (or a property sub-object) lists its published properties in
// DeclareProperties: name, type, default, the enumeration's value names,
// sub-objects and collections, each with the getter and setter that reach
// it. That one declaration serves the form reader and writer, `framquist
// describe`, the command line's Name=Value settings and bindings. Values are
// set through the setters, so clamping applies on load exactly as in code.
// A property whose value equals its default is not stored; one declared
// without a default is always stored.
//
// Data a property cannot hold (lists, floating-point defaults) is streamed
// as named extra properties, declared in DefineProperties with a reader and
// a writer of typed items: list markers, integers, floats and strings.
//
//   void TFQMirror::DeclareProperties(TPWPropertyList& p) {
//     TFQCommonFilter::DeclareProperties(p);
//     p.Enum("MirrorType", kMirrorTypes, [this] { return GetMirrorType(); },
//            [this](int v) { SetMirrorType(TFQMirrorType(v)); });
//   }
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace framquist {

class TPWPropertyList;
class TPWFiler;

// Something with published properties: a component or a sub-object.
class IPWPersistent {
public:
  virtual ~IPWPersistent() = default;
  virtual void DeclareProperties(TPWPropertyList& props) { (void)props; }
  virtual void DefineProperties(TPWFiler& filer) { (void)filer; }
};

enum class TPWPropType { Bool, Int, Float, String, Enum, Color, Object, Collection };

std::string_view PWPropTypeName(TPWPropType type);

// An enumeration type: its name and value names in ordinal order.
struct TPWEnumType {
  std::string Name;
  std::vector<std::string> Values;
  // The ordinal of a value name, or -1.
  int Find(std::string_view value) const;
};

using TPWValue = std::variant<bool, std::int64_t, double, std::string>;

struct TPWProperty {
  std::string Name;
  TPWPropType Type = TPWPropType::Int;
  std::optional<TPWValue> Default; // none: always stored
  // Range of the underlying integer type (not the setter's clamp).
  std::int64_t Min = std::numeric_limits<std::int64_t>::min();
  std::int64_t Max = std::numeric_limits<std::int64_t>::max();
  const TPWEnumType* Enum = nullptr;
  std::function<TPWValue()> Get;
  std::function<void(const TPWValue&)> Set;
  // Object: the sub-object. Collection: its items and how to grow it.
  IPWPersistent* Object = nullptr;
  std::function<int()> Count;
  std::function<IPWPersistent*(int)> Item;
  std::function<IPWPersistent*()> Add;
  std::function<void()> Clear;
  std::string Description;
  // The values the setter keeps, for numbers whose setter clamps (a value
  // outside becomes the nearest bound): shown by describe, and the command
  // line warns when a given value lies outside.
  std::optional<double> RangeMin;
  std::optional<double> RangeMax;
  TPWProperty& Range(double lo, double hi) {
    RangeMin = lo;
    RangeMax = hi;
    return *this;
  }
  TPWProperty& AtLeast(double lo) {
    RangeMin = lo;
    return *this;
  }
};

class TPWPropertyList {
public:
  TPWProperty& Bool(std::string name, std::function<bool()> get, std::function<void(bool)> set,
                    std::optional<bool> def);
  // Integers of a type whose range is [min, max].
  TPWProperty& Int(std::string name, std::function<std::int64_t()> get, std::function<void(std::int64_t)> set,
                   std::optional<std::int64_t> def, std::int64_t min, std::int64_t max);
  template <class T>
  TPWProperty& Int(std::string name, std::function<std::int64_t()> get, std::function<void(std::int64_t)> set,
                   std::optional<std::int64_t> def) {
    return Int(std::move(name), std::move(get), std::move(set), def,
               static_cast<std::int64_t>(std::numeric_limits<T>::min()),
               static_cast<std::int64_t>(std::numeric_limits<T>::max()));
  }
  TPWProperty& Float(std::string name, std::function<double()> get, std::function<void(double)> set,
                     std::optional<double> def);
  TPWProperty& String(std::string name, std::function<std::string()> get,
                      std::function<void(std::string)> set, std::optional<std::string> def);
  TPWProperty& Enum(std::string name, const TPWEnumType& type, std::function<int()> get,
                    std::function<void(int)> set, std::optional<int> def);
  // A TColor, 0x00BBGGRR (alpha in the high byte where a component uses it).
  TPWProperty& Color(std::string name, std::function<std::uint32_t()> get,
                     std::function<void(std::uint32_t)> set, std::optional<std::uint32_t> def);
  TPWProperty& Object(std::string name, IPWPersistent& object);
  TPWProperty& Collection(std::string name, std::function<int()> count,
                          std::function<IPWPersistent*(int)> item, std::function<IPWPersistent*()> add,
                          std::function<void()> clear);

  const std::vector<TPWProperty>& Items() const { return items_; }
  const TPWProperty* Find(std::string_view name) const;

private:
  TPWProperty& Push(TPWProperty p);
  std::vector<TPWProperty> items_;
};

// The declared properties of an object, in declaration order.
TPWPropertyList PWDeclaredProperties(IPWPersistent& object);

// ---- named extra properties ------------------------------------------------

// A problem in streamed data; the form reader adds where it was.
class TPWStreamError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// One item of an extra property's stream.
struct TPWStreamItem {
  enum TKind { ListBegin, ListEnd, Integer, Float, String } Kind = ListBegin;
  std::int64_t IntValue = 0;
  double FloatValue = 0;
  std::string StringValue;
};

class TPWWriter {
public:
  void WriteListBegin() { Push(TPWStreamItem::ListBegin); }
  void WriteListEnd() { Push(TPWStreamItem::ListEnd); }
  void WriteInteger(std::int64_t v) { Push(TPWStreamItem::Integer).IntValue = v; }
  void WriteFloat(double v) { Push(TPWStreamItem::Float).FloatValue = v; }
  void WriteString(std::string v) { Push(TPWStreamItem::String).StringValue = std::move(v); }
  const std::vector<TPWStreamItem>& Items() const { return items_; }

private:
  TPWStreamItem& Push(TPWStreamItem::TKind kind) {
    items_.emplace_back();
    items_.back().Kind = kind;
    return items_.back();
  }
  std::vector<TPWStreamItem> items_;
};

// Reading throws TPWStreamError naming what was expected and what came.
class TPWReader {
public:
  explicit TPWReader(std::vector<TPWStreamItem> items) : items_(std::move(items)) {}
  void ReadListBegin();
  void ReadListEnd();
  bool EndOfList() const; // the next item closes a list (or the data ended)
  std::int64_t ReadInteger();
  double ReadFloat(); // an integer is accepted as a float
  std::string ReadString();
  bool AtEnd() const { return pos_ >= items_.size(); }

private:
  const TPWStreamItem& Next(TPWStreamItem::TKind expected, const char* what);
  std::vector<TPWStreamItem> items_;
  std::size_t pos_ = 0;
};

struct TPWExtraProperty {
  std::string Name;
  std::function<void(TPWReader&)> Read;
  std::function<void(TPWWriter&)> Write;
  bool HasData = true; // false: nothing to store this time
};

class TPWFiler {
public:
  void DefineProperty(std::string name, std::function<void(TPWReader&)> read,
                      std::function<void(TPWWriter&)> write, bool hasData);
  const std::vector<TPWExtraProperty>& Items() const { return items_; }
  const TPWExtraProperty* Find(std::string_view name) const;

private:
  std::vector<TPWExtraProperty> items_;
};

TPWFiler PWDefinedProperties(IPWPersistent& object);

} // namespace framquist
