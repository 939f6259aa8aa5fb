#include "frame/fqform.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <unordered_set>

#include "frame/fqregistry.h"

namespace framquist {

using Json = nlohmann::ordered_json;

namespace {

// ---- text ------------------------------------------------------------------

constexpr std::size_t kNone = std::string::npos;

// The offset of the first byte that is not part of well-formed UTF-8 (no
// overlong forms, surrogates or code points past U+10FFFF), or kNone.
std::size_t FirstNonUtf8(std::string_view s) {
  std::size_t i = 0;
  while (i < s.size()) {
    const auto c = static_cast<unsigned char>(s[i]);
    if (c < 0x80) {
      ++i;
      continue;
    }
    std::size_t more = 0;
    unsigned char lo = 0x80, hi = 0xBF; // the range of the second byte
    if (c >= 0xC2 && c <= 0xDF) {
      more = 1;
    } else if (c >= 0xE0 && c <= 0xEF) {
      more = 2;
      if (c == 0xE0) lo = 0xA0;
      if (c == 0xED) hi = 0x9F;
    } else if (c >= 0xF0 && c <= 0xF4) {
      more = 3;
      if (c == 0xF0) lo = 0x90;
      if (c == 0xF4) hi = 0x8F;
    } else {
      return i;
    }
    if (s.size() - i <= more) return i;
    for (std::size_t k = 1; k <= more; ++k) {
      const auto b = static_cast<unsigned char>(s[i + k]);
      if (b < (k == 1 ? lo : 0x80) || b > (k == 1 ? hi : 0xBF)) return i;
    }
    i += more + 1;
  }
  return kNone;
}

// Text for a message: control characters and bytes that are not UTF-8 as
// \xNN, so a message never carries raw garbage to a terminal.
std::string Printable(std::string_view s) {
  std::string out;
  while (!s.empty()) {
    const std::size_t bad = FirstNonUtf8(s);
    const std::string_view good = s.substr(0, bad);
    for (const char c : good) {
      if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
        char buf[8];
        std::snprintf(buf, sizeof buf, "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
        out += buf;
      } else {
        out += c;
      }
    }
    if (bad == kNone) break;
    char buf[8];
    std::snprintf(buf, sizeof buf, "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(s[bad])));
    out += buf;
    s.remove_prefix(bad + 1);
  }
  return out;
}

// Line and column (both from 1; the column counts characters, not bytes) of
// a byte offset.
std::pair<int, int> LineColumn(std::string_view text, std::size_t offset) {
  offset = std::min(offset, text.size());
  int line = 1, column = 1;
  for (std::size_t i = 0; i < offset; ++i) {
    if (text[i] == '\n') {
      ++line;
      column = 1;
    } else if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
      ++column;
    }
  }
  return {line, column};
}

} // namespace

TFQFormError::TFQFormError(std::string file, int line, int column, std::string place, std::string what)
    : std::runtime_error([&] {
        std::string m = file;
        if (line > 0) m += ":" + std::to_string(line) + ":" + std::to_string(column);
        if (!m.empty()) m += ": ";
        if (!place.empty()) m += place + ": ";
        // The message never carries control characters or bytes that are not
        // UTF-8 from the form or the command line to a terminal.
        return Printable(m + what);
      }()),
      File(std::move(file)), Line(line), Column(column), Place(std::move(place)), What(std::move(what)) {}

namespace {

// ---- parsing ---------------------------------------------------------------

// Forms nest about eight levels deep (extra properties' lists a few more);
// the limit stops a hostile file long before anything could run out of stack.
constexpr std::size_t kMaxDepth = 64;
// Forms are a few kilobytes; this stops a wrong file (or /dev/zero) early.
constexpr std::size_t kMaxFormBytes = 64u << 20;

// Where a value starts, and the key before it (kNone in an array or at the
// top), as byte offsets.
struct TValueStart {
  std::size_t Value;
  std::size_t Key;
};

// Builds the document from the parser's events, with the depth limit, the
// repeated-key check and the start of every value. The parser reports each
// token once, in text order, so a cursor that steps over separators and
// white space finds where each one starts.
class TJsonBuilder {
public:
  explicit TJsonBuilder(std::string_view text) : text_(text) {}

