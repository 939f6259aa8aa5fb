#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

struct Result {
  int Code;
  std::string Output; // standard output and error together
};

Result Cli(const std::string& args) {
  const std::string command = std::string(FRAMQUIST_CLI) + " " + args + " 2>&1";
  FILE* pipe = popen(command.c_str(), "r");
  std::string out;
  char buf[4096];
  while (pipe != nullptr && fgets(buf, sizeof buf, pipe) != nullptr) out += buf;
  const int status = pipe != nullptr ? pclose(pipe) : -1;
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

std::filesystem::path TempDir() {
  auto dir = std::filesystem::temp_directory_path() /
             ("framquist_cli_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "_" +
              ::testing::UnitTest::GetInstance()->current_test_info()->name());
  std::filesystem::create_directories(dir);
  return dir;
}

std::string ReadAll(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

TEST(Cli, ListAndDescribe) {
  const Result list = Cli("list");
  EXPECT_EQ(list.Code, 0);
  EXPECT_NE(list.Output.find("TFQMirror\n"), std::string::npos);
  const Result describe = Cli("describe TFQMirror");
  EXPECT_EQ(describe.Code, 0);
  EXPECT_NE(describe.Output.find("mtHorizontal | mtVertical | mtBoth"), std::string::npos);
  EXPECT_NE(describe.Output.find("InputPin"), std::string::npos);
  EXPECT_EQ(Cli("describe TFQNothing").Code, 2);
}

TEST(Cli, UsageAndFormErrorsExitWithTwoAndSayWhere) {
  EXPECT_EQ(Cli("").Code, 2);
  EXPECT_EQ(Cli("frobnicate").Code, 2);
  EXPECT_EQ(Cli("run").Code, 2);
  const Result badOption = Cli("launch \"TFQTestPattern ! TFQImageGrabber\" --frames x");
  EXPECT_EQ(badOption.Code, 2);
  EXPECT_NE(badOption.Output.find("--frames expects a whole number"), std::string::npos);
  const Result missing = Cli("run /nonexistent/form.json");
  EXPECT_EQ(missing.Code, 2);
  EXPECT_NE(missing.Output.find("/nonexistent/form.json: cannot read the file"), std::string::npos);
  const Result badChain = Cli("launch \"TFQTestPattern ! TFQMirror MirrorType=up ! TFQImageGrabber\"");
  EXPECT_EQ(badChain.Code, 2);
  EXPECT_NE(badChain.Output.find("element 2"), std::string::npos);
  EXPECT_NE(badChain.Output.find("expected one of mtHorizontal"), std::string::npos);
}

TEST(Cli, LaunchRunsSavesAndReportsProgress) {
  const auto dir = TempDir();
  const auto form = dir / "chain.json";
  const auto progress = dir / "progress.txt";
  const Result r = Cli("launch \"TFQTestPattern Rate=200 ImageSize.Width=32 ImageSize.Height=24 ! TFQMirror "
                       "MirrorType=mtBoth ! TFQImageGrabber\" --frames 5 --quiet --save " +
                       form.string() + " --progress " + progress.string());
  ASSERT_EQ(r.Code, 0) << r.Output;
  const std::string text = ReadAll(progress);
  EXPECT_NE(text.find("frame=5\n"), std::string::npos) << text;
  EXPECT_NE(text.find("progress=end\n"), std::string::npos);
  // The saved chain runs again as a form.
  const Result again = Cli("run " + form.string() + " --frames 3 --quiet");
  EXPECT_EQ(again.Code, 0) << again.Output;
  std::filesystem::remove_all(dir);
}

bool HaveFfmpeg() { return std::system("ffmpeg -version > /dev/null 2>&1") == 0; }

// A real video from ffmpeg's test source, flipped left-right by a launched
// chain into a lossless file: every decoded output frame must be the decoded
// input frame mirrored, byte for byte.
TEST(Cli, LaunchedChainMirrorsARealVideoExactly) {
  if (!HaveFfmpeg()) GTEST_SKIP() << "the ffmpeg command is not installed";
  const auto dir = TempDir();
  const auto in = dir / "in.mkv", out = dir / "out.mkv";
  const auto inRaw = dir / "in.bgr", outRaw = dir / "out.bgr";
  ASSERT_EQ(std::system(("ffmpeg -v error -y -f lavfi -i testsrc=size=96x64:rate=10 -frames:v 8 -c:v ffv1 " +
                         in.string())
                            .c_str()),
            0);
  const Result r =
      Cli("launch \"TFQVideoFileSource FileName=" + in.string() +
          " ! TFQMirror MirrorType=mtVertical ! TFQVideoFileSink FileName=" + out.string() + "\" --quiet");
  ASSERT_EQ(r.Code, 0) << r.Output;
  for (const auto& [video, raw] : {std::pair{in, inRaw}, std::pair{out, outRaw}})
    ASSERT_EQ(std::system(
                  ("ffmpeg -v error -y -i " + video.string() + " -f rawvideo -pix_fmt bgr24 " + raw.string())
                      .c_str()),
              0);
  const std::string a = ReadAll(inRaw), b = ReadAll(outRaw);
  const std::size_t w = 96, h = 64, frame = w * h * 3;
  ASSERT_EQ(a.size(), 8 * frame);
  ASSERT_EQ(b.size(), a.size());
  for (std::size_t f = 0; f < 8; ++f)
    for (std::size_t y = 0; y < h; ++y)
      for (std::size_t x = 0; x < w; ++x)
        for (std::size_t c = 0; c < 3; ++c)
          ASSERT_EQ(b[f * frame + (y * w + x) * 3 + c], a[f * frame + (y * w + (w - 1 - x)) * 3 + c])
              << "frame " << f << " pixel " << x << "," << y;
  std::filesystem::remove_all(dir);
}

} // namespace
