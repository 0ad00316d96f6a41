// The DString handle: construction from texts, characters and numbers,
// sharing and copy on write, the debug description, the comparison
// operators, the static texts and the load-time KOVRA_I18N switch.
#include "dstring.hpp"

#include "string/dbufcount_p.hpp"
#include "string/dbufkind_p.hpp"
#include "string/dstring_p.hpp"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <string>

char const* DString::null = "";
char const* DString::zero = "0";
char const* DString::maxLong = "0x7fffffffffffffffL";
int DString::fgI18NState = 0;
char* DString::nullBuffer = nullptr;

namespace {

// Sets DString::fgI18NState when the library is loaded: exactly two
// characters that read "ON" after toupper switch the wide strategy on.
struct I18N_Init {
  I18N_Init() {
    DString::fgI18NState = 0;
    char const* value = std::getenv("KOVRA_I18N");
    if (value == nullptr || std::strlen(value) != 2)
      return;
    char const upper[2] = {
        static_cast<char>(std::toupper(static_cast<unsigned char>(value[0]))),
        static_cast<char>(std::toupper(static_cast<unsigned char>(value[1])))};
    DString::fgI18NState = (upper[0] == 'O' && upper[1] == 'N') ? 1 : 0;
  }
};

I18N_Init const i18nInit;

// The default empty buffer's text, cached on first use. Constructors from
// data start from it (without a reference) so that newBuffer() of the
// default buffer decides the class of every new string.
char* defaultText() {
  if (DString::nullBuffer == nullptr)
    DString::nullBuffer = DBuffer::defaultBuffer()->contents();
  return DString::nullBuffer;
}

unsigned int measured(char const* text) {
  return text == nullptr ? 0u : dinternal::checkedLength(std::strlen(text));
}

} // namespace

//===--- Construction -----------------------------------------------------===//

// Copies, assignments and destruction change counts inline rather than
// through the exported addRef()/removeRef(), which a call from here would
// reach through the procedure linkage table; the locked forms are hidden
// functions of the library, called directly.
using dinternal::BufferCount;

DString::DString() : pBuffer(defaultText()) {
  BufferCount::raise(*buffer());
}

DString::DString(DString const& other) : DBase(), pBuffer(other.pBuffer) {
  BufferCount::raise(*buffer());
}

DString::DString(DBuffer* adopted) : pBuffer(adopted->contents()) {}

DString::DString(char const* text) : pBuffer(defaultText()) {
  initBuffer(text, measured(text), nullptr, 0, nullptr, 0, ' ');
}

DString::DString(signed char const* text)
    : DString(reinterpret_cast<char const*>(text)) {}

DString::DString(unsigned char const* text)
    : DString(reinterpret_cast<char const*>(text)) {}

DString::DString(char c) : pBuffer(defaultText()) {
  initBuffer(&c, 1, nullptr, 0, nullptr, 0, ' ');
}

DString::DString(signed char c) : DString(static_cast<char>(c)) {}

DString::DString(unsigned char c) : DString(static_cast<char>(c)) {}

DString::DString(short value) : pBuffer(defaultText()) {
  initBuffer(static_cast<long>(value));
}

DString::DString(int value) : pBuffer(defaultText()) {
  initBuffer(static_cast<long>(value));
}

DString::DString(long value) : pBuffer(defaultText()) {
  initBuffer(value);
}

DString::DString(unsigned short value) : pBuffer(defaultText()) {
  initBuffer(static_cast<unsigned long>(value));
}

DString::DString(unsigned int value) : pBuffer(defaultText()) {
  initBuffer(static_cast<unsigned long>(value));
}

DString::DString(unsigned long value) : pBuffer(defaultText()) {
  initBuffer(value);
}

DString::DString(double value) : pBuffer(defaultText()) {
  initBuffer(value);
}

DString::DString(void const* data, unsigned int length, char pad)
    : pBuffer(defaultText()) {
  initBuffer(data, length, nullptr, 0, nullptr, 0, pad);
}

DString::DString(void const* data1, unsigned int length1, void const* data2,
                 unsigned int length2, char pad)
    : pBuffer(defaultText()) {
  initBuffer(data1, length1, data2, length2, nullptr, 0, pad);
}

DString::DString(void const* data1, unsigned int length1, void const* data2,
                 unsigned int length2, void const* data3, unsigned int length3,
                 char pad)
    : pBuffer(defaultText()) {
  initBuffer(data1, length1, data2, length2, data3, length3, pad);
}

DString::DString(std::string_view text) : pBuffer(defaultText()) {
  initBuffer(text.data(), dinternal::checkedLength(text.size()), nullptr, 0,
             nullptr, 0, ' ');
}

DString::~DString() {
  dinternal::release(buffer());
  pBuffer = nullptr;
}

DString& DString::operator=(DString const& other) {
  // Reference the source first, so assigning a handle to itself is safe.
  BufferCount::raise(*other.buffer());
  dinternal::release(buffer());
  pBuffer = other.pBuffer;
  return *this;
}

//===--- Buffer management ------------------------------------------------===//

