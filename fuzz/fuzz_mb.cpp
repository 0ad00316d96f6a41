// Fuzz target: multibyte strings in the UTF-8, EUC-JP and GB18030 locales
// (ZYN_FUZZ_LOCALE, set before any string exists: the first string fixes
// the buffer class), with both values of DString::fgI18NState. For valid
// input no result holds part of a character and every position a search
// returns starts one; with the wide strategy each edit equals a model built
// on the source's own characters (so GB18030 codes whose conversion does not
// round-trip keep their bytes); the word operations follow a byte split on
// white space; the search starts follow charType() over any bytes; stream
// input stores exactly the bytes read. Arguments end right before an
// unreadable page, so no walk may read past a stated length.
#include "../tests/support/dmbmodels.hpp"
#include "fuzz_input.hpp"

#include "ddbcsb.hpp"
#include "dexcept.hpp"
#include "dnlsutil.hpp"
#include "dstring.hpp"

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

std::string bytesOf(DString const& s) {
  return std::string(static_cast<char const*>(s), s.length());
}

// A text split into its characters (bytes and wide value), with the byte
// offsets they start at (one more entry: the length); valid is false when
// a sequence is invalid or incomplete. NUL is a character of one byte.
struct Model {
  struct Char {
    std::string bytes;
    wchar_t wide;
  };
  std::string t;
  std::vector<Char> chars;
  std::vector<std::size_t> starts;
  bool valid = true;
  std::size_t wideCount = 0; // characters of two or more display columns

  explicit Model(std::string const& text) : t(text) {
    std::mbstate_t state{};
    for (std::size_t i = 0; i < t.size();) {
      wchar_t w = 0;
      std::size_t n = std::mbrtowc(&w, t.data() + i, t.size() - i, &state);
      if (n == std::size_t(-1) || n == std::size_t(-2)) {
        valid = false;
        state = std::mbstate_t{};
        n = 1;
        w = static_cast<wchar_t>(WEOF); // what the classifiers see
      }
      if (n > 1 && wcwidth(w) >= 2) {
        ++wideCount;
      }
      starts.push_back(i);
      chars.push_back({t.substr(i, n ? n : 1), w});
      i += n ? n : 1;
    }
    starts.push_back(t.size());
  }
  std::size_t count() const { return chars.size(); }
  bool isStart(u32 position) const { // 1-based; 0 means nothing found
    for (std::size_t s : starts)
      if (position == 0 || (s + 1 == position && s < t.size()))
        return true;
    return false;
  }
  // 0-based index of the character holding 1-based byte pos (1..n).
  std::size_t holding(u32 pos) const {
    std::size_t i = 0;
    while (starts[i + 1] < pos)
      ++i;
    return i;
  }
  // 0-based index of the first character starting at or after byte pos.
  std::size_t from(u32 pos) const {
    std::size_t i = 0;
    while (i < count() && starts[i] + 1 < pos)
      ++i;
    return i;
  }
  // Characters [first, limit) that fit in width bytes, then pad.
  std::string field(std::size_t first, std::size_t limit, u32 width,
                    char pad) const {
    std::string out;
    for (std::size_t i = first;
         i < limit && out.size() + chars[i].bytes.size() <= width; ++i)
      out += chars[i].bytes;
    return out + std::string(width - out.size(), pad);
  }
  // subString(pos, width, pad): pad for a cut character, then whole ones.
  std::string sub(u32 pos, u32 width, char pad) const {
    pos = pos ? pos : 1;
    std::size_t const k = from(pos);
    if (pos > t.size() || k == count())
      return std::string(width, pad);
    std::size_t const gap = starts[k] + 1 - pos;
    if (width <= gap)
      return std::string(width, pad);
    return std::string(gap, pad) + field(k, count(), u32(width - gap), pad);
  }
  // subString(pos): the rest, each byte of a cut character a pad byte.
  std::string rest(u32 pos, char pad) const {
    pos = pos ? pos : 1;
    if (pos > t.size())
      return "";
    std::size_t const k = from(pos);
    return std::string(starts[k] + 1 - pos, pad) + t.substr(starts[k]);
  }
  // The characters of [first, last) that survive stripping at the ends.
  template <class Strip>
  std::string strip(Strip stripped, bool leading, bool trailing) const {
    std::size_t first = 0, last = count();
    while (leading && first < last && stripped(chars[first].wide))
      ++first;
    while (trailing && last > first && stripped(chars[last - 1].wide))
      --last;
    return t.substr(starts[first], starts[last] - starts[first]);
  }
};

