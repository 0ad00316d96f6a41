// Fuzz target: the single-byte operations in the C locale against models, on
// a handle alone, shared, or holding a derived buffer that overrides nothing
// (so the shortcuts for a plain DBuffer must answer as its slots do).
#include "../tests/support/dmodels.hpp"
#include "fuzz_input.hpp"

#include <algorithm>
#include <cctype>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>

namespace {

using namespace dmodel;
using dtest::bytes;
using dtest::len;
using dtest::make;
using std::string;

string context; // the inputs of the current operation, for reports

// A buffer class that keeps every DBuffer operation.
struct Plain : DBuffer {
  explicit Plain(unsigned int n) : DBuffer(n) {}
};

void txt(char const* what, DString const& got, string const& want) {
  if (bytes(got) != want || static_cast<char const*>(got)[got.length()] != 0)
    dfuzz::fail(what, context + " gave " + dfuzz::show(bytes(got)) +
                          ", model " + dfuzz::show(want));
}

void num(char const* what, unsigned long got, unsigned long want) {
  if (got != want)
    dfuzz::fail(what, context + " gave " + std::to_string(got) + ", model " +
                          std::to_string(want));
}

// The predicate given to the DStringTest forms: 'a', 'b' and the byte 0xE9,
// which must arrive as -23 (a signed char widened to int).
int abPredicate(int c) {
  return c == 'a' || c == 'b' || c == -23;
}
bool ab(char c) {
  return abPredicate(static_cast<signed char>(c));
}

template <class F>
string mapped(string t, F f) {
  std::transform(t.begin(), t.end(), t.begin(), f);
  return t;
}

bool hasNul(string const& s) {
  return s.find('\0') != string::npos;
}

template <class Pred>
bool all(string const& t, Pred member) {
  return !t.empty() && std::all_of(t.begin(), t.end(), member);
}

void runOne(dfuzz::Input& in) {
  string const t = in.text(in.byte() % 8 == 0 ? 300 : 48);
  string const p = in.text(6), q = in.text(6);
  u32 const kind = in.upTo(2); // alone, shared, a derived buffer
  DString const s = kind == 2 ? dtest::makeIn<Plain>(t) : make(t), ps = make(p);
  char const pad = "-. \0*"[in.upTo(4)];
  std::size_t const n = t.size();
  u32 const op = in.upTo(36);
  u32 const a = in.position(n, op < 7);
  context = "text " + dfuzz::show(t) + " arg " + dfuzz::show(p) + " arg2 " +
            dfuzz::show(q) + " a " + std::to_string(a) + " pad " +
            dfuzz::show(string(1, pad)) + " kind " + std::to_string(kind);
  auto const draw = [](u32 v) {
    context += " " + std::to_string(v);
    return v;
  };
  // An edit on a handle alone or shared; the other handle keeps its text.
  auto const edit = [&](char const* what, string const& want, auto&& change) {
    DString h = kind == 2 ? dtest::makeIn<Plain>(t) : make(t), other;
    if (kind == 1)
      other = h;
    change(h);
    txt(what, h, want);
    if (kind == 1)
      txt("the sharing handle", other, t);
  };
#define EDIT(what, want, ...) edit(what, want, [&](DString& d) { __VA_ARGS__; })
  auto const inP = [&p](char c) { return inSet(c, p); };
  auto const notInP = [&p](char c) { return !inSet(c, p); };
  DStringTest const test(&abPredicate);
  std::size_t const from = a == 0 ? 1 : a;
  switch (op) {
  case 0:
    num("indexOf", s.indexOf(p.data(), len(p), a), indexOf(t, p, a));
    // Each occurrence changed to itself plus one byte adds one byte.
    num("occurrencesOf", s.occurrencesOf(p.data(), len(p), a),
        change(t, p, p + '#', a, 0xFFFFFFFFu).size() - n);
    if (!p.empty())
      num("indexOf(char)", s.indexOf(p[0], a), indexOf(t, p.substr(0, 1), a));
    num("lastIndexOf", s.lastIndexOf(p.data(), len(p), a),
        lastIndexOf(t, p, a));
    break;
  case 1:
    num("indexOfAnyOf", s.indexOfAnyOf(p.data(), len(p), a),
        forward(t, a, false, p.empty(), inP));
    num("indexOfAnyBut", s.indexOfAnyBut(p.data(), len(p), a),
        forward(t, a, true, p.empty(), notInP));
    num("lastIndexOfAnyOf", s.lastIndexOfAnyOf(p.data(), len(p), a),
        backward(t, a, false, p.empty(), inP));
    num("lastIndexOfAnyBut", s.lastIndexOfAnyBut(p.data(), len(p), a),
        backward(t, a, true, p.empty(), notInP));
    break;
  case 4:
    num("indexOf(test)", s.indexOf(test, a), forward(t, a, 0, 0, ab));
    num("indexOfAnyBut(test)", s.indexOfAnyBut(test, a),
        forward(t, a, 0, 0, std::not_fn(ab)));
    num("lastIndexOf(test)", s.lastIndexOf(test, a), backward(t, a, 0, 0, ab));
    num("lastIndexOfAnyBut(test)", s.lastIndexOfAnyBut(test, a),
        backward(t, a, 0, 0, std::not_fn(ab)));
    num("occurrencesOf(test)", s.occurrencesOf(test, a),
        from > n ? 0 : std::count_if(t.begin() + from - 1, t.end(), ab));
    break;
  case 5: {
    u32 const count = draw(in.upTo(60));
    string const want = from > n ? string() : t.substr(from - 1, count);
    txt("subString", s.subString(a, count, pad),
        want + string(count - want.size(), pad));
    // Start 0 keeps its count of length + 1 and so gains one blank, unless
    // internationalisation is on.
    for (int state = 0; state < 2; ++state) {
      DString::fgI18NState = state;
      txt("subString(start)", s.subString(a),
          a > n    ? string()
          : a == 0 ? (state ? t : t + " ")
                   : t.substr(a - 1));
    }
    DString::fgI18NState = 0;
    break;
  }
  case 6: {
    // Comparisons: byte order, then length (C locale; with collation on,
    // only texts without NUL bytes, where strcoll is strcmp). The text
    // forms take the bytes up to the first NUL.
    bool const collate = in.byte() & 1;
    if (collate && (hasNul(t) || hasNul(p)))
      break;
    DString::fgI18NState = collate;
    string const pt = p.substr(0, p.find('\0'));
    string flipped = t + "x"; // one byte changed, at a word-scan edge too
    flipped[in.upTo(static_cast<u32>(n))] ^= '\x80';
    char const* const pc = p.c_str();
    bool const ok = (s == ps) == (t == p) && (s != ps) == (t != p) &&
                    (s < ps) == (t < p) && (s <= ps) == (t <= p) &&
                    (s > ps) == (t > p) && (s >= ps) == (t >= p) &&
                    (s == pc) == (t == pt) && (s < pc) == (t < pt) &&
                    (s > pc) == (t > pt) && (pc == s) == (pt == t) &&
                    (pc < s) == (pt < t) && (pc > s) == (pt > t) &&
                    s == make(t) && !(s != make(t)) && s != make(t + "x") &&
                    (s != make(flipped.substr(0, n))) == (flipped[n] == 'x');
    DString::fgI18NState = 0;
    if (!ok)
      dfuzz::fail("comparison", context);
    break;
  }
  case 7:
    EDIT("upperCase", mapped(t, ::toupper), d.upperCase());
    EDIT("lowerCase", mapped(t, ::tolower), d.lowerCase());
    EDIT("reverse", string(t.rbegin(), t.rend()), d.reverse());
    break;
  case 8:
    EDIT("translate",
         mapped(t,
                [&](char c) {
                  std::size_t const i = p.find(c);
                  return i == string::npos ? c : i < q.size() ? q[i] : pad;
                }),
         d.translate(p.data(), len(p), q.data(), len(q), pad));
    break;
  case 9: {
    int const mode = static_cast<int>(in.upTo(2));
    EDIT("strip", strip(t, p, mode),
         d.strip(p.data(), len(p), static_cast<DStringEnum::StripMode>(mode)));
    EDIT("strip()", strip(t, string("\t\n\v\f\r ", 6), 2), d.strip());
    break;
  }
  case 10: {
    bool const nothing = p.empty() && a <= n;
    string want = from - 1 > n ? t + string(from - 1 - n, pad) + p
                               : t.substr(0, from - 1) + p +
                                     (n > from - 1 + p.size()
                                          ? t.substr(from - 1 + p.size())
                                          : "");
    EDIT("overlayWith", nothing ? t : want,
         d.overlayWith(p.data(), len(p), a, pad));
    want =
        a <= n ? t.substr(0, a) + p + t.substr(a) : t + string(a - n, pad) + p;
    EDIT("insert", nothing ? t : want, d.insert(p.data(), len(p), a, pad));
    break;
  }
  case 11: {
    u32 const count = draw(in.byte() % 16 == 0 ? 0xFFFFFFFFu : in.upTo(60));
    string want = t;
    if (count != 0 && a <= n && n != 0)
      want.erase(from - 1, std::min<std::size_t>(count, n - from + 1));
    EDIT("remove", want, d.remove(a, count));
    EDIT("remove(start)", a <= n && n != 0 ? t.substr(0, from - 1) : t,
         d.remove(a));
    break;
  }
  case 12: {
    u32 const w = draw(in.upTo(60));
    string const fill(w > n ? w - n : 0, pad);
    EDIT("leftJustify", t.substr(0, w) + fill, d.leftJustify(w, pad));
    EDIT("rightJustify", fill + t.substr(n - std::min<std::size_t>(n, w)),
         d.rightJustify(w, pad));
    EDIT("center",
         w <= n ? t.substr((n - w) / 2, w)
                : fill.substr(0, fill.size() / 2) + t +
                      fill.substr(fill.size() / 2),
         d.center(w, pad));
    break;
  }
  case 13: {
    u32 const times = draw(in.upTo(6));
    string want;
    for (u32 i = 0; i < times; ++i)
      want += t;
    EDIT("copy", want, d.copy(times));
    break;
  }
  case 14: {
    u32 const count = draw(in.byte() % 4 == 0 ? 0xFFFFFFFFu : in.upTo(4));
    EDIT("change", change(t, p, q, a, count),
         d.change(p.data(), len(p), q.data(), len(q), a, count));
    break;
  }
  case 15: {
    std::vector<Word> const w = words(t);
    num("numWords", s.numWords(), w.size());
    u32 const k = draw(in.upTo(static_cast<u32>(w.size()) + 2));
    bool const inRange = k >= 1 && k <= w.size();
    num("indexOfWord", s.indexOfWord(k, 1, 0), inRange ? w[k - 1].pos : 0);
    num("lengthOfWord", s.lengthOfWord(k), inRange ? w[k - 1].length : 0);
    u32 const kk = k == 0 ? 1 : k;
    txt("word", s.word(k),
        kk <= w.size() ? t.substr(w[kk - 1].pos - 1, w[kk - 1].length) : "");
    break;
  }
  case 16: {
    std::vector<Word> const w = words(t);
    u32 const f = draw(in.upTo(static_cast<u32>(w.size()) + 2));
    u32 const count =
        draw(in.byte() % 8 == 0 ? 0xFFFFFFFFu
                                : in.upTo(static_cast<u32>(w.size()) + 2));
    u32 const ff = f == 0 ? 1 : f;
    string want;
    if (ff <= w.size() && count != 0) {
      unsigned long long const lastWanted = std::min<unsigned long long>(
          0xFFFFFFFFull, static_cast<unsigned long long>(ff) + count - 1);
      Word const& last = lastWanted <= w.size() ? w[lastWanted - 1] : w.back();
      want =
          t.substr(w[ff - 1].pos - 1, last.pos + last.length - w[ff - 1].pos);
    }
    txt("words", s.words(f, count), want);
    want = t;
    if (count != 0 && f >= 1 && f <= w.size()) {
      u32 const next = f + count; // 32-bit, as the library counts
      std::size_t const to =
          next >= f && next <= w.size() ? w[next - 1].pos : n + 1;
      want = t.substr(0, w[f - 1].pos - 1) + t.substr(to - 1);
    }
    EDIT("removeWords", want, d.removeWords(f, count));
    break;
  }
  case 17: {
    u32 const gap = draw(in.upTo(3));
    string want;
    for (Word const& w : words(t))
      want += (want.empty() ? "" : string(gap, pad)) +
              t.substr(w.pos - 1, w.length);
    EDIT("space", n == 0 ? t : want, d.space(gap, pad));
    break;
  }
  case 18: {
    std::vector<Word> const w = words(t);
    u32 const start = draw(in.upTo(static_cast<u32>(w.size()) + 2));
    u32 const want = findPhrase(t, p, start);
    num("findPhrase word", s.findPhrase(ps, start, DString::wordIndex), want);
    num("findPhrase char", s.findPhrase(ps, start, DString::charIndex),
        want >= 1 && want <= w.size() ? w[want - 1].pos : 0);
    break;
  }
  case 19:
  case 20: {
    // isLike with wildcard characters from the input (they may coincide).
    char const anyString = "*?ab"[draw(in.upTo(3))];
    char const anyChar = "?*ab"[draw(in.upTo(3))];
    string const pat = p + q;
    if (op == 20 && (hasNul(t) || hasNul(pat)))
      break;
    DString::fgI18NState = op == 20;
    bool const got = s.isLike(pat.data(), len(pat), anyString, anyChar);
    DString::fgI18NState = 0;
    num("isLike", got, like(pat, t, anyString, anyChar));
    break;
  }
  case 21: {
    // isAbbrevFor: the receiver is p, the text t.
    u32 const minLength = draw(in.upTo(8));
    std::size_t const m = minLength == 0 ? p.size() : minLength;
    num("isAbbrevFor", ps.isAbbrevFor(t.data(), len(t), minLength),
        n >= p.size() && m <= p.size() && t.compare(0, p.size(), p) == 0);
    break;
  }
  case 22: {
    // Character classes against <ctype.h> given each byte as a signed char
    // (0x80-0xFF in none), on the text and on a long run of one byte with
    // one other byte in it (read through the locale's table).
    string run(255 + in.upTo(60), "7bQ \x01~"[in.upTo(5)]);
    run[in.upTo(static_cast<u32>(run.size()) - 1)] =
        static_cast<char>(in.byte());
    using Member = bool (DString::*)() const;
    Member const members[] = {&DString::isAlphanumeric, &DString::isAlphabetic,
                              &DString::isControl,      &DString::isDigits,
                              &DString::isGraphics,     &DString::isHexDigits,
                              &DString::isLowerCase,    &DString::isPrintable,
                              &DString::isPunctuation,  &DString::isUpperCase,
                              &DString::isWhiteSpace};
    int (*const classes[])(int) = {::isalnum, ::isalpha,  ::iscntrl, ::isdigit,
                                   ::isgraph, ::isxdigit, ::islower, ::isprint,
                                   ::ispunct, ::isupper,  ::isspace};
    for (string const& x : {t, run}) {
      DString const d = make(x);
      context = "text " + dfuzz::show(x);
      for (std::size_t k = 0; k < std::size(classes); ++k)
        num("character class", (d.*members[k])(), all(x, [&](char c) {
              return classes[k](static_cast<signed char>(c)) != 0;
            }));
      num("isASCII", d.isASCII(), all(x, [](char c) { return c >= 0; }));
      num("isBinaryDigits", d.isBinaryDigits(),
          all(x, [](char c) { return c == '0' || c == '1' || c < 0; }));
    }
    break;
  }
  case 23:
    txt("operator+", s + ps, t + p);
    EDIT("operator+=", t + p, d += ps);
    break;
  case 24: {
    // Bit operators: the mask repeats over the receiver, which keeps its
    // length. A text mask ends at its first NUL; the free forms take the
    // text as the receiver.
    u32 const which = draw(in.upTo(2));
    auto const model = [which](string r, string const& mask) {
      for (std::size_t i = 0; i < r.size() && !mask.empty(); ++i) {
        char const m = mask[i % mask.size()];
        r[i] = char(which == 0 ? r[i] & m : which == 1 ? r[i] | m : r[i] ^ m);
      }
      return r;
    };
    string const pt = p.substr(0, p.find('\0'));
    char const* const mt = p.c_str();
    auto const bit = [which](auto const& x, auto const& y) {
      return which == 0 ? x & y : which == 1 ? x | y : x ^ y;
    };
    auto const assign = [which](DString& d, auto const& y) {
      which == 0 ? d &= y : which == 1 ? d |= y : d ^= y;
    };
    txt("bit operator", bit(s, ps), model(t, p));
    txt("bit operator text", bit(s, mt), model(t, pt));
    txt("bit operator free", bit(mt, s), model(pt, t));
    txt("bit operator kept its receiver", s, t);
    EDIT("bit assign", model(t, p), assign(d, ps));
    EDIT("bit assign text", model(t, pt), assign(d, mt));
    txt("operator~", ~s, mapped(t, [](char c) { return char(~c); }));
    txt("operator~ twice", ~~s, t);
    break;
  }
  case 25: {
    // Indexing: 0 and 1 name the first byte; past the end the string grows
    // with blanks up to the index. A write reaches this handle only.
    string want = t;
    if (from > n)
      want.resize(from, ' ');
    want[from - 1] = pad;
    EDIT("operator[]", want, d[a] = pad);
    EDIT("operator[](int)", want, d[static_cast<int>(a)] = pad);
    if (from <= n)
      num("const operator[]", static_cast<unsigned char>(s[a]),
          static_cast<unsigned char>(t[from - 1]));
    break;
  }
  default: {
    // Stream input: a word (a width, a shared target, a failed stream
    // empties it, noskipws), then the lines up to the pad byte.
    std::istringstream words(t), lines(t);
    std::streamsize const width = draw(in.upTo(8));
    u32 const mode = draw(in.upTo(7)); // 0 failed, 1 noskipws
    bool const failed = mode == 0;
    DString word = make(p);
    DString const old(word);
    words.width(width);
    if (failed) {
      words.setstate(std::ios_base::failbit);
      lines.setstate(std::ios_base::failbit);
    }
    words >> (mode == 1 ? std::noskipws : std::skipws) >> word;
    std::size_t i = 0, j;
    while (mode != 1 && i < n && isBlank(t[i]))
      ++i;
    for (j = i; j < n && !isBlank(t[j]) &&
                (width == 0 || static_cast<long>(j - i) + 1 < width);)
      ++j;
    txt(">>", word, failed ? "" : t.substr(i, j - i));
    txt(">> the sharing handle", old, p);
    for (std::size_t at = 0, end; at < n; at = end + 1) {
      end = std::min(t.find(pad, at), n);
      txt("lineFrom", DString::lineFrom(lines, pad),
          failed ? "" : t.substr(at, end - at));
    }
    num("lineFrom at the end", DString::lineFrom(lines, pad).length(), 0);
    break;
  }
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data,
                                      std::size_t size) {
  static bool const ready = [] {
    std::setlocale(LC_ALL, "C");
    DString::fgI18NState = 0;
    return true;
  }();
  (void)ready;
  dfuzz::Input in(data, size);
  for (int round = 0; round < 4 && !in.empty(); ++round)
    runOne(in);
  return 0;
}
