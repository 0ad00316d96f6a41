// DBuffer comparison (bytes, or the locale's collation in internationalised
// mode) and the whole-text character-class tests.
#include "dbuffer.hpp"

#include "base/dcompiler_p.hpp"
#include "base/dnewhandler_p.hpp"
#include "base/dthrow_p.hpp"
#include "string/dbufkind_p.hpp"

#include "dexcept.hpp"
#include "dstring.hpp"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctype.h>
#include <new>

static char const thisFile[] = "dbuffer2";
static unsigned long const collationErrorLine = 247;

//===--- Comparison -------------------------------------------------------===//

namespace {

/// Comparison codes of compare().
enum : unsigned int { orderEqual = 0, orderAfter = 1, orderBefore = 2 };

/// One side of a collation: the first n bytes of a text, readable as
/// NUL-terminated segments. A copy is made only when the stretch is not
/// already terminated within reach (its n-th byte is a NUL, or the
/// buffer's own terminator follows it).
class CollationSide {
public:
  CollationSide(char const* text, unsigned int n, bool terminatedAtN)
      : bytes(text) {
    if (text[n - 1] != '\0' && !terminatedAtN) {
      // A copy that cannot be made only decides the answer (before).
      copy = dinternal::tryCopyText(text, n);
      bytes = copy;
    }
  }
  ~CollationSide() { delete[] copy; }
  CollationSide(CollationSide const&) = delete;
  CollationSide& operator=(CollationSide const&) = delete;

  /// Null when a needed copy could not be allocated.
  char const* text() const { return bytes; }

private:
  char const* bytes;
  char* copy = nullptr;
};

/// Number of NUL bytes from \p i on, not looking at or past \p n.
unsigned int nulRun(char const* text, unsigned int i, unsigned int n) {
  unsigned int run = 0;
  while (i + run < n && text[i + run] == '\0')
    ++run;
  return run;
}

/// strcoll, called through a pointer the compiler cannot see through: the
/// C library's header declares strcoll pure, so the compiler may fold an
/// errno read after a call to the 0 stored before it, losing the error.
int (*const volatile collateSegments)(char const*, char const*) = std::strcoll;

/// The collation walk over the first \p n bytes of both sides; orderEqual
/// when they compare equal (the lengths then decide).
unsigned int collate(char const* a, char const* b, unsigned int n) {
  unsigned int i = 0; // receiver offset
  unsigned int j = 0; // other offset
  bool segmentMatched = false;
  while (i < n) {
    unsigned int const runA = nulRun(a, i, n);
    unsigned int const runB = j < n ? nulRun(b, j, n) : 0;
    if (runA < runB)
      return orderAfter;
    if (runA > runB)
      // After an equal segment the pending result is that equality, so
      // the lengths decide; kept as the library always behaved.
      return segmentMatched ? orderEqual : orderBefore;
    i += runA;
    j += runB;
    if (i >= n)
      return orderEqual;
    char const* segmentB = j < n ? b + j : "";
    errno = 0;
    int const r = collateSegments(a + i, segmentB);
    if (r != 0)
      return r < 0 ? orderBefore : orderAfter;
    segmentMatched = true;
    i += static_cast<unsigned int>(std::strlen(a + i)) + 1;
    if (j < n)
      j += static_cast<unsigned int>(std::strlen(segmentB)) + 1;
  }
  return orderEqual;
}

} // namespace

// The fgI18NState 1 branch of DBuffer::compare, out of line so that the
// byte comparison keeps a small stack frame (the copies live here).
D_NOINLINE static unsigned int collateChecked(char const* mine,
                                              char const* theirs,
                                              unsigned int n, bool mineWhole) {
  unsigned int order = orderBefore; // when a copy cannot be made
  int error = 0;
  {
    CollationSide const a(mine, n, mineWhole);
    CollationSide const b(theirs, n, false);
    if (a.text() != nullptr && b.text() != nullptr) {
      // Only strcoll's errno counts: a failed copy leaves ENOMEM behind,
      // and the walk may end before reaching strcoll, so errno is
      // cleared here and read only when the walk ran.
      errno = 0;
      order = collate(a.text(), b.text(), n);
      error = errno;
    }
  }
  if (error != 0)
    dinternal::throwErrno("strcoll", error, thisFile, collationErrorLine);
  return order;
}

