#include <gtest/gtest.h>

#include "frame/fqlaunch.h"
#include "frame/fqmirror.h"

namespace framquist {
namespace {

TEST(Launch, ElementsAreLinkedInOrderWithTheirSettings) {
  auto form = FQBuildLaunchLine("TFQTestPattern Name=Src ImageSize.Width=64 ! TFQMirror 'MirrorType=mtBoth' "
                                "Tag=\"-3\" ! TFQImageGrabber");
  ASSERT_EQ(form->Components().size(), 3u);
  auto* mirror = dynamic_cast<TFQMirror*>(form->Find("Mirror"));
  ASSERT_NE(mirror, nullptr);
  EXPECT_EQ(mirror->GetMirrorType(), mtBoth);
  EXPECT_EQ(mirror->GetTag(), -3);
  ASSERT_EQ(form->Connections().size(), 2u);
  EXPECT_EQ(form->Connections()[0].From, "Src.OutputPin");
  EXPECT_EQ(form->Connections()[0].To, "Mirror.InputPin");
  EXPECT_EQ(form->Connections()[1].To, "ImageGrabber.InputPin");
}

TEST(Launch, EveryMistakeNamesTheChainAndTheElement) {
  struct {
    const char* chain;
    const char* place;
    const char* expected;
  } const cases[] = {
      {"TFQMirror ! ! TFQMirror", "element 2", "expected a class name"},
      {"TFQMirror ! TFQNope", "element 2", "unknown class 'TFQNope'"},
      {"TFQMirror Tag", "element 1", "expected Name=Value, found 'Tag'"},
      {"TFQMirror \"Tag=1", "the chain", "unbalanced quote"},
      {"TFQMirror Name=M ! TFQMirror Name=M", "element 2 (Name)", "a component named 'M' exists already"},
      {"TFQMirror Name=", "element 1 (Name)", "may not be empty"},
      {"TFQMirror Tag=fast", "element 1 (Mirror.Tag)", "expected an integer, found 'fast'"},
      {"TFQTickClock ! TFQMirror", "element 2", "TFQTickClock has no video output"},
  };
  for (const auto& c : cases) {
    try {
      FQBuildLaunchLine(c.chain);
      ADD_FAILURE() << c.chain << ": launched";
    } catch (const TFQFormError& e) {
      EXPECT_EQ(e.File, "chain") << e.what();
      EXPECT_EQ(e.Place, c.place) << e.what();
      EXPECT_NE(e.What.find(c.expected), std::string::npos) << e.what();
    }
  }
}

} // namespace
} // namespace framquist
