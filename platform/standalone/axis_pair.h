// Two axes at a time: pairs of doubles and what the motion maths does with them. One instruction
// serves a pair wherever the processor has such; the results are those of plain doubles, bit for
// bit. Written with the vector types of GCC and Clang.
#pragma once

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace axis_pair {

using Pair = double __attribute__((vector_size(16)));
using Mask = std::int64_t __attribute__((vector_size(16)));  // of each double all bits, or none

inline constexpr std::int64_t kSignBit = INT64_MIN;
inline constexpr std::int64_t kExponentBits = 0x7FF0000000000000;

inline Mask bits(Pair x) {
  return reinterpret_cast<Mask>(x);
}
inline Pair from_bits(Mask x) {
  return reinterpret_cast<Pair>(x);
}
inline Pair both(double x) {
  return Pair{x, x};
}

inline Pair load(const double* from) {
  Pair x;
  std::memcpy(&x, from, sizeof x);
  return x;
}
inline void store(double* to, Pair x) {
  std::memcpy(to, &x, sizeof x);
}
// The same at the end of an array, of which `left` entries are left: the second axis may not be.
inline Pair load_left(const double* from, int left) {
  return left > 1 ? load(from) : Pair{from[0], 0};
}
inline void store_left(double* to, Pair x, int left) {
  if (left > 1) {
    store(to, x);
  } else {
    to[0] = x[0];
  }
}

// `y` where the two do not compare, as the processor's instructions have it.
inline Pair smaller(Pair x, Pair y) {
#ifdef __SSE2__
  return _mm_min_pd(x, y);
#else
  return x < y ? x : y;
#endif
}
inline Pair larger(Pair x, Pair y) {
#ifdef __SSE2__
  return _mm_max_pd(x, y);
#else
  return x > y ? x : y;
#endif
}
inline Pair limited(Pair x, Pair limit) {
  return larger(smaller(x, limit), -limit);
}
inline Pair magnitude(Pair x) {
  return from_bits(bits(x) & ~kSignBit);
}
// `x`, which is not negative, with the sign of `sign`.
inline Pair with_sign(Pair x, Pair sign) {
  return from_bits(bits(x) | (bits(sign) & kSignBit));
}
// `x` seen in the direction of `sign`.
inline Pair along(Pair x, Pair sign) {
  return from_bits(bits(x) ^ (bits(sign) & kSignBit));
}
inline Pair root(Pair x) {
  return Pair{std::sqrt(x[0]), std::sqrt(x[1])};
}
// The nearest whole number: there are no others where the constant is added.
inline Pair nearest(Pair x) {
  constexpr double kWholeFrom = 0x1.8p52;
  return (x + kWholeFrom) - kWholeFrom;
}
// Distance from a double to the next one away from 0; 0 near 0.
inline Pair ulp(Pair x) {
  return from_bits(bits(x) & kExponentBits) * DBL_EPSILON;
}
inline Mask is_finite(Pair x) {
  return magnitude(x) <= DBL_MAX;
}

}  // namespace axis_pair
