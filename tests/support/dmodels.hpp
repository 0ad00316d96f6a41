// Reference models of the single-byte string operations on std::string,
// which the fuzz targets check the library against, and byte helpers.
#ifndef D_TESTS_DMODELS_HPP
#define D_TESTS_DMODELS_HPP

#include "dbuffer.hpp"
#include "dstring.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace dtest {

/// A string holding exactly the bytes of \p s, NULs included.
inline DString make(std::string const& s) {
  return DString(std::string_view(s));
}

/// All bytes of a string, NULs included.
inline std::string bytes(DString const& s) {
  return std::string(static_cast<char const*>(s), s.length());
}

/// The length of \p s as the library counts it.
inline unsigned int len(std::string const& s) {
  return static_cast<unsigned int>(s.size());
}

/// A string holding \p s in a buffer of class \p B, derived from DBuffer
/// without data members, allocated as the library allocates its buffers.
template <class B>
DString makeIn(std::string const& s) {
  auto* b = new (::operator new[](sizeof(B) + s.size() + 1)) B(len(s));
  std::memcpy(b->contents(), s.data(), s.size());
  return DString(static_cast<DBuffer*>(b));
}

} // namespace dtest

namespace dmodel {

using u32 = unsigned int;

inline bool inSet(char c, std::string const& set) {
  return set.find(c) != std::string::npos;
}

/// The six white-space bytes that separate words.
inline bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' ||
         c == '\r';
}

//===--- Searches (1-based positions, 0 for none) ------------------------===//

inline u32 indexOf(std::string const& t, std::string const& p, u32 start) {
  std::size_t const at = t.find(p, start == 0 ? 0 : start - 1);
  return p.empty() || at == std::string::npos ? 0 : static_cast<u32>(at + 1);
}

inline u32 lastIndexOf(std::string const& t, std::string const& p, u32 start) {
  if (p.empty() || p.size() > t.size() || start == 0)
    return 0;
  std::size_t const at = t.rfind(p, std::min<std::size_t>(start, t.size()) - 1);
  return at == std::string::npos ? 0 : static_cast<u32>(at + 1);
}

/// Forward and backward scans for a byte with \p member; an empty set
/// answers the (clamped) start when \p emptySetAnswer, else 0.
template <class Member>
u32 forward(std::string const& t, u32 start, bool emptySetAnswer, bool setEmpty,
            Member member) {
  std::size_t pos = start == 0 ? 1 : start;
  if (pos > t.size() || setEmpty)
    return pos <= t.size() && emptySetAnswer ? static_cast<u32>(pos) : 0;
  while (pos <= t.size() && !member(t[pos - 1]))
    ++pos;
  return pos <= t.size() ? static_cast<u32>(pos) : 0;
}

template <class Member>
u32 backward(std::string const& t, u32 start, bool emptySetAnswer,
             bool setEmpty, Member member) {
  std::size_t pos = std::min<std::size_t>(start, t.size());
  if (pos == 0 || setEmpty)
    return emptySetAnswer ? static_cast<u32>(pos) : 0;
  while (pos >= 1 && !member(t[pos - 1]))
    --pos;
  return static_cast<u32>(pos);
}

//===--- Edits ------------------------------------------------------------===//

/// Replaces up to \p count non-overlapping occurrences from \p start.
inline std::string change(std::string const& t, std::string const& p,
                          std::string const& r, u32 start, u32 count) {
  std::string out;
  std::size_t copied = 0;
  u32 from = start;
  for (u32 done = 0; done < count; ++done) {
    u32 const hit = indexOf(t, p, from);
    if (hit == 0)
      break;
    out += t.substr(copied, hit - 1 - copied) + r;
    copied = hit - 1 + p.size();
    from = hit + static_cast<u32>(p.size());
  }
  return out + t.substr(copied);
}

/// strip(set, mode): mode 0 leading, 1 trailing, 2 both.
inline std::string strip(std::string const& t, std::string const& set,
                         int mode) {
  std::size_t const first = t.find_first_not_of(set);
  if (first == std::string::npos)
    return std::string();
  std::size_t const end = t.find_last_not_of(set) + 1;
  return mode == 0
             ? t.substr(first)
             : t.substr(mode == 1 ? 0 : first, end - (mode == 1 ? 0 : first));
}

//===--- Words and phrases ------------------------------------------------===//

struct Word {
  std::size_t pos; // 1-based
  std::size_t length;
};

inline std::vector<Word> words(std::string const& t) {
  std::vector<Word> out;
  for (std::size_t i = 0, j; i < t.size(); i = j) {
    for (j = i; j < t.size() && !isBlank(t[j]);)
      ++j;
    if (j == i)
      ++j;
    else
      out.push_back({i + 1, j - i});
  }
  return out;
}