  Json Root;
  std::vector<TValueStart> Starts; // in document (pre-)order
  std::size_t ErrorAt = kNone;
  std::string Error;

  bool null() { return Scalar(nullptr); }
  bool boolean(bool v) { return Scalar(v); }
  bool number_integer(std::int64_t v) { return Scalar(v); }
  bool number_unsigned(std::uint64_t v) { return Scalar(v); }
  bool number_float(double v, const std::string&) { return Scalar(v); }
  bool string(std::string& v) { return Scalar(std::move(v)); }
  // Only the binary formats have binary values; text never does.
  bool binary(Json::binary_t&) { return Stop(Token(), "binary data in a JSON text"); }
  bool start_object(std::size_t) { return Open(Json::object()); }
  bool start_array(std::size_t) { return Open(Json::array()); }
  bool end_object() { return Close(); }
  bool end_array() { return Close(); }

  bool key(std::string& k) {
    const std::size_t at = Token();
    if (!open_.back().Keys.insert(k).second)
      return Stop(at, "the key '" + Printable(k) + "' appears twice in this object");
    // Straight onto the end of the object's list of pairs: the key is new,
    // and looking it up in an ordered object costs a pass over its keys.
    auto& pairs = static_cast<Json::object_t::Container&>(open_.back().Node->get_ref<Json::object_t&>());
    pairs.emplace_back(std::move(k), nullptr);
    slot_ = &pairs.back().second;
    key_ = at;
    return true;
  }

  bool parse_error(std::size_t position, const std::string& token, const nlohmann::detail::exception& e) {
    // The position counts the byte that failed.
    ErrorAt = position > 0 ? position - 1 : 0;
    if (e.id == 406) { // out_of_range: a number past what a double holds; point at its start
      ErrorAt = position >= token.size() ? position - token.size() : 0;
      Error = "the number " + Printable(token) + " is out of range (a number is at most about 1.8e308)";
      return false;
    }
    // "[json.exception.parse_error.101] parse error at line 1, column 5: syntax error ..."
    std::string what = e.what();
    if (const auto bracket = what.find("] "); bracket != std::string::npos) what.erase(0, bracket + 2);
    if (what.rfind("parse error", 0) == 0)
      if (const auto colon = what.find(": "); colon != std::string::npos) what.erase(0, colon + 2);
    Error = "malformed JSON: " + Printable(what);
    return false;
  }

private:
  struct TOpen {
    Json* Node;
    std::unordered_set<std::string> Keys;
  };

  bool Stop(std::size_t at, std::string what) {
    ErrorAt = at;
    Error = std::move(what);
    return false;
  }

  // The start of the next token; the cursor moves past it.
  std::size_t Token() {
    const std::string_view skip(" \t\r\n,:");
    while (pos_ < text_.size() && skip.find(text_[pos_]) != std::string_view::npos) ++pos_;
    const std::size_t at = pos_;
    if (pos_ >= text_.size()) return at;
    const char c = text_[pos_++];
    if (c == '"') {
      while (pos_ < text_.size() && text_[pos_] != '"') pos_ += text_[pos_] == '\\' ? 2 : 1;
      pos_ = std::min(pos_ + 1, text_.size());
    } else if (c != '{' && c != '[' && c != '}' && c != ']') { // a number or a literal
      const std::string_view end(" \t\r\n,:{}[]\"");
      while (pos_ < text_.size() && end.find(text_[pos_]) == std::string_view::npos) ++pos_;
    }
    return at;
  }

  Json* Place(Json&& value, std::size_t at) {
    Starts.push_back({at, key_});
    key_ = kNone;
    if (open_.empty()) {
      Root = std::move(value);
      return &Root;
    }
    Json& parent = *open_.back().Node;
    if (parent.is_array()) {
      auto& items = parent.get_ref<Json::array_t&>();
      items.push_back(std::move(value));
      return &items.back();
    }
    *slot_ = std::move(value);
    return slot_;
  }

