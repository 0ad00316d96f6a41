// Shared by the multibyte search and edit tests: sample characters for the
// current multibyte locale, a decoder that splits bytes into characters,
// and a leak probe for operations that raise.
#ifndef D_TESTS_DMBTEST_HPP
#define D_TESTS_DMBTEST_HPP

#include "dstring.hpp"
#include "dtest_support.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <gtest/gtest.h>
#include <malloc.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace mbtest {

/// Characters of the current locale: a two-byte one, the longest the tests
/// use (3 or 4 bytes), and a Greek alpha in small and capital form.
struct Chars {
  std::string two;
  std::string wide;
  std::string alpha;
  std::string capitalAlpha;
  /// Length in bytes of wide.
  unsigned int l() const { return static_cast<unsigned int>(wide.size()); }
};

/// Fills \p c for the current locale; false when it is not multibyte or not
/// one the tests know.
inline bool chars(Chars& c) {
  if (MB_CUR_MAX < 2)
    return false;
  if (dtest::localeIs("UTF-8"))
    c = {"\xC3\xA9", "\xE3\x81\x82", "\xCE\xB1", "\xCE\x91"};
  else if (dtest::localeIs("EUC-JP"))
    c = {"\xA4\xA2", "\x8F\xB0\xA1", "\xA6\xC1", "\xA6\xA1"};
  else if (dtest::localeIs("GB18030"))
    c = {"\xD6\xD0", "\x81\x30\x81\x30", "\xA6\xC1", "\xA6\xA1"};
  else
    return false;
  return true;
}

/// Splits \p s into its characters; false when a sequence is invalid or
/// incomplete.
inline bool decode(std::string const& s, std::vector<std::string>& out) {
  std::mbstate_t state{};
  for (std::size_t i = 0; i < s.size();) {
    std::size_t n = std::mbrlen(s.data() + i, s.size() - i, &state);
    if (n == static_cast<std::size_t>(-1) || n == static_cast<std::size_t>(-2))
      return false;
    if (n == 0)
      n = 1;
    out.push_back(s.substr(i, n));
    i += n;
  }
  return true;
}

/// Bytes the C library's heap holds in use (0 where it cannot tell, as
/// under AddressSanitizer, whose own leak check covers that lane).
inline std::size_t heapInUse() {
  return mallinfo2().uordblks;
}

/// Checks the NUL behind the text of \p s.
inline void expectTerminated(DString const& s) {
  EXPECT_EQ('\0', static_cast<char const*>(s)[s.length()]);
}

/// A predicate that raises an int from test().
class ThrowingTest : public DStringTest {
public:
  ThrowingTest() : DStringTest() {}
  int test(int) const override { throw 7; }
};

/// \p s as hexadecimal bytes, for traces.
inline std::string hex(std::string const& s) {
  std::string out;
  for (unsigned char ch : s) {
    char digits[4];
    std::snprintf(digits, sizeof digits, "%02X ", ch);
    out += digits;
  }
  return out;
}

/// A copy of some bytes that ends right before a page that cannot be read,
/// so that reading one byte past them ends the process (SIGSEGV).
class GuardedBytes {
public:
  explicit GuardedBytes(std::string const& bytes)
      : page(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))) {
    void* const m = ::mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m == MAP_FAILED ||
        ::mprotect(static_cast<char*>(m) + page, page, PROT_NONE) != 0)
      std::abort();
    area = static_cast<char*>(m);
    start = area + page - bytes.size();
    std::memcpy(start, bytes.data(), bytes.size());
  }
  ~GuardedBytes() { ::munmap(area, 2 * page); }
  GuardedBytes(GuardedBytes const&) = delete;
  GuardedBytes& operator=(GuardedBytes const&) = delete;
  char const* data() const { return start; }

private:
  std::size_t page;
  char* area = nullptr;
  char* start = nullptr;
};

} // namespace mbtest

/// Declares mbtest::Chars \p c or skips the test outside a known locale.
#define MB_CHARS(c)                                                            \
  mbtest::Chars c;                                                             \
  if (!mbtest::chars(c))                                                       \
  GTEST_SKIP() << "not a known multibyte locale"

#endif // D_TESTS_DMBTEST_HPP
