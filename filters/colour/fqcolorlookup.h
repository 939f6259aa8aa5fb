// TFQColorLookup: maps every 8-bit sample of a frame through a transfer
// curve of its channel, drawn through control points as steps, straight
// lines or cubics.
//
// Pins: InputPin, OutputPin, EnablePin (from TFQCommonFilter).
// Properties: LookupTables (TFQLookupTables): LookupMode (TFQColorLookupMode,
//   default clmCubic) and four curves, channel k for byte k of each pixel,
//   streamed as "ColorChannels" (a list of four lists of level, value pairs;
//   reading takes each pair as value, level, so a stored curve comes back
//   with levels and values exchanged). An empty curve is the identity
//   (levels 0, 256 to values 0, 256); with every curve empty frames pass
//   unchanged. Grey frames use curve 0 alone, and pass unchanged while it is
//   empty.
// Formats: grey and 32-bit frames as they come (the fourth byte through
// curve 3), all others as 24-bit. Start and stop: nothing of its own.
//
//   auto lookup = Make<TFQColorLookup>();  // with these points: a negative
//   lookup->GetLookupTables()->GetColorChannel(0)->Add(0, 255); // then Add(256, 0)
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "frame/fqcommonfilter.h"

namespace framquist {

enum TFQColorLookupMode : std::uint8_t { clmStep, clmLinear, clmCubic };

using TWQIntArray = std::vector<std::int32_t>;

class TFQLookupTable;

// A lock-shared sub-object that reports its changes to a notification
// method given by its owner.
class TZNLockedPersistentNotify : public TZNLockedPersistent {
public:
  using TNotify = std::function<void(TFQLookupTable&)>;
  TZNLockedPersistentNotify(IPWLock& lock, TNotify notify)
      : TZNLockedPersistent(lock), notify_(std::move(notify)) {}

protected:
  TNotify notify_;
};

// One channel's control points, in the order entered, and copies of them
// sorted by level for the filter.
class TFQLookupTable : public TZNLockedPersistentNotify {
public:
  TFQLookupTable(IPWLock& lock, TNotify notify) : TZNLockedPersistentNotify(lock, std::move(notify)) {}

  // The number of values.
  int GetCount() const;
  // Both arrays get the length (new entries 0); the sorted copies stay as
  // they were until something else marks them stale.
  void SetCount(int value);
  int GetLevel(int index) const;
  int GetValue(int index) const;
  // Marks the sorted copies stale.
  void SetLevel(int index, int value);
  // Leaves the sorted copies as they are: a new value reaches frames only
  // with the next change of a level, an Add, a Clear, a read or an Assign.
  void SetValue(int index, int value);
  // Appends without notifying.
  void AddInt(int Level, int Value);
  void Add(int Level, int Value);
  void Clear();
  void BeginUpdate();
  void EndUpdate();
  // Notifies, or marks a change pending while inside BeginUpdate.
  void DoChange();
  // Takes over the source's values only; the levels stay empty.
  void Assign(const TFQLookupTable& Source);
  // Refreshes the sorted copies when stale (stable: equal levels keep their
  // order). The caller holds the lock.
  void Sort();

  // The sorted copies, valid after Sort while the lock is held.
  const TWQIntArray& SortedLevels() const { return sortedLevels_; }
  const TWQIntArray& SortedValues() const { return sortedValues_; }

  void ReadData(TPWReader& Reader);
  void WriteData(TPWWriter& Writer) const;

private:
  // A level past the end of the levels array (after Assign) reads as 0.
  int LevelAt(int index) const;

  TWQIntArray levels_, values_, sortedLevels_, sortedValues_;
  int updateCount_ = 0;
  bool changePending_ = false;
  bool sorted_ = false;
};

// The four curves and the mode.
class TFQLookupTables : public TZNLockedPersistent {
public:
  TFQLookupTables(IPWLock& lock, TZNLockedPersistentNotify::TNotify notify);

  TFQLookupTable* GetColorChannel(int Index) { return channels_[Index].get(); }
  const TFQLookupTable* GetColorChannel(int Index) const { return channels_[Index].get(); }
  TFQColorLookupMode GetLookupMode() const;
  void SetLookupMode(TFQColorLookupMode value);

  void Assign(const TFQLookupTables& Source);

  // Published: LookupMode (clmCubic).
  void DeclareProperties(TPWPropertyList& props) override;
  // "ColorChannels".
  void DefineProperties(TPWFiler& filer) override;
  void ReadData(TPWReader& Reader);
  void WriteData(TPWWriter& Writer) const;

private:
  std::unique_ptr<TFQLookupTable> channels_[4];
  TFQColorLookupMode lookupMode_ = clmCubic;
};

class TFQColorLookup : public TFQCommonFilter {
public:
  TFQColorLookup();
  std::string_view GetClassName() const override { return "TFQColorLookup"; }

  TFQLookupTables* GetLookupTables() { return &lookupTables_; }
  // Copies the curves and the mode into the component's own.
  void SetLookupTables(const TFQLookupTables& value);

  // Published: those of TFQCommonFilter, LookupTables.
  void DeclareProperties(TPWPropertyList& props) override;

  void SetVideoFormat(IFQImageBuffer& Buffer) override;
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override;

private:
  TFQLookupTables lookupTables_;
};

namespace Fqcolorlookup {
void Register();
}

} // namespace framquist