  bool Scalar(Json&& value) {
    Place(std::move(value), Token());
    return true;
  }

  bool Open(Json&& container) {
    const std::size_t at = Token();
    if (open_.size() >= kMaxDepth)
      return Stop(at, "nested more than " + std::to_string(kMaxDepth) + " levels deep");
    open_.push_back({Place(std::move(container), at), {}});
    return true;
  }

  bool Close() {
    Token();
    open_.pop_back();
    return true;
  }

  std::string_view text_;
  std::size_t pos_ = 0;
  std::vector<TOpen> open_;
  Json* slot_ = nullptr;    // the value of the key just read
  std::size_t key_ = kNone; // where that key starts
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

// found: how to name a value of the wrong kind (default: its JSON kind).
Converted ConvertJson(const TPWProperty& p, const Json& v, const std::string& found = {}) {
  const auto expected = [&](const std::string& what) {
    return Converted{{}, "expected " + what + ", found " + (found.empty() ? JsonKind(v) : found)};
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
      return {{},
              "'" + Printable(v.get<std::string>()) + "' is not a " + p.Enum->Name + "; expected one of " +
                  names};
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

// A number outside the range its setter keeps becomes the nearest bound;
// the component says nothing (setters never report), so the form does.
std::string ClampNote(const TPWProperty& p, const TPWValue& v) {
  if (!p.RangeMin && !p.RangeMax) return {};
  double x = 0;
  if (const auto* i = std::get_if<std::int64_t>(&v))
    x = static_cast<double>(*i);
  else if (const auto* d = std::get_if<double>(&v))
    x = *d;
  else
    return {};
  const auto number = [](double n) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", n);
    return std::string(buf);
  };
  const std::string range = (p.RangeMin ? number(*p.RangeMin) : std::string("..")) + " .. " +
                            (p.RangeMax ? number(*p.RangeMax) : std::string(""));
  if (p.RangeMin && !(x >= *p.RangeMin))
    return number(x) + " is outside " + range + "; clamped to " + number(*p.RangeMin);
  if (p.RangeMax && x > *p.RangeMax)
    return number(x) + " is outside " + range + "; clamped to " + number(*p.RangeMax);
  return {};
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
  } else if (v.is_number_unsigned() && v.get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX)) {
    if (error.empty())
      error = v.dump() + " is out of range for an integer item (at most " + std::to_string(INT64_MAX) + ")";
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
  TFQFormReader(std::string_view text, std::string file) : text_(text), file_(std::move(file)) {
    // A byte-order mark is allowed and is no part of line 1.
    if (text_.substr(0, 3) == "\xEF\xBB\xBF") text_.remove_prefix(3);
  }

  std::unique_ptr<TFQForm> Read() {
    TJsonBuilder builder(text_);
    if (!Json::sax_parse(text_, &builder, Json::input_format_t::json, true)) {
      const auto [line, column] = LineColumn(text_, builder.ErrorAt);
      throw TFQFormError(file_, line, column, "", builder.Error.empty() ? "malformed JSON" : builder.Error);
    }
    root_ = std::move(builder.Root);
    starts_ = std::move(builder.Starts);

    const Json& root = root_;
    if (!root.is_object()) Fail(root, "", "expected a form object, found " + JsonKind(root));
    for (const auto& [key, value] : root.items())
      if (key != "framquist" && key != "components" && key != "connections")
        Fail(value, key, "unknown key '" + Printable(key) + "'; expected framquist, components, connections",
             true);
    if (root.contains("framquist") && root["framquist"] != 1)
      Fail(root["framquist"], "framquist",
           "this form is of version " + root["framquist"].dump() + "; expected 1");

    auto form = std::make_unique<TFQForm>();
    form_ = form.get();
    if (root.contains("components")) {
      const Json& components = root["components"];
      if (!components.is_array())
        Fail(components, "components", "expected an array of components, found " + JsonKind(components));
      for (std::size_t i = 0; i < components.size(); ++i)
        ReadComponent(*form, components[i], "components[" + std::to_string(i) + "]");
    }
    if (root.contains("connections")) {
      const Json& connections = root["connections"];
      if (!connections.is_array())
        Fail(connections, "connections", "expected an array of connections, found " + JsonKind(connections));
      for (std::size_t i = 0; i < connections.size(); ++i)
        ReadConnection(*form, connections[i], "connections[" + std::to_string(i) + "]");
    }
    for (TPWComponent* c : form->Components()) c->Loaded();
    return form;
  }

private:
  // Throws, pointing at the value (or at the key before it).
  [[noreturn]] void Fail(const Json& at, const std::string& place, const std::string& what,
                         bool atKey = false) const {
    std::size_t index = 0, offset = 0;
    if (Index(root_, at, index) && index < starts_.size())
      offset = atKey && starts_[index].Key != kNone ? starts_[index].Key : starts_[index].Value;
    const auto [line, column] = LineColumn(text_, offset);
    throw TFQFormError(file_, line, column, place, what);
  }

  // The position of a value in document order, which is the order in which
  // the builder recorded where each value starts. Nesting is bounded, and
  // this runs once, for the error.
  static bool Index(const Json& node, const Json& target, std::size_t& index) {
    if (&node == &target) return true;
    ++index;
    if (node.is_structured())
      for (const Json& child : node)
        if (Index(child, target, index)) return true;
    return false;
  }

  void SetObject(IPWPersistent& object, const Json& values, const std::string& place,
                 const std::string& owner) {
    if (!values.is_object())
      Fail(values, place, "expected an object of properties, found " + JsonKind(values));
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
        if (!error.empty()) Fail(value, at, error);
        TPWReader reader(std::move(items));
        try {
          extra->Read(reader);
        } catch (const TPWStreamError& e) {
          Fail(value, at, e.what());
        }
      } else {
        Fail(value, at,
             owner + " has no property '" + Printable(name) +
                 "'; expected one of: " + Join(PropertyNames(object)),
             true);
      }
    }
  }

