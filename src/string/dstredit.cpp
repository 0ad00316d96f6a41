// DString's editing members: each forwards to its buffer's editing slot and
// takes over the buffer that comes back. Two calling protocols, fixed per
// operation because they decide whether an unshared buffer is edited in
// place:
//  - direct (upperCase, translate, strip): the handle's own reference is
//    lent to the call, so a buffer held by this handle alone sees count 1
//    and may edit itself;
//  - guarded (all the others): an extra reference is held for the call, so
//    the buffer always sees count 2 or more and makes a new buffer whenever
//    it changes anything.
// In both ways a raising buffer operation leaves the handle as it was: it
// still points at its old buffer and owns its reference (in the direct way
// the lent reference simply stays with the handle).
#include "string/dbufkind_p.hpp"
#include "string/dstring_p.hpp"

#include "dbuffer.hpp"
#include "dstring.hpp"

#include <cstring>

using dinternal::StringAccess;

namespace {

/// Direct way: the buffer operation runs on the handle's own reference.
template <class Operation>
DString& editDirect(DString& s, Operation operation) {
  DBuffer* const result = operation(s.buffer());
  StringAccess::adopt(s, result); // releases the lent reference
  return s;
}

/// Guarded way: an extra reference is held while the operation runs.
template <class Operation>
DString& editGuarded(DString& s, Operation operation) {
  DBuffer* const b = s.buffer();
  dinternal::BufferReference const extra(b);
  DBuffer* const result = operation(b);
  StringAccess::adopt(s, result); // releases the handle's old reference
  return s;
}

} // namespace

//===--- Direct -----------------------------------------------------------===//

DString& DString::upperCase() {
  if (dinternal::upperCaseInPlace(*buffer()))
    return *this;
  return editDirect(*this, [](DBuffer* b) { return b->upperCase(); });
}

DString& DString::translate(char const* from, unsigned int fromLength,
                            char const* to, unsigned int toLength, char pad) {
  return editDirect(*this, [&](DBuffer* b) {
    return b->translate(from, fromLength, to, toLength, pad);
  });
}

DString& DString::strip(char const* set, unsigned int length,
                        DStringEnum::StripMode mode) {
  return editDirect(*this,
                    [&](DBuffer* b) { return b->strip(set, length, mode); });
}

DString& DString::strip(DStringTest const& test, DStringEnum::StripMode mode) {
  return editDirect(*this, [&](DBuffer* b) { return b->strip(test, mode); });
}

DString& DString::strip() {
  // The multibyte buffer's wide strategy hands the predicate wide character
  // values, which the byte classifier isspace must never see: it indexes a
  // table of 384 entries (EOF and -128 .. 255), so a code point reads
  // memory past it, far past for U+10FFFD (a crash), and letters of
  // U+0100 .. U+2FFFF came out as blanks. That path takes iswspace.
  DStringTest const space(dinternal::stripSpaceTest(buffer()));
  return strip(space, DStringEnum::both);
}

//===--- Guarded ----------------------------------------------------------===//

DString& DString::lowerCase() {
  return editGuarded(*this, [](DBuffer* b) { return b->lowerCase(); });
}

DString& DString::reverse() {
  return editGuarded(*this, [](DBuffer* b) { return b->reverse(); });
}

DString& DString::overlayWith(char const* data, unsigned int length,
                              unsigned int position, char pad) {
  return editGuarded(*this, [&](DBuffer* b) {
    return b->overlayWith(data, length, position, pad);
  });
}

DString& DString::insert(char const* data, unsigned int length,
                         unsigned int position, char pad) {
  return editGuarded(*this, [&](DBuffer* b) {
    return b->insert(data, length, position, pad);
  });
}

DString& DString::remove(unsigned int start, unsigned int count) {
  if (count == 0 || start > length() || length() == 0)
    return *this;
  return editGuarded(*this,
                     [&](DBuffer* b) { return b->remove(start, count); });
}

DString& DString::remove(unsigned int start) {
  return remove(start, 0xFFFFFFFFu);
}

DString& DString::leftJustify(unsigned int width, char pad) {
  return editGuarded(*this,
                     [&](DBuffer* b) { return b->leftJustify(width, pad); });
}

DString& DString::rightJustify(unsigned int width, char pad) {
  if (width == length())
    return *this;
  return editGuarded(*this,
                     [&](DBuffer* b) { return b->rightJustify(width, pad); });
}

DString& DString::center(unsigned int width, char pad) {
  return editGuarded(*this, [&](DBuffer* b) { return b->center(width, pad); });
}

DString& DString::copy(unsigned int times) {
  return editGuarded(*this, [&](DBuffer* b) { return b->copy(times); });
}

DString& DString::change(char const* pattern, unsigned int patternLength,
                         char const* replacement,
                         unsigned int replacementLength, unsigned int start,
                         unsigned int count) {
  return editGuarded(*this, [&](DBuffer* b) {
    return b->change(pattern, patternLength, replacement, replacementLength,
                     start, count);
  });
}

//===--- Static forms: edit a copy that shares the source's buffer --------===//

DString DString::upperCase(DString const& source) {
  DString result(source);
  result.upperCase();
  return result;
}

DString DString::remove(DString const& source, unsigned int start,
                        unsigned int count) {
  DString result(source);
  result.remove(start, count);
  return result;
}

DString DString::center(DString const& source, unsigned int width, char pad) {
  DString result(source);
  result.center(width, pad);
  return result;
}

DString DString::change(DString const& source, char const* pattern,
                        char const* replacement, unsigned int start,
                        unsigned int count) {
  DString result(source);
  result.change(pattern, textLength(pattern), replacement,
                textLength(replacement), start, count);
  return result;
}

DString DString::change(DString const& source, DString const& pattern,
                        DString const& replacement, unsigned int start,
                        unsigned int count) {
  DString result(source);
  result.change(pattern, replacement, start, count);
  return result;
}
