// Buffer lifecycle: allocation and the buffer factory, the shared empty
// buffers, the process-wide reference-count lock, newBuffer and the 1010
// length-overflow exception.
#include "dbuffer.hpp"

#include "base/dcompiler_p.hpp"
#include "base/dthrow_p.hpp"
#include "string/dbufcount_p.hpp"
#include "string/dbufkind_p.hpp"
#include "string/dstring_p.hpp"

#include "ddbcsb.hpp"
#include "dexcept.hpp"
#include "dstring.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctype.h>
#include <langinfo.h>
#include <new>
#include <string>

static char const thisFile[] = "dbuffer0";
static constexpr unsigned long overflowMessage = 1010;
static constexpr unsigned long overflowLine = 561;

char DBuffer::refGuard = 0;
DBuffer* DBuffer::nullBuffer = nullptr;
DBuffer* DBuffer::nullDBuffer = nullptr;

//===--- Lifecycle --------------------------------------------------------===//

DBuffer::DBuffer(unsigned int length) : refCount(1), byteLength(length) {
  static_assert(sizeof(DBuffer) == 16, "header: vptr, count, length");
  contents()[length] = '\0';
}

DBuffer::~DBuffer() = default;

void DBuffer::operator delete(void* storage) {
  ::operator delete[](storage);
}

// The count changes live in string/dbufcount_p.hpp, inline for the handle;
// these are their forms for a process with more than one thread.
void dinternal::BufferCount::raiseLocked(DBuffer& b) {
  lock();
  dinternal::atomicStoreRelease(&b.refCount, b.refCount + 1);
  unlock();
}

bool dinternal::BufferCount::dropLocked(DBuffer& b) {
  lock();
  unsigned int const left = b.refCount - 1;
  dinternal::atomicStoreRelease(&b.refCount, left);
  unlock();
  return left == 0;
}

void dinternal::BufferCount::releaseLocked(DBuffer* b) {
  if (dropLocked(*b))
    destroy(b);
}

void DBuffer::addRef() {
  dinternal::BufferCount::raise(*this);
}

// The buffer is deleted after the lock is let go: once the count is 0 no
// other holder exists, and the lock already ordered the deletion after every
// other holder's release.
void DBuffer::removeRef() {
  dinternal::release(this);
}

//===--- Factory ----------------------------------------------------------===//

DBuffer* DBuffer::initialize() {
  refGuard = 0;
  if (MB_CUR_MAX < 2)
    return dinternal::constructBuffer<DBuffer>(0);
  // The multibyte branch: the default empty buffer is a DDBCSBuffer and a
  // single-byte empty buffer is kept for DBuffer::null().
  nullDBuffer = dinternal::constructBuffer<DBuffer>(0);
  return dinternal::constructBuffer<DDBCSBuffer>(0);
}

DBuffer* DBuffer::defaultBuffer() {
  if (nullBuffer == nullptr)
    nullBuffer = initialize();
  return nullBuffer;
}

dinternal::Codeset dinternal::currentCodeset() {
  char const* const codeset = nl_langinfo(CODESET);
  // Asked for every multibyte walk: the usual answer without a call.
  if (codeset[0] == 'U' && codeset[1] == 'T' && codeset[2] == 'F' &&
      codeset[3] == '-' && codeset[4] == '8' && codeset[5] == '\0')
    return Codeset::utf8;
  if (std::strcmp(codeset, "EUC-JP") == 0)
    return Codeset::eucJp;
  if (std::strcmp(codeset, "GB18030") == 0)
    return Codeset::gb18030;
  return Codeset::other;
}

int (*dinternal::stripSpaceTest(DBuffer const* b))(int) {
  bool const wide = DString::fgI18NState == 1 &&
                    dynamic_cast<DDBCSBuffer const*>(b) != nullptr;
  return wide ? ::zyn_iswspace : ::isspace;
}

DBuffer* DBuffer::null() const {
  // Class names compare by pointer identity: each class returns one literal.
  if (nullDBuffer != nullptr && nullDBuffer->className() == className())
    return nullDBuffer;
  return defaultBuffer();
}

