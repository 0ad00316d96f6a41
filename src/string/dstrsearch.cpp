// DString's own searches and extraction: the one-byte forms, the
// occurrence counts and subString(), on top of the buffer's virtual
// searches.
#include "string/dbufkind_p.hpp"
#include "string/dbytescan_p.hpp"

#include "dbuffer.hpp"
#include "dstring.hpp"

#include <cstring>

//===--- Extraction -------------------------------------------------------===//

DString DString::subString(unsigned int start, unsigned int count,
                           char pad) const {
  return DString(buffer()->subString(start, count, pad));
}

DString DString::subString(unsigned int start) const {
  if (start > length())
    return DString(DString::null);
  if (fgI18NState == 1)
    return DString(buffer()->subString(start));
  // Here a start of 0 is not read as 1 before the count is taken, so it
  // yields the whole text and one blank; kept as the library always did.
  return subString(start, length() - start + 1, ' ');
}

//===--- One-byte searches ------------------------------------------------===//

unsigned int DString::indexOf(char c, unsigned int start) const {
  DBuffer const* const b = buffer();
  if (dinternal::plainBuffer(*b)) {
    // DBuffer's indexOf of one byte: from start (0 reads as 1) on.
    unsigned int const from = start == 0 ? 0 : start - 1;
    if (from >= b->length())
      return 0;
    return dinternal::positionOf(
        std::memchr(pBuffer + from, c, b->length() - from), pBuffer);
  }
  return b->indexOf(&c, 1, start);
}

unsigned int DString::lastIndexOf(char c, unsigned int start) const {
  return buffer()->lastIndexOf(&c, 1, start);
}

//===--- Occurrence counts ------------------------------------------------===//

unsigned int DString::occurrencesOf(char const* pattern, unsigned int length,
                                    unsigned int start) const {
  DBuffer const* b = buffer();
  unsigned int found = 0;
  // Non-overlapping: each search resumes behind the previous match.
  for (unsigned int p = b->indexOf(pattern, length, start); p != 0;
       p = b->indexOf(pattern, length, p + length))
    ++found;
  return found;
}

unsigned int DString::occurrencesOf(char c, unsigned int start) const {
  return occurrencesOf(&c, 1, start);
}

unsigned int DString::occurrencesOf(DStringTest const& test,
                                    unsigned int start) const {
  DBuffer const* b = buffer();
  unsigned int found = 0;
  for (unsigned int p = b->indexOf(test, start); p != 0;
       p = b->indexOf(test, p + 1))
    ++found;
  return found;
}
