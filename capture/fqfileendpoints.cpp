#include "capture/fqfileendpoints.h"

namespace framquist {

TFQFileSink::~TFQFileSink() {
  TPWLockHold hold = GetLock().Write();
  TFQFileSink::StreamStop();
}

void TFQFileSink::BeforeDestruction() {
  TFQSinkFilter::BeforeDestruction();
  TPWLockHold hold = GetLock().Write();
  StreamStop();
}

void TFQFileSink::SetVideoFormat(IFQImageBuffer& Buffer) {
  const TFQVideoFormat format = Buffer.GetFormat();
  if (format == vfGrey || format == vf24Bit || format == vf32Bit) return;
  // A frame of our own: the sender's frame is not ours to change.
  IFQImageBuffer own;
  own.Assign(Buffer);
  own.SetFormat(vf24Bit);
  Buffer = own;
}

void TFQFileSink::IntStart(int Width, int Height) {
  if (output_) return; // announced again mid-stream: keep the output
  const TFQVideoFormat format = FQNormalizeFormat(stream_.Format);
  output_ = NewOutput();
  const std::string why = output_->Open(
      {fileName_, Width, Height, format == vfGrey || format == vf32Bit ? format : vf24Bit, stream_.Interval});
  if (!why.empty()) Drop(why);
}

void TFQFileSink::ProcessImage(IFQImageBuffer Buffer) {
  if (!output_) return;
  const std::string why = output_->Write(Buffer);
  if (why.empty()) return;
  output_->Close(); // keep what was written readable; the write's failure is the one to tell
  Drop(why);
}

void TFQFileSink::StreamStop() {
  if (!output_) return;
  const std::string why = output_->Close();
  if (why.empty())
    output_.reset();
  else
    Drop(why);
}

void TFQFileSink::Drop(const std::string& why) {
  const std::string name = output_->Name();
  output_.reset();
  ReportError("cannot write " + name + ": " + why);
}

} // namespace framquist