unsigned int DBuffer::compare(void const* other,
                              unsigned int otherLength) const {
  if (other == nullptr)
    return orderAfter;
  char const* const mine = contents();
  char const* const theirs = static_cast<char const*>(other);
  if (theirs == mine && otherLength == length())
    return orderEqual;
  if (length() == 0)
    return otherLength == 0 ? orderEqual : orderBefore;
  if (otherLength == 0)
    return orderAfter;

  unsigned int const n = length() < otherLength ? length() : otherLength;
  if (DString::fgI18NState != 1) {
    int const r = std::memcmp(mine, theirs, n);
    if (r != 0)
      return r < 0 ? orderBefore : orderAfter;
  } else {
    unsigned int const order = collateChecked(mine, theirs, n, n == length());
    if (order != orderEqual)
      return order;
  }
  if (length() < otherLength)
    return orderBefore;
  return length() > otherLength ? orderAfter : orderEqual;
}

//===--- Character classes ------------------------------------------------===//

// Every class test: false for the empty text, else true when the virtual
// predicate search finds no byte that fails the <ctype.h> function. For a
// plain DBuffer that search is known, so the bytes are read straight from
// the locale's classification table, indexed by the signed char exactly as
// the <ctype.h> functions index it; the answer is the same.
static bool everyByte(DBuffer const& b, int (*classify)(int),
                      unsigned short classBit) {
  if (b.length() == 0)
    return false;
  if (dinternal::plainBuffer(b)) {
    unsigned short const* table = dinternal::ctypeTable();
    signed char const* p = reinterpret_cast<signed char const*>(b.contents());
    unsigned short all = classBit;
    for (unsigned int i = 0, n = b.length(); i < n; ++i)
      all &= table[p[i]];
    return all != 0;
  }
  DStringTest const test(classify);
  return b.indexOfAnyBut(test, 1) == 0;
}

#define D_CLASS_TEST(member, function, bit)                                    \
  bool DBuffer::member() const {                                               \
    return everyByte(*this, ::function, bit);                                  \
  }
D_CLASS_TEST(isAlphanumeric, isalnum, _ISalnum)
D_CLASS_TEST(isAlphabetic, isalpha, _ISalpha)
D_CLASS_TEST(isControl, iscntrl, _IScntrl)
D_CLASS_TEST(isDigits, isdigit, _ISdigit)
D_CLASS_TEST(isGraphics, isgraph, _ISgraph)
D_CLASS_TEST(isHexDigits, isxdigit, _ISxdigit)
D_CLASS_TEST(isLowerCase, islower, _ISlower)
D_CLASS_TEST(isPrintable, isprint, _ISprint)
D_CLASS_TEST(isPunctuation, ispunct, _ISpunct)
D_CLASS_TEST(isUpperCase, isupper, _ISupper)
D_CLASS_TEST(isWhiteSpace, isspace, _ISspace)
#undef D_CLASS_TEST

// ORs blocks of 64 bytes together as eight 64-bit words and stops at the
// first block with a byte above 127; the tail goes byte by byte.
static bool allBelow128(unsigned char const* p, unsigned int n) {
  std::uint64_t const high = 0x8080808080808080u;
  unsigned int i = 0;
  for (; n - i >= 64; i += 64) {
    std::uint64_t words[8];
    std::memcpy(words, p + i, sizeof words);
    std::uint64_t const seen = (words[0] | words[1] | words[2] | words[3]) |
                               (words[4] | words[5] | words[6] | words[7]);
    if (seen & high)
      return false;
  }
  unsigned char seen = 0;
  for (; i < n; ++i)
    seen |= p[i];
  return (seen & 0x80) == 0;
}

bool DBuffer::isASCII() const {
  return length() != 0 &&
         allBelow128(reinterpret_cast<unsigned char const*>(contents()),
                     length());
}

//===--- Multibyte tests: constants for single-byte text ------------------===//

bool DBuffer::isMBCS() const {
  return false;
}
bool DBuffer::isDBCS() const {
  return false;
}
bool DBuffer::isSBCS() const {
  return true;
}
bool DBuffer::isValidMBCS() const {
  return true;
}
bool DBuffer::isValidDBCS() const {
  return true;
}
bool DBuffer::includesMBCS() const {
  return false;
}
bool DBuffer::includesDBCS() const {
  return false;
}
bool DBuffer::includesSBCS() const {
  return true;
}
