// Internal helpers of the string classes: access to a handle's text
// pointer, taking over a buffer returned by a buffer operation, holding a
// reference, and the checked 32-bit length arithmetic and allocation limit
// every length-changing operation uses.
#ifndef D_STRING_DSTRING_P_HPP
#define D_STRING_DSTRING_P_HPP

#include "base/dthrow_p.hpp"
#include "string/dbufcount_p.hpp"

#include "dbuffer.hpp"
#include "dstring.hpp"

#include <cstddef>
#include <new>

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

/// \p b with its count raised: the "unchanged" answer of a buffer
/// operation.
inline DBuffer* sameBuffer(DBuffer* b) {
  BufferCount::raise(*b);
  return b;
}

/// Holds one reference to a buffer for its scope: taken on construction
/// and given back on every path out, exceptions included.
class BufferReference {
public:
  explicit BufferReference(DBuffer* b) : held(b) { BufferCount::raise(*held); }
  ~BufferReference() { release(held); }
  BufferReference(BufferReference const&) = delete;
  BufferReference& operator=(BufferReference const&) = delete;

private:
  DBuffer* held;
};

/// True where the multibyte buffer works on wide characters (fgI18NState
/// 1); otherwise it works on bytes and repairs cut characters.
inline bool wideStrategy() {
  return DString::fgI18NState == 1;
}

/// Start and end (1-based, inclusive) of what strip() keeps: \p first is 0
/// when nothing is kept; \p last may lie below \p first.
struct Kept {
  unsigned int first;
  unsigned int last;
};

/// Largest length a sum or product of lengths may reach: 0xFFFFFFFF is no
/// length (it reads as "to the end" where a count is asked for).
constexpr unsigned int maxLength = 0xFFFFFFFEu;

/// Largest length DBuffer::allocate accepts (4294967271 and more raise):
/// the buffer's header and terminator must fit behind the text.
constexpr unsigned int maxBufferLength = 0xFFFFFFFFu - 25;

/// A new \p Buffer of \p length bytes (count 1, NUL behind the text) in one
/// array holding header, text and terminator; the deleting destructor gives
/// it back with operator delete[]. The length is checked by the caller.
template <class Buffer>
DBuffer* constructBuffer(unsigned int length) {
  void* storage = ::operator new[](sizeof(Buffer) + std::size_t(length) + 1);
  return new (storage) Buffer(length);
}

/// Raises the 1010 overflow when no buffer of \p length bytes can be made.
inline void checkAllocatable(unsigned long long length) {
  if (length > maxBufferLength)
    DBuffer::overflow();
}

/// \p a + \p b; raises the 1010 overflow when the sum is no length.
inline unsigned int checkedAdd(unsigned int a, unsigned int b) {
  unsigned long long const sum = 1ull * a + b;
  if (sum > maxLength)
    DBuffer::overflow();
  return static_cast<unsigned int>(sum);
}

/// \p a * \p b; raises the 1010 overflow when the product is no length.
inline unsigned int checkedMultiply(unsigned int a, unsigned int b) {
  unsigned long long const product = 1ull * a * b;
  if (product > maxLength)
    DBuffer::overflow();
  return static_cast<unsigned int>(product);
}

/// \p n as a 32-bit length; raises the 1010 overflow when it does not fit.
inline unsigned int checkedLength(std::size_t n) {
  if (n > maxLength)
    DBuffer::overflow();
  return static_cast<unsigned int>(n);
}

} // namespace dinternal

#endif // D_STRING_DSTRING_P_HPP
