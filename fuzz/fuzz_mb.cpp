// Fuzz target: multibyte strings in the UTF-8, EUC-JP and GB18030 locales
// (ZYN_FUZZ_LOCALE, set before any string exists: the first string fixes
// the buffer class), with both values of DString::fgI18NState. On valid
// text the searches, edits, position mappings, conversions and wide-buffer
// searches equal a model built on the text's own characters (so GB18030
// codes whose conversion does not round-trip keep their bytes). On any
// bytes the character walk, the search starts and the classes follow the
// model's split, where a byte that starts no character is a character of
// one byte (wide value WEOF); such bytes alone may raise 1012, from
// dnlsutil, only with flag 1 or where a conversion is the rule, and the
// handle keeps its value. Arguments end right before an unreadable page.
#include "../tests/support/dmbmodels.hpp"
#include "../tests/support/dmodels.hpp"
#include "fuzz_input.hpp"

#include "ddbcsb.hpp"
#include "dexcept.hpp"
#include "dnlsutil.hpp"
#include "dstring.hpp"

#include <algorithm>
#include <cctype>
#include <climits>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

using dfuzz::fail;
using dfuzz::show;

namespace {

using u32 = unsigned int;
using Chars = std::vector<std::string>;

std::string bytesOf(DString const& s) {
  return std::string(static_cast<char const*>(s), s.length());
}
std::string num(unsigned long v) {
  return std::to_string(v) + " ";
}

// A text split into its characters (bytes, wide value, start offset; one
// more start: the length); NUL is a character of one byte.
struct Model {
  std::string t;
  Chars chars;
  std::wstring wide;
  std::vector<u32> starts;
  bool valid = true;
  std::size_t wideCount = 0; // characters of two or more display columns

