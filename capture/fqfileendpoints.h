// Bases of the components that read or write a named file or stream.
//
// TFQWithFileName<TBase>: TBase with the FileName property (read under the
//   lock, so a start sees the latest name). Sources derive from
//   TFQWithFileName<TFQThreadedSource>.
//
// TFQFileSink: a sink writing the frames arriving at InputPin through an
//   output that the derived class makes (NewOutput). Frames reach the output
//   grey, 24-bit or 32-bit as they come, others as 24-bit. A start-frame
//   opens the output for the stream's size, format and interval; a start
//   without a stop in between keeps it (the output scales later frames to
//   the first size). A stop closes it. A failure is reported as
//   "cannot write <output>: <why>" and frames are ignored until the next
//   start; a write failure still closes the output, keeping what was written.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "capture/fqthreadedsource.h"
#include "frame/fqsinkfilter.h"

namespace framquist {

template <class TBase>
class TFQWithFileName : public TBase {
public:
  std::string GetFileName() const {
    TPWLockHold hold = this->GetLock().Read();
    return fileName_;
  }
  void SetFileName(std::string value) {
    TPWLockHold hold = this->GetLock().Write();
    if (hold) fileName_ = std::move(value);
  }
  // Published: those of TBase, FileName.
  void DeclareProperties(TPWPropertyList& props) override {
    TBase::DeclareProperties(props);
    props.String(
        "FileName", [this] { return GetFileName(); }, [this](std::string v) { SetFileName(std::move(v)); },
        "");
  }

protected:
  std::string fileName_; // guarded by the lock
};

class TFQFileSink : public TFQWithFileName<TFQSinkFilter> {
public:
  ~TFQFileSink() override;

  void BeforeDestruction() override;

  // What a start asks of an output.
  struct TOutputStart {
    std::string FileName;
    int Width = 0;
    int Height = 0;
    TFQVideoFormat Format = vf24Bit; // vfGrey, vf24Bit or vf32Bit
    std::int64_t Interval = 0;       // 100-ns units, 0 when unknown
  };

  // One opened file or stream. Each call returns "" on success, else why not.
  class TOutput {
  public:
    virtual ~TOutput() = default;
    virtual std::string Open(const TOutputStart& start) = 0;
    virtual std::string Write(const IFQImageBuffer& frame) = 0;
    // Finishes and closes; called after a failed write too.
    virtual std::string Close() = 0;
    // The output as messages name it; set by Open, even when it fails.
    virtual std::string Name() const = 0;
  };

protected:
  // A new output, not yet open; the write lock is held.
  virtual std::unique_ptr<TOutput> NewOutput() = 0;

  void SetVideoFormat(IFQImageBuffer& Buffer) override;
  void ProcessImage(IFQImageBuffer Buffer) override;
  void IntStart(int Width, int Height) override;
  void StreamStop() override;

private:
  void Drop(const std::string& why); // reports and forgets the output

  std::unique_ptr<TOutput> output_; // guarded by the lock
};

} // namespace framquist