namespace {

/// A new buffer of \p length bytes of the factory's multibyte class or of
/// the plain one, as their allocate() slots make it.
inline DBuffer* constructChecked(unsigned int length, bool multibyte) {
  dinternal::checkAllocatable(length);
  if (multibyte)
    return dinternal::constructBuffer<DDBCSBuffer>(length);
  return dinternal::constructBuffer<DBuffer>(length);
}

/// DBuffer::allocate(), inline for newBuffer()'s one-piece path. MB_CUR_MAX
/// is read at every call (a locale switch after the first string changes
/// the class of later buffers); the multibyte branch.
inline DBuffer* allocateBuffer(unsigned int length) {
  return constructChecked(length, MB_CUR_MAX >= 2);
}

} // namespace

DBuffer* DBuffer::allocate(unsigned int length) const {
  return allocateBuffer(length);
}

char const* DBuffer::className() const {
  static char const name[] = "DBuffer";
  return name;
}

void DBuffer::overflow() {
  dinternal::throwMessage<DInvalidRequest>(
      overflowMessage, DException::recoverable, thisFile, overflowLine);
}

namespace {

/// newBuffer() of any pieces: the empty buffer of \p b's class with one
/// more reference, or a new buffer of the pieces filled in order. Out of
/// line, so the one-piece path of newBuffer() keeps a small stack frame.
D_NOINLINE DBuffer* newPiecesBuffer(DBuffer const& b, void const* data1,
                                    unsigned int length1, void const* data2,
                                    unsigned int length2, void const* data3,
                                    unsigned int length3, char pad) {
  // The total may be at most 4294967294 (allocate() then asks for less).
  unsigned int const total =
      dinternal::checkedAdd(dinternal::checkedAdd(length1, length2), length3);
  if (total == 0) {
    DBuffer* empty = b.null();
    dinternal::BufferCount::raise(*empty);
    return empty;
  }
  DBuffer* result = b.allocate(total);
  char* out = result->contents();
  struct Piece {
    void const* data;
    unsigned int length;
  } const pieces[] = {{data1, length1}, {data2, length2}, {data3, length3}};
  for (Piece const& piece : pieces) {
    if (piece.length == 0)
      continue;
    if (piece.data == nullptr)
      std::memset(out, pad, piece.length);
    else
      std::memcpy(out, piece.data, piece.length);
    out += piece.length;
  }
  return result;
}

/// The allocate() of \p b: inline for the factory's two classes, through
/// the slot for any other.
DBuffer* allocateFor(DBuffer const& b, unsigned int length) {
  if (dinternal::plainBuffer(b))
    return allocateBuffer(length);
  if (dinternal::multibyteBuffer(b))
    return constructChecked(length, true);
  return b.allocate(length);
}

/// newBuffer() of one piece: \p length (at least 1) bytes from \p data.
DBuffer* newTextBuffer(DBuffer const& b, void const* data,
                       unsigned int length) {
  dinternal::checkedLength(length);
  DBuffer* result = allocateFor(b, length);
  std::memcpy(result->contents(), data, length);
  return result;
}

} // namespace

// Aligned to a 64-byte block: every string made from one text starts here,
// and a change elsewhere in the library that moved it cost each make up to
// 1 ns.
[[gnu::aligned(64)]] DBuffer*
DBuffer::newBuffer(void const* data1, unsigned int length1, void const* data2,
                   unsigned int length2, void const* data3,
                   unsigned int length3, char pad) const {
  // Most buffers are made from one piece of text: one copy, no walk.
  if (data1 != nullptr && length1 != 0 && (length2 | length3) == 0)
    return newTextBuffer(*this, data1, length1);
  return newPiecesBuffer(*this, data1, length1, data2, length2, data3, length3,
                         pad);
}

//===--- Character model (single-byte: every byte is a character) ---------===//

int DBuffer::charType(unsigned int) const {
  return 0;
}

char* DBuffer::next(char const* p) {
  return const_cast<char*>(p);
}

char const* DBuffer::next(char const* p) const {
  return p;
}

//===--- Description ------------------------------------------------------===//

DString DBuffer::asDebugInfo() const {
  char numbers[96];
  std::string info = className();
  std::snprintf(numbers, sizeof numbers, "(@%lu,refs=%u,len=%u,data=[",
                reinterpret_cast<unsigned long>(this), useCount(), length());
  info += numbers;
  // Short texts print whole (up to a NUL); from 24 bytes on, exactly the
  // first ten bytes, "..." and the last ten.
  if (length() < 24)
    info += contents();
  else
    info.append(contents(), 10)
        .append("...")
        .append(contents() + length() - 10, 10);
  info += "])";
  return DString(std::string_view(info));
}