  explicit Model(std::string const& text) : t(text) {
    std::mbstate_t state{};
    for (std::size_t i = 0, n; i < t.size(); i += n) {
      wchar_t w = 0;
      n = std::mbrtowc(&w, t.data() + i, t.size() - i, &state);
      if (n == std::size_t(-1) || n == std::size_t(-2)) {
        valid = false, state = std::mbstate_t{}, n = 1;
        w = static_cast<wchar_t>(WEOF); // what the classifiers see
      }
      n = n ? n : 1;
      wideCount += n > 1 && wcwidth(w) >= 2;
      starts.push_back(u32(i));
      chars.push_back(t.substr(i, n));
      wide += w;
    }
    starts.push_back(size());
  }
  u32 count() const { return u32(chars.size()); }
  u32 size() const { return u32(t.size()); }
  // 0-based character holding 1-based byte pos (1..n); first starting at
  // or after it.
  u32 holding(u32 pos) const {
    return u32(std::upper_bound(starts.begin(), starts.end() - 1, pos - 1) -
               starts.begin() - 1);
  }
  u32 from(u32 pos) const {
    return u32(std::lower_bound(starts.begin(), starts.end() - 1, pos - 1) -
               starts.begin());
  }
  // The first character start (1-based) at or after s for which ok(start)
  // holds, or (back) the last at or before s; 0 for none or s 0.
  template <class Ok>
  u32 scan(u32 s, bool back, Ok ok) const {
    u32 hit = 0;
    for (u32 i = 0; i < count(); ++i)
      if (s && (back ? starts[i] < s : starts[i] >= s - 1) && (back || !hit) &&
          ok(starts[i] + 1))
        hit = starts[i] + 1;
    return hit;
  }
  // startSearch() and startBackwardsSearch() for a pattern of need bytes.
  u32 fwd(u32 start, u32 need) const {
    u32 const s = start ? start : 1;
    return s > size() || need > size() - s + 1 ? 0 : scan(s, false, any);
  }
  u32 bwd(u32 start, u32 need) const {
    return need > size()
               ? 0
               : scan(std::min({start, size() - need + 1}), true, any);
  }
  static bool any(u32) { return true; }
  // Characters [first, limit) that fit in width bytes, then pad.
  std::string field(u32 first, u32 limit, u32 width, char pad) const {
    std::string out;
    for (u32 i = first; i < limit && out.size() + chars[i].size() <= width; ++i)
      out += chars[i];
    return out + std::string(width - out.size(), pad);
  }
  // subString(pos, width, pad): pad for a cut character, then whole ones.
  std::string sub(u32 pos, u32 width, char pad) const {
    pos = pos ? pos : 1;
    u32 const k = from(pos), gap = k < count() ? starts[k] + 1 - pos : 0;
    if (pos > size() || k == count() || width <= gap)
      return std::string(width, pad);
    return std::string(gap, pad) + field(k, count(), width - gap, pad);
  }
  // subString(pos): the rest, each byte of a cut character a pad byte.
  std::string rest(u32 pos, char pad) const {
    pos = pos ? pos : 1;
    u32 const k = from(pos);
    return pos > size()
               ? ""
               : std::string(starts[k] + 1 - pos, pad) + t.substr(starts[k]);
  }
  // The characters left after strip (mode 0 leading, 1 trailing, 2 both).
  template <class Strip>
  std::string strip(Strip stripped, u32 mode) const {
    u32 first = 0, last = count();
    while (mode != 1 && first < last && stripped(first))
      ++first;
    while (mode != 0 && last > first && stripped(last - 1))
      --last;
    return t.substr(starts[first], starts[last] - starts[first]);
  }
};

// One generated case: the text and its two arguments, the numbers.
struct Case {
  Model m, pm, qm;
  u32 a, b, start;
  char pad;
  int flag;
};

// The pattern and set searches (ops 0-6) for argument p from a.
u32 search(Case const& c, u32 op, u32 a) {
  Model const& m = c.m;
  std::string const &t = m.t, &p = c.pm.t;
  u32 const pl = c.pm.size();
  auto const at = [&](u32 q) { return t.compare(q - 1, pl, p) == 0; };
  auto const in = [&](u32 q) { // a set of one byte compares bytes
    Chars const& set = c.pm.chars;
    return pl == 1 ? t[q - 1] == p[0]
                   : std::count(set.begin(), set.end(), m.chars[m.holding(q)]);
  };
  auto const out = [&](u32 q) { return !in(q); };
  bool const back = op == 1 || op == 4 || op == 5;
  u32 const s = back ? m.bwd(a, op == 1 ? pl : 1) : m.fwd(a, op ? 1 : pl);
  u32 hits = 0;
  switch (op) {
  case 0:
    return pl == 1 ? search(c, 2, a) : s && pl ? m.scan(s, false, at) : 0;
  case 1:
    return s && pl ? m.scan(s, true, at) : 0;
  case 2:
  case 4:
    return s && pl ? m.scan(s, op == 4, in) : 0;
  case 3: // a set of one byte is passed byte by byte
    for (u32 q = s; pl == 1 && q && q <= m.size(); ++q)
      if (t[q - 1] != p[0])
        return q;
    return s == 0 || pl == 0 ? s : pl == 1 ? 0 : m.scan(s, false, out);
  case 5:
    return s == 0 || pl == 0 ? s : m.scan(s, true, out);
  default: // occurrences, each behind the previous
    for (u32 hit = search(c, 0, a); hit; hit = search(c, 0, hit + pl))
      ++hits;
    return hits;
  }
}

// The predicate searches: flag 1 tests wide values, flag 0 the first byte
// of each character as a signed char (every byte in the forward any-of).
std::string predicates(Case const& c, int (*test)(int)) {
  Model const& m = c.m;
  u32 const a = c.a, back = std::min(a, m.size());
  auto const is = [&](bool want) {
    return [&, want](u32 q) {
      return want ==
             (0 != (c.flag ? test(int(m.wide[m.holding(q)]))
                           : test(static_cast<signed char>(m.t[q - 1]))));
    };
  };
  u32 anyOf = 0;
  for (u32 q = m.fwd(a, 1); q && q <= m.size() && !anyOf; ++q)
    anyOf = is(true)(q) ? q : 0;
  u32 const s = c.flag ? (a ? a : 1) : m.fwd(a, 1),
            e = c.flag ? back : m.bwd(a, 1);
  anyOf = c.flag ? m.scan(s, false, is(true)) : anyOf;
  return num(anyOf) + num(m.scan(s, false, is(false))) +
         num(m.scan(e, true, is(true))) + num(m.scan(e, true, is(false))) +
         num(anyOf) + num(m.scan(e, true, is(true)));
}

// What edit op (7-20, 25, 28) gives under the flag; false if no model.
bool editModel(u32 op, Case const& c, std::string& want) {
  Model const& m = c.m;
  std::string const &t = m.t, &p = c.pm.t;
  u32 const n = m.size(), pl = c.pm.size(), b = c.b, count = m.count();
  char const pad = c.pad;
  auto const in = [&](Model const& set, u32 i) { // index in set, or count
    u32 j = 0;
    while (j < set.count() &&
           (c.flag ? set.wide[j] != m.wide[i] : set.chars[j] != m.chars[i]))
      ++j;
    return j;
  };
  u32 const at = b ? b : 1, s = c.start ? c.start : 1;
  std::size_t nul = 0;
  want.clear();
  switch (op) {
  case 7:
    return want = m.sub(c.start, b, pad), true;
  case 8:
    // flag 0: a field of the rest's length, so start 0 adds a blank
    want = c.flag || c.start > n ? m.rest(c.start, ' ')
                                 : m.sub(c.start, n - c.start + 1, ' ');
    return true;
  case 9: // case changes: wide characters, or single-byte letters
  case 10:
    for (u32 i = 0; i < count; ++i) {
      wint_t const w = wint_t(m.wide[i]);
      wchar_t const to = wchar_t(op == 9 ? std::towupper(w) : std::towlower(w));
      char out[MB_LEN_MAX];
      std::mbstate_t state{};
      char const b0 = m.chars[i][0];
      if (!c.flag)
        want += m.chars[i].size() == 1 && std::isalpha(b0)
                    ? std::string(1, char(op == 9 ? std::toupper(b0)
                                                  : std::tolower(b0)))
                    : m.chars[i];
      else
        want += to == m.wide[i]
                    ? m.chars[i]
                    : std::string(out, std::wcrtomb(out, to, &state));
    }
    return true;
  case 11: // translate(p, q, pad): the first entry decides
    for (u32 i = 0; i < count; ++i) {
      u32 const j = in(c.pm, i);
      want += j == c.pm.count()  ? m.chars[i]
              : j < c.qm.count() ? c.qm.chars[j]
                                 : std::string(1, pad);
      nul = j < c.pm.count() ? want.size() : nul;
    }
    // Flag 0 copies what follows the last match up to a NUL, NULs after.
    nul = c.flag ? std::string::npos : want.find('\0', nul);
    if (nul != std::string::npos)
      want.replace(nul, std::string::npos, want.size() - nul, '\0');
    return true;
  case 12:
    return want = m.strip([&](u32 i) { return in(c.pm, i) < c.pm.count(); },
                          b % 3),
           true;
  case 13:
    for (u32 i = count; i-- > 0;)
      want += m.chars[i];
    return true;
  case 14: // overlayWith(p, b): flag 0 blanks a character cut on the left
    if (pl == 0 && b <= n)
      return want = t, true;
    if (at > n)
      return want = t + std::string(at - 1 - n, pad) + p, true;
    want = m.sub(1, at - 1, c.flag ? pad : ' ') + p;
    return want += at + pl <= n ? m.rest(at + pl, pad) : "", true;
  case 15: // insert(p, b): inside a character, behind (1) or before (0) it
    if (b > n)
      return want = t + std::string(b - n, pad) + p, true;
    nul = b == 0             ? 0
          : c.flag || b == n ? m.starts[m.holding(b) + 1]
                             : m.starts[m.holding(b + 1)];
    return want = t.substr(0, nul) + p + t.substr(nul), true;
  case 16: // remove(start, b): cut characters become blanks
    nul = s + std::min(b, n - std::min(n, s - 1));
    want = c.start > n || b == 0 ? t : m.sub(1, s - 1, ' ');
    return want += c.start <= n && b && nul <= n ? m.rest(u32(nul), ' ') : "",
           true;
  case 17:
    return want =
               b >= n ? t + std::string(b - n, pad) : m.field(0, count, b, pad),
           true;
  case 18:
    return want = b >= n ? std::string(b - n, pad) + t
                  : b    ? m.rest(n - b + 1, pad)
                         : "",
           true;
  case 19: // center(b); flag 1 leaves the last character out
    if (b >= n)
      want = std::string((b - n) / 2, pad) + t +
             std::string(b - n - (b - n) / 2, pad);
    else
      want = m.field(m.holding((n - b) / 2 + 1), count - c.flag, b, pad);
    return true;
  case 20: // change(p, q, b, all): matches on character starts only
    for (u32 hit = search(c, 0, b); hit; hit = search(c, 0, hit + pl))
      want += t.substr(nul, hit - 1 - nul) + c.qm.t, nul = hit - 1 + pl;
    return want += t.substr(nul), true;
  case 25:
    return want = t + p, true;
  case 28: // strip(): white space, by iswspace (1) or isspace on bytes (0)
    return want = m.strip(
               [&](u32 i) {
                 return c.flag ? std::iswspace(wint_t(m.wide[i])) != 0
                               : m.chars[i].size() == 1 &&
                                     std::isspace(m.chars[i][0]);
               },
               2),
           true;
  default:
    return false;
  }
}

// The wide buffer of the text: its characters and searches with argument
// p; the conversion back to bytes; insWCS2WCS.
void checkWideBuffer(Case const& c) {
  std::wstring const &w = c.m.wide, &pw = c.pm.wide;
  u32 const count = u32(w.size()), pc = u32(pw.size()), a = c.a, b = c.b;
  DWBuffer const wb(c.m.t.data(), c.m.size());
  DWBuffer pb(c.pm.t.data(), c.pm.size());
  auto const scan = [&](bool back, u32 need, auto ok) -> u32 {
    for (long k = back ? std::min(a, count - std::min(count, need - 1)) : a;
         a && need <= count && k >= 1 && k + need - 1 <= count;
         k += back ? -1 : 1)
      if (ok(u32(k)))
        return u32(k);
    return 0;
  };
  auto const match = [&](u32 k) { // as wcsncmp: equal up to a shared NUL
    for (u32 j = 0; j < pc; ++j)
      if (w[k - 1 + j] != pw[j] || pw[j] == L'\0')
        return w[k - 1 + j] == pw[j];
    return pc > 0;
  };
  auto const in = [&](u32 k) { return pw.find(w[k - 1]) != pw.npos; };
  auto const out = [&](u32 k) { return !in(k); };
  std::string const want = num(scan(false, pc, match)) +
                           num(scan(false, 1, in)) + num(scan(false, 1, out)) +
                           num(scan(true, pc, match)) + num(scan(true, 1, in)) +
                           num(scan(true, 1, out));
  std::string const got =
      num(wb.positionOf(pb, a)) + num(wb.positionOfAnyOf(pb, a)) +
      num(wb.positionOfAnyBut(pb, a)) + num(wb.lastPositionOf(pb, a)) +
      num(wb.lastPositionOfAnyOf(pb, a)) + num(wb.lastPositionOfAnyBut(pb, a));
  std::string const what = show(c.m.t) + " arg " + show(c.pm.t);
  bool const has = pc && wb.hasWChar(pw[0]);
  if (std::wstring(wb.data(), wb.count() + 1) != w + L'\0' || got != want ||
      (pc && has != (w.find(pw[0]) != w.npos)))
    fail("DWBuffer", what + " gave " + got + "want " + want);
  wb.reverse();
  if (std::wstring(wb.data(), wb.count()) != std::wstring(w.rbegin(), w.rend()))
    fail("DWBuffer::reverse", what);
  // Back to bytes: whole characters while they fit, then pad or nothing.
  std::string bytes;
  for (wchar_t ch : w) {
    char one[MB_LEN_MAX];
    std::mbstate_t state{};
    std::size_t const size = std::wcrtomb(one, ch, &state);
    if (bytes.size() + size > b)
      break;
    bytes.append(one, size);
  }
  bytes.resize(a & 1 ? b : bytes.size(), '*');
  std::vector<char> buf(b + 1, '#');
  if (cvtWCS2MBS(w.data(), count, buf.data(), b, int(a & 1), '*') !=
          bytes.size() ||
      std::string(buf.data(), bytes.size() + 1) != bytes + "#")
    fail("cvtWCS2MBS", what + " size " + std::to_string(b));
  int const at = int(b % (count + 2)) - 1, insLength = a % 5 ? int(pc) : -1;
  std::wstring const joined =
      w.substr(0, std::max(at, 0)) + (insLength > 0 ? pw : L"") +
      (at < int(count) ? w.substr(std::max(at, 0)) : L"");
  std::wstring wsrc = w, wins = pw, wout(count + pc, L'#');
  int const written =
      insWCS2WCS(&wsrc[0], int(count), &wins[0], insLength, at, &wout[0]);
  if (wout.substr(0, std::size_t(std::max(written, 0))) != joined)
    fail("insWCS2WCS", what + " at " + std::to_string(at));
}

// The byte scanners over a run of one byte holding one other byte: blocks
// of 64 bytes, then a tail.
void checkByteScans(Case const& c) {
  std::string d(c.m.size(), "07aF\x80"[c.b % 5]);
  if (!d.empty())
    d[c.a % d.size()] = c.m.t[c.a % d.size()];
  char const* const g = dmodel::guardedCopy(1, d);
  std::size_t const other = d.empty() ? 0 : d.find_first_not_of(d[0]) + 1;
  if (indexThatIsNot(g, u32(d.size()), d.empty() ? 'x' : d[0]) != other ||
      isAllDigits(g, u32(d.size())) !=
          (d.find_first_not_of("0123456789") == d.npos) ||
      isAllHexDigits(g, u32(d.size())) !=
          (d.find_first_not_of("0123456789abcdefABCDEF") == d.npos))
    fail("byte scans", show(d));
}

// The character walk on any bytes; the position mappings on valid text.
void checkCharacters(DString const& s, Model const& m) {
  auto const& buf = *static_cast<DDBCSBuffer const*>(s.buffer());
  char const* const text = s;
  std::mbstate_t state{};
  u32 const n = m.size(), count = m.count();
  for (u32 k = 0; k < count; ++k) {
    u32 const at = m.starts[k], size = u32(m.chars[k].size());
    for (u32 j = 0; j < size; ++j)
      if (buf.charType(at + j + 1) != (size == 1 ? 0 : int(j + 1)))
        fail("charType", show(m.t) + " at " + std::to_string(at + j + 1));
    if (buf.next(text + at) != text + at + size ||
        buf.prevCharLength(at + size + 1) != size ||
        buf.charLength(at + 1, &state) != size)
      fail("character walk", show(m.t) + " at " + std::to_string(at + 1));
  }
  for (u32 k = 0; m.valid && k <= count + 1; ++k)
    if (findBytePos(text, n, k) != (n < 2             ? k == 1
                                    : k && k <= count ? m.starts[k - 1] + 1
                                                      : 0))
      fail("findBytePos", show(m.t) + " character " + std::to_string(k));
  std::vector<char> out(2 * n + 16);
  for (u32 pos = 0; m.valid && pos <= n + 1; ++pos) {
    bool const inside = pos >= 1 && pos <= n;
    u32 const k = inside ? m.holding(pos) : 0;
    u32 const start = inside ? m.starts[k] + 1 : 0;
    u32 const next = inside && k + 1 < count ? m.starts[k + 1] + 1 : 0;
    std::string const rest = m.rest(pos, '*');
    std::string const want = num(inside ? k + 1 : 0) +
                             num(!inside        ? 0
                                 : start == pos ? k + 1
                                 : next         ? k + 2
                                                : 0) +
                             num(start) + num(next) + num(rest.size()) + rest +
                             m.sub(pos, 9, '*') + "#";
    std::string got =
        num(findCharNum(text, n, pos)) + num(findNextCharNum(text, n, pos)) +
        num(findCurPos(text, n, pos)) + num(findNextPos(text, n, pos)) +
        num(getRemainString(text, n, pos, '*', out.data()));
    got += std::string(out.data(), rest.size());
    out[9] = '#';
    if (getSubString(text, n, pos, '*', out.data(), 9) != out.data() ||
        got + std::string(out.data(), 10) != want)
      fail("position mapping", show(m.t) + " at " + std::to_string(pos));
  }
}

// Sample characters of each locale's character set, split at '|'. In
// GB18030 U+20087 twice: four bytes that convert back as the two after.
Chars const& pieces() {
  static auto const split = [](std::string const& all) {
    Chars out(1);
    for (char ch : all)
      ch == '|' ? out.emplace_back() : (out.back() += ch);
    return out;
  };
  static std::string const name =
      std::getenv("ZYN_FUZZ_LOCALE") ? std::getenv("ZYN_FUZZ_LOCALE") : "";
  static Chars const chars = split(
      name.find("eucJP") != std::string::npos
          ? "a|b| |\t|\xA4\xA2|\xB0\xA1|\x8E\xB1|\x8F\xB0\xA1|A|*|?|\xA6\xC1|"
            "\xA1\xA1|\n|7"
      : name.find("18030") != std::string::npos
          ? "a|b| "
            "|\t|\xD6\xD0|\x81\x30\x81\x30|\xA1\xA1|\x95\x32\x82\x36|A|*|?|"
            "\xA6\xC1|\x81\x61|\n|7|\x81\x30\x86\x38|\x95\x32\x90\x31|\xFE\x51"
          : "a|b| "
            "|\t|\xC3\xA9|\xE3\x81\x82|\xF0\x9F\x98\x80|\xE4\xB8\xAD|A|*|?|"
            "\xCE\xB1|\xE3\x80\x80|\n|7");
  return chars;
}

// A text of whole characters of the locale, or (when raw) input bytes.
std::string mbText(dfuzz::Input& in, unsigned int maxPieces, bool raw) {
  std::string out;
  unsigned int const count = in.upTo(maxPieces);
  for (unsigned int i = 0; i < count && !in.empty(); ++i)
    out += raw ? std::string(1, char(in.byte()))
               : pieces()[in.byte() % pieces().size()];
  return out;
}

int isHigh(int c) {
  return c < 0 || c > 0x7F;
}

void runOne(dfuzz::Input& in) {
  int const flag = DString::fgI18NState = in.byte() & 1;
  bool const raw = (in.byte() & 7) == 0;
  std::string t = mbText(in, 16, raw);
  std::string const p = mbText(in, 3, raw), q = mbText(in, 3, raw);
  if (in.byte() % 16 == 1) // long enough for the walk's checkpoints
    for (std::string const piece = t; !piece.empty() && t.size() < 1500;)
      t += piece;
  u32 const n = u32(t.size()), pl = u32(p.size()), ql = u32(q.size());
  u32 const a = in.position(n, true), b = in.upTo(n + 4);
  Case const c{Model(t), Model(p),         Model(q),          a,
               b,        a == ~0u ? 1 : a, " .*"[in.upTo(2)], flag};
  Model const& m = c.m;
  bool const valid = m.valid && c.pm.valid && c.qm.valid;
  DString s(t.data(), n);
  DString const shared(s);
  std::string const what = " on " + show(t) + " arg " + show(p) + " " +
                           show(q) + " a " + num(a) + "b " + num(b) + "flag " +
                           num(flag);
  if (n <= 300)
    checkCharacters(s, m);
  DBuffer const* const buf = s.buffer();
  if (buf->startSearch(b, pl) != m.fwd(b, pl) ||
      buf->startBackwardsSearch(b, pl) != m.bwd(b, pl))
    fail("startSearch", what);
  char const* const pd = dmodel::guardedCopy(0, p);
  char const* const qd = dmodel::guardedCopy(1, q);
  u32 const op = in.upTo(31), start = c.start;
  DString r(s);
  std::string got, want; // an op's answer and its model's
  bool have = false;     // the op set both itself
  int (*const tests[])(int) = {isHigh, zyn_iswalpha, zyn_iswspace};
  DStringTest const test(tests[b % 3]);
  std::function<void()> const ops[] = {
      [&] { got = num(s.indexOf(pd, pl, a)); },
      [&] { got = num(s.lastIndexOf(pd, pl, a)); },
      [&] { got = num(s.indexOfAnyOf(pd, pl, a)); },
      [&] { got = num(s.indexOfAnyBut(pd, pl, a)); },
      [&] { got = num(s.lastIndexOfAnyOf(pd, pl, a)); },
      [&] { got = num(s.lastIndexOfAnyBut(pd, pl, a)); },
      [&] { got = num(s.occurrencesOf(pd, pl, a)); },
      [&] { r = s.subString(start, b, c.pad); },
      [&] { r = s.subString(start); },
      [&] { r.upperCase(); },
      [&] { r.lowerCase(); },
      [&] { r.translate(pd, pl, qd, ql, c.pad); },
      [&] { r.strip(pd, pl, static_cast<DStringEnum::StripMode>(b % 3)); },
      [&] { r.reverse(); },
      [&] { r.overlayWith(pd, pl, b, c.pad); },
      [&] { r.insert(pd, pl, b, c.pad); },
      [&] { r.remove(start, b); },
      [&] { r.leftJustify(b, c.pad); },
      [&] { r.rightJustify(b, c.pad); },
      [&] { r.center(b, c.pad); },
      [&] { r.change(pd, pl, qd, ql, b, 0xFFFFFFFFu); },
      [&] { r.removeWords(b % 3 + 1, 2); },
      [&] { r.space(b % 3, c.pad); },
      [&] { r.removeWords(b % 3 + 1, 1); },
      [&] { // classes hold when every character's wide value passes
        int (*const classes[11])(wint_t) = {
            std::iswalnum, std::iswalpha,  std::iswcntrl, std::iswdigit,
            std::iswgraph, std::iswxdigit, std::iswlower, std::iswprint,
            std::iswpunct, std::iswupper,  std::iswspace};
        bool multi = true, ascii = n > 0;
        for (auto const classifier : classes) {
          bool all = n > 0;
          for (wchar_t ch : m.wide)
            all = all && classifier(wint_t(ch));
          want += all ? '1' : '0';
        }
        for (std::string const& ch : m.chars)
          multi = multi && ch.size() > 1;
        for (char ch : t)
          ascii = ascii && static_cast<unsigned char>(ch) < 0x80;
        bool const mb = m.wideCount == m.count(), sb = !m.wideCount;
        for (bool w : {mb, mb, !mb, sb, !sb, !sb, multi, multi, ascii})
          want += w ? '1' : '0';
        for (bool g : {s.isAlphanumeric(), s.isAlphabetic(), s.isControl(),
                       s.isDigits(),       s.isGraphics(),   s.isHexDigits(),
                       s.isLowerCase(),    s.isPrintable(),  s.isPunctuation(),
                       s.isUpperCase(),    s.isWhiteSpace(), s.isMBCS(),
                       s.isDBCS(),         s.includesSBCS(), s.isSBCS(),
                       s.includesMBCS(),   s.includesDBCS(), s.isValidMBCS(),
                       s.isValidDBCS(),    s.isASCII()})
          got += g ? '1' : '0';
        (void)s.isLike(pd, pl, '*', '?');
        (void)s.isAbbrevFor(pd, pl, 0);
        // Flag 0 compares bytes; flag 1 collates wide text without NULs
        // (an empty side: the lengths decide).
        unsigned int const order = buf->compare(pd, pl);
        int by = t.compare(p);
        by = flag && n && pl ? std::wcscoll(m.wide.c_str(), c.pm.wide.c_str())
                             : by;
        if (!flag || (valid && (t + p).find('\0') == std::string::npos))
          got += num(order), want += num(by < 0 ? 2 : by > 0 ? 1 : 0);
        have = true;
      },
      [&] { r = s + DString(pd, pl); },
      [&] { // a word into a target that holds q (reused when not empty)
        std::istringstream stream(p + " " + q);
        r = DString(q.data(), ql);
        stream >> r;
        auto const words = dmodel::words(p + " " + q);
        want = words.empty()
                   ? ""
                   : (p + " " + q).substr(words[0].pos - 1, words[0].length);
        got = bytesOf(r), have = true;
      },
      [&] { // a line: everything up to the first newline
        std::istringstream stream(p + q + "\n" + t);
        r = DString::lineFrom(stream);
        got = bytesOf(r), want = (p + q).substr(0, (p + q).find('\n'));
        have = true;
      },
      [&] { r.strip(); },
      [&] {
        got = num(s.indexOfAnyOf(test, a)) + num(s.indexOfAnyBut(test, a)) +
              num(s.lastIndexOfAnyOf(test, a)) +
              num(s.lastIndexOfAnyBut(test, a)) + num(s.indexOf(test, a)) +
              num(s.lastIndexOf(test, a));
        want = predicates(c, tests[b % 3]), have = valid;
      },
      [&] {
        if (valid)
          checkWideBuffer(c);
      },
      [&] { checkByteScans(c); },
  };
  try {
    ops[op]();
  } catch (DException const& e) {
    // Only bad bytes raise: message 1012 from the conversions, under flag 0
    // only where the op converts anyway; the handle keeps its value.
    auto const* where = e.locationAtIndex(e.locationCount() - 1);
    if (valid || e.errorId() != 1012 || bytesOf(r) != t ||
        std::strcmp(where->fileName(), "dnlsutil") != 0 ||
        (!flag && op >= 7 && op <= 20 && op != 8))
      fail("exception", std::string(e.name()) + " id " + num(e.errorId()) +
                            "from op " + num(op) + what);
    return;
  }
  if (!have && valid && op <= 6)
    have = true, want = num(search(c, op, a));
  else if (!have && valid && editModel(op, c, want))
    have = true, got = bytesOf(r);
  if (have && got != want)
    fail("model",
         num(op) + what + " gave " + show(got) + " want " + show(want));
  if ((valid && !Model(bytesOf(r)).valid) || bytesOf(shared) != t)
    fail("edit or copy on write", num(op) + what + " gave " + show(bytesOf(r)));
}

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
// Invalid input raises message 1012 often; its reports are dropped.
class QuietTrace : public DException::TraceFn {
public:
  void write(char const*) override {}
};
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  char const* name = std::getenv("ZYN_FUZZ_LOCALE");
  if (name == nullptr)
    name = "en_US.UTF-8";
  if (std::setlocale(LC_ALL, name) == nullptr) {
    std::fprintf(stderr, "fuzz_mb: locale %s is not available (LOCPATH?)\n",
                 name);
    std::exit(2);
  }
  DString const first("first"); // fixes the buffer class for this locale
  static QuietTrace quiet;
  DException::setTraceFunction(quiet);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  dfuzz::Input in(data, size);
  for (int round = 0; round < 4 && !in.empty(); ++round)
    runOne(in);
  DString::fgI18NState = 0;
  return 0;
}
