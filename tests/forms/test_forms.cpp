#include <gtest/gtest.h>

#include "frame/fqendpoints.h"
#include "frame/fqform.h"
#include "frame/fqmirror.h"
#include "frame/fqregistry.h"

namespace framquist {
namespace {

// Moves every declared property of an object away from its default, by a
// route that knows nothing of the particular class.
void SetNonDefaults(IPWPersistent& object) {
  const TPWPropertyList props = PWDeclaredProperties(object);
  for (const TPWProperty& p : props.Items()) {
    switch (p.Type) {
    case TPWPropType::Object:
      SetNonDefaults(*p.Object);
      break;
    case TPWPropType::Collection:
      if (IPWPersistent* item = p.Add()) SetNonDefaults(*item);
      break;
    case TPWPropType::Bool:
      p.Set(!(p.Default ? std::get<bool>(*p.Default) : std::get<bool>(p.Get())));
      break;
    case TPWPropType::Int:
    case TPWPropType::Enum: {
      const auto now = std::get<std::int64_t>(p.Default ? *p.Default : p.Get());
      p.Set(now < p.Max ? now + 1 : now - 1);
      break;
    }
    case TPWPropType::Color:
      p.Set(std::int64_t{0x123456});
      break;
    case TPWPropType::Float:
      p.Set(std::get<double>(p.Default ? *p.Default : p.Get()) + 1.5);
      break;
    case TPWPropType::String:
      p.Set(std::string("changed value"));
      break;
    }
  }
}

TEST(Forms, EveryRegisteredClassRoundTripsThroughAForm) {
  TFQForm form;
  for (const TFQClassInfo& info : TFQRegistry::List()) SetNonDefaults(form.Add(info.ClassName));
  const std::string saved = form.Save();
  auto loaded = TFQForm::Parse(saved, "saved");
  EXPECT_EQ(loaded->Save(), saved);
  // Every class wrote something besides its name: its changed properties.
  for (const TFQClassInfo& info : TFQRegistry::List())
    EXPECT_NE(saved.find("\"class\": \"" + info.ClassName + "\",\n      \"name\""), std::string::npos);
  for (TPWComponent* c : form.Components()) {
    TPWComponent* back = loaded->Find(form.NameOf(*c));
    ASSERT_NE(back, nullptr);
    const TPWPropertyList a = PWDeclaredProperties(*c), b = PWDeclaredProperties(*back);
    for (const TPWProperty& p : a.Items()) {
      if (!p.Get) continue;
      EXPECT_EQ(p.Get(), b.Find(p.Name)->Get()) << form.NameOf(*c) << "." << p.Name;
    }
  }
}

const char* kMirrorForm = R"({
  "framquist": 1,
  "components": [
    {
      "class": "TFQImageSource",
      "name": "Source"
    },
    {
      "class": "TFQMirror",
      "name": "Flip",
      "properties": {
        "Enabled": false,
        "MirrorType": "mtBoth"
      }
    },
    {
      "class": "TFQImageGrabber",
      "name": "Grabber",
      "properties": {
        "KeepCount": 3
      }
    }
  ],
  "connections": [
    {
      "from": "Source.OutputPin",
      "to": "Flip.InputPin"
    },
    {
      "from": "Flip.OutputPin",
      "to": "Grabber.InputPin"
    }
  ]
}
)";

TEST(Forms, LoadingSetsPropertiesAndConnectsAndSavingGivesTheSameFile) {
  auto form = TFQForm::Parse(kMirrorForm);
  auto* flip = dynamic_cast<TFQMirror*>(form->Find("Flip"));
  ASSERT_NE(flip, nullptr);
  EXPECT_TRUE(flip->OutputPin.IsConnected());
  EXPECT_EQ(form->Save(), kMirrorForm); // saved from the live properties, so they were all set
}

TEST(Forms, CommandLineSettingsGoThroughTheSameDeclarationsAndDefaultsAreNotStored) {
  TFQForm form;
  TPWComponent& m = form.Add("TFQMirror", "M");
  const std::string saved = form.Save();
  EXPECT_NE(saved.find("\"MirrorType\": \"mtHorizontal\""), std::string::npos); // always stored
  EXPECT_EQ(saved.find("Enabled"), std::string::npos);
  EXPECT_EQ(saved.find("Tag"), std::string::npos);
  form.SetProperty(m, "MirrorType", "mtVertical");
  form.SetProperty(m, "Enabled", "false");
  EXPECT_EQ(dynamic_cast<TFQMirror&>(m).GetMirrorType(), mtVertical);
  EXPECT_THROW(form.SetProperty(m, "Tag", "x1"), TFQFormError);
  EXPECT_THROW(form.SetProperty(m, "Nope", "1"), TFQFormError);
  EXPECT_EQ(form.Add("TFQMirror").GetName(), "Mirror"); // named after its class
  EXPECT_EQ(form.Add("TFQMirror").GetName(), "Mirror2");
}

