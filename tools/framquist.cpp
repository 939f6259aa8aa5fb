// framquist: run stored forms and one-line chains, list and describe the
// component classes.
//
//   framquist run FORM [--frames N] [--seconds S] [--quiet] [--progress FILE|-]
//   framquist launch "CLASS Name=Value ... ! CLASS ..." [--save FORM] [run options]
//   framquist list
//   framquist describe CLASS
//
// Exit codes: 0 success, 2 usage or form error, 1 failure while running.
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "frame/fqform.h"
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

std::atomic<bool> gInterrupted{false};

extern "C" void OnSignal(int) { gInterrupted = true; }

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

// Splits a chain into words; quotes group words with spaces.
std::vector<std::string> SplitWords(const std::string& line) {
  std::vector<std::string> words;
  std::string word;
  bool inWord = false;
  char quote = 0;
  for (char c : line) {
    if (quote != 0) {
      if (c == quote)
        quote = 0;
      else
        word += c;
    } else if (c == '"' || c == '\'') {
      quote = c;
      inWord = true;
    } else if (c == ' ' || c == '\t' || c == '\n') {
      if (inWord) words.push_back(word);
      word.clear();
      inWord = false;
    } else {
      word += c;
      inWord = true;
    }
  }
  if (quote != 0) throw UsageError("unbalanced quote in the chain");
  if (inWord) words.push_back(word);
  return words;
}

TPWPin* FirstPin(TPWComponent& c, bool source) {
  for (TPWPin* pin : c.GetPins())
    if (pin->IsSource() == source && pin->GetKind() == pkVideo) return pin;
  return nullptr;
}

std::unique_ptr<TFQForm> BuildChain(const std::string& chain) {
  auto form = std::make_unique<TFQForm>();
  const std::vector<std::string> words = SplitWords(chain);
  std::vector<std::vector<std::string>> elements(1);
  for (const std::string& w : words) {
    if (w == "!")
      elements.emplace_back();
    else
      elements.back().push_back(w);
  }
  TPWComponent* previous = nullptr;
  for (std::size_t e = 0; e < elements.size(); ++e) {
    const auto& element = elements[e];
    const std::string where = "element " + std::to_string(e + 1);
    if (element.empty()) throw TFQFormError("chain", 0, 0, where, "expected a class name");
    if (!TFQRegistry::Contains(element[0]))
      throw TFQFormError("chain", 0, 0, where,
                         "unknown class '" + element[0] + "'; `framquist list` shows the registered classes");
    std::string name;
    for (std::size_t i = 1; i < element.size(); ++i)
      if (element[i].rfind("Name=", 0) == 0) name = element[i].substr(5);
    TPWComponent& c = form->Add(element[0], name);
    for (std::size_t i = 1; i < element.size(); ++i) {
      const std::string& setting = element[i];
      const auto eq = setting.find('=');
      if (eq == std::string::npos || eq == 0)
        throw TFQFormError("chain", 0, 0, where, "expected Name=Value, found '" + setting + "'");
      if (setting.compare(0, eq, "Name") == 0) continue;
      try {
        form->SetProperty(c, setting.substr(0, eq), setting.substr(eq + 1));
      } catch (const TFQFormError& err) {
        throw TFQFormError("chain", 0, 0, where + " (" + err.Place + ")", err.What);
      }
    }
    if (previous != nullptr) {
      TPWPin* out = FirstPin(*previous, true);
      TPWPin* in = FirstPin(c, false);
      if (out == nullptr || in == nullptr)
        throw TFQFormError(
            "chain", 0, 0, where,
            std::string(out == nullptr ? previous->GetClassName() : c.GetClassName()) +
                (out == nullptr ? " has no video output to link from" : " has no video input to link to"));
      form->Connect(form->NameOf(*previous) + "." + out->GetName(), form->NameOf(c) + "." + in->GetName());
    }
    previous = &c;
  }
  return form;
}

// Runs a loaded form until its sources end, a limit is reached, a
// component fails or the user interrupts.
int Run(TFQForm& form, const RunOptions& options) {
  std::mutex errorMutex;
  std::string firstError;
  for (TPWComponent* c : form.Components())
    c->SetErrorHandler([&, name = form.NameOf(*c)](TPWComponent&, const std::string& message) {
      std::lock_guard g(errorMutex);
      if (firstError.empty()) firstError = name + ": " + message;
    });
  std::vector<TFQSinkFilter*> sinks;
  for (TPWComponent* c : form.Components())
    if (auto* sink = dynamic_cast<TFQSinkFilter*>(c)) {
      sinks.push_back(sink);
      if (options.Frames) sink->SetFrameLimit(*options.Frames);
    }

  std::ofstream progressFile;
  std::ostream* progress = nullptr;
  if (options.Progress == "-") {
    progress = &std::cout;
  } else if (!options.Progress.empty()) {
    progressFile.open(options.Progress, std::ios::trunc);
    if (!progressFile) {
      std::cerr << "framquist: cannot write the progress file '" << options.Progress << "'\n";
      return kExitUsage;
    }
    progress = &progressFile;
  }
  const bool line = !options.Quiet && isatty(STDERR_FILENO) != 0;

  std::signal(SIGINT, OnSignal);
  std::signal(SIGTERM, OnSignal);
  // A reader that goes away (a closed pipe) becomes a write error the
  // component reports, not a silent death.
  std::signal(SIGPIPE, SIG_IGN);
  const auto start = std::chrono::steady_clock::now();
  form.Start();

  auto frames = [&] {
    long long n = 0;
    for (auto* s : sinks) n = std::max(n, s->GetFramesProcessed());
    return n;
  };
  auto report = [&](bool last) {
    const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const long long n = frames();
    const double fps = elapsed > 0 ? static_cast<double>(n) / elapsed : 0.0;
    if (line) std::fprintf(stderr, "\rframes %lld  %.1f fps  %.1f s%s", n, fps, elapsed, last ? "\n" : "   ");
    if (progress != nullptr) {
      *progress << "frame=" << n << "\nfps=" << fps << "\nelapsed=" << elapsed
                << "\nprogress=" << (last ? "end" : "continue") << "\n";
      progress->flush();
    }
  };

  auto next = start;
  for (;;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const auto now = std::chrono::steady_clock::now();
    {
      std::lock_guard g(errorMutex);
      if (!firstError.empty()) break;
    }
    if (gInterrupted) break;
    if (options.Frames && frames() >= *options.Frames) break;
    if (options.Seconds && std::chrono::duration<double>(now - start).count() >= *options.Seconds) break;
    bool ended = !sinks.empty();
    for (auto* s : sinks)
      if (s->GetStartsSeen() == 0 || s->GetStopsSeen() < s->GetStartsSeen()) ended = false;
    if (ended) break;
    if (now >= next) {
      report(false);
      next = now + std::chrono::milliseconds(500);
    }
  }
  form.Stop();
  report(true);
  std::lock_guard g(errorMutex);
  if (!firstError.empty()) {
    std::cerr << "framquist: " << firstError << "\n";
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

int Main(const std::vector<std::string>& args) {
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
    return Run(*form, options);
  }
  if (command == "launch") {
    if (args.size() < 2) throw UsageError("launch expects a chain in quotes");
    const RunOptions options = ParseRunOptions(args, 2, true);
    auto form = BuildChain(args[1]);
    if (!options.Save.empty()) form->SaveFile(options.Save);
    return Run(*form, options);
  }
  throw UsageError("unknown command '" + command + "'");
}

} // namespace

int main(int argc, char** argv) {
  try {
    return Main(std::vector<std::string>(argv + 1, argv + argc));
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
