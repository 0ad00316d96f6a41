// Fuzz target: multibyte strings in the UTF-8, EUC-JP and GB18030 locales
// (ZYN_FUZZ_LOCALE), both values of DString::fgI18NState, against a model of
// the text's characters, where a byte that starts none is one of one byte
// (WEOF) that may raise 1012. Arguments end before an unreadable page.
#include "../tests/support/dmodels.hpp"
#include "fuzz_input.hpp"

#include "ddbcsb.hpp"
#include "dnlsutil.hpp"

#include <climits>
#include <clocale>
#include <cwchar>
#include <cwctype>
#include <functional>
#include <numeric>
#include <optional>
#include <sys/mman.h>
#include <unistd.h>

using dfuzz::show;
using dtest::bytes;

namespace {

using u32 = unsigned int;
using Chars = std::vector<std::string>;

auto const num = [](unsigned long v) { return std::to_string(v) + " "; };

// A copy of bytes ending at the end of page slot 0 or 1 (the page after it
// unreadable), valid until the slot's next use.
char const* guardedCopy(int slot, std::string const& bytes) {
  static std::size_t const page = std::size_t(sysconf(_SC_PAGESIZE));
  static char* const pages = static_cast<char*>(
      mmap(nullptr, 4 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  char* const end = pages + (2 * slot + 1) * page;
  if (mprotect(end - page, page, PROT_READ | PROT_WRITE) != 0)
    std::abort();
  return static_cast<char*>(
      std::memcpy(end - bytes.size(), bytes.data(), bytes.size()));
}

// A text split into its characters (bytes, wide value, start offset; one
// more start: the length); NUL is a character of one byte.
struct Model {
  std::string t;
  Chars chars;
  std::wstring wide;
  std::vector<u32> starts;
  bool valid = true, cut = false;      // cut: a lead cut off by the end
  std::size_t wideCount = 0, ones = 0; // two or more columns; one byte

  explicit Model(std::string const& text) : t(text) {
    std::mbstate_t state{};
    for (std::size_t i = 0, n; i < t.size(); i += n) {
      wchar_t w = 0;
      n = std::mbrtowc(&w, t.data() + i, t.size() - i, &state);
      if (n == std::size_t(-1) || n == std::size_t(-2))
        cut = valid ? n == std::size_t(-2) : cut, valid = false, state = {},
        n = 1, w = wchar_t(WEOF);
      n = n ? n : 1;
      wideCount += n > 1 && wcwidth(w) >= 2, ones += n == 1;
      starts.push_back(u32(i)), chars.push_back(t.substr(i, n)), wide += w;
    }
    starts.push_back(size());
  }
  u32 count() const { return u32(chars.size()); }
  u32 size() const { return u32(t.size()); }
  // The character holding byte pos (1..n), or the first starting at or
  // after it (0-based; count() for none).
  u32 at(u32 pos, bool after = false) const {
    auto const b = starts.begin(), e = starts.end() - 1;
    return u32(after ? std::lower_bound(b, e, pos - 1) - b
                     : std::upper_bound(b, e, pos - 1) - b - 1);
  }
  // The first character (or byte) start, 1-based, at or after s where ok, or
  // (back) the last at or before s; 0 for none or s 0.
  template <class Ok>
  u32 scan(u32 s, bool back, Ok ok, bool bytes = false) const {
    u32 hit = 0;
    for (u32 i = 0, at; i < (bytes ? size() : count()); ++i)
      if (at = bytes ? i : starts[i],
          s && (back ? at < s : at >= s - 1) && (back || !hit) && ok(at + 1))
        hit = at + 1;
    return hit;
  }
  // startSearch() or (back) startBackwardsSearch() for need bytes.
  u32 from(u32 start, u32 need, bool back) const {
    u32 const s = back ? std::min(start, size() - need + 1) : start ? start : 1;
    if (back ? need > size() : s > size() || need > size() - s + 1)
      return 0;
    return scan(s, back, [](u32) { return true; });
  }
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
    u32 const k = at(pos, true), gap = k < count() ? starts[k] + 1 - pos : 0;
    if (pos > size() || k == count() || width <= gap)
      return std::string(width, pad);
    return std::string(gap, pad) + field(k, count(), width - gap, pad);
  }
  // subString(pos): the rest, each byte of a cut character a pad byte.
  std::string rest(u32 pos, char pad) const {
    u32 const k = at(pos = pos ? pos : 1, true);
    return pos > size()
               ? ""
               : std::string(starts[k] + 1 - pos, pad) + t.substr(starts[k]);
  }
  // What strip leaves (mode 0 leading, 1 trailing, 2 both).
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

// One generated case: the text, its two arguments and the numbers.
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
                   : std::count(set.begin(), set.end(), m.chars[m.at(q)]) > 0;
  };
  bool const back = op == 1 || op == 4 || op == 5, but = op == 3 || op == 5;
  u32 const s = m.from(a, op < 2 ? pl : 1, back);
  u32 hits = 0;
  if (op == 0 && pl == 1)
    return search(c, 2, a);
  if (op == 3 && pl == 1) // a set of one byte is passed byte by byte
    return m.scan(
        s, false, [&](u32 q) { return t[q - 1] != p[0]; }, true);
  for (u32 hit = op == 6 ? search(c, 0, a) : 0; hit;
       hit = search(c, 0, hit + pl))
    ++hits; // occurrences, each behind the previous
  if (op == 6 || !s || !pl)
    return op == 6 ? hits : but ? s : 0;
  return m.scan(s, back, [&](u32 q) { return op < 2 ? at(q) : in(q) != but; });
}

// The predicate searches: flag 1 tests wide values, flag 0 the first byte
// of each character as a signed char (every byte in the forward any-of).
std::string predicates(Case const& c, int (*test)(int)) {
  Model const& m = c.m;
  auto const is = [&](bool want) {
    return [&, want](u32 q) {
      return want ==
             (0 != (c.flag ? test(int(m.wide[m.at(q)]))
                           : test(static_cast<signed char>(m.t[q - 1]))));
    };
  };
  u32 const s = c.flag ? (c.a ? c.a : 1) : m.from(c.a, 1, false);
  u32 const e = c.flag ? std::min(c.a, m.size()) : m.from(c.a, 1, true);
  u32 const anyOf = m.scan(s, false, is(true), !c.flag);
  return num(anyOf) + num(m.scan(s, false, is(false))) +
         num(m.scan(e, true, is(true))) + num(m.scan(e, true, is(false))) +
         num(anyOf) + num(m.scan(e, true, is(true)));
}

// What edit op (7-20, 22, 23) makes of the text under the flag.
std::optional<std::string> edited(u32 op, Case const& c) {
  Model const& m = c.m;
  std::string const &t = m.t, &p = c.pm.t;
  u32 const n = m.size(), pl = c.pm.size(), b = c.b, count = m.count();
  u32 const at = b ? b : 1, s = c.start ? c.start : 1;
  auto const pads = [&](u32 k) { return std::string(k, c.pad); };
  auto const in = [&](Model const& set, u32 i) { // index in set, or count
    u32 j = 0;
    while (j < set.count() &&
           (c.flag ? set.wide[j] != m.wide[i] : set.chars[j] != m.chars[i]))
      ++j;
    return j;
  };
  std::size_t k = 0;
  std::string want;
  switch (op) {
  case 7:
    return m.sub(c.start, b, c.pad);
  case 8: // flag 0: a field of the rest's length, so start 0 adds a blank
    return c.flag || c.start > n ? m.rest(c.start, ' ')
                                 : m.sub(c.start, n - c.start + 1, ' ');
  case 9: // case changes: wide characters (1), or single-byte letters (0)
  case 10:
    for (u32 i = 0; i < count; ++i) {
      wint_t const w = wint_t(m.wide[i]);
      wchar_t const to = wchar_t(op == 9 ? std::towupper(w) : std::towlower(w));
      char out[MB_LEN_MAX];
      std::mbstate_t state{};
      want += (c.flag || m.chars[i].size() == 1) && to != m.wide[i]
                  ? std::string(out, std::wcrtomb(out, to, &state))
                  : m.chars[i];
    }
    return want;
  case 11: // translate(p, q, pad): the first entry decides
    for (u32 i = 0, j; i < count; ++i, k = j < c.pm.count() ? want.size() : k)
      want += (j = in(c.pm, i)) == c.pm.count() ? m.chars[i]
              : j < c.qm.count()                ? c.qm.chars[j]
                                                : pads(1);
    // Flag 0 copies what follows the last match up to a NUL, NULs after.
    k = c.flag ? want.npos : want.find('\0', k);
    return k == want.npos ? want
                          : want.replace(k, want.npos, want.size() - k, 0);
  case 12:
    return m.strip([&](u32 i) { return in(c.pm, i) < c.pm.count(); }, b % 3);
  case 13:
    return std::accumulate(m.chars.rbegin(), m.chars.rend(), std::string());
  case 14: // overlayWith(p, b): flag 0 blanks a character cut on the left
    if (at > n || (pl == 0 && b <= n))
      return at > n ? t + pads(at - 1 - n) + p : t;
    return m.sub(1, at - 1, c.flag ? c.pad : ' ') + p +
           (at + pl <= n ? m.rest(at + pl, c.pad) : "");
  case 15: // insert(p, b): inside a character, behind (1) or before (0) it
    k = b == 0 || b > n
            ? 0
            : m.starts[c.flag || b == n ? m.at(b) + 1 : m.at(b + 1)];
    return b > n ? t + pads(b - n) + p : t.substr(0, k) + p + t.substr(k);
  case 16: // remove(start, b): cut characters become blanks
    k = s + std::min(b, n - std::min(n, s - 1));
    if (c.start > n || b == 0)
      return t;
    return m.sub(1, s - 1, ' ') + (k <= n ? m.rest(u32(k), ' ') : "");
  case 17:
    return b >= n ? t + pads(b - n) : m.field(0, count, b, c.pad);
  case 18:
    return b >= n ? pads(b - n) + t : b ? m.rest(n - b + 1, c.pad) : "";
  case 19: // center(b); flag 1 leaves the last character out
    if (b >= n)
      return pads((b - n) / 2) + t + pads(b - n - (b - n) / 2);
    return m.field(m.at((n - b) / 2 + 1), count - c.flag, b, c.pad);
  case 20: // change(p, q, b, all): matches on character starts only
    for (u32 hit = search(c, 0, b); hit; hit = search(c, 0, hit + pl))
      want += t.substr(k, hit - 1 - k) + c.qm.t, k = hit - 1 + pl;
    return want + t.substr(k);
  case 22:
    return t + p;
  case 23: // strip(): white space, by iswspace (1) or on bytes (0)
    return m.strip(
        [&](u32 i) {
          return (c.flag || m.chars[i].size() == 1) &&
                 std::iswspace(wint_t(m.wide[i]));
        },
        2);
  }
  return std::nullopt;
}

// The wide buffer of the text, its searches with argument p, its reversal
// and its conversion back to bytes.
std::string wideBuffer(Case const& c, bool model) {
  std::wstring const &w = c.m.wide, &pw = c.pm.wide;
  u32 const count = u32(w.size()), pc = u32(pw.size()), a = c.a, b = c.b;
  auto const scan = [&](bool back, u32 need, auto ok, bool is = true) -> u32 {
    for (long k = back ? std::min(a, count - std::min(count, need - 1)) : a;
         a && need <= count && k >= 1 && k + need - 1 <= count;
         k += back ? -1 : 1)
      if (ok(u32(k)) == is)
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
  std::string back; // whole characters while they fit, pad or not
  char one[MB_LEN_MAX];
  std::mbstate_t state{};
  for (std::size_t i = 0, k;
       model && i < count &&
       back.size() + (k = std::wcrtomb(one, w[i], &state)) <= b;
       ++i)
    back.append(one, k);
  back.resize(a & 1 ? b : back.size(), '*');
  if (model)
    return num(scan(false, pc, match)) + num(scan(false, 1, in)) +
           num(scan(false, 1, in, false)) + num(scan(true, pc, match)) +
           num(scan(true, 1, in)) + num(scan(true, 1, in, false)) +
           num(count && in(1)) + num(std::min(pw.find(L'\0'), pw.size())) +
           num(1) + back + "#";
  DWBuffer const wb(c.m.t.data(), c.m.size());
  DWBuffer pb(c.pm.t.data(), c.pm.size());
  std::vector<char> buf(b + 1, '#');
  std::string got =
      num(wb.positionOf(pb, a)) + num(wb.positionOfAnyOf(pb, a)) +
      num(wb.positionOfAnyBut(pb, a)) + num(wb.lastPositionOf(pb, a)) +
      num(wb.lastPositionOfAnyOf(pb, a)) + num(wb.lastPositionOfAnyBut(pb, a)) +
      num(count && pb.hasWChar(w[0])) +
      num(DWBuffer(c.pm.t.c_str()).count()); // up to a NUL, not counted
  u32 const size = cvtWCS2MBS(w.data(), count, buf.data(), b, int(a & 1), '*');
  wb.reverse();
  return got +
         num(std::wstring(wb.data(), wb.count() + 1) ==
             std::wstring(w.rbegin(), w.rend()) + L'\0') +
         std::string(buf.data(), std::min(size, b) + 1);
}

// The character walk; the position mappings, which see bad bytes their own
// way: the first invalid sequence starts the last character they know (its
// bytes map to nothing), a lead cut off by the end is one character.
void checkCharacters(DString const& s, Model const& m) {
  auto const& buf = *static_cast<DDBCSBuffer const*>(s.buffer());
  char const* const text = s;
  std::mbstate_t state{};
  u32 const n = m.size();
  std::string got = num(buf.charType(0)) + num(buf.next(text + n) - text);
  std::string want = num(0) + num(n + 1);
  for (u32 k = 0; k < m.count(); ++k) {
    u32 const at = m.starts[k], size = u32(m.chars[k].size());
    for (u32 j = 0; j < size; ++j)
      got += num(buf.charType(at + j + 1)), want += num(size == 1 ? 0 : j + 1);
    got += num(buf.next(text + at) - text) +
           num(buf.charLength(at + 1, &state)) +
           num(buf.prevCharLength(at + size + 1)) +
           num(DDBCSBuffer::charLength(text + at, &state)) +
           num(DDBCSBuffer::isSBC(text + at, &state));
    want += num(at + size) + num(size) + num(size) + num(size) + num(size == 1);
  }
  std::size_t const bad = m.wide.find(wchar_t(WEOF));
  u32 const chars = bad < m.count() ? u32(bad) + 1 : m.count();
  u32 const known = bad < m.count() && !m.cut ? m.starts[bad] : n;
  for (u32 k = 0; k <= chars + 1; ++k)
    got += num(findBytePos(text, n, k)),
        want += num(n < 2             ? k == 1
                    : k && k <= chars ? m.starts[k - 1] + 1
                                      : 0);
  for (u32 pos = 0; pos <= n + 1; ++pos) {
    bool const inside = pos >= 1 && pos <= known;
    u32 const k = inside ? std::min(m.at(pos), chars - 1) : 0;
    u32 const start = inside ? m.starts[k] + 1 : 0;
    u32 const next = inside && k + 1 < chars ? m.starts[k + 1] + 1 : 0;
    want += num(inside ? k + 1 : 0) + num(start) + num(next) +
            num(inside && (start == pos || next) ? k + 1 + (start != pos) : 0);
    got += num(findCharNum(text, n, pos)) + num(findCurPos(text, n, pos)) +
           num(findNextPos(text, n, pos)) + num(findNextCharNum(text, n, pos));
  }
  if (got != want)
    dfuzz::fail("characters", show(m.t) + " gave " + got + "want " + want);
}

// A text of whole characters of the locale, or (when raw) input bytes. The
// samples follow a part of the locale's name ('[' follows the capitals); in
// GB18030 U+20087 twice: four bytes that convert back as the two after.
std::string mbText(dfuzz::Input& in, unsigned int maxPieces, bool raw) {
  static Chars const pieces = [] {
    char const* const env = std::getenv("ZYN_FUZZ_LOCALE");
    for (std::string const row :
         {"eucJP|a|b| |\t|\xA4\xA2|\xB0\xA1|\x8E\xB1|\x8F\xB0\xA1|A|*|?|"
          "\xA6\xC1|\xA1\xA1|[|7",
          "18030|a|b| |\t|\xD6\xD0|\x81\x30\x81\x30|\xA1\xA1|\x95\x32\x82\x36|"
          "A|*|?|\xA6\xC1|\x81\x61|[|7|\x81\x30\x86\x38|\x95\x32\x90\x31|"
          "\xFE\x51",
          "UTF-8|a|b| |\t|\xC3\xA9|\xE3\x81\x82|\xF0\x9F\x98\x80|\xE4\xB8\xAD|"
          "A|*|?|\xCE\xB1|\xE3\x80\x80|[|7"}) {
      Chars out(1);
      for (char ch : row)
        ch == '|' ? out.emplace_back() : (out.back() += ch);
      if (out[0] == "UTF-8" || (env && std::strstr(env, out[0].c_str())))
        return Chars(out.begin() + 1, out.end());
    }
    return Chars();
  }();
  std::string out;
  for (u32 i = 0, count = in.upTo(maxPieces); i < count && !in.empty(); ++i)
    out += raw ? std::string(1, char(in.byte()))
               : pieces[in.byte() % pieces.size()];
  return out;
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
  std::string const what = show(t) + show(p) + show(q) + " a, b, flag " +
                           num(a) + num(b) + num(flag);
  DBuffer const* const buf = s.buffer();
  if (buf->startSearch(b, pl) != m.from(b, pl, false) ||
      buf->startBackwardsSearch(b, pl) != m.from(b, pl, true))
    dfuzz::fail("startSearch", what);
  char const *const pd = guardedCopy(0, p), *const qd = guardedCopy(1, q);
  if (n <= 300)
    checkCharacters(s, m);
  u32 const op = in.upTo(25), start = c.start;
  DString r = a & 2 ? DString(s) : DString(t.data(), n); // shared or not
  DBuffer const* const before = r.buffer();
  std::string got;                 // an op's answer (or the edited text)
  std::optional<std::string> want; // its model's, when the op sets one
  int (*const tests[])(int) = {[](int ch) { return int(ch < 0 || ch > 0x7F); },
                               zyn_iswalpha, zyn_iswspace,
                               [](int) -> int { throw 7; }};
  DStringTest const test(tests[b % 4]);
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
      [&] { // classes: every character's wide value passes (never empty)
        std::string model;
        for (auto const f :
             {std::iswalnum, std::iswalpha, std::iswcntrl, std::iswdigit,
              std::iswgraph, std::iswxdigit, std::iswlower, std::iswprint,
              std::iswpunct, std::iswupper, std::iswspace})
          model +=
              num(n && std::all_of(m.wide.begin(), m.wide.end(),
                                   [&](wchar_t w) { return f(wint_t(w)); }));
        bool const mb = m.wideCount == m.count(), sb = !m.wideCount;
        bool const ascii = n && std::none_of(t.begin(), t.end(),
                                             [](char ch) { return ch & 0x80; });
        for (bool w : {mb, mb, !mb, sb, !sb, !sb, !m.ones, !m.ones, ascii})
          model += num(w);
        for (bool g : {s.isAlphanumeric(), s.isAlphabetic(), s.isControl(),
                       s.isDigits(),       s.isGraphics(),   s.isHexDigits(),
                       s.isLowerCase(),    s.isPrintable(),  s.isPunctuation(),
                       s.isUpperCase(),    s.isWhiteSpace(), s.isMBCS(),
                       s.isDBCS(),         s.includesSBCS(), s.isSBCS(),
                       s.includesMBCS(),   s.includesDBCS(), s.isValidMBCS(),
                       s.isValidDBCS(),    s.isASCII()})
          got += num(g);
        (void)s.isLike(pd, pl, '*', '?'), (void)s.isAbbrevFor(pd, pl, 0);
        // Flag 0 compares bytes; flag 1 collates wide text without NULs
        // (an empty side: the lengths decide; bad bytes, a cut lead: bytes).
        unsigned int const order = buf->compare(pd, pl);
        int by = flag && n && pl && m.valid && c.pm.valid
                     ? std::wcscoll(m.wide.c_str(), c.pm.wide.c_str())
                     : t.compare(p);
        if (!flag || ((t + p).find('\0') == t.npos))
          got += num(order), model += num(by < 0 ? 2 : by > 0 ? 1 : 0);
        want = model;
      },
      [&] { r = s + DString(pd, pl); },
      [&] { r.strip(); },
      [&] { // a throwing predicate leaks nothing (LeakSanitizer)
        for (int k = 0; b % 4 == 3 && k < 3 && n && m.valid; ++k)
          try {
            k == 0   ? (void)s.indexOfAnyOf(test, 1)
            : k == 1 ? (void)s.lastIndexOfAnyBut(test, ~0u)
                     : (void)r.strip(test);
            dfuzz::fail("no throw", what);
          } catch (int) {
          }
        if (b % 4 == 3)
          return;
        got = num(s.indexOfAnyOf(test, a)) + num(s.indexOfAnyBut(test, a)) +
              num(s.lastIndexOfAnyOf(test, a)) +
              num(s.lastIndexOfAnyBut(test, a)) + num(s.indexOf(test, a)) +
              num(s.lastIndexOf(test, a));
        if (valid)
          want = predicates(c, tests[b % 4]);
      },
      [&] {
        if (valid)
          got = wideBuffer(c, false), want = wideBuffer(c, true);
      },
  };
  try {
    ops[op]();
  } catch (DException const& e) {
    // Only bad bytes raise, 1012 from the conversions (not in byte searches,
    // classes, remove, rightJustify, change, flag 0's edits); r is kept.
    bool const converts = op == 8 || op >= 22 ||
                          (flag && op >= 7 && op < 20 && op != 16 && op != 18);
    auto const* where = e.locationAtIndex(e.locationCount() - 1);
    if (valid || !converts || e.errorId() != 1012 || bytes(r) != t ||
        std::strcmp(where->fileName(), "dnlsutil") != 0 ||
        (where->lineNumber() != 725 && where->lineNumber() != 760))
      dfuzz::fail("exception", std::string(e.name()) + " " + num(e.errorId()) +
                                   "op " + num(op) + what);
    return;
  }
  if (flag && !m.valid &&
      ((op >= 9 && op <= 12) || (op == 13 && n > 1) || op == 23))
    dfuzz::fail("no 1012", num(op) + what);
  if (!want && valid && op <= 6)
    want = num(search(c, op, a));
  else if (!want && valid && (want = edited(op, c)))
    got = bytes(r);
  // An unshared text: flag 0's upperCase and a strip that strips nothing
  // keep its buffer; flag 1's and translate make a new one. All stripped:
  // the shared empty buffer, but a new one from flag 0's trailing strip.
  bool const kept = (op == 9 || (op == 12 && bytes(r) == t)) && !flag;
  if ((!(a & 2) && n && (op == 9 || op == 11 || op == 12) &&
       kept != (r.buffer() == before)) ||
      (op == 12 && n && !r.length() &&
       (DBuffer::defaultBuffer() != r.buffer()) != (!flag && b % 3 == 1)))
    dfuzz::fail("buffer", num(op) + what);
  // An edit of valid text leaves whole characters; s keeps its value.
  if ((want && got != *want) || (valid && !Model(bytes(r)).valid) ||
      bytes(s) != t)
    dfuzz::fail("model", num(op) + what + " gave " + show(got) + "/" +
                             show(bytes(r)) + " want " +
                             show(want.value_or("")));
}

// Invalid input raises message 1012 often; its reports are dropped.
struct QuietTrace final : DException::TraceFn {
  void write(char const*) override {}
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  char const* const env = std::getenv("ZYN_FUZZ_LOCALE");
  if (std::setlocale(LC_ALL, env ? env : "en_US.UTF-8") == nullptr)
    dfuzz::fail("setlocale (LOCPATH?)", env ? env : "en_US.UTF-8");
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