bool holds(Model const& set, wchar_t w) {
  for (Model::Char const& c : set.chars)
    if (c.wide == w)
      return true;
  return false;
}

// What the wide strategy must give for edit \p op of m.t with argument p
// (and q); false when the model does not cover the operation.
bool wideModel(u32 op, Model const& m, std::string const& p,
               std::string const& q, u32 a, u32 b, char pad,
               std::string& want) {
  std::string const& t = m.t;
  u32 const n = static_cast<u32>(t.size()), pl = static_cast<u32>(p.size());
  auto const pads = [pad](std::size_t k) { return std::string(k, pad); };
  switch (op) {
  case 7:
    want = m.sub(a == 0xFFFFFFFFu ? 1 : a, b, pad);
    return true;
  case 8:
    want = m.rest(a == 0xFFFFFFFFu ? 1 : a, ' ');
    return true;
  case 9:
  case 10:
    want.clear();
    for (Model::Char const& c : m.chars) {
      wint_t const w = static_cast<wint_t>(c.wide);
      wchar_t const to =
          static_cast<wchar_t>(op == 9 ? std::towupper(w) : std::towlower(w));
      char bytes[MB_LEN_MAX];
      std::mbstate_t state{};
      want += to == c.wide
                  ? c.bytes
                  : std::string(bytes, std::wcrtomb(bytes, to, &state));
    }
    return true;
  case 11: {
    Model const from(p), to(q);
    want.clear();
    for (Model::Char const& c : m.chars) {
      std::size_t j = 0;
      while (j < from.count() && from.chars[j].wide != c.wide)
        ++j;
      want += j == from.count() ? c.bytes
              : j < to.count()  ? to.chars[j].bytes
                                : pads(1);
    }
    return true;
  }
  case 12: {
    Model const set(p);
    want = m.strip([&](wchar_t w) { return holds(set, w); }, b % 3 != 1,
                   b % 3 != 0);
    return true;
  }
  case 13:
    want.clear();
    for (std::size_t i = m.count(); i-- > 0;)
      want += m.chars[i].bytes;
    return true;
  case 14: { // overlayWith(p, b)
    u32 const at = b ? b : 1;
    if (pl == 0 && b <= n)
      want = t;
    else if (at > n)
      want = t + pads(at - 1 - n) + p;
    else
      want = m.sub(1, at - 1, pad) + p +
             (std::size_t(at) + pl <= n ? m.rest(at + pl, pad) : "");
    return true;
  }
  case 15: { // insert(p, b)
    std::size_t const split = b == 0 || b > n ? 0 : m.starts[m.holding(b) + 1];
    want =
        b > n ? t + pads(b - n) + p : t.substr(0, split) + p + t.substr(split);
    return true;
  }
  case 28: // strip(): white space at both ends, by iswspace
    want = m.strip([](wchar_t w) { return std::iswspace(wint_t(w)) != 0; },
                   true, true);
    return true;
  case 17: // leftJustify(b)
    want = b >= n ? t + pads(b - n) : m.field(0, m.count(), b, pad);
    return true;
  case 19: // center(b)
    if (b >= n)
      want = pads((b - n) / 2) + t + pads(b - n - (b - n) / 2);
    else
      want = m.field(m.holding((n - b) / 2 + 1), m.count() - 1, b, pad);
    return true;
  default:
    return false;
  }
}

