// The shared, reference-counted text buffer behind every DString, the
// character predicate DStringTest and the strip modes. A buffer is a header
// (vtable pointer, 32-bit count, 32-bit byte length) followed inline by the
// text and one NUL; it never grows. Positions are 1-based bytes, 0 = none.
#ifndef D_STRING_DBUFFER_HPP
/// \file
#define D_STRING_DBUFFER_HPP

#include "dbase.hpp"
#include "ddefs.hpp"

class DString;
class DStringTest;

namespace dinternal {
struct BufferCount;
}

/// Strip modes: 0 leading, 1 trailing, any other value both ends.
class D_EXPORT DStringEnum {
public:
  /// Which ends strip() works on (a 32-bit enumeration).
  enum StripMode : int { leading = 0, trailing = 1, both = 2 };
};

/// A character predicate: wraps an int(int) function such as isalpha.
/// Bytes reach test() as signed chars widened to int (0xE9 arrives as -23).
/// In a multibyte locale with DString::fgI18NState 1, the multibyte buffer
/// hands test() wide character values (code points up to 0x10FFFF, WEOF
/// for bytes that form no character) instead: wrap a wide classifier there
/// (zyn_iswspace ..), never a <ctype.h> function, which reads outside its
/// table for such values.
class D_EXPORT DStringTest : public DVBase {
public:
  /// Wraps \p function; the kind tag becomes 1.
  DStringTest(int (*function)(int));
  ~DStringTest() override;
  /// With kind 1 the function's result for \p c; any other kind 0.
  virtual int test(int c) const;

protected:
  /// For derived predicates that override test(): kind 0, no function.
  DStringTest() : kind(0), function(nullptr) {}

private:
  unsigned int kind;
  int (*function)(int);
};

/// The single-byte buffer. Every operation that yields a buffer returns one
/// reference for the caller: a new buffer (count 1) or the receiver with its
/// count raised. Buffers with count 2 or more are never modified.
class D_EXPORT DBuffer : public DVBase {
public:
  /// Count 1, length \p length, NUL behind the text; text left unfilled.
  explicit DBuffer(unsigned int length);
  ~DBuffer() override;
  /// Buffers live in one array (header, text, NUL) made by allocate(); the
  /// deleting destructor hands it back with operator delete[].
  static void operator delete(void* storage);

  /// @name Description (slot order: do not reorder, insert or remove)
  /// @{
  /// "<className>(@<address>,refs=<n>,len=<n>,data=[<text>])"; texts of 24
  /// bytes or more show the first 10 bytes, "..." and the last 10.
  DString asDebugInfo() const override;
  /// @}

  /// @name Character model
  /// @{
  /// 0 for a single-byte character, k >= 1 for the k-th byte of a multibyte
  /// character at 1-based byte \p position. DBuffer: always 0.
  virtual int charType(unsigned int position) const;
  /// Pointer just past the character at \p p. DBuffer: \p p unchanged.
  virtual char* next(char const* p);
  /// Pointer just past the character at \p p. DBuffer: \p p unchanged.
  virtual char const* next(char const* p) const;
  /// @}

  /// @name Comparison
  /// @{
  /// 0 equal, 1 receiver after, 2 receiver before \p other (\p otherLength
  /// bytes); null \p other gives 1. Collation with DString::fgI18NState 1.
  virtual unsigned int compare(void const* other,
                               unsigned int otherLength) const;
  /// @}

  /// @name Extraction
  /// @{
  /// New buffer of exactly \p count bytes from \p start (0 reads as 1),
  /// filled up with \p pad.
  virtual DBuffer* subString(unsigned int start, unsigned int count,
                             char pad) const;
  /// New buffer of the rest of the text from \p start (0 reads as 1).
  virtual DBuffer* subString(unsigned int start) const;
  /// @}

  /// @name Character classes (false for the empty text)
  /// @{
  /// Every character alphanumeric (isalnum).
  virtual bool isAlphanumeric() const;
  /// Every character alphabetic (isalpha).
  virtual bool isAlphabetic() const;
  /// Every byte below 0x80.
  virtual bool isASCII() const;
  /// Every character a control character (iscntrl).
  virtual bool isControl() const;
  /// Every character a decimal digit (isdigit).
  virtual bool isDigits() const;
  /// Every character visible (isgraph).
  virtual bool isGraphics() const;
  /// Every character a hexadecimal digit (isxdigit).
  virtual bool isHexDigits() const;
  /// Every character lower case (islower).
  virtual bool isLowerCase() const;
  /// Every character printable (isprint).
  virtual bool isPrintable() const;
  /// Every character punctuation (ispunct).
  virtual bool isPunctuation() const;
  /// Every character upper case (isupper).
  virtual bool isUpperCase() const;
  /// Every character white space (isspace).
  virtual bool isWhiteSpace() const;
  /// @}

