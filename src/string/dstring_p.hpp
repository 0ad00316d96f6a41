// Internal helpers of the string classes: access to a handle's text
// pointer, taking over a buffer returned by a buffer operation, and the
// checked 32-bit length arithmetic every length-changing operation uses.
#ifndef D_STRING_DSTRING_P_HPP
#define D_STRING_DSTRING_P_HPP

#include "base/dthrow_p.hpp"
#include "string/dbufcount_p.hpp"

#include "dbuffer.hpp"
#include "dstring.hpp"

#include <cstddef>

namespace dinternal {

/// The library's own access to a DString's one pointer.
struct StringAccess {
  static char*& text(DString& s) { return s.pBuffer; }
  /// Points \p s at \p buffer, which carries one reference for it, and
  /// releases the buffer \p s held before.
  static void adopt(DString& s, DBuffer* buffer) {
    DBuffer* old = s.buffer();
    s.pBuffer = buffer->contents();
    release(old);
  }
};

/// \p a + \p b; raises the 1010 overflow when the sum passes 32 bits.
inline unsigned int checkedAdd(unsigned int a, unsigned int b) {
  if (a > 0xFFFFFFFFu - b)
    DBuffer::overflow();
  return a + b;
}

/// \p n as a 32-bit length; raises the 1010 overflow when it does not fit.
inline unsigned int checkedLength(std::size_t n) {
  if (n > 0xFFFFFFFEu)
    DBuffer::overflow();
  return static_cast<unsigned int>(n);
}

} // namespace dinternal

#endif // D_STRING_DSTRING_P_HPP
