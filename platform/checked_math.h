// Arithmetic on 64-bit integers that reports overflow instead of wrapping.
// Compilers offer this as builtins under different names; this is the one
// place that knows which.

#ifndef ZDS_PLATFORM_CHECKED_MATH_H_
#define ZDS_PLATFORM_CHECKED_MATH_H_

#include <cstdint>
#include <limits>

namespace zds::platform {

// Each stores the exact result and returns true, or returns false on overflow.
inline bool CheckedAdd(int64_t a, int64_t b, int64_t& result) {
#if defined(__GNUC__) || defined(__clang__)
  return !__builtin_add_overflow(a, b, &result);
#else
  if ((b > 0 && a > std::numeric_limits<int64_t>::max() - b) ||
      (b < 0 && a < std::numeric_limits<int64_t>::min() - b)) {
    return false;
  }
  result = a + b;
  return true;
#endif
}

inline bool CheckedSub(int64_t a, int64_t b, int64_t& result) {
#if defined(__GNUC__) || defined(__clang__)
  return !__builtin_sub_overflow(a, b, &result);
#else
  if ((b < 0 && a > std::numeric_limits<int64_t>::max() + b) ||
      (b > 0 && a < std::numeric_limits<int64_t>::min() + b)) {
    return false;
  }
  result = a - b;
  return true;
#endif
}

inline bool CheckedMul(int64_t a, int64_t b, int64_t& result) {
#if defined(__GNUC__) || defined(__clang__)
  return !__builtin_mul_overflow(a, b, &result);
#else
  if (a != 0 && b != 0) {
    const int64_t max = std::numeric_limits<int64_t>::max();
    const int64_t min = std::numeric_limits<int64_t>::min();
    if ((a == -1 && b == min) || (b == -1 && a == min)) return false;
    if (a > 0 ? (b > 0 ? a > max / b : b < min / a) : (b > 0 ? a < min / b : a < max / b)) return false;
  }
  result = a * b;
  return true;
#endif
}

}  // namespace zds::platform

#endif  // ZDS_PLATFORM_CHECKED_MATH_H_