  void SetProperty(const TPWProperty& p, const Json& value, const std::string& at, const std::string& owner) {
    if (p.Type == TPWPropType::Object) {
      SetObject(*p.Object, value, at, owner + "." + p.Name);
    } else if (p.Type == TPWPropType::Collection) {
      if (!value.is_array()) Fail(value, at, "expected an array of objects, found " + JsonKind(value));
      p.Clear();
      int i = 0;
      for (const Json& item : value) {
        IPWPersistent* added = p.Add();
        const std::string itemAt = at + "[" + std::to_string(i++) + "]";
        if (added == nullptr) Fail(item, itemAt, "the collection takes no more items");
        SetObject(*added, item, itemAt, owner + "." + p.Name);
      }
    } else {
      Converted c = ConvertJson(p, value);
      if (!c.Error.empty()) Fail(value, at, c.Error);
      p.Set(c.Value);
      if (std::string note = ClampNote(p, c.Value); !note.empty() && form_ != nullptr)
        form_->warnings_.push_back(file_ + ": " + at + ": " + note);
    }
  }

  void ReadComponent(TFQForm& form, const Json& c, const std::string& place) {
    if (!c.is_object()) Fail(c, place, "expected a component object, found " + JsonKind(c));
    for (const auto& [key, value] : c.items())
      if (key != "class" && key != "name" && key != "properties")
        Fail(value, place + "." + key,
             "unknown key '" + Printable(key) + "'; expected class, name, properties", true);
    if (!c.contains("class") || !c["class"].is_string())
      Fail(c.contains("class") ? c["class"] : c, place, "expected \"class\": the component's class name");
    const std::string className = c["class"].get<std::string>();
    std::string name;
    if (c.contains("name")) {
      const Json& n = c["name"];
      if (!n.is_string()) Fail(n, place + ".name", "expected a string, found " + JsonKind(n));
      name = n.get<std::string>();
      if (const std::string problem = TFQForm::NameProblem(name); !problem.empty())
        Fail(n, place + ".name", problem);
      if (form.Find(name) != nullptr)
        Fail(n, place + ".name", "a component named '" + name + "' exists already");
    }
    if (!TFQRegistry::Contains(className))
      Fail(c["class"], place + ".class",
           "unknown class '" + Printable(className) + "'; `framquist list` shows the registered classes");
    TPWComponent& component = form.Add(className, name);
    if (c.contains("properties")) SetObject(component, c["properties"], place + ".properties", className);
  }