// Word operations against a byte split on "\t\n\v\f\r " (no character of
// the test codesets carries those bytes inside it).
void checkWords(DString const& s, std::string const& t, u32 w, u32 k) {
  std::vector<std::pair<u32, u32>> ref; // 1-based start, byte length
  std::string const blanks("\t\n\v\f\r ");
  for (std::size_t i = t.find_first_not_of(blanks); i != std::string::npos;
       i = t.find_first_not_of(blanks, i)) {
    std::size_t const end = std::min(t.find_first_of(blanks, i), t.size());
    ref.emplace_back(u32(i + 1), u32(end - i));
    i = end;
  }
  u32 const count = static_cast<u32>(ref.size());
  u32 const start = w <= count ? ref[w - 1].first : 0;
  u32 const size = w <= count ? ref[w - 1].second : 0;
  std::string want = t.substr(start ? start - 1 : 0, size);
  if (s.numWords() != count || s.indexOfWord(w) != start ||
      s.lengthOfWord(w) != size || bytesOf(s.word(w)) != want)
    fail("word", show(t) + " word " + std::to_string(w));
  if (w > count)
    return;
  u32 const last = std::min(count, w + k - 1);
  want =
      t.substr(start - 1, ref[last - 1].first + ref[last - 1].second - start);
  if (bytesOf(s.words(w, k)) != want)
    fail("words", show(t) + " word " + std::to_string(w));
  // The phrase of those words is found at its first occurrence.
  auto const wordAt = [&](u32 i) {
    return t.substr(ref[i - 1].first - 1, ref[i - 1].second);
  };
  u32 first = 0;
  for (u32 i = 1; first == 0 && i + last - w <= count; ++i) {
    bool same = true;
    for (u32 j = 0; j <= last - w; ++j)
      same = same && wordAt(i + j) == wordAt(w + j);
    first = same ? i : 0;
  }
  if (s.findPhrase(s.words(w, k), 1, DString::wordIndex) != first)
    fail("findPhrase", show(t) + " word " + std::to_string(w));
}

