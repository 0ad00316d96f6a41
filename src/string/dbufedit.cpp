// Single-byte editing operations of DBuffer. Each returns one reference for
// the caller: the receiver (count raised, possibly edited in place when no
// other handle shares it) or a new buffer made by one newBuffer() call.
#include "string/dbufcount_p.hpp"
#include "string/dbufkind_p.hpp"
#include "string/dstring_p.hpp"

#include "dbuffer.hpp"
#include "dstring.hpp"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

using dinternal::Kept;
using dinternal::plainBuffer;
using dinternal::sameBuffer;

namespace {

/// The buffer a length-keeping edit writes to: the receiver itself (count
/// raised for the caller) when \p inPlace, else a private copy made with
/// newBuffer().
DBuffer* editTarget(DBuffer* b, bool inPlace) {
  if (inPlace)
    return sameBuffer(b);
  return b->newBuffer(b->contents(), b->length(), nullptr, 0, nullptr, 0, ' ');
}

/// The in-place rule of the length-keeping edits: no other holder (read
/// under the count lock, see dinternal::BufferCount::unshared).
inline bool unshared(DBuffer const& b) {
  return dinternal::BufferCount::unshared(b);
}

/// Adds \p delta (mod 256) to every byte in [\p low, \p low + 25] from index
/// \p from on. Branch-free, in blocks of a fixed 32 bytes: a loop with a
/// constant count is one the compiler vectorises at -O2 without a cost-model
/// override (GCC's cheap model declines a loop of unknown count); the rest
/// byte by byte.
void shiftLetters(unsigned char* text, unsigned int from, unsigned int end,
                  unsigned char low, unsigned char delta) {
  constexpr unsigned int block = 32;
  unsigned int i = from;
  for (; end - i >= block; i += block) {
    unsigned char* const bytes = text + i;
    for (unsigned int k = 0; k < block; ++k) {
      unsigned char const c = bytes[k];
      unsigned char const inRange = static_cast<unsigned char>(c - low) < 26u;
      bytes[k] = static_cast<unsigned char>(c + (inRange ? delta : 0));
    }
  }
  for (; i < end; ++i) {
    unsigned char const c = text[i];
    unsigned char const inRange = static_cast<unsigned char>(c - low) < 26u;
    text[i] = static_cast<unsigned char>(c + (inRange ? delta : 0));
  }
}

/// upperCase()/lowerCase(): letters of \p letters (26 bytes, contiguous from
/// \p low) shifted by \p delta from the first one found on.
DBuffer* changeCase(DBuffer* b, char const* letters, unsigned char delta) {
  unsigned int pos = b->indexOfAnyOf(letters, 26, 1);
  if (pos == 0)
    return sameBuffer(b);
  DBuffer* target = editTarget(b, unshared(*b));
  auto* out = reinterpret_cast<unsigned char*>(target->contents());
  if (plainBuffer(*b)) {
    shiftLetters(out, pos - 1, b->length(),
                 static_cast<unsigned char>(letters[0]), delta);
    return target;
  }
  do {
    out[pos - 1] = static_cast<unsigned char>(out[pos - 1] + delta);
    pos = b->indexOfAnyOf(letters, 26, pos + 1);
  } while (pos != 0);
  return target;
}

char const lowerLetters[] = "abcdefghijklmnopqrstuvwxyz";
char const upperLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";

/// The strip() decision shared by the byte-set and predicate forms.
DBuffer* stripTo(DBuffer* b, Kept kept) {
  if (kept.first == 1 && kept.last == b->length())
    return sameBuffer(b);
  if (kept.first == 0)
    return sameBuffer(b->null());
  unsigned int const n =
      kept.last >= kept.first ? kept.last - kept.first + 1 : 0;
  return b->newBuffer(b->contents() + (kept.first - 1), n, nullptr, 0, nullptr,
                      0, ' ');
}

template <class ForwardBut, class BackwardBut>
DBuffer* stripWith(DBuffer* b, DStringEnum::StripMode mode, ForwardBut forward,
                   BackwardBut backward) {
  if (b->length() == 0)
    return sameBuffer(b);
  Kept kept{mode == DStringEnum::trailing ? 1u : forward(1u), b->length()};
  if (mode != DStringEnum::leading && kept.first != 0)
    kept.last = backward(b->length());
  return stripTo(b, kept);
}

/// A node of the match list of change(): a 1-based position and the link
/// to the next match in text order.
struct Occurrence {
  Occurrence* next;
  unsigned int position;
};

/// The match list of change(). Its nodes come from blocks that double in
/// size, the first one inside the list itself, so that many matches cost a
/// handful of allocations rather than one each; the list frees them all.
class OccurrenceList {
public:
  OccurrenceList() = default;
  OccurrenceList(OccurrenceList const&) = delete;
  OccurrenceList& operator=(OccurrenceList const&) = delete;

