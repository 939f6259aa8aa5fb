#include <gtest/gtest.h>

#include <sys/wait.h>

#include <chrono>
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
  // Progress that cannot be written (a full disk) is a failure, not silence.
  const Result full = Cli("run " + form.string() + " --frames 3 --quiet --progress /dev/full");
  EXPECT_EQ(full.Code, 1) << full.Output;
  EXPECT_NE(full.Output.find("No space left on device"), std::string::npos) << full.Output;
  std::filesystem::remove_all(dir);
}

// Setters clamp silently; the command says what it clamped, and runs.
TEST(Cli, ClampedSettingsAreWarnedAboutNotRefused) {
  const Result r =
      Cli("launch \"TFQTestPattern ImageSize.Width=0 ImageSize.Height=8 ! TFQImageGrabber\" --frames 1");
  EXPECT_EQ(r.Code, 0) << r.Output;
  EXPECT_NE(r.Output.find("warning: TestPattern.ImageSize.Width: 0 is outside 1 .. 32767; clamped to 1"),
            std::string::npos)
      << r.Output;
  EXPECT_NE(Cli("describe TFQTestPattern").Output.find("0.001 .. 1000"), std::string::npos);
}

bool HaveFfmpeg() { return std::system("ffmpeg -version > /dev/null 2>&1") == 0; }

std::string Shell(const std::string& script) {
  FILE* pipe = popen(("sh -c '" + script + "' 2>&1").c_str(), "r");
  std::string out;
  char buf[4096];
  while (pipe != nullptr && fgets(buf, sizeof buf, pipe) != nullptr) out += buf;
  if (pipe != nullptr) pclose(pipe);
  return out;
}

// Each of these used to leave the command waiting forever without a word.
TEST(Cli, GraphsThatCouldNeverRunSayWhyInsteadOfWaiting) {
  const auto dir = TempDir();
  auto form = [&](const std::string& name, const std::string& components, const std::string& connections) {
    const auto file = dir / name;
    std::ofstream(file) << R"({"framquist": 1, "components": [)" << components << R"(], "connections": [)"
                        << connections << "]}";
    return file.string();
  };
  const std::string out = (dir / "out.mkv").string();
  const struct {
    std::string args, says;
  } cases[] = {
      {"run " + form("empty.json", "", ""), "the form has no components"},
      {"launch \"TFQTestPattern\"", "the graph has no output"},
      {"launch \"TFQVideoFileSink FileName=" + out + "\"", "has no input connected"},
      {"launch \"TFQMirror ! TFQVideoFileSink FileName=" + out + "\"", "'Mirror' (TFQMirror) has no input"},
      {"run " +
           form(
               "cycle.json",
               R"({"class": "TFQTestPattern", "name": "Bars"}, {"class": "TFQCombine", "name": "C"},
                        {"class": "TFQMirror", "name": "M"}, {"class": "TFQImageGrabber", "name": "Out"})",
               R"({"from": "Bars.OutputPin", "to": "C.InputPins[0]"}, {"from": "C.OutputPin", "to": "M.InputPin"},
                        {"from": "M.OutputPin", "to": "C.InputPins[1]"}, {"from": "C.OutputPin", "to": "Out.InputPin"})"),
       "the connections form a cycle: C -> M -> C"},
  };
  for (const auto& c : cases) {
    const Result r = Cli(c.args + " --seconds 30");
    EXPECT_EQ(r.Code, 2) << c.args << "\n" << r.Output;
    EXPECT_NE(r.Output.find(c.says), std::string::npos) << c.args << "\n" << r.Output;
  }
  std::filesystem::remove_all(dir);
}

// Every re-announced size is a start that no stop matches; the run must end
// with the input all the same.
TEST(Cli, InputWhoseSizeChangesMidStreamStillEnds) {
  if (!HaveFfmpeg()) GTEST_SKIP() << "the ffmpeg command is not installed";
  const auto dir = TempDir();
  const auto a = dir / "a.ts", b = dir / "b.ts", ab = dir / "ab.ts";
  for (const auto& [file, size] : {std::pair{a, "64x48"}, std::pair{b, "96x64"}})
    ASSERT_EQ(std::system(("ffmpeg -v error -y -f lavfi -i testsrc=size=" + std::string(size) +
                           ":rate=10 -frames:v 5 -c:v mpeg2video " + file.string())
                              .c_str()),
              0);
  std::ofstream(ab, std::ios::binary) << ReadAll(a) << ReadAll(b);
  const auto started = std::chrono::steady_clock::now();
  const Result r = Cli("launch \"TFQVideoFileSource FileName=" + ab.string() +
                       " ! TFQImageGrabber\" --quiet --seconds 60");
  EXPECT_EQ(r.Code, 0) << r.Output;
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(30))
      << "ended by --seconds only";
  std::filesystem::remove_all(dir);
}

// SIGTERM and SIGHUP (a closed terminal) end the run with 128 + the signal
// and a playable output, every frame written so far in it.
TEST(Cli, SignalsStopTheRunAndFinaliseTheOutput) {
  if (!HaveFfmpeg()) GTEST_SKIP() << "the ffmpeg command is not installed";
  const auto dir = TempDir();
  for (const auto& [signal, code] : {std::pair{"TERM", 143}, std::pair{"HUP", 129}}) {
    const auto out = dir / (std::string(signal) + ".mp4");
    const std::string said = Shell(
        std::string(FRAMQUIST_CLI) +
        " launch \"TFQTestPattern ImageSize.Width=64 ImageSize.Height=48 ! TFQVideoFileSink FileName=" +
        out.string() + "\" --quiet & pid=$!; sleep 1; kill -" + signal + " $pid; wait $pid; echo code=$?");
    EXPECT_NE(said.find("code=" + std::to_string(code)), std::string::npos) << signal << ": " << said;
    const std::string frames = Shell("ffprobe -v error -count_frames -select_streams v:0 -show_entries "
                                     "stream=nb_read_frames -of csv=p=0 " +
                                     out.string());
    EXPECT_GT(std::atoi(frames.c_str()), 5) << signal << ": " << frames;
  }
  std::filesystem::remove_all(dir);
}

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