// Sample characters of each locale's character set, as byte sequences.
std::vector<std::string> const& pieces() {
  static std::vector<std::string> const utf8 = {"a",
                                                "b",
                                                " ",
                                                "\t",
                                                "\xC3\xA9",
                                                "\xE3\x81\x82",
                                                "\xF0\x9F\x98\x80",
                                                "\xE4\xB8\xAD",
                                                "A",
                                                "*",
                                                "?",
                                                "\xCE\xB1",
                                                "\xE3\x80\x80",
                                                "\n",
                                                "7"};
  static std::vector<std::string> const eucjp = {
      "a",        "b",        " ",        "\t",
      "\xA4\xA2", "\xB0\xA1", "\x8E\xB1", "\x8F\xB0\xA1",
      "A",        "*",        "?",        "\xA6\xC1",
      "\xA1\xA1", "\n",       "7"};
  static std::vector<std::string> const gb18030 = {
      "a", "b", " ", "\t", "\xD6\xD0", "\x81\x30\x81\x30", "\xA1\xA1",
      "\x95\x32\x82\x36", "A", "*", "?", "\xA6\xC1", "\x81\x61", "\n", "7",
      "\x81\x30\x86\x38",
      // U+20087 twice: four bytes that convert back as the two after them.
      "\x95\x32\x90\x31", "\xFE\x51"};
  static std::string const name =
      std::getenv("ZYN_FUZZ_LOCALE") ? std::getenv("ZYN_FUZZ_LOCALE") : "";
  if (name.find("eucJP") != std::string::npos)
    return eucjp;
  return name.find("18030") != std::string::npos ? gb18030 : utf8;
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

// The buffer's character walk and the position mappings against the model:
// bytes that start no character are characters of one byte.
void checkCharacters(DString const& s, Model const& m) {
  auto const& buf = *static_cast<DDBCSBuffer const*>(s.buffer());
  char const* const text = s;
  std::mbstate_t state{};
  for (std::size_t k = 0; k < m.count(); ++k) {
    u32 const at = u32(m.starts[k]), size = u32(m.chars[k].bytes.size());
    for (u32 j = 0; j < size; ++j)
      if (buf.charType(at + j + 1) != (size == 1 ? 0 : int(j + 1)))
        fail("charType", show(m.t) + " at " + std::to_string(at + j + 1));
    if (buf.next(text + at) != text + at + size ||
        buf.prevCharLength(at + size + 1) != size ||
        buf.charLength(at + 1, &state) != size)
      fail("character walk", show(m.t) + " at " + std::to_string(at + 1));
  }
  u32 const n = u32(m.t.size()), count = u32(m.count());
  if (!m.valid || n > 300)
    return;
  std::vector<char> out(2 * n + 16);
  for (u32 c = 0; c <= count + 1; ++c) {
    u32 const want = n < 2 ? c == 1 : c && c <= count ? m.starts[c - 1] + 1 : 0;
    if (findBytePos(text, n, c) != want)
      fail("findBytePos", show(m.t) + " character " + std::to_string(c));
  }
  for (u32 pos = 0; pos <= n + 1; ++pos) {
    u32 want[4] = {0, 0, 0, 0};
    if (pos >= 1 && pos <= n) {
      u32 const k = u32(m.holding(pos)), start = u32(m.starts[k]) + 1;
      u32 const next = k + 1 < count ? u32(m.starts[k + 1]) + 1 : 0;
      want[0] = k + 1;
      want[1] = start == pos ? k + 1 : next ? k + 2 : 0;
      want[2] = start;
      want[3] = next;
    }
    if (findCharNum(text, n, pos) != want[0] ||
        findNextCharNum(text, n, pos) != want[1] ||
        findCurPos(text, n, pos) != want[2] ||
        findNextPos(text, n, pos) != want[3] ||
        getRemainString(text, n, pos, '*', out.data()) !=
            m.rest(pos, '*').size() ||
        std::string(out.data(), m.rest(pos, '*').size()) != m.rest(pos, '*') ||
        std::string(getSubString(text, n, pos, '*', out.data(), 9), 9) !=
            m.sub(pos, 9, '*'))
      fail("position mapping", show(m.t) + " at " + std::to_string(pos));
  }
}

void runOne(dfuzz::Input& in) {
  DString::fgI18NState = in.byte() & 1;
  bool const raw = (in.byte() & 7) == 0;
  std::string t = mbText(in, 16, raw);
  std::string const p = mbText(in, 3, raw), q = mbText(in, 3, raw);
  if (in.byte() % 16 == 1) // long enough for the walk's checkpoints
    for (std::string const piece = t; !piece.empty() && t.size() < 1500;)
      t += piece;
  Model const m(t);
  bool const valid = m.valid && Model(p).valid && Model(q).valid;
  DString s(t.data(), static_cast<u32>(t.size()));
  DString const shared(s);
  std::size_t const n = t.size();
  u32 const a = in.position(n, true);
  u32 const b = in.upTo(static_cast<u32>(n) + 4);
  char const pad = " .*"[in.upTo(2)];
  std::string const what = " on " + show(t) + " arg " + show(p) + " " +
                           show(q) + " a " + std::to_string(a) + " b " +
                           std::to_string(b);
  if (n <= 300)
    checkCharacters(s, m);
  // The search starts are the character starts at or after, at or before.
  DBuffer const* const buf = s.buffer();
  u32 after = 0, before = 0;
  for (std::size_t start : m.starts)
    if (start < n) {
      after = after == 0 && start + 1 >= b ? u32(start + 1) : after;
      before = start + 1 <= b ? u32(start + 1) : before;
    }
  if (b > 0 && (buf->startSearch(b, 1) != after ||
                buf->startBackwardsSearch(b, 1) != before))
    fail("startSearch", what);
  u32 const pl = static_cast<u32>(p.size()), ql = static_cast<u32>(q.size());
  char const* const pd = dmodel::guardedCopy(0, p);
  char const* const qd = dmodel::guardedCopy(1, q);
  u32 const start = a == 0xFFFFFFFFu ? 1 : a;
  u32 const op = in.upTo(28);
  DString r(s);
  u32 found = 0; // a search's answer
  std::function<void()> const ops[] = {
      [&] { found = s.indexOf(pd, pl, a); },
      [&] { found = s.lastIndexOf(pd, pl, a); },
      [&] { found = s.indexOfAnyOf(pd, pl, a); },
      [&] { found = s.indexOfAnyBut(pd, pl, a); },
      [&] { found = s.lastIndexOfAnyOf(pd, pl, a); },
      [&] { found = s.lastIndexOfAnyBut(pd, pl, a); },
      [&] { (void)s.occurrencesOf(pd, pl, a); },
      [&] { r = s.subString(start, b, pad); },
      [&] { r = s.subString(start); },
      [&] { r.upperCase(); },
      [&] { r.lowerCase(); },
      [&] { r.translate(pd, pl, qd, ql, pad); },
      [&] { r.strip(pd, pl, static_cast<DStringEnum::StripMode>(b % 3)); },
      [&] { r.reverse(); },
      [&] { r.overlayWith(pd, pl, b, pad); },
      [&] { r.insert(pd, pl, b, pad); },
      [&] { r.remove(start, b); },
      [&] { r.leftJustify(b, pad); },
      [&] { r.rightJustify(b, pad); },
      [&] { r.center(b, pad); },
      [&] { r.change(pd, pl, qd, ql, b, 0xFFFFFFFFu); },
      [&] {
        if (valid)
          checkWords(s, t, b % 4 + 1, a % 3 + 1);
      },
      [&] { r.space(b % 3, pad); },
      [&] { r.removeWords(b % 3 + 1, 1); },
      [&] {
        DString const other(pd, pl);
        (void)(s == other);
        (void)(s < other);
        (void)s.isLike(pd, pl, '*', '?');
        (void)s.isAbbrevFor(pd, pl, 0);
        // Classes hold when every character's wide value passes (never
        // for the empty text); the multibyte tests count wide characters.
        bool ok[12] = {}, multi = true;
        int (*const classes[12])(wint_t) = {
            std::iswalnum, std::iswalpha,  std::iswcntrl, std::iswdigit,
            std::iswgraph, std::iswxdigit, std::iswlower, std::iswprint,
            std::iswpunct, std::iswupper,  std::iswspace, nullptr};
        for (int k = 0; k < 11; ++k) {
          ok[k] = n > 0;
          for (Model::Char const& c : m.chars)
            ok[k] = ok[k] && classes[k](wint_t(c.wide));
        }
        for (Model::Char const& c : m.chars)
          multi = multi && c.bytes.size() > 1;
        bool const got[12] = {
            s.isAlphanumeric(), s.isAlphabetic(), s.isControl(),
            s.isDigits(),       s.isGraphics(),   s.isHexDigits(),
            s.isLowerCase(),    s.isPrintable(),  s.isPunctuation(),
            s.isUpperCase(),    s.isWhiteSpace(), false};
        bool const isMBCS = m.wideCount == m.count(), isSBCS = !m.wideCount;
        if (std::memcmp(ok, got, sizeof ok) != 0 || s.isMBCS() != isMBCS ||
            s.isDBCS() != isMBCS || s.includesSBCS() == isMBCS ||
            s.isSBCS() != isSBCS || s.includesMBCS() == isSBCS ||
            s.includesDBCS() == isSBCS || s.isValidMBCS() != multi ||
            s.isValidDBCS() != multi)
          fail("character classes", what);
        // The byte strategy compares bytes.
        int const order = t.compare(p);
        if (DString::fgI18NState == 0 &&
            buf->compare(pd, pl) != (order < 0   ? 2u
                                     : order > 0 ? 1u
                                                 : 0u))
          fail("compare", what);
      },
      [&] { r = s + DString(pd, pl); },
      [&] { // a word into a target that holds q (reused when not empty)
        std::string const input = p + " " + q;
        std::istringstream stream(input);
        r = DString(q.data(), ql);
        stream >> r;
        std::size_t const i = input.find_first_not_of("\t\n\v\f\r ");
        std::string const word =
            i == std::string::npos
                ? ""
                : input.substr(i, input.find_first_of("\t\n\v\f\r ", i) - i);
        if (bytesOf(r) != word)
          fail("operator>>", what + " gave " + show(bytesOf(r)));
      },
      [&] { // a line: everything up to the first newline
        std::string const input = p + q + "\n" + t;
        std::istringstream stream(input);
        r = DString::lineFrom(stream);
        if (bytesOf(r) != input.substr(0, input.find('\n')))
          fail("lineFrom", what + " gave " + show(bytesOf(r)));
      },
      [&] { r.strip(); }, // white space: iswspace on wide characters
  };
  try {
    ops[op]();
  } catch (DException const& e) {
    // Invalid text may raise message 1012 (an invalid or incomplete
    // character); valid text must never raise anything here.
    if (valid || e.errorId() != 1012)
      fail("exception", std::string(e.name()) + " id " +
                            std::to_string(e.errorId()) + " from operation " +
                            std::to_string(op) + what);
    return;
  }
  if (valid && !m.isStart(found))
    fail("search",
         std::to_string(op) + what + " gave " + std::to_string(found));
  std::string want;
  std::string const got = bytesOf(r);
  if (valid && DString::fgI18NState == 1 &&
      wideModel(op, m, p, q, a, b, pad, want) && got != want)
    fail("wide edit", std::to_string(op) + what + " gave " + show(got) +
                          " want " + show(want));
  if (valid && !Model(got).valid)
    fail("edit", std::to_string(op) + what + " gave " + show(got));
  if (bytesOf(shared) != t)
    fail("copy on write", std::to_string(op) + what);
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
