// framquist: run stored forms and one-line chains, list and describe the
// component classes.
//
//   framquist run FORM [--frames N] [--seconds S] [--quiet] [--progress FILE|-]
//   framquist launch "CLASS Name=Value ... ! CLASS ..." [--save FORM] [run options]
//   framquist list
//   framquist describe CLASS
//
// Exit codes: 0 success, 2 usage or form error (a graph that could never
// run included), 1 failure while running, 128 + the signal's number after
// Ctrl-C (130), SIGTERM (143) or SIGHUP (129), the outputs finalised.
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <iostream>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "capture/fqthreadedsource.h"
#include "frame/fqcommongen.h"
#include "frame/fqendpoints.h"
#include "frame/fqform.h"
#include "frame/fqlaunch.h"
#include "frame/fqregistry.h"
#include "frame/fqsinkfilter.h"

using namespace framquist;

namespace {

constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

const char* kUsage = R"(usage:
  framquist run FORM [options]            load a form and run it
  framquist launch "CHAIN" [options]      build a chain from one line and run it
  framquist list                          print every registered class
  framquist describe CLASS                print a class's pins and properties

CHAIN is elements separated by "!": a class name, then Name=Value settings
(sub-properties as A.B=Value; Name=... names the component), for example
  framquist launch "TFQVideoFileSource FileName=in.mp4 ! TFQMirror MirrorType=mtVertical ! TFQVideoFileSink FileName=out.mp4"

options:
  --frames N        stop after N frames reached the sinks
  --seconds S       stop after S seconds
  --quiet           no progress line
  --progress FILE   write key=value progress blocks to FILE (- for standard output)
  --save FORM       (launch) also write the chain as a form file
)";

class UsageError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

struct RunOptions {
  std::optional<long long> Frames;
  std::optional<double> Seconds;
  bool Quiet = false;
  std::string Progress;
  std::string Save;
};

long long ParseCount(const std::string& option, const std::string& text) {
  std::size_t used = 0;
  long long v = -1;
  try {
    v = std::stoll(text, &used);
  } catch (...) {
  }
  if (used != text.size() || v < 0) throw UsageError(option + " expects a whole number, got '" + text + "'");
  return v;
}

double ParseSeconds(const std::string& text) {
  std::size_t used = 0;
  double v = -1;
  try {
    v = std::stod(text, &used);
  } catch (...) {
  }
  if (used != text.size() || !(v >= 0))
    throw UsageError("--seconds expects a number of seconds, got '" + text + "'");
  return v;
}

// Reads the options after the subcommand's own argument.
RunOptions ParseRunOptions(const std::vector<std::string>& args, std::size_t from, bool allowSave) {
  RunOptions o;
  for (std::size_t i = from; i < args.size(); ++i) {
    const std::string& a = args[i];
    auto value = [&]() -> std::string {
      if (i + 1 >= args.size()) throw UsageError(a + " expects a value");
      return args[++i];
    };
    if (a == "--frames")
      o.Frames = ParseCount(a, value());
    else if (a == "--seconds")
      o.Seconds = ParseSeconds(value());
    else if (a == "--quiet")
      o.Quiet = true;
    else if (a == "--progress")
      o.Progress = value();
    else if (a == "--save" && allowSave)
      o.Save = value();
    else
      throw UsageError("unknown option '" + a + "'");
  }
  return o;
}

// ---- the graph before it runs ------------------------------------------------

bool HasVideoInput(TPWComponent& c, bool connectedOnly) {
  for (TPWPin* pin : c.GetPins())
    if (!pin->IsSource() && pin->GetKind() == pkVideo && (!connectedOnly || pin->IsConnected())) return true;
  return false;
}

bool HasVideoOutput(TPWComponent& c) {
  for (TPWPin* pin : c.GetPins())
    if (pin->IsSource() && pin->GetKind() == pkVideo) return true;
  return false;
}

