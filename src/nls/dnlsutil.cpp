// Wide-character conversions, byte-position/character-number mappings and
// the exported byte scans.
#include "dnlsutil.hpp"

#include "base/dthrow_p.hpp"
#include "nls/dmbchar_p.hpp"
#include "string/dbytescan_p.hpp"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <vector>

static char const thisFile[] = "dnlsutil";
static unsigned long const invalidSequenceLine = 725;
static unsigned long const incompleteSequenceLine = 760;
static unsigned long const unconvertibleLine = 880;
static unsigned long const invalidCharacterMessage = 1012;

using dinternal::PositionWalk;
using dinternal::SequenceKind;

// The sentinel result of wcrtomb.
static std::size_t const invalidSequence = static_cast<std::size_t>(-1);

//===--- DWBuffer ---------------------------------------------------------===//

// The array always holds one slot more than the characters converted into
// it, and that slot is a wide NUL, so data() can be handed to wcs functions.
DWBuffer::DWBuffer(char const* s, unsigned int n)
    : wide(nullptr), wideCount(0) {
  std::unique_ptr<wchar_t[]> array(new wchar_t[std::size_t(n) + 1]);
  array[0] = L'\0';
  if (n != 0) {
    wideCount = cvtMBS2WCS(s, n, array.get());
    array[wideCount] = L'\0';
  }
  wide = array.release();
}

DWBuffer::DWBuffer(char const* s) : wide(nullptr), wideCount(0) {
  if (s == nullptr)
    s = "";
  std::size_t const n = std::strlen(s) + 1;
  std::unique_ptr<wchar_t[]> array(new wchar_t[n]);
  // The converted terminator is the last wide character and is not counted.
  wideCount = cvtMBS2WCS(s, static_cast<unsigned int>(n), array.get()) - 1;
  wide = array.release();
}

DWBuffer::~DWBuffer() {
  delete[] wide;
}

void DWBuffer::reverse() const {
  std::reverse(wide, wide + wideCount);
}

bool DWBuffer::hasWChar(wchar_t c) const {
  return std::find(wide, wide + wideCount, c) != wide + wideCount;
}

unsigned int DWBuffer::positionOf(DWBuffer& pattern, unsigned int start) const {
  unsigned long const n = pattern.wideCount;
  if (start == 0 || wideCount < start || n == 0 || n > wideCount - start + 1)
    return 0;
  for (unsigned long p = start; p <= wideCount - n + 1; ++p)
    if (std::wcsncmp(wide + p - 1, pattern.wide, n) == 0)
      return static_cast<unsigned int>(p);
  return 0;
}

unsigned int DWBuffer::positionOfAnyOf(DWBuffer& set,
                                       unsigned int start) const {
  if (start == 0 || wideCount < start || set.wideCount == 0)
    return 0;
  for (unsigned long p = start; p <= wideCount; ++p)
    if (set.hasWChar(wide[p - 1]))
      return static_cast<unsigned int>(p);
  return 0;
}

unsigned int DWBuffer::positionOfAnyBut(DWBuffer& set,
                                        unsigned int start) const {
  if (start == 0 || wideCount < start)
    return 0;
  for (unsigned long p = start; p <= wideCount; ++p)
    if (!set.hasWChar(wide[p - 1]))
      return static_cast<unsigned int>(p);
  return 0;
}

unsigned int DWBuffer::lastPositionOf(DWBuffer& pattern,
                                      unsigned int start) const {
  unsigned long const n = pattern.wideCount;
  if (start == 0 || n == 0 || n > wideCount)
    return 0;
  unsigned long p = std::min<unsigned long>(start, wideCount - n + 1);
  for (; p >= 1; --p)
    if (std::wcsncmp(wide + p - 1, pattern.wide, n) == 0)
      return static_cast<unsigned int>(p);
  return 0;
}

unsigned int DWBuffer::lastPositionOfAnyOf(DWBuffer& set,
                                           unsigned int start) const {
  if (start == 0 || set.wideCount == 0)
    return 0;
  for (unsigned long p = std::min<unsigned long>(start, wideCount); p >= 1; --p)
    if (set.hasWChar(wide[p - 1]))
      return static_cast<unsigned int>(p);
  return 0;
}