  /// @name Multibyte tests (DBuffer: constants, the text is not read)
  /// @{
  /// Every character multibyte and wide. DBuffer: false.
  virtual bool isMBCS() const;
  /// Same as isMBCS(). DBuffer: false.
  virtual bool isDBCS() const;
  /// No character both multibyte and wide. DBuffer: true.
  virtual bool isSBCS() const;
  /// Every character at least 2 bytes, none cut short. DBuffer: true.
  virtual bool isValidMBCS() const;
  /// Same as isValidMBCS(). DBuffer: true.
  virtual bool isValidDBCS() const;
  /// Some character multibyte and wide. DBuffer: false.
  virtual bool includesMBCS() const;
  /// Same as includesMBCS(). DBuffer: false.
  virtual bool includesDBCS() const;
  /// Some character single-byte. DBuffer: true, even when empty.
  virtual bool includesSBCS() const;
  /// @}

  /// @name Search (0 = not found; forward starts of 0 read as 1)
  /// @{
  /// First occurrence of the \p length-byte \p pattern at or after \p start.
  virtual unsigned int indexOf(char const* pattern, unsigned int length,
                               unsigned int start) const;
  /// indexOfAnyOf(test, start) through its slot.
  virtual unsigned int indexOf(DStringTest const& test,
                               unsigned int start) const;
  /// First position at or after \p start whose byte is not in \p set.
  virtual unsigned int indexOfAnyBut(char const* set, unsigned int length,
                                     unsigned int start) const;
  /// First position at or after \p start whose byte fails \p test.
  virtual unsigned int indexOfAnyBut(DStringTest const& test,
                                     unsigned int start) const;
  /// First position at or after \p start whose byte is in \p set.
  virtual unsigned int indexOfAnyOf(char const* set, unsigned int length,
                                    unsigned int start) const;
  /// First position at or after \p start whose byte passes \p test.
  virtual unsigned int indexOfAnyOf(DStringTest const& test,
                                    unsigned int start) const;
  /// Last occurrence of \p pattern beginning at or before \p start.
  virtual unsigned int lastIndexOf(char const* pattern, unsigned int length,
                                   unsigned int start) const;
  /// lastIndexOfAnyOf(test, start) through its slot.
  virtual unsigned int lastIndexOf(DStringTest const& test,
                                   unsigned int start) const;
  /// Last position at or before \p start whose byte is not in \p set.
  virtual unsigned int lastIndexOfAnyBut(char const* set, unsigned int length,
                                         unsigned int start) const;
  /// Last position at or before \p start whose byte fails \p test.
  virtual unsigned int lastIndexOfAnyBut(DStringTest const& test,
                                         unsigned int start) const;
  /// Last position at or before \p start whose byte is in \p set.
  virtual unsigned int lastIndexOfAnyOf(char const* set, unsigned int length,
                                        unsigned int start) const;
  /// Last position at or before \p start whose byte passes \p test.
  virtual unsigned int lastIndexOfAnyOf(DStringTest const& test,
                                        unsigned int start) const;
  /// @}

