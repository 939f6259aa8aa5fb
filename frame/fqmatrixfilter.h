// Neighbourhood filters: the matrix (kernel) size, its anchor, and the
// border that keeps every neighbourhood inside the frame.
//
// TFQCommonROIMatrixFilter: MatrixSize (3 x 3, each 1 to 255) and Anchor
//   (the kernel cell over the output pixel; 1, 1; used clamped to the
//   matrix, so it returns when a shrunk matrix grows again).
//   Changed() is called after the matrix size changed.
// TFQCommonROIMatrixFilterIntermidiate: per frame, the output starts as a
//   copy of the input; the region of interest, shrunk so the matrix fits
//   around every pixel, goes to PerformFilter. When PerformFilter answers
//   false for a 32-bit frame, the base carries the input's fourth channel
//   into the region afterwards.
#pragma once

#include <functional>

#include "frame/fqcommonfilter.h"

namespace framquist {

// A width and a height, each clamped to [min, max], with a change callback
// called inside the setter's lock.
class TFQSize : public TZNLockedPersistent {
public:
  TFQSize(IPWLock& lock, int width, int height, int minimum, int maximum, std::function<void()> changed = {});
  int GetWidth() const;
  int GetHeight() const;
  SIZE GetSize() const;
  void SetWidth(int value);
  void SetHeight(int value);
  void Assign(const TFQSize& other);
  // Published: Width, Height (the sizes it was made with).
  void DeclareProperties(TPWPropertyList& props) override;

private:
  void Store(int& field, int value);
  int width_, height_, min_, max_, defaultWidth_, defaultHeight_;
  std::function<void()> changed_;
};

class TFQCommonROIMatrixFilter : public TFQCommonROIFilter {
public:
  TFQCommonROIMatrixFilter();

  TFQSize MatrixSize;

  TPoint GetAnchor() const;
  void SetAnchor(int x, int y);

  bool GetPreserveBufferData() override { return true; }
  // Published: those of TFQCommonROIFilter, MatrixSize, AnchorX, AnchorY (1).
  void DeclareProperties(TPWPropertyList& props) override;

protected:
  // Notification: MatrixSize changed (called holding the lock).
  virtual void Changed() {}
  // The region of interest clipped to the frame and shrunk by the matrix
  // border; pointers move to its first pixel. Empty when nothing fits.
  virtual void ReclaculateRoiAndOffsetInt(SIZE& Size, unsigned char*& InPtr, IFQImageBuffer Buffer,
                                          unsigned char*& OutPtr, TFQVideoFormat Format);

private:
  void MatrixChanged();
  TPoint anchor_{1, 1};
};

class TFQCommonROIMatrixFilterIntermidiate : public TFQCommonROIMatrixFilter {
public:
  void FilterInternalOperation(IFQImageBuffer InBuffer, IFQImageBuffer& OutBuffer) override;

protected:
  // Filters the region: pointers at its first pixel, the buffers' steps.
  virtual bool PerformFilter(const unsigned char* Src, int SrcStep, unsigned char* Dst, int DstStep,
                             SIZE Size, SIZE Matrix, TPoint Anchor, TFQVideoFormat Format) = 0;
};

} // namespace framquist