  void ReadConnection(TFQForm& form, const Json& c, const std::string& place) {
    if (!c.is_object() || !c.contains("from") || !c.contains("to") || !c["from"].is_string() ||
        !c["to"].is_string())
      Fail(c, place, "expected {\"from\": \"Component.Pin\", \"to\": \"Component.Pin\"}");
    try {
      form.Connect(c["from"].get<std::string>(), c["to"].get<std::string>());
    } catch (const TFQFormError& e) {
      Fail(e.Place == "from" || e.Place == "to" ? c[e.Place] : c, place + "." + e.Place, e.What);
    }
  }

  std::string_view text_;
  std::string file_;
  TFQForm* form_ = nullptr; // the form being read, for its warnings
  Json root_;
  std::vector<TValueStart> starts_;
};

// ---- TFQForm ---------------------------------------------------------------

TFQForm::TFQForm() { Initialize(); }

TFQForm::~TFQForm() {
  Stop();
  byName_.clear();
  while (!entries_.empty()) entries_.pop_back();
  Finalize();
}

std::unique_ptr<TFQForm> TFQForm::Parse(std::string_view text, std::string sourceName) {
  return TFQFormReader(text, std::move(sourceName)).Read();
}

std::unique_ptr<TFQForm> TFQForm::Load(const std::filesystem::path& file) {
  const std::string name = file.string();
  std::error_code ec;
  const auto type = std::filesystem::status(file, ec).type();
  if (type == std::filesystem::file_type::not_found)
    throw TFQFormError(name, 0, 0, "", "cannot read the file: no such file");
  if (type == std::filesystem::file_type::directory)
    throw TFQFormError(name, 0, 0, "", "cannot read the file: it is a directory");
  errno = 0;
  std::ifstream in(file, std::ios::binary);
  const auto reason = [] {
    return errno != 0 ? ": " + std::generic_category().message(errno) : std::string();
  };
  if (!in) throw TFQFormError(name, 0, 0, "", "cannot read the file" + reason());
  std::string text;
  std::vector<char> chunk(1 << 16);
  while (in.read(chunk.data(), static_cast<std::streamsize>(chunk.size())) || in.gcount() > 0) {
    text.append(chunk.data(), static_cast<std::size_t>(in.gcount()));
    if (text.size() > kMaxFormBytes)
      throw TFQFormError(name, 0, 0, "",
                         "the file is larger than " + std::to_string(kMaxFormBytes >> 20) +
                             " MiB; is it a form?");
  }
  if (in.bad()) throw TFQFormError(name, 0, 0, "", "cannot read the file" + reason());
  return Parse(text, name);
}

namespace {

// What nlohmann-json cannot write as given: bytes that are not UTF-8 (it
// would throw) and numbers that are not finite (it would write null, which
// reads back as an error). Either is reported at the property that holds it.
void CheckWritable(const Json& v, const std::string& place) {
  if (v.is_object()) {
    for (const auto& [key, value] : v.items()) CheckWritable(value, place + "." + key);
  } else if (v.is_array()) {
    std::size_t i = 0;
    for (const Json& item : v) CheckWritable(item, place + "[" + std::to_string(i++) + "]");
  } else if (v.is_string()) {
    const std::string& s = v.get_ref<const std::string&>();
    if (const std::size_t bad = FirstNonUtf8(s); bad != kNone) {
      char byte[8];
      std::snprintf(byte, sizeof byte, "0x%02X", static_cast<unsigned>(static_cast<unsigned char>(s[bad])));
      throw TFQFormError("", 0, 0, place,
                         "'" + Printable(s) + "' is not UTF-8 text (byte " + byte + " at offset " +
                             std::to_string(bad) + "); a form holds text as UTF-8");
    }
  } else if (v.is_number_float() && !std::isfinite(v.get<double>())) {
    throw TFQFormError("", 0, 0, place,
                       v.get<double>() != v.get<double>() ? "cannot store NaN in a form"
                                                          : "cannot store an infinite number in a form");
  }
}

} // namespace

std::string TFQForm::Save() const {
  Json root = Json::object();
  root["framquist"] = 1;
  Json components = Json::array();
  for (const Entry& e : entries_) {
    Json c = Json::object();
    c["class"] = std::string(e.Component->GetClassName());
    c["name"] = e.Name;
    Json props = WriteObject(*e.Component);
    if (!props.empty()) {
      CheckWritable(props, "components[" + std::to_string(components.size()) + "].properties");
      c["properties"] = std::move(props);
    }
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
  std::string text;
  try {
    text = Save();
  } catch (const TFQFormError& e) {
    throw TFQFormError(file.string(), 0, 0, e.Place, e.What);
  }
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  if (!out || !out.write(text.data(), static_cast<std::streamsize>(text.size())))
    throw TFQFormError(file.string(), 0, 0, "", "cannot write the file");
}

std::string TFQForm::NameProblem(std::string_view name) {
  if (name.empty()) return "a component name may not be empty";
  if (FirstNonUtf8(name) != kNone) return "the name '" + Printable(name) + "' is not UTF-8 text";
  for (const char c : name)
    if (c == '.' || c == '[' || c == ']' || c == ' ' || static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
      return "the name '" + Printable(name) + "' holds '" + Printable(std::string_view(&c, 1)) +
             "'; a name may not hold '.', '[', ']', spaces or control characters";
  return {};
}

std::string TFQForm::UniqueName(std::string_view className) {
  std::string base(className);
  if (base.rfind("TFQ", 0) == 0 && base.size() > 3) base = base.substr(3);
  if (Find(base) == nullptr) return base;
  // Start where the last search for this base ended, so that adding many
  // components of one class takes no more than one lookup each.
  int& next = nextNumber_[base];
  for (int i = std::max(next, 2);; ++i)
    if (Find(base + std::to_string(i)) == nullptr) {
      next = i + 1;
      return base + std::to_string(i);
    }
}

TPWComponent& TFQForm::Add(std::string_view className, std::string name) {
  if (name.empty()) {
    name = UniqueName(className);
  } else if (std::string problem = NameProblem(name); !problem.empty()) {
    throw TFQFormError("", 0, 0, "name", std::move(problem));
  }
  if (Find(name) != nullptr)
    throw TFQFormError("", 0, 0, name, "a component named '" + name + "' exists already");
  TPWOwned<TPWComponent> component = TFQRegistry::Create(className);
  if (!component)
    throw TFQFormError("", 0, 0, Printable(className),
                       "unknown class '" + Printable(className) +
                           "'; `framquist list` shows the registered classes");
  component->SetName(name);
  byName_[name] = component.get();
  entries_.push_back({std::move(name), std::move(component)});
  return *entries_.back().Component;
}

TPWComponent* TFQForm::Find(std::string_view name) const {
  const auto it = byName_.find(std::string(name));
  return it == byName_.end() ? nullptr : it->second;
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
      // Typed text is named as typed: "found 'fast'", not "found a string".
      Converted c = ConvertJson(*p, value, "'" + s + "'");
      if (!c.Error.empty()) throw TFQFormError("", 0, 0, name + "." + std::string(path), c.Error);
      p->Set(c.Value);
      if (std::string note = ClampNote(*p, c.Value); !note.empty())
        warnings_.push_back(name + "." + std::string(path) + ": " + note);
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