// Components that make frames with no input: generators (also filters that
// generate while unconnected) and file or pipe inputs.
bool MakesFrames(TPWComponent& c) {
  return dynamic_cast<TFQCommonGen*>(&c) != nullptr || dynamic_cast<TFQCommonROIGenFilter*>(&c) != nullptr ||
         dynamic_cast<TFQThreadedSource*>(&c) != nullptr || dynamic_cast<TFQImageSource*>(&c) != nullptr;
}

std::string Called(const TFQForm& form, const TPWComponent& c) {
  return "'" + form.NameOf(c) + "' (" + std::string(c.GetClassName()) + ")";
}

// Why the graph could never make progress, or an empty string: no
// components, no output, an output or a filter with nothing feeding it, a
// cycle. Such a graph would otherwise wait forever without a word.
std::string CheckGraph(const TFQForm& form) {
  const std::vector<TPWComponent*> all = form.Components();
  if (all.empty()) return "the form has no components";
  bool anySink = false, anySource = false;
  for (TPWComponent* c : all) {
    const bool sink = dynamic_cast<TFQSinkFilter*>(c) != nullptr;
    anySink = anySink || sink;
    if (HasVideoInput(*c, false) && !HasVideoInput(*c, true) && !MakesFrames(*c))
      return Called(form, *c) + " has no input connected, so it would never get a frame";
    if (!HasVideoInput(*c, true) && HasVideoOutput(*c)) anySource = true;
  }
  if (!anySink)
    return "nothing takes the frames: the graph has no output (a sink such as TFQVideoFileSink or "
           "TFQY4MSink)";
  if (!anySource) return "nothing makes frames: every component waits for an input";
  // A cycle: depth-first over the video links, downstream.
  enum Mark { kNew, kOpen, kDone };
  std::vector<Mark> marks(all.size(), kNew);
  std::vector<std::size_t> path;
  auto indexOf = [&](const TPWComponent* c) {
    return static_cast<std::size_t>(std::find(all.begin(), all.end(), c) - all.begin());
  };
  std::string cycle;
  std::function<bool(std::size_t)> visit = [&](std::size_t at) {
    marks[at] = kOpen;
    path.push_back(at);
    for (TPWPin* pin : all[at]->GetPins()) {
      if (!pin->IsSource() || pin->GetKind() != pkVideo) continue;
      for (TPWSinkPin* sink : static_cast<TPWSourcePin*>(pin)->GetSinks()) {
        const std::size_t next = indexOf(sink->GetOwner());
        if (next >= all.size()) continue;
        if (marks[next] == kOpen) {
          for (auto it = std::find(path.begin(), path.end(), next); it != path.end(); ++it)
            cycle += form.NameOf(*all[*it]) + " -> ";
          cycle += form.NameOf(*all[next]);
          return true;
        }
        if (marks[next] == kNew && visit(next)) return true;
      }
    }
    path.pop_back();
    marks[at] = kDone;
    return false;
  };
  for (std::size_t k = 0; k < all.size(); ++k)
    if (marks[k] == kNew && visit(k)) return "the connections form a cycle: " + cycle;
  return {};
}

// ---- signals ------------------------------------------------------------------

// Ctrl-C, SIGTERM and SIGHUP (terminal closed, ssh dropped) are taken by a
// thread of their own, blocked everywhere else, so they are honoured even
// while the main thread is inside an open that waits: the thread stops the
// graph, which interrupts it. A second signal ends the process at once.
class SignalWatch {
public:
  SignalWatch() {
    sigemptyset(&set_);
    sigaddset(&set_, SIGINT);
    sigaddset(&set_, SIGTERM);
    sigaddset(&set_, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &set_, nullptr); // before any other thread exists
    thread_ = std::thread([this] { Wait(); });
  }
  ~SignalWatch() {
    closing_ = true;
    pthread_kill(thread_.native_handle(), SIGTERM);
    thread_.join();
  }
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  // What the first signal does; an empty function for nothing. Returns once
  // a handler already running has finished.
  void SetHandler(std::function<void()> handler) {
    std::lock_guard g(mutex_);
    handler_ = std::move(handler);
  }
  // 0 when none arrived.
  int Signal() const { return signal_.load(); }

private:
  void Wait() {
    for (;;) {
      int sig = 0;
      if (sigwait(&set_, &sig) != 0 || closing_) return;
      if (signal_.exchange(sig) != 0) _exit(128 + sig); // the second one: no more waiting
      std::lock_guard g(mutex_);
      if (handler_) handler_();
    }
  }