  void append(unsigned int position) {
    if (used == capacity) {
      capacity = capacity * 2;
      blocks.emplace_back(new Occurrence[capacity]);
      block = blocks.back().get();
      used = 0;
    }
    Occurrence* node = &block[used++];
    node->next = nullptr;
    node->position = position;
    if (last == nullptr)
      first = node;
    else
      last->next = node;
    last = node;
  }
  Occurrence* head() const { return first; }

private:
  static constexpr unsigned int inlineNodes = 32;
  Occurrence inlineBlock[inlineNodes];
  std::vector<std::unique_ptr<Occurrence[]>> blocks;
  Occurrence* block = inlineBlock;
  unsigned int used = 0;
  unsigned int capacity = inlineNodes;
  Occurrence* first = nullptr;
  Occurrence* last = nullptr;
};

} // namespace

//===--- Case and translation ---------------------------------------------===//

bool dinternal::upperCaseInPlace(DBuffer& b) {
  if (!plainBuffer(b) || !unshared(b))
    return false;
  // Bytes before the first lower-case letter are no letters, so shifting
  // from the start writes what DBuffer::upperCase() would.
  shiftLetters(reinterpret_cast<unsigned char*>(b.contents()), 0, b.length(),
               static_cast<unsigned char>(lowerLetters[0]),
               static_cast<unsigned char>(-32));
  return true;
}

DBuffer* DBuffer::upperCase() {
  return changeCase(this, lowerLetters, static_cast<unsigned char>(-32));
}

DBuffer* DBuffer::lowerCase() {
  return changeCase(this, upperLetters, 32);
}

DBuffer* DBuffer::translate(char const* from, unsigned int fromLength,
                            char const* to, unsigned int toLength, char pad) {
  unsigned int pos = indexOfAnyOf(from, fromLength, 1);
  if (pos == 0)
    return sameBuffer(this);
  // The byte map is built before anything is written, so from and to may
  // point into this very text. The first occurrence of a byte in from wins.
  unsigned char map[256];
  for (unsigned int c = 0; c < 256; ++c)
    map[c] = static_cast<unsigned char>(c);
  for (unsigned int i = fromLength; i-- != 0;)
    map[static_cast<unsigned char>(from[i])] =
        static_cast<unsigned char>(i < toLength ? to[i] : pad);
  DBuffer* target = editTarget(this, unshared(*this));
  auto* out = reinterpret_cast<unsigned char*>(target->contents());
  if (plainBuffer(*this)) {
    // Bytes outside from map to themselves, so the whole rest is mapped.
    for (unsigned int i = pos - 1, n = length(); i < n; ++i)
      out[i] = map[out[i]];
    return target;
  }
  std::string const set(from, fromLength); // private copy: text may change
  do {
    out[pos - 1] = map[out[pos - 1]];
    pos = indexOfAnyOf(set.data(), fromLength, pos + 1);
  } while (pos != 0);
  return target;
}

//===--- Stripping and reversal -------------------------------------------===//

DBuffer* DBuffer::strip(char const* set, unsigned int length,
                        DStringEnum::StripMode mode) {
  return stripWith(
      this, mode, [&](unsigned int s) { return indexOfAnyBut(set, length, s); },
      [&](unsigned int s) { return lastIndexOfAnyBut(set, length, s); });
}

DBuffer* DBuffer::strip(DStringTest const& test, DStringEnum::StripMode mode) {
  return stripWith(
      this, mode, [&](unsigned int s) { return indexOfAnyBut(test, s); },
      [&](unsigned int s) { return lastIndexOfAnyBut(test, s); });
}

DBuffer* DBuffer::reverse() {
  if (length() < 2)
    return sameBuffer(this);
  DBuffer* target = editTarget(this, unshared(*this));
  std::reverse(target->contents(), target->contents() + length());
  return target;
}

//===--- Insertion, overlay, removal --------------------------------------===//

DBuffer* DBuffer::overlayWith(char const* data, unsigned int length,
                              unsigned int position, char pad) {
  unsigned int const n = this->length();
  if (length == 0 && position <= n)
    return sameBuffer(this);
  unsigned int const p = position == 0 ? 1 : position;
  if (p - 1 <= n) {
    // 64-bit so that a huge data length cannot wrap the tail test.
    unsigned long long const overlayEnd =
        static_cast<unsigned long long>(p - 1) + length;
    unsigned int const tail =
        n > overlayEnd ? static_cast<unsigned int>(n - overlayEnd) : 0;
    return newBuffer(contents(), p - 1, data, length, contents() + (n - tail),
                     tail, pad);
  }
  return newBuffer(contents(), n, nullptr, p - 1 - n, data, length, pad);
}

DBuffer* DBuffer::insert(char const* data, unsigned int length,
                         unsigned int position, char pad) {
  unsigned int const n = this->length();
  if (length == 0 && position <= n)
    return sameBuffer(this);
  if (position <= n)
    return newBuffer(contents(), position, data, length, contents() + position,
                     n - position, pad);
  return newBuffer(contents(), n, nullptr, position - n, data, length, pad);
}

