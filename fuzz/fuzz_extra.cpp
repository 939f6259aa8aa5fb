// Every named extra property reader of every registered class, on garbage.
// The first byte picks one (a class's own, or one on a sub-object or a
// collection item reachable from it); the rest becomes the property's value
// in a one-component form read by the form reader: taken as JSON text when
// it starts with '[', else decoded into a well-formed list of items so that
// the readers themselves, not the JSON parser, get the garbage. Only
// TFQFormError may come out, and a form that loads must save and load the
// same again (the writers get their readers' results).
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "frame/fqform.h"
#include "frame/fqregistry.h"
#include "fuzz/fqfuzzcheck.h"

using namespace framquist;

namespace {

struct Target {
  std::string Label; // Class.Path.Name
  std::string Open;  // the form up to the property's value
  std::string Close; // the rest of the form
};

std::vector<Target>& Targets() {
  static std::vector<Target> targets;
  return targets;
}

void Collect(IPWPersistent& object, const std::string& label, const std::string& open,
             const std::string& close, int depth) {
  const TPWFiler filer = PWDefinedProperties(object);
  for (const TPWExtraProperty& e : filer.Items())
    Targets().push_back({label + "." + e.Name, open + "\"" + e.Name + "\": ", close});
  if (depth > 4) return;
  const TPWPropertyList props = PWDeclaredProperties(object);
  for (const TPWProperty& p : props.Items()) {
    if (p.Type == TPWPropType::Object) {
      Collect(*p.Object, label + "." + p.Name, open + "\"" + p.Name + "\": {", "}" + close, depth + 1);
    } else if (p.Type == TPWPropType::Collection) {
      if (IPWPersistent* item = p.Add())
        Collect(*item, label + "." + p.Name + "[0]", open + "\"" + p.Name + "\": [{", "}]" + close,
                depth + 1);
    }
  }
}

// Reads the input front to back; past the end every read gives zeros.
class Bytes {
public:
  Bytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  bool More() const { return pos_ < size_; }
  std::uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }
  template <class T>
  T Raw() {
    unsigned char buf[sizeof(T)] = {};
    for (auto& b : buf) b = Byte();
    T v;
    std::memcpy(&v, buf, sizeof v);
    return v;
  }

private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
};

// A JSON array of items (integers, numbers, strings, nested lists) made
// from the bytes.
std::string Decode(Bytes& in) {
  static const std::int64_t kEdges[] = {
      0, 1, -1, 2, 3, 4, 255, 256, 65535, 65536, INT32_MAX, INT32_MIN, INT64_MAX, INT64_MIN, 1 << 20, -256};
  std::string out = "[";
  int open = 0;
  bool first = true;
  auto item = [&](const std::string& text) {
    out += first ? "" : ", ";
    out += text;
    first = text == "[";
  };
  while (in.More()) {
    const std::uint8_t op = in.Byte();
    switch (op % 8) {
    case 0:
      if (open < 8) {
        item("[");
        ++open;
      }
      break;
    case 1:
      if (open > 0) {
        out += "]";
        --open;
        first = false;
      }
      break;
    case 2:
      item(std::to_string(static_cast<std::int8_t>(in.Byte())));
      break;
    case 3:
      item(std::to_string(in.Raw<std::int64_t>()));
      break;
    case 4:
      item(std::to_string(kEdges[in.Byte() % (sizeof kEdges / sizeof kEdges[0])]));
      break;
    case 5:
    case 6: {
      double v = op % 8 == 5 ? static_cast<std::int8_t>(in.Byte()) / 16.0 : in.Raw<double>();
      if (!std::isfinite(v)) v = 0;
      char buf[40];
      std::snprintf(buf, sizeof buf, "%.17g", v);
      std::string text = buf;
      if (text.find_first_of(".e") == std::string::npos) text += ".0"; // stays a number, not an integer
      item(text);
      break;
    }
    case 7: {
      std::string s = "\"";
      for (int n = in.Byte() % 16; n > 0; --n) {
        const std::uint8_t c = in.Byte();
        char buf[8];
        if (c >= 0x20 && c < 0x7f && c != '"' && c != '\\') {
          s += static_cast<char>(c);
        } else {
          std::snprintf(buf, sizeof buf, "\\u%04x", c);
          s += buf;
        }
      }
      item(s + "\"");
      break;
    }
    }
  }
  for (; open > 0; --open) out += "]";
  return out + "]";
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Initialize();
  for (const TFQClassInfo& info : TFQRegistry::List()) {
    auto component = TFQRegistry::Create(info.ClassName);
    Collect(*component, info.ClassName,
            "{\"components\": [{\"class\": \"" + info.ClassName + "\", \"properties\": {", "}}]}", 0);
  }
  std::fprintf(stderr, "fuzz_extra: %zu extra properties, picked by the first byte:\n", Targets().size());
  for (std::size_t i = 0; i < Targets().size(); ++i)
    std::fprintf(stderr, "  %zu %s\n", i, Targets()[i].Label.c_str());
  if (Targets().empty()) std::abort();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const Target& target = Targets()[data[0] % Targets().size()];
  std::string value;
  if (size > 1 && data[1] == '[') {
    value.assign(reinterpret_cast<const char*>(data) + 1, size - 1);
  } else {
    Bytes in(data + 1, size - 1);
    value = Decode(in);
  }
  std::unique_ptr<TFQForm> form;
  try {
    form = TFQForm::Parse(target.Open + value + target.Close, "fuzz.json");
  } catch (const TFQFormError&) {
    return 0;
  }
  FQCheckRoundTrip(form->Save());
  return 0;
}