  sigset_t set_{};
  std::atomic<int> signal_{0};
  std::atomic<bool> closing_{false};
  std::mutex mutex_;
  std::function<void()> handler_;
  std::thread thread_;
};

// ---- running --------------------------------------------------------------------

// Runs a loaded form until its outputs have seen their streams end, a limit
// is reached, a component fails or a signal arrives.
int Run(TFQForm& form, const RunOptions& options, SignalWatch& signals) {
  for (const std::string& warning : form.Warnings()) std::cerr << "framquist: warning: " << warning << "\n";
  if (const std::string why = CheckGraph(form); !why.empty()) {
    std::cerr << "framquist: " << why << "\n";
    return kExitUsage;
  }
  std::mutex errorMutex;
  std::string firstError;
  for (TPWComponent* c : form.Components())
    c->SetErrorHandler([&, name = form.NameOf(*c)](TPWComponent&, const std::string& message) {
      std::lock_guard g(errorMutex);
      if (firstError.empty()) firstError = name + ": " + message;
    });
  std::vector<TFQSinkFilter*> sinks;
  std::vector<TFQThreadedSource*> inputs; // the sources that end by themselves
  std::string endless;                    // a source that never does
  for (TPWComponent* c : form.Components()) {
    if (auto* sink = dynamic_cast<TFQSinkFilter*>(c)) {
      sinks.push_back(sink);
      if (options.Frames) sink->SetFrameLimit(*options.Frames);
    }
    if (HasVideoInput(*c, true) || !HasVideoOutput(*c)) continue;
    if (auto* input = dynamic_cast<TFQThreadedSource*>(c))
      inputs.push_back(input);
    else if (endless.empty())
      endless = form.NameOf(*c);
  }

  std::ofstream progressFile;
  std::ostream* progress = nullptr;
  std::string progressName = "standard output";
  if (options.Progress == "-") {
    progress = &std::cout;
  } else if (!options.Progress.empty()) {
    progressFile.open(options.Progress, std::ios::trunc);
    if (!progressFile) {
      std::cerr << "framquist: cannot write the progress file '" << options.Progress
                << "': " << std::strerror(errno) << "\n";
      return kExitUsage;
    }
    progress = &progressFile;
    progressName = "'" + options.Progress + "'";
  }
  const bool line = !options.Quiet && isatty(STDERR_FILENO) != 0;
  if (!endless.empty() && !options.Frames && !options.Seconds && !options.Quiet)
    std::cerr << "framquist: '" << endless
              << "' makes frames until stopped: the run ends with --frames, --seconds or Ctrl-C\n";

  // A reader that goes away (a closed pipe) becomes a write error the
  // component reports, not a silent death.
  std::signal(SIGPIPE, SIG_IGN);
  std::mutex stopMutex;
  bool stopped = false;
  auto stopOnce = [&] {
    std::lock_guard g(stopMutex);
    if (!stopped) form.Stop();
    stopped = true;
  };
  signals.SetHandler(stopOnce);
  struct Unwatch {
    SignalWatch& s;
    ~Unwatch() { s.SetHandler({}); }
  } unwatch{signals};
  const auto start = std::chrono::steady_clock::now();
  form.Start();

  auto frames = [&] {
    long long n = 0;
    for (auto* s : sinks) n = std::max(n, s->GetFramesProcessed());
    return n;
  };
  std::string progressError;
  auto report = [&](bool last) {
    const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const long long n = frames();
    const double fps = elapsed > 0 ? static_cast<double>(n) / elapsed : 0.0;
    if (line) std::fprintf(stderr, "\rframes %lld  %.1f fps  %.1f s%s", n, fps, elapsed, last ? "\n" : "   ");
    if (progress != nullptr && progressError.empty()) {
      errno = 0;
      *progress << "frame=" << n << "\nfps=" << fps << "\nelapsed=" << elapsed
                << "\nprogress=" << (last ? "end" : "continue") << "\n";
      progress->flush();
      if (!*progress)
        progressError = "cannot write progress to " + progressName + ": " +
                        (errno != 0 ? std::strerror(errno) : "write failed");
    }
  };
  // A stream has ended at an output once it saw a start and is not running:
  // re-announced sizes start it again without a stop in between.
  auto ended = [](TFQSinkFilter* s) { return s->GetStartsSeen() > 0 && !s->GetStreamInfo().Running; };

  std::string endedEarly;
  auto next = start;
  for (;;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const auto now = std::chrono::steady_clock::now();
    {
      std::lock_guard g(errorMutex);
      if (!firstError.empty()) break;
    }
    if (signals.Signal() != 0 || !progressError.empty()) break;
    if (options.Frames && frames() >= *options.Frames) break;
    if (options.Seconds && std::chrono::duration<double>(now - start).count() >= *options.Seconds) break;
    if (std::all_of(sinks.begin(), sinks.end(), ended)) break;
    // Every input ended and nothing is left running at the outputs: nothing
    // more can come (an empty input, or one that never announced a stream).
    if (endless.empty() && !inputs.empty() &&
        std::none_of(inputs.begin(), inputs.end(), [](TFQThreadedSource* in) { return in->IsStreaming(); }) &&
        std::none_of(sinks.begin(), sinks.end(),
                     [](TFQSinkFilter* s) { return s->GetStreamInfo().Running; })) {
      if (frames() == 0) endedEarly = "the inputs ended before any frame reached an output";
      break;
    }
    if (now >= next) {
      report(false);
      next = now + std::chrono::milliseconds(500);
    }
  }
  stopOnce();
  report(true);
  std::lock_guard g(errorMutex);
  if (!firstError.empty()) {
    std::cerr << "framquist: " << firstError << "\n";
    return kExitFailure;
  }
  if (!progressError.empty()) {
    std::cerr << "framquist: " << progressError << "\n";
    return kExitFailure;
  }
  if (const int sig = signals.Signal(); sig != 0) return 128 + sig; // the output is finalised all the same
  if (!endedEarly.empty()) {
    std::cerr << "framquist: " << endedEarly << "\n";
    return kExitFailure;
  }
  return kExitOk;
}

