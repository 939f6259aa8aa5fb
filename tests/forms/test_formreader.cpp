// The form reader on broken, hostile and unusual input: every problem is a
// TFQFormError with a line and column, found in one bounded pass.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <thread>

#include <unistd.h>

#include "frame/fqform.h"
#include "frame/fqlaunch.h"

namespace framquist {
namespace {

struct Located {
  int Line = 0, Column = 0;
  std::string Message;
};

// Parses text that must fail, on a thread watched by a clock: a reader that
// loops or recurses without end fails the test instead of hanging the run.
Located ParseError(const std::string& text) {
  auto result = std::make_shared<std::promise<Located>>();
  auto done = result->get_future();
  std::thread([text, result] {
    try {
      TFQForm::Parse(text, "f.json");
      result->set_value({0, 0, "loaded"});
    } catch (const TFQFormError& e) {
      result->set_value({e.Line, e.Column, e.what()});
    } catch (const std::exception& e) {
      result->set_value({0, 0, std::string("escaped: ") + e.what()});
    }
  }).detach();
  if (done.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
    std::fprintf(stderr, "the form reader took more than 20 s on:\n%.200s\n", text.c_str());
    std::_Exit(1); // the reading thread cannot be stopped
  }
  return done.get();
}

void ExpectAt(const std::string& text, int line, int column, const std::string& expected) {
  const Located e = ParseError(text);
  EXPECT_EQ(e.Line, line) << e.Message;
  EXPECT_EQ(e.Column, column) << e.Message;
  EXPECT_NE(e.Message.find(expected), std::string::npos) << e.Message;
}

TEST(FormReader, UnquotedKeyIsALocatedErrorNotAHang) {
  struct {
    const char* text;
    int line, column;
    const char* expected;
  } const cases[] = {
      {"{a: 1}", 1, 2, "malformed JSON"},
      {"{\"a\": [1, 2}", 1, 12, "malformed JSON"},
      {"{\n  \"components\": [\n    {class: \"TFQMirror\"}\n  ]\n}", 3, 6, "malformed JSON"},
      {"{\"components\": [{\"class\": \"TFQMirror\",}]}", 1, 39, "malformed JSON"},
      {"{\"components\": [", 1, 17, "malformed JSON"},
      {"{\"a\": \"no end", 1, 14, "malformed JSON"},
      {"", 1, 1, "malformed JSON"},
      {"{} {}", 1, 4, "malformed JSON"},
      {"{\"components\": [{\"class\": \"TFQMirror\", \"properties\": {\"Tag\": 1, \"Tag\": 2}}]}", 1, 65,
       "the key 'Tag' appears twice"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    ExpectAt(c.text, c.line, c.column, c.expected);
  }
}

TEST(FormReader, DeepNestingIsALocatedErrorNotAStackOverflow) {
  const std::string deepArrays = std::string(50000, '[') + std::string(50000, ']');
  ExpectAt(deepArrays, 1, 65, "nested more than 64 levels deep");
  std::string deepObjects;
  for (int i = 0; i < 50000; ++i) deepObjects += "{\"a\":";
  ExpectAt(deepObjects, 1, 64 * 5 + 1, "nested more than 64 levels deep");
  // Within the limit the reader goes on to the form's own checks.
  ExpectAt(std::string(64, '[') + std::string(64, ']'), 1, 1, "expected a form object, found an array");
}

TEST(FormReader, NumberOverflowIsALocatedFormError) {
  ExpectAt("{\"components\": [{\"class\": \"TFQMirror\",\n \"properties\": {\"Tag\": 1e400}}]}", 2, 24,
           "the number 1e400 is out of range");
  ExpectAt("{\"framquist\": -1e400}", 1, 15, "out of range");
  // An integer too large for 64 bits reads as a number and meets the range check.
  ExpectAt("{\"components\": [{\"class\": \"TFQMirror\", \"properties\": {\"Tag\": 99999999999999999999}}]}",
           1, 62, "expected an integer");
  EXPECT_THROW(FQBuildLaunchLine("TFQMirror Tag=1e400"), TFQFormError);
}

TEST(FormReader, ByteOrderMarkKeepsLinesAndColumns) {
  const std::string form =
      "{\"components\": [\n  {\"class\": \"TFQMirror\", \"properties\": {\"MirrorType\": 1}}]}";
  const Located plain = ParseError(form);
  const Located marked = ParseError("\xEF\xBB\xBF" + form);
  EXPECT_EQ(plain.Line, 2);
  EXPECT_EQ(plain.Column, 55);
  EXPECT_EQ(marked.Line, plain.Line);
  EXPECT_EQ(marked.Column, plain.Column);
  ExpectAt("\xEF\xBB\xBF{a}", 1, 2, "malformed JSON"); // the mark is no column of line 1
  EXPECT_NO_THROW(TFQForm::Parse("\xEF\xBB\xBF{\"components\": [{\"class\": \"TFQMirror\"}]}"));
}

TEST(FormReader, BytesThatAreNotUtf8AreALocatedErrorWithAPrintableMessage) {
  const Located e = ParseError("{\"components\": [{\"class\":\n \"TFQ\xFF\"}]}");
  EXPECT_EQ(e.Line, 2);
  EXPECT_NE(e.Message.find("malformed JSON"), std::string::npos) << e.Message;
  EXPECT_EQ(e.Message.find('\xFF'), std::string::npos) << "raw byte in the message";
}

TEST(FormReader, MissingFileAndDirectorySaySo) {
  const auto dir = std::filesystem::temp_directory_path() / ("fq-formreader-" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  struct {
    std::filesystem::path path;
    const char* expected;
  } const cases[] = {{dir / "none.json", "no such file"}, {dir, "is a directory"}};
  for (const auto& c : cases) {
    try {
      TFQForm::Load(c.path);
      ADD_FAILURE() << c.path << " loaded";
    } catch (const TFQFormError& e) {
      EXPECT_EQ(e.File, c.path.string());
      EXPECT_NE(std::string(e.what()).find(c.expected), std::string::npos) << e.what();
    }
  }
  std::filesystem::remove_all(dir);
}

TEST(FormReader, SavingTextThatIsNotUtf8NamesTheProperty) {
  auto form = FQBuildLaunchLine("TFQTestPattern ! TFQVideoFileSink FileName=out\xE9.mkv");
  try {
    form->SaveFile(std::filesystem::temp_directory_path() / "fq-formreader-never-written.json");
    ADD_FAILURE() << "saved";
  } catch (const TFQFormError& e) {
    EXPECT_EQ(e.Place, "components[1].properties.FileName");
    EXPECT_NE(std::string(e.what()).find("out\\xE9.mkv' is not UTF-8 text"), std::string::npos) << e.what();
  }
}

// Launch and run accept exactly the same names, so a launched chain saved
// as a form always runs.
TEST(FormReader, LaunchAndFormsAcceptTheSameComponentNames) {
  struct {
    std::string name, json; // as typed on a launch line, and as written in a form
  } const bad[] = {{"a.b", "a.b"},    {"a[1]", "a[1]"},      {"b]", "b]"}, {"a b", "a b"},
                   {"a\tb", "a\\tb"}, {"a\x01", "a\\u0001"}, {"", ""}};
  for (const auto& c : bad) {
    SCOPED_TRACE(c.json);
    EXPECT_THROW(FQBuildLaunchLine("TFQMirror 'Name=" + c.name + "'"), TFQFormError);
    const Located e =
        ParseError("{\"components\": [{\"class\": \"TFQMirror\",\n \"name\": \"" + c.json + "\"}]}");
    EXPECT_EQ(e.Line, 2) << e.Message;
    EXPECT_EQ(e.Column, 10) << e.Message;
    EXPECT_NE(e.Message.find("components[0].name: "), std::string::npos) << e.Message;
    TFQForm form;
    if (!c.name.empty()) {
      EXPECT_THROW(form.Add("TFQMirror", c.name), TFQFormError);
    }
  }
  EXPECT_THROW(FQBuildLaunchLine("TFQMirror Name=\xC3"), TFQFormError); // not UTF-8
  for (const std::string good : {"Mirror-1", "Spiegel_\xC3\xA4", "a=b", "M!"}) {
    SCOPED_TRACE(good);
    auto launched = FQBuildLaunchLine("TFQMirror 'Name=" + good + "' ! TFQMirror");
    const std::string saved = launched->Save();
    auto loaded = TFQForm::Parse(saved);
    EXPECT_NE(loaded->Find(good), nullptr);
    EXPECT_EQ(loaded->Save(), saved);
  }
}

} // namespace
} // namespace framquist