DBuffer* DBuffer::remove(unsigned int start, unsigned int count) {
  unsigned int const n = length();
  if (start > n || n == 0)
    return sameBuffer(this);
  unsigned int const s = start == 0 ? 1 : start;
  unsigned int const removed = std::min(count, n - s + 1);
  unsigned int const behind = s - 1 + removed;
  return newBuffer(contents(), s - 1, contents() + behind, n - behind, nullptr,
                   0, ' ');
}

//===--- Justification ----------------------------------------------------===//

DBuffer* DBuffer::leftJustify(unsigned int width, char pad) {
  unsigned int const n = length();
  if (width == n)
    return sameBuffer(this);
  return newBuffer(contents(), std::min(n, width), nullptr,
                   width > n ? width - n : 0, nullptr, 0, pad);
}

DBuffer* DBuffer::rightJustify(unsigned int width, char pad) {
  unsigned int const n = length();
  if (width == n)
    return sameBuffer(this);
  unsigned int const kept = std::min(n, width);
  return newBuffer(nullptr, width > n ? width - n : 0, contents() + (n - kept),
                   kept, nullptr, 0, pad);
}

DBuffer* DBuffer::center(unsigned int width, char pad) {
  unsigned int const n = length();
  if (width == n)
    return sameBuffer(this);
  if (width < n) // an odd surplus is cut from the right
    return newBuffer(contents() + (n - width) / 2, width, nullptr, 0, nullptr,
                     0, pad);
  unsigned int const d = width - n; // an odd surplus of padding goes right
  return newBuffer(nullptr, d / 2, contents(), n, nullptr, d - d / 2, pad);
}

//===--- Repetition and replacement ---------------------------------------===//

DBuffer* DBuffer::copy(unsigned int times) {
  unsigned int const n = length();
  if (n == 0 || times == 1)
    return sameBuffer(this);
  if (times == 0)
    return sameBuffer(null());
  unsigned int const total = dinternal::checkedMultiply(n, times);
  DBuffer* result =
      newBuffer(contents(), n, nullptr, total - n, nullptr, 0, ' ');
  // Doubling: the filled prefix is copied behind itself, so the number of
  // block copies grows with log2(times).
  char* text = result->contents();
  unsigned int filled = n;
  while (filled < total) {
    unsigned int const chunk = std::min(filled, total - filled);
    std::memcpy(text + filled, text, chunk);
    filled += chunk;
  }
  return result;
}

DBuffer* DBuffer::change(char const* pattern, unsigned int patternLength,
                         char const* replacement,
                         unsigned int replacementLength, unsigned int start,
                         unsigned int count) {
  if (count == 0)
    return sameBuffer(this);
  // Collect up to count non-overlapping matches through the virtual search.
  OccurrenceList list;
  unsigned int matches = 0;
  for (unsigned int p = indexOf(pattern, patternLength, start); p != 0;
       p = indexOf(pattern, patternLength, p + patternLength)) {
    list.append(p);
    if (++matches == count)
      break;
  }
  if (matches == 0)
    return sameBuffer(this);
  unsigned int const n = length();
  list.append(n + 1); // end marker
  Occurrence const* const head = list.head();

  if (patternLength == replacementLength) {
    // The replacement may lie inside this text, which may be edited in
    // place: keep a copy of it first.
    std::string saved;
    char const* with = replacement;
    if (replacement >= contents() && replacement < contents() + n) {
      saved.assign(replacement, replacementLength);
      with = saved.data();
    }
    // change() edits in place only with exactly one reference.
    DBuffer* target = editTarget(this, unshared(*this));
    for (Occurrence const* o = head; o->position != n + 1; o = o->next)
      std::memcpy(target->contents() + (o->position - 1), with,
                  replacementLength);
    return target;
  }

  // The length difference times the matches must be a length; when
  // growing, the sum with the text length too.
  bool const growing = replacementLength > patternLength;
  unsigned int const diff = growing ? replacementLength - patternLength
                                    : patternLength - replacementLength;
  unsigned int const product = dinternal::checkedMultiply(diff, matches);
  unsigned int const newLength =
      growing ? dinternal::checkedAdd(n, product) : n - product;

  unsigned int const before = head->position - 1;
  DBuffer* result = newBuffer(contents(), before, nullptr, newLength - before,
                              nullptr, 0, ' ');
  char* out = result->contents() + before;
  for (Occurrence const* o = head; o->next != nullptr; o = o->next) {
    if (replacementLength != 0)
      std::memcpy(out, replacement, replacementLength);
    out += replacementLength;
    unsigned int const from = o->position - 1 + patternLength;
    unsigned int const upTo = o->next->position - 1;
    std::memcpy(out, contents() + from, upTo - from);
    out += upTo - from;
  }
  return result;
}
