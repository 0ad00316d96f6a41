// The multibyte character model (dmbchar_p.hpp): the one-byte measure, the
// stateful forward walk, the resynchronising character starts and the
// character offsets of the conversion to wide characters.
#include "nls/dmbchar_p.hpp"

#include "dnlsutil.hpp"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace dinternal {

std::mbstate_t const zeroState = std::mbstate_t();

//===--- One-byte measure -------------------------------------------------===//

unsigned int measureChar(char const* p, unsigned int available,
                         std::mbstate_t* state) {
  if (*p == '\0')
    return 1;
  return forwardStep<BadByte::oneByte>(p, std::min(available, measureLimit),
                                       state)
      .bytes;
}

//===--- Sets of characters -----------------------------------------------===//

// A set character of one byte is found by every text character of one byte
// (the walk reaches it while a byte of the set is left), so the table holds
// them all; an ASCII byte is one character wherever a character starts, and
// leaves the state as it was.
CharSet::CharSet(char const* bytes, unsigned int size)
    : set(bytes), length(size) {
  std::mbstate_t state = zeroState;
  for (unsigned int at = 0; at < size;) {
    auto const c = static_cast<unsigned char>(bytes[at]);
    unsigned int const member =
        c < 0x80 ? 1 : measureChar(bytes + at, size - at, &state);
    if (member == 1)
      oneByte[c >> 6] |= std::uint64_t(1) << (c & 63);
    else
      longMembers = true;
    at += member;
  }
}

bool CharSet::walkFor(char const* set, unsigned int length, char const* here,
                      unsigned int size) {
  if (size > length)
    return false;
  std::mbstate_t state = zeroState;
  unsigned int left = length;
  while (true) {
    unsigned int const member = measureChar(set, left, &state);
    if (member == size && std::memcmp(set, here, size) == 0)
      return true;
    set += member;
    left -= std::min(member, left);
    if (size > left)
      return false;
  }
}

//===--- Forward walk with one state --------------------------------------===//

CharWalk::CharWalk(char const* textBytes, unsigned int length)
    : text(textBytes), textLength(length), start(1), charBytes(0),
      state(zeroState) {
  measure();
}

void CharWalk::restart() {
  start = 1;
  state = zeroState;
  measure();
}

void CharWalk::measure() {
  charBytes = start > textLength ? 0
                                 : measureChar(text + start - 1,
                                               textLength - start + 1, &state);
}

void CharWalk::advance() {
  if (charBytes == 0)
    return;
  start += charBytes;
  measure();
}

void CharWalk::seek(unsigned int pos) {
  if (pos < start)
    restart();
  while (charBytes != 0 && last() < pos)
    advance();
}

int CharWalk::typeAt(unsigned int pos) {
  if (pos == 0 || pos > textLength)
    return 0;
  seek(pos);
  return charBytes == 1 ? 0 : static_cast<int>(pos - start + 1);
}

//===--- Resynchronising character starts ---------------------------------===//

CharStarts::CharStarts(char const* data, unsigned int length)
    : text(data), textLength(length), codeset(currentCodeset()) {}

CharStarts::CharStarts(char const* data, unsigned int length,
                       unsigned int knownStart)
    : CharStarts(data, length) {
  ring[0] = knownStart;
  ringCount = 1;
  walkEnd = next(knownStart);
}

bool CharStarts::isSync(unsigned char c) const {
  switch (codeset) {
  case Codeset::utf8: // anything but a continuation byte 80..BF
    return c < 0x80 || c >= 0xC0;
  case Codeset::eucJp: // second and third bytes are A1..FE
    return c < 0xA1;
  case Codeset::gb18030: // second and fourth bytes 30..39, 40..7E, 80..FE
    return c < 0x30 || (c > 0x39 && c < 0x40) || c == 0x7F || c == 0xFF;
  case Codeset::other:
    break;
  }
  return false;
}

unsigned int CharStarts::anchorFor(unsigned int p) {
  unsigned int best = 1;
  if (walkEnd != 0 && walkEnd <= p)
    best = walkEnd;
  auto const after =
      std::upper_bound(checkpoints.begin(), checkpoints.end(), p);
  if (after != checkpoints.begin())
    best = std::max(best, *(after - 1));
  if (codeset != Codeset::other)
    for (unsigned int q = p; q > best; --q)
      if (isSync(static_cast<unsigned char>(text[q - 1])))
        return q;
  return best;
}

void CharStarts::remember(unsigned int start) {
  if (ringCount == ringSize) {
    // Keep the newer half: backward walks ask just below what they know.
    std::memmove(ring, ring + ringSize / 2, sizeof ring / 2);
    ringCount = ringSize / 2;
  }
  ring[ringCount++] = start;
}

unsigned int CharStarts::walk(unsigned int from, unsigned int p) {
  if (from != walkEnd)
    ringCount = 0; // not contiguous with what the ring holds
  unsigned int steps = 0;
  for (unsigned int b = from;;) {
    unsigned int const n = next(b);
    remember(b);
    walkEnd = n;
    if (++steps % ringSize == 0 &&
        (checkpoints.empty() || b > checkpoints.back()))
      checkpoints.push_back(b);
    if (n > p)
      return b;
    b = n;
  }
}

unsigned int CharStarts::startAtOrBefore(unsigned int p) {
  assert(p >= 1 && p <= textLength);
  if (ringCount != 0 && ring[0] <= p && p < walkEnd)
    return *(std::upper_bound(ring, ring + ringCount, p) - 1);
  return walk(anchorFor(p), p);
}

unsigned int CharStarts::startAtOrAfter(unsigned int p) {
  if (p > textLength)
    return textLength + 1;
  unsigned int const b = startAtOrBefore(p);
  return b == p ? p : std::min(next(b), textLength + 1);
}

//===--- Conversion offsets -----------------------------------------------===//

std::vector<unsigned int> wideCharOffsets(char const* text, unsigned int length,
                                          std::vector<wchar_t>* wide) {
  // Room for the worst case (one character per byte) up front: the walk
  // is the cost, not the reallocations.
  std::vector<unsigned int> offsets;
  offsets.reserve(std::size_t{length} + 1);
  if (wide != nullptr)
    wide->reserve(length);
  std::mbstate_t state = zeroState;
  wchar_t c;
  for (unsigned int done = 0; done < length;) {
    offsets.push_back(done);
    done += cvtMB2WC(text + done, length - done, &c, &state);
    if (wide != nullptr)
      wide->push_back(c);
  }
  offsets.push_back(length);
  return offsets;
}

} // namespace dinternal