TEST(Forms, EveryErrorNamesTheFileThePlaceAndTheExpectation) {
  struct {
    const char* text;
    int line;
    const char* place;    // expected in the message
    const char* expected; // expected in the message
  } const cases[] = {
      {"{\n  \"components\": [\n    {\"class\": }\n  ]\n}", 3, "", "malformed JSON"},
      {"{\"components\": [\n {\"class\": \"TFQMirorr\"}]}", 2, "components[0].class",
       "unknown class 'TFQMirorr'"},
      {R"({"components": [{"class": "TFQMirror",
 "properties": {"Mirror": 1}}]})",
       2, "components[0].properties.Mirror", "expected one of: Tag, Enabled, MirrorType"},
      {R"({"components": [{"class": "TFQMirror", "properties":
 {"MirrorType": "mtUp"}}]})",
       2, "components[0].properties.MirrorType", "expected one of mtHorizontal, mtVertical, mtBoth"},
      {R"({"components": [{"class": "TFQMirror", "properties": {"Enabled": 1}}]})", 1,
       "components[0].properties.Enabled", "expected a boolean"},
      {R"({"components": [{"class": "TFQMirror", "properties": {"Tag": 3000000000}}]})", 1,
       "components[0].properties.Tag", "out of range (-2147483648 to 2147483647)"},
      {R"({"components": [{"class": "TFQMirror", "name": "M"}, {"class": "TFQMirror", "name": "N"}],
 "connections": [{"from": "M.Output", "to": "N.InputPin"}]})",
       2, "connections[0].from", "its pins: InputPin, OutputPin, EnablePin"},
      {R"({"components": [{"class": "TFQTickClock", "name": "C"}, {"class": "TFQMirror", "name": "M"}],
 "connections": [
 {"from": "C.OutputPin", "to": "M.InputPin"}]})",
       3, "connections[0].to", "(clock source) to M.InputPin (video sink)"},
      {R"({"components": [{"class": "TFQMirror", "name": "M"},
 {"class": "TFQMirror", "name": "M"}]})",
       2, "components[1].name", "a component named 'M' exists already"},
  };
  for (const auto& c : cases) {
    try {
      TFQForm::Parse(c.text, "graph.json");
      ADD_FAILURE() << c.expected << ": loaded";
    } catch (const TFQFormError& e) {
      const std::string message = e.what();
      EXPECT_EQ(e.File, "graph.json") << message;
      EXPECT_EQ(e.Line, c.line) << message;
      EXPECT_GT(e.Column, 0) << message;
      EXPECT_NE(message.find(c.place), std::string::npos) << message;
      EXPECT_NE(message.find(c.expected), std::string::npos) << message;
    }
  }
}

// Extra properties travel as typed item lists.
class TWithExtras : public TFQMirror {
public:
  std::string_view GetClassName() const override { return "TWithExtras"; }
  std::vector<double> params{0.25, 2.0};
  std::string label = "x";
  void DefineProperties(TPWFiler& filer) override {
    filer.DefineProperty(
        "Params",
        [this](TPWReader& r) {
          params.clear();
          r.ReadListBegin();
          while (!r.EndOfList()) params.push_back(r.ReadFloat());
          r.ReadListEnd();
          label = r.ReadString();
        },
        [this](TPWWriter& w) {
          w.WriteListBegin();
          for (double p : params) w.WriteFloat(p);
          w.WriteListEnd();
          w.WriteString(label);
        },
        true);
  }
};

TEST(Forms, ExtraPropertiesAreReadAndWrittenByTheirHandlers) {
  RegisterComponents("Test", {FQClass<TWithExtras>("TWithExtras")});
  TFQForm form;
  auto& c = dynamic_cast<TWithExtras&>(form.Add("TWithExtras", "E"));
  c.params = {1.5, 3.0, 7.0};
  c.label = "seven";
  const std::string saved = form.Save();
  EXPECT_NE(saved.find("\"Params\": [\n          [\n"), std::string::npos); // a list, then a string
  auto loaded = TFQForm::Parse(saved);
  auto* back = dynamic_cast<TWithExtras*>(loaded->Find("E"));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->params, (std::vector<double>{1.5, 3.0, 7.0}));
  EXPECT_EQ(back->label, "seven");
  EXPECT_EQ(loaded->Save(), saved);
  try {
    TFQForm::Parse(R"({"components": [{"class": "TWithExtras", "properties": {"Params": [[1, 2], 3]}}]})");
    ADD_FAILURE() << "loaded";
  } catch (const TFQFormError& e) {
    EXPECT_NE(std::string(e.what()).find("expected a string at item 5, found an integer"), std::string::npos)
        << e.what();
  }
  TFQRegistry::UnregisterPage("Test");
}

} // namespace
} // namespace framquist