unsigned int DWBuffer::lastPositionOfAnyBut(DWBuffer& set,
                                            unsigned int start) const {
  if (start == 0)
    return 0;
  for (unsigned long p = std::min<unsigned long>(start, wideCount); p >= 1; --p)
    if (!set.hasWChar(wide[p - 1]))
      return static_cast<unsigned int>(p);
  return 0;
}

//===--- Conversions ------------------------------------------------------===//

unsigned int cvtMB2WC(char const* s, unsigned int n, wchar_t* out,
                      std::mbstate_t* state) {
  return dinternal::forwardStep<dinternal::BadByte::raise>(s, n, state, out)
      .bytes;
}

[[noreturn]] void dinternal::raiseBadSequence(SequenceKind kind) {
  dinternal::throwMessage<DInvalidRequest>(
      invalidCharacterMessage, DException::unrecoverable, thisFile,
      kind == SequenceKind::invalid ? invalidSequenceLine
                                    : incompleteSequenceLine);
}

unsigned int cvtMBS2WCS(char const* s, unsigned int n, wchar_t* out) {
  if (s == nullptr || out == nullptr || n == 0)
    return 0;
  std::mbstate_t state = dinternal::zeroState;
  unsigned int done = 0;
  unsigned int written = 0;
  while (done < n)
    done += cvtMB2WC(s + done, n - done, out + written++, &state);
  return written;
}

unsigned int cvtWCS2MBS(wchar_t const* w, unsigned int count, char* out,
                        unsigned int outSize, int pad, char padChar) {
  if (w == nullptr || out == nullptr || outSize == 0)
    return 0;
  std::mbstate_t state = dinternal::zeroState;
  char scratch[MB_LEN_MAX];
  // 64-bit sums: callers pass 0xFFFFFFFF as an unbounded size.
  unsigned long written = 0;
  for (unsigned int i = 0; i < count; ++i) {
    std::size_t const bytes = std::wcrtomb(scratch, w[i], &state);
    if (bytes == invalidSequence)
      dinternal::throwText<DInvalidRequest>("cvtWCS2MBS", 0,
                                            DException::recoverable, thisFile,
                                            unconvertibleLine);
    if (written + bytes > outSize)
      break; // never split a character at the end of the area
    std::memcpy(out + written, scratch, bytes);
    written += bytes;
    if (written == outSize)
      return outSize;
  }
  if (pad == 0)
    return static_cast<unsigned int>(written);
  std::memset(out + written, padChar, outSize - written);
  return outSize;
}

unsigned int cvtWCS2MBS(DWBuffer const& w, char* out, unsigned int outSize,
                        int pad, char padChar) {
  return cvtWCS2MBS(w.data(), static_cast<unsigned int>(w.count()), out,
                    outSize, pad, padChar);
}

//===--- Position mapping -------------------------------------------------===//
// One PositionWalk from byte 1 (BadByte::mbCurMax of nls/dmbchar_p.hpp): a
// NUL is a one-byte character, an invalid sequence ends the walk with the
// answer 0, and an incomplete one advances MB_CUR_MAX bytes without
// finishing a character: those bytes belong to the character that
// completes next.

namespace {

/// Walks until byte \p pos is consumed; the stretch that consumed it starts
/// at \p lastStart. False (the answer 0) for a null text, a position outside
/// 1..length, or an invalid sequence on the way.
bool walkTo(PositionWalk& w, unsigned int pos, unsigned long& lastStart) {
  lastStart = 1;
  if (w.s == nullptr || pos == 0 || pos > w.len)
    return false;
  while (w.walked < pos) {
    lastStart = w.charStart;
    if (!w.step())
      return false;
  }
  return true;
}

} // namespace

unsigned int findBytePos(char const* s, unsigned int len,
                         unsigned int charNum) {
  if (s == nullptr || charNum == 0)
    return 0;
  if (len < 2)
    return charNum == 1 ? 1 : 0;
  PositionWalk w(s, len);
  while (w.chars + 1 < charNum || w.incomplete) {
    if (w.walked >= len || !w.step())
      return 0;
  }
  return w.charStart <= len ? static_cast<unsigned int>(w.charStart) : 0;
}

unsigned int findCharNum(char const* s, unsigned int len, unsigned int pos) {
  PositionWalk w(s, len);
  unsigned long start;
  if (!walkTo(w, pos, start))
    return 0;
  return w.chars + (w.incomplete ? 1 : 0);
}

