// Internal: the length checks of the radix conversions that grow a text.
// They run before anything is allocated or changed, so a conversion that
// raises the 1010 overflow leaves its receiver as it was. Inline so that
// the tests can probe the limits without allocating gigabytes.
#ifndef D_STRING_DSTRRADIX_P_HPP
#define D_STRING_DSTRRADIX_P_HPP

#include "string/dstring_p.hpp"

#include "dbuffer.hpp"

namespace dinternal {

/// Length of c2x of \p n bytes; raises 1010 where the buffer factory's
/// sum of the two halves would.
inline unsigned int c2xLength(unsigned int n) {
  return checkedMultiply(n, 2);
}

/// Length of c2b of \p n bytes; raises 1010 above 0x1FFFFFFE bytes.
inline unsigned int c2bLength(unsigned int n) {
  if (n > 0x1FFFFFFEu)
    DBuffer::overflow();
  return 8 * n;
}

/// Length c2d widens its head text of \p headDigits digits to for \p n
/// bytes (n >= 5): headDigits + 3 * (n - 4). Raises 1010 when n - 4 is
/// 0x55555555 or more, or when that length could not be allocated.
inline unsigned int c2dWidth(unsigned int n, unsigned int headDigits) {
  if (n - 4 >= 0x55555555u)
    DBuffer::overflow();
  unsigned long long const width = headDigits + 3ull * (n - 4);
  checkAllocatable(width);
  return static_cast<unsigned int>(width);
}

} // namespace dinternal

#endif // D_STRING_DSTRRADIX_P_HPP
