// The two-source kernels over a vector width, shared by the fast kernel
// sets. A set supplies vector traits V (T, kBytes, load, store, the eight
// operations at scale factor 0, keepAlpha, zeroes, none) and instantiates
// ArithTable<V>. Scale factors other than 0 run the per-sample code: the
// components use 0, and the other factors are rare enough not to earn
// vector code. Internal linkage throughout (see ipprows.h).
#pragma once

#include "ipp/kernels/ipparithkernels.h"
#include "ipp/kernels/ipparithsamples.h"
#include "ipp/kernels/ipprows.h"

namespace framquist::ipp_detail {
namespace {

using ArithSampleFn = Ipp8u (*)(Ipp8u, Ipp8u, int);

// Op: vec(V::T s1, V::T s2) and the per-sample function it agrees with.
template <class V, ArithOp O>
struct VecOp;

#define FQ_ARITH_VEC_OP(op, method, sample)                                                                  \
  template <class V>                                                                                         \
  struct VecOp<V, op> {                                                                                      \
    static typename V::T vec(typename V::T a, typename V::T b) { return V::method(a, b); }                   \
    static Ipp8u one(Ipp8u a, Ipp8u b, int sf) { return sample(a, b, sf); }                                  \
  };
FQ_ARITH_VEC_OP(kArithAdd, add, addSample)
FQ_ARITH_VEC_OP(kArithSub, sub, subSample)
FQ_ARITH_VEC_OP(kArithMul, mul, mulSample)
FQ_ARITH_VEC_OP(kArithDiv, div, divSample)
FQ_ARITH_VEC_OP(kArithOr, bitOr, orSample)
FQ_ARITH_VEC_OP(kArithAnd, bitAnd, andSample)
FQ_ARITH_VEC_OP(kArithXor, bitXor, xorSample)
FQ_ARITH_VEC_OP(kArithAbsDiff, absDiff, absDiffSample)
#undef FQ_ARITH_VEC_OP

template <class V, ArithOp O, bool AC4>
struct ArithImage {
  using T = typename V::T;
  using Op = VecOp<V, O>;
  static constexpr int N = V::kBytes;
  static constexpr bool kDivides = O == kArithDiv;

  // n bytes at scale factor 0. Zero divisors of written samples go into
  // zeros (vector) or zero (row ends).
  static void row(const u8* a, const u8* b, u8* d, int n, T& zeros, bool& zero) {
    int i = 0;
    for (; i + N <= n; i += N) {
      const T va = V::load(a + i), vb = V::load(b + i);
      if constexpr (AC4) {
        if constexpr (kDivides) zeros = V::orZeroes(zeros, V::keepAlpha(va, V::ones()));
        V::store(d + i, V::keepAlpha(Op::vec(va, vb), V::load(d + i)));
      } else {
        if constexpr (kDivides) zeros = V::orZeroes(zeros, va);
        V::store(d + i, Op::vec(va, vb));
      }
    }
    for (; i < n; ++i) {
      if (AC4 && (i & 3) == 3) continue;
      if (kDivides && a[i] == 0) zero = true;
      d[i] = Op::one(a[i], b[i], 0);
    }
  }

  static void scaledRow(const u8* a, const u8* b, u8* d, int n, int sf, bool& zero) {
    for (int i = 0; i < n; ++i) {
      if (AC4 && (i & 3) == 3) continue;
      if (kDivides && a[i] == 0) zero = true;
      d[i] = Op::one(a[i], b[i], sf);
    }
  }

  static int run(const u8* src1, int src1Step, const u8* src2, int src2Step, u8* dst, int dstStep, int width,
                 int height, int sf) {
    int n = AC4 ? width * 4 : width;
    if (contiguous(src1Step, n, height) && contiguous(src2Step, n, height) &&
        contiguous(dstStep, n, height)) {
      n *= height;
      height = 1;
    }
    T zeros = V::zero();
    bool zero = false;
    for (int y = 0; y < height; ++y) {
      const u8* a = rowAt(src1, src1Step, y);
      const u8* b = rowAt(src2, src2Step, y);
      u8* d = rowAt(dst, dstStep, y);
      if (sf == 0)
        row(a, b, d, n, zeros, zero);
      else
        scaledRow(a, b, d, n, sf, zero);
    }
    return kDivides && (zero || V::anySet(zeros)) ? 1 : 0;
  }
};

template <class V>
constexpr ArithKernels ArithTable() {
  return {{
      {ArithImage<V, kArithAdd, false>::run, ArithImage<V, kArithAdd, true>::run},
      {ArithImage<V, kArithSub, false>::run, ArithImage<V, kArithSub, true>::run},
      {ArithImage<V, kArithMul, false>::run, ArithImage<V, kArithMul, true>::run},
      {ArithImage<V, kArithDiv, false>::run, ArithImage<V, kArithDiv, true>::run},
      {ArithImage<V, kArithOr, false>::run, ArithImage<V, kArithOr, true>::run},
      {ArithImage<V, kArithAnd, false>::run, ArithImage<V, kArithAnd, true>::run},
      {ArithImage<V, kArithXor, false>::run, ArithImage<V, kArithXor, true>::run},
      {ArithImage<V, kArithAbsDiff, false>::run, ArithImage<V, kArithAbsDiff, true>::run},
  }};
}

} // namespace
} // namespace framquist::ipp_detail