unsigned int findNextCharNum(char const* s, unsigned int len,
                             unsigned int pos) {
  PositionWalk w(s, len);
  unsigned long start;
  if (!walkTo(w, pos, start))
    return 0;
  unsigned int const current = w.chars + (w.incomplete ? 1 : 0);
  if (start == pos)
    return current;
  // pos lies inside a character: the answer is the one after it.
  return findBytePos(s, len, current + 1) != 0 ? current + 1 : 0;
}

unsigned int findCurPos(char const* s, unsigned int len, unsigned int pos) {
  PositionWalk w(s, len);
  unsigned long start;
  if (!walkTo(w, pos, start))
    return 0;
  return static_cast<unsigned int>(start);
}

unsigned int findNextPos(char const* s, unsigned int len, unsigned int pos) {
  if (s == nullptr || pos == 0 || pos > len)
    return 0;
  PositionWalk w(s, len);
  while (w.walked < pos || w.incomplete) {
    if (w.walked >= len || !w.step())
      return 0;
  }
  return w.charStart <= len ? static_cast<unsigned int>(w.charStart) : 0;
}

//===--- Extraction and splicing ------------------------------------------===//

// The extractions copy the characters they keep from the source bytes (see
// wideCharOffsets()); the walk still raises on bad text as the conversion
// to wide characters did.

char* getSubString(char const* s, unsigned int len, unsigned int pos, char pad,
                   char* out, unsigned int outLen) {
  if (outLen == 0)
    return out;
  if (pos == 0)
    pos = 1;
  unsigned int const k = pos > len ? 0 : findNextCharNum(s, len, pos);
  if (k == 0) {
    std::memset(out, pad, outLen);
    return out;
  }
  unsigned int const gap = findBytePos(s, len, k) - pos;
  if (outLen <= gap) {
    std::memset(out, pad, outLen);
    return out;
  }
  std::memset(out, pad, gap);
  std::vector<unsigned int> const at = dinternal::wideCharOffsets(s, len);
  // Whole characters from number k while they fit; pad for the rest.
  std::size_t const first = std::min<std::size_t>(k - 1, at.size() - 1);
  std::size_t last = first;
  while (last + 1 < at.size() && at[last + 1] - at[first] <= outLen - gap)
    ++last;
  unsigned int const copied = at[last] - at[first];
  std::memcpy(out + gap, s + at[first], copied);
  std::memset(out + gap + copied, pad, outLen - gap - copied);
  return out;
}

unsigned int getRemainString(char const* s, unsigned int len, unsigned int pos,
                             char pad, char* out) {
  if (pos > len)
    return 0;
  if (pos == 0)
    pos = 1;
  unsigned int const k = findNextCharNum(s, len, pos);
  if (k == 0) {
    unsigned int const n = len - pos + 1;
    std::memset(out, pad, n);
    return n;
  }
  unsigned int const gap = findBytePos(s, len, k) - pos;
  std::memset(out, pad, gap);
  std::vector<unsigned int> const at = dinternal::wideCharOffsets(s, len);
  std::size_t const first = std::min<std::size_t>(k - 1, at.size() - 1);
  unsigned int const copied = len - at[first];
  std::memcpy(out + gap, s + at[first], copied);
  return gap + copied;
}

int insWCS2WCS(wchar_t* src, int srcLen, wchar_t* ins, int insLen, int at,
               wchar_t* out) {
  int written = 0;
  if (at > 0) {
    std::wmemcpy(out, src, static_cast<std::size_t>(at));
    written = at;
  }
  if (insLen > 0) {
    std::wmemcpy(out + written, ins, static_cast<std::size_t>(insLen));
    written += insLen;
  }
  if (at < srcLen) {
    int const from = at > 0 ? at : 0;
    std::wmemcpy(out + written, src + from,
                 static_cast<std::size_t>(srcLen - from));
    written += srcLen - from;
  }
  return written;
}

//===--- Byte scans -------------------------------------------------------===//

unsigned int indexThatIsNot(char const* s, unsigned int len, char c) {
  return dinternal::firstByteNot(s, len, c);
}

bool isAllDigits(char const* s, unsigned int len) {
  return dinternal::allDigitBytes(s, len);
}

bool isAllHexDigits(char const* s, unsigned int len) {
  return dinternal::allHexDigitBytes(s, len);
}