DString& DString::initBuffer(void const* data1, unsigned int length1,
                             void const* data2, unsigned int length2,
                             void const* data3, unsigned int length3,
                             char pad) {
  pBuffer = buffer()
                ->newBuffer(data1, length1, data2, length2, data3, length3, pad)
                ->contents();
  return *this;
}

// Large enough for any 64-bit integer and any "%.*g" at precision 15.
static constexpr std::size_t numberTextSize = 64;

DString& DString::initBuffer(long value) {
  char text[numberTextSize];
  std::snprintf(text, sizeof text, "%ld", value);
  return initBuffer(text, measured(text), nullptr, 0, nullptr, 0, ' ');
}

DString& DString::initBuffer(unsigned long value) {
  char text[numberTextSize];
  std::snprintf(text, sizeof text, "%lu", value);
  return initBuffer(text, measured(text), nullptr, 0, nullptr, 0, ' ');
}

DString& DString::initBuffer(double value) {
  char text[numberTextSize];
  std::snprintf(text, sizeof text, "%.*g", 15, value);
  return initBuffer(text, measured(text), nullptr, 0, nullptr, 0, ' ');
}

DString& DString::prepareToChange() {
  DBuffer* shared = buffer();
  // The count is read under the lock: a holder on another thread that has
  // just let go must be done reading before this handle writes in place.
  if (BufferCount::unshared(*shared))
    return *this;
  DBuffer* own =
      shared->newBuffer(pBuffer, shared->length(), nullptr, 0, nullptr, 0, ' ');
  pBuffer = own->contents();
  dinternal::release(shared);
  return *this;
}

char* DString::nullBuf() {
  return nullBuffer;
}

//===--- Description and output -------------------------------------------===//

DString DString::asDebugInfo() const {
  char address[32];
  std::snprintf(address, sizeof address, "%lu",
                reinterpret_cast<unsigned long>(this));
  DString const inner = buffer()->asDebugInfo();
  std::string info = "DString(@";
  info.append(address).append(",pBuffer->");
  info.append(inner.pBuffer, inner.length()).append(")");
  return DString(std::string_view(info));
}

std::ostream& operator<<(std::ostream& os, DString const& text) {
  return os << static_cast<char const*>(text);
}

//===--- Comparison -------------------------------------------------------===//
// Built on the buffer's comparison codes: 0 equal, 1 after, 2 before.

namespace {

unsigned int order(DString const& a, DString const& b) {
  return a.buffer()->compare(static_cast<char const*>(b), b.length());
}

unsigned int order(DString const& a, char const* b) {
  return a.buffer()->compare(b, b == nullptr ? 0u : measured(b));
}

// Whether \p a and \p b hold the same text. Where \p a's buffer is one of
// the factory's classes and the wide strategies are off, its compare()
// orders by memcmp, so equal means the same length and the same bytes:
// decided here without the virtual call. Anything else asks compare().
bool equal(DString const& a, DString const& b) {
  DBuffer const* const buffer = a.buffer();
  if (dinternal::factoryBuffer(*buffer) && DString::fgI18NState != 1) {
    unsigned int const n = buffer->length();
    char const* const mine = a;
    char const* const theirs = b;
    return n == b.length() && std::memcmp(mine, theirs, n) == 0;
  }
  return order(a, b) == 0;
}

// The code of \p b against \p a, seen from \p a's side.
unsigned int flipped(unsigned int code) {
  return code == 1 ? 2u : code == 2 ? 1u : code;
}

} // namespace

bool operator==(DString const& a, DString const& b) {
  return equal(a, b);
}
bool operator!=(DString const& a, DString const& b) {
  return !equal(a, b);
}
bool operator<(DString const& a, DString const& b) {
  return order(a, b) == 2;
}
bool operator<=(DString const& a, DString const& b) {
  return order(a, b) != 1;
}
bool operator>(DString const& a, DString const& b) {
  return order(a, b) == 1;
}
bool operator>=(DString const& a, DString const& b) {
  return order(a, b) != 2;
}

bool operator==(DString const& a, char const* b) {
  return order(a, b) == 0;
}
bool operator!=(DString const& a, char const* b) {
  return order(a, b) != 0;
}
bool operator<(DString const& a, char const* b) {
  return order(a, b) == 2;
}
bool operator<=(DString const& a, char const* b) {
  return order(a, b) != 1;
}
bool operator>(DString const& a, char const* b) {
  return order(a, b) == 1;
}
bool operator>=(DString const& a, char const* b) {
  return order(a, b) != 2;
}

bool operator==(char const* a, DString const& b) {
  return flipped(order(b, a)) == 0;
}
bool operator!=(char const* a, DString const& b) {
  return flipped(order(b, a)) != 0;
}
bool operator<(char const* a, DString const& b) {
  return flipped(order(b, a)) == 2;
}
bool operator<=(char const* a, DString const& b) {
  return flipped(order(b, a)) != 1;
}
bool operator>(char const* a, DString const& b) {
  return flipped(order(b, a)) == 1;
}
bool operator>=(char const* a, DString const& b) {
  return flipped(order(b, a)) != 2;
}