/// The word number where the words of \p phrase follow each other in
/// \p t, searching from word \p start; 0 for none.
inline u32 findPhrase(std::string const& t, std::string const& phrase,
                      u32 start) {
  std::vector<Word> const w = words(t), pw = words(phrase);
  if (pw.empty()) // a phrase without words is found where the search starts
    return start <= w.size() + 1 ? start : 0;
  for (std::size_t k = start == 0 ? 1 : start; k + pw.size() - 1 <= w.size();
       ++k) {
    bool same = true;
    for (std::size_t i = 0; i < pw.size() && same; ++i)
      same = w[k + i - 1].length == pw[i].length &&
             t.compare(w[k + i - 1].pos - 1, pw[i].length, phrase,
                       pw[i].pos - 1, pw[i].length) == 0;
    if (same)
      return static_cast<u32>(k);
  }
  return 0;
}

/// isLike: the whole text against the whole pattern.
inline bool like(std::string const& p, std::string const& t, char anyString,
                 char anyChar) {
  // match[i][j]: pattern from i matches text from j.
  std::vector<std::vector<char>> m(p.size() + 1,
                                   std::vector<char>(t.size() + 1, 0));
  m[p.size()][t.size()] = 1;
  for (std::size_t i = p.size(); i-- > 0;)
    for (std::size_t j = t.size() + 1; j-- > 0;)
      m[i][j] = p[i] == anyString
                    ? m[i + 1][j] || (j < t.size() && m[i][j + 1])
                    : j < t.size() && (p[i] == anyChar || p[i] == t[j]) &&
                          m[i + 1][j + 1];
  return t == p || m[0][0];
}

//===--- Radix conversions (invalid input gives "") -----------------------===//

inline std::string c2x(std::string const& t) {
  std::string out;
  for (unsigned char b : t)
    out += {"0123456789ABCDEF"[b >> 4], "0123456789ABCDEF"[b & 15]};
  return out;
}

inline std::string x2c(std::string t) {
  std::string const digits = "0123456789abcdef0123456789ABCDEF";
  if (t.find_first_not_of(digits) != std::string::npos)
    return std::string();
  if (t.size() % 2 != 0)
    t.insert(t.begin(), '0');
  std::string out;
  for (std::size_t i = 0; i < t.size(); i += 2)
    out.push_back(static_cast<char>(digits.find(t[i]) % 16 * 16 +
                                    digits.find(t[i + 1]) % 16));
  return out;
}

inline std::string c2b(std::string const& t) {
  std::string out;
  for (unsigned char b : t)
    for (int bit = 7; bit >= 0; --bit)
      out.push_back((b >> bit) & 1 ? '1' : '0');
  return out;
}

/// Bytes 0x80-0xFF count as binary digits with the value 0.
inline std::string b2c(std::string t) {
  for (char c : t)
    if (!(c == '0' || c == '1' || (c & 0x80) != 0))
      return std::string();
  while (t.size() % 8 != 0)
    t.insert(t.begin(), '0');
  std::string out;
  for (std::size_t i = 0; i < t.size(); i += 8) {
    unsigned v = 0;
    for (std::size_t j = 0; j < 8; ++j)
      v = v * 2 + (t[i + j] == '1' ? 1 : 0);
    out.push_back(static_cast<char>(v));
  }
  return out;
}

/// Decimal digits to the shortest big-endian byte string (at least one).
inline std::string d2c(std::string const& t) {
  if (t.empty() || t.find_first_not_of("0123456789") != std::string::npos)
    return std::string();
  std::vector<unsigned> number{0}; // big-endian bytes
  for (char c : t) {
    unsigned carry = static_cast<unsigned>(c - '0');
    for (std::size_t i = number.size(); i-- > 0;) {
      unsigned const v = number[i] * 10 + carry;
      number[i] = v & 0xFF;
      carry = v >> 8;
    }
    if (carry != 0)
      number.insert(number.begin(), carry);
  }
  return std::string(number.begin(), number.end());
}

/// Big-endian bytes to decimal: times 256 plus the next byte, in decimal.
inline std::string c2d(std::string const& t) {
  std::string digits = t.empty() ? "" : "0";
  for (unsigned char b : t) {
    unsigned carry = b;
    for (std::size_t i = digits.size(); i-- > 0; carry /= 10) {
      carry += static_cast<unsigned>(digits[i] - '0') * 256;
      digits[i] = static_cast<char>('0' + carry % 10);
    }
    for (; carry != 0; carry /= 10)
      digits.insert(digits.begin(), static_cast<char>('0' + carry % 10));
  }
  // All zero: four bytes or fewer give "0"; from five on the padding stays.
  return digits != "0" ? digits
                       : std::string(t.size() < 5 ? 1 : 3 * t.size() - 11, '0');
}

} // namespace dmodel

#endif // D_TESTS_DMODELS_HPP