std::string DefaultText(const TPWProperty& p) {
  if (!p.Default) return "always stored";
  const TPWValue& v = *p.Default;
  switch (p.Type) {
  case TPWPropType::Bool:
    return std::get<bool>(v) ? "true" : "false";
  case TPWPropType::Float: {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", std::get<double>(v));
    return buf;
  }
  case TPWPropType::String:
    return "\"" + std::get<std::string>(v) + "\"";
  case TPWPropType::Enum:
    return p.Enum->Values.at(static_cast<std::size_t>(std::get<std::int64_t>(v)));
  case TPWPropType::Color: {
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%08llX", static_cast<unsigned long long>(std::get<std::int64_t>(v)));
    return buf;
  }
  default:
    return std::to_string(std::get<std::int64_t>(v));
  }
}

void DescribeObject(IPWPersistent& object, const std::string& prefix) {
  const TPWPropertyList props = PWDeclaredProperties(object);
  for (const TPWProperty& p : props.Items()) {
    const std::string name = prefix + p.Name;
    if (p.Type == TPWPropType::Object) {
      std::printf("  %-30s object\n", name.c_str());
      DescribeObject(*p.Object, name + ".");
      continue;
    }
    if (p.Type == TPWPropType::Collection) {
      std::printf("  %-30s collection\n", name.c_str());
      continue;
    }
    std::string type = p.Type == TPWPropType::Enum ? p.Enum->Name : std::string(PWPropTypeName(p.Type));
    std::string extra;
    if (p.Type == TPWPropType::Enum) {
      for (const auto& v : p.Enum->Values) extra += (extra.empty() ? "" : " | ") + v;
    } else if (p.RangeMin || p.RangeMax) {
      // What the setter keeps; a value outside is clamped to it.
      auto number = [](double v) {
        char b[32];
        std::snprintf(b, sizeof b, "%g", v);
        return std::string(b);
      };
      extra = (p.RangeMin ? number(*p.RangeMin) : std::to_string(p.Min)) + " .. " +
              (p.RangeMax ? number(*p.RangeMax) : std::to_string(p.Max));
    } else if (p.Type == TPWPropType::Int) {
      extra = std::to_string(p.Min) + " .. " + std::to_string(p.Max);
    }
    std::printf("  %-30s %-22s %-16s %s\n", name.c_str(), type.c_str(), DefaultText(p).c_str(),
                extra.c_str());
  }
  const TPWFiler filer = PWDefinedProperties(object);
  for (const TPWExtraProperty& e : filer.Items())
    std::printf("  %-30s %-22s (streamed list)\n", (prefix + e.Name).c_str(), "extra");
}