  /// @name Editing (each returns one reference for the caller)
  /// @{
  /// Cut or padded on both sides to \p width; odd surplus goes right.
  virtual DBuffer* center(unsigned int width, char pad);
  /// Up to \p count non-overlapping occurrences from \p start replaced.
  virtual DBuffer* change(char const* pattern, unsigned int patternLength,
                          char const* replacement,
                          unsigned int replacementLength, unsigned int start,
                          unsigned int count);
  /// The text repeated \p times times (filled by doubling).
  virtual DBuffer* copy(unsigned int times);
  /// \p data inserted behind byte \p position (0: at the front).
  virtual DBuffer* insert(char const* data, unsigned int length,
                          unsigned int position, char pad);
  /// Cut or padded on the right to \p width.
  virtual DBuffer* leftJustify(unsigned int width, char pad);
  /// A to Z lowered; in place when unshared.
  virtual DBuffer* lowerCase();
  /// \p data written over the text from \p position (0 reads as 1).
  virtual DBuffer* overlayWith(char const* data, unsigned int length,
                               unsigned int position, char pad);
  /// \p count bytes removed from \p start (0 reads as 1).
  virtual DBuffer* remove(unsigned int start, unsigned int count);
  /// The bytes in reverse order; in place when unshared.
  virtual DBuffer* reverse();
  /// Cut or padded on the left to \p width.
  virtual DBuffer* rightJustify(unsigned int width, char pad);
  /// Bytes of \p set removed at the ends \p mode names.
  virtual DBuffer* strip(char const* set, unsigned int length,
                         DStringEnum::StripMode mode);
  /// Bytes passing \p test removed at the ends \p mode names.
  virtual DBuffer* strip(DStringTest const& test, DStringEnum::StripMode mode);
  /// Each byte found in \p from replaced by the byte at the same index of
  /// \p to (or \p pad past its end); in place when unshared.
  virtual DBuffer* translate(char const* from, unsigned int fromLength,
                             char const* to, unsigned int toLength, char pad);
  /// a to z raised; in place when unshared.
  virtual DBuffer* upperCase();
  /// @}

  /// @name Search starts
  /// @{
  /// First position a forward search may look at, or 0.
  virtual unsigned int startSearch(unsigned int start,
                                   unsigned int patternLength) const;
  /// First position a backward search may look at, or 0.
  virtual unsigned int startBackwardsSearch(unsigned int start,
                                            unsigned int patternLength) const;
  /// @}

  /// @name Factory
  /// @{
  /// New buffer of \p length bytes (DDBCSBuffer when MB_CUR_MAX >= 2);
  /// lengths of 4294967271 or more raise the 1010 overflow.
  virtual DBuffer* allocate(unsigned int length) const;
  /// "DBuffer"; always the same pointer.
  virtual char const* className() const;
  /// @}

  /// New buffer of the three pieces in order; a null piece stands for its
  /// length in \p pad bytes. Raises the 1010 overflow past 32 bits.
  DBuffer* newBuffer(void const* data1, unsigned int length1, void const* data2,
                     unsigned int length2, void const* data3,
                     unsigned int length3, char pad) const;
  /// The empty buffer matching the receiver's class (no reference taken).
  DBuffer* null() const;

  /// The text bytes (length() of them, then a NUL).
  char* contents() { return reinterpret_cast<char*>(this) + sizeof(DBuffer); }
  /// The text bytes, read-only (length() of them, then a NUL).
  char const* contents() const {
    return reinterpret_cast<char const*>(this) + sizeof(DBuffer);
  }
  /// Text length in bytes.
  unsigned int length() const { return byteLength; }
  /// Current reference count (read without the lock: a snapshot). Count
  /// changes made under refGuard are releases, so 1 read here by the one
  /// holder also orders its writes after the other holders' reads.
  unsigned int useCount() const {
    return __atomic_load_n(&refCount, __ATOMIC_ACQUIRE);
  }

  /// Takes one reference (under refGuard once the process has a second
  /// thread).
  void addRef();
  /// Drops one reference (under refGuard once the process has a second
  /// thread); deletes the buffer at 0, after the lock is let go.
  void removeRef();

  /// The buffer whose text starts at \p text.
  static DBuffer* fromContents(char const* text) {
    return reinterpret_cast<DBuffer*>(const_cast<char*>(text) -
                                      sizeof(DBuffer));
  }
  /// The buffer factory: makes the empty buffers (run once).
  static DBuffer* initialize();
  /// The default empty buffer, made on first use.
  static DBuffer* defaultBuffer();
  /// Raises DInvalidRequest 1010 (file "dbuffer0", line 561).
  [[noreturn]] static void overflow();

  /// The one process-wide lock byte guarding every reference count, once
  /// the process has started a second thread (before, counts change without
  /// it: no other thread can race them).
  static char refGuard;
  /// The default empty buffer.
  static DBuffer* nullBuffer;
  /// The single-byte empty buffer of a multibyte process, else null.
  static DBuffer* nullDBuffer;

private:
  friend struct dinternal::BufferCount;
  unsigned int refCount;
  unsigned int byteLength;
};

#endif // D_STRING_DBUFFER_HPP