int Describe(const std::string& className) {
  auto c = TFQRegistry::Create(className);
  if (!c) {
    std::cerr << "framquist: unknown class '" << className
              << "'; `framquist list` shows the registered classes\n";
    return kExitUsage;
  }
  std::printf("%s\n\npins:\n", className.c_str());
  for (TPWPin* pin : c->GetPins())
    std::printf("  %-30s %s %s\n", pin->GetName().c_str(), std::string(pin->GetKind()).c_str(),
                pin->IsSource() ? "output" : "input");
  for (TPWPinList* list : c->GetPinLists())
    std::printf("  %-30s list of %d to %d pins\n", (list->GetName() + "[i]").c_str(), list->GetMinCount(),
                list->GetMaxCount());
  std::printf("\nproperties:\n  %-30s %-22s %-16s %s\n", "name", "type", "default", "values");
  DescribeObject(*c, "");
  return kExitOk;
}

int Main(const std::vector<std::string>& args, SignalWatch& signals) {
  if (args.empty() || args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
    std::fputs(kUsage, args.empty() ? stderr : stdout);
    return args.empty() ? kExitUsage : kExitOk;
  }
  Initialize();
  const std::string& command = args[0];
  if (command == "list") {
    for (const TFQClassInfo& info : TFQRegistry::List()) std::printf("%s\n", info.ClassName.c_str());
    return kExitOk;
  }
  if (command == "describe") {
    if (args.size() != 2) throw UsageError("describe expects one class name");
    return Describe(args[1]);
  }
  if (command == "run") {
    if (args.size() < 2) throw UsageError("run expects a form file");
    const RunOptions options = ParseRunOptions(args, 2, false);
    auto form = TFQForm::Load(args[1]);
    return Run(*form, options, signals);
  }
  if (command == "launch") {
    if (args.size() < 2) throw UsageError("launch expects a chain in quotes");
    const RunOptions options = ParseRunOptions(args, 2, true);
    auto form = FQBuildLaunchLine(args[1]);
    if (!options.Save.empty()) form->SaveFile(options.Save);
    return Run(*form, options, signals);
  }
  throw UsageError("unknown command '" + command + "'");
}

} // namespace

int main(int argc, char** argv) {
  try {
    SignalWatch signals; // first, so every thread inherits the blocked signals
    return Main(std::vector<std::string>(argv + 1, argv + argc), signals);
  } catch (const UsageError& e) {
    std::cerr << "framquist: " << e.what() << "\n\n" << kUsage;
    return kExitUsage;
  } catch (const TFQFormError& e) {
    std::cerr << "framquist: " << e.what() << "\n";
    return kExitUsage;
  } catch (const std::exception& e) {
    std::cerr << "framquist: " << e.what() << "\n";
    return kExitFailure;
  }
}
