// Fuzz target: single-byte string operations in the C locale, each result
// checked against a deliberately plain model on std::string written here
// (loops over bytes, no cleverness): searches, edits, words, comparisons,
// isLike and isAbbrevFor, bit operators and indexing past the end. Every
// edit also runs on a handle that shares its buffer with a second one,
// which must keep its old value.
#include "fuzz_input.hpp"

#include "dstring.hpp"

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

using dfuzz::fail;
using dfuzz::show;

namespace {

using u32 = unsigned int;

std::string bytesOf(DString const& s) {
  return std::string(static_cast<char const*>(s), s.length());
}

bool inSet(char c, std::string const& set) {
  return set.find(c) != std::string::npos;
}

bool isBlank(char c) {
  return inSet(c, std::string("\t\n\v\f\r ", 6));
}

// The predicate given to the DStringTest forms: 'a', 'b' and the byte 0xE9,
// which must arrive as -23 (a signed char widened to int).
int abPredicate(int c) {
  return c == 'a' || c == 'b' || c == -23;
}

bool abModel(char c) {
  return c == 'a' || c == 'b' || c == '\xE9';
}

//===--- Search model ---------------------------------------------------===//

u32 modelIndexOf(std::string const& t, std::string const& p, u32 start) {
  std::size_t const n = t.size();
  if (p.empty())
    return 0;
  std::size_t s = start == 0 ? 1 : start;
  for (std::size_t pos = s; pos + p.size() - 1 <= n; ++pos)
    if (t.compare(pos - 1, p.size(), p) == 0)
      return static_cast<u32>(pos);
  return 0;
}

u32 modelLastIndexOf(std::string const& t, std::string const& p, u32 start) {
  std::size_t const n = t.size();
  if (p.empty() || p.size() > n || start == 0)
    return 0;
  std::size_t s = std::min<std::size_t>(start, n);
  s = std::min(s, n - p.size() + 1);
  for (std::size_t pos = s; pos >= 1; --pos)
    if (t.compare(pos - 1, p.size(), p) == 0)
      return static_cast<u32>(pos);
  return 0;
}

template <class Member>
u32 modelForward(std::string const& t, u32 start, bool emptySetAnswer,
                 bool setEmpty, Member member) {
  std::size_t const s = start == 0 ? 1 : start;
  if (s > t.size())
    return 0;
  if (setEmpty)
    return emptySetAnswer ? static_cast<u32>(s) : 0;
  for (std::size_t pos = s; pos <= t.size(); ++pos)
    if (member(t[pos - 1]))
      return static_cast<u32>(pos);
  return 0;
}

template <class Member>
u32 modelBackward(std::string const& t, u32 start, bool emptySetAnswer,
                  bool setEmpty, Member member) {
  if (t.empty() || start == 0)
    return 0;
  std::size_t const s = std::min<std::size_t>(start, t.size());
  if (setEmpty)
    return emptySetAnswer ? static_cast<u32>(s) : 0;
  for (std::size_t pos = s; pos >= 1; --pos)
    if (member(t[pos - 1]))
      return static_cast<u32>(pos);
  return 0;
}

//===--- Edit model -----------------------------------------------------===//

std::string modelChange(std::string const& t, std::string const& p,
                        std::string const& r, u32 start, u32 count) {
  if (count == 0)
    return t;
  std::vector<std::size_t> hits;
  u32 from = start;
  while (hits.size() < count) {
    u32 const hit = modelIndexOf(t, p, from);
    if (hit == 0)
      break;
    hits.push_back(hit);
    from = hit + static_cast<u32>(p.size());
  }
  std::string out;
  std::size_t copied = 0;
  for (std::size_t hit : hits) {
    out += t.substr(copied, hit - 1 - copied);
    out += r;
    copied = hit - 1 + p.size();
  }
  return out + t.substr(copied);
}

std::string pads(std::size_t n, char pad) {
  return std::string(n, pad);
}

//===--- Word model -----------------------------------------------------===//

struct Word {
  std::size_t pos; // 1-based
  std::size_t length;
};

std::vector<Word> wordsOf(std::string const& t) {
  std::vector<Word> out;
  std::size_t i = 0;
  while (i < t.size()) {
    if (isBlank(t[i])) {
      ++i;
      continue;
    }
    std::size_t j = i;
    while (j < t.size() && !isBlank(t[j]))
      ++j;
    out.push_back({i + 1, j - i});
    i = j;
  }
  return out;
}

// isLike: the whole text against the whole pattern, by recursion with
// memoisation over (pattern index, text index).
bool globMatch(std::string const& p, std::string const& t, char anyString,
               char anyChar) {
  std::vector<std::vector<signed char>> memo(
      p.size() + 1, std::vector<signed char>(t.size() + 1, -1));
  std::function<bool(std::size_t, std::size_t)> match =
      [&](std::size_t i, std::size_t j) -> bool {
    signed char& m = memo[i][j];
    if (m >= 0)
      return m != 0;
    bool result;
    if (i == p.size())
      result = j == t.size();
    else if (p[i] == anyString)
      result = match(i + 1, j) || (j < t.size() && match(i, j + 1));
    else
      result = j < t.size() && (p[i] == anyChar || p[i] == t[j]) &&
               match(i + 1, j + 1);
    m = result ? 1 : 0;
    return result;
  };
  return match(0, 0);
}

bool hasNul(std::string const& s) {
  return s.find('\0') != std::string::npos;
}

void expectText(char const* what, DString const& got, std::string const& want,
                std::string const& context) {
  if (bytesOf(got) != want)
    fail(what,
         context + " gave " + show(bytesOf(got)) + ", model " + show(want));
}

void expectNumber(char const* what, unsigned long got, unsigned long want,
                  std::string const& context) {
  if (got != want)
    fail(what, context + " gave " + std::to_string(got) + ", model " +
                   std::to_string(want));
}

// Runs one edit on a handle that shares its buffer with a second handle
// (or holds it alone), checks the result, and checks that the second
// handle kept the old text.
template <class Edit>
void checkEdit(char const* what, std::string const& t, bool shared,
               std::string const& want, std::string const& context, Edit edit) {
  DString s(t.data(), static_cast<u32>(t.size()));
  DString other;
  if (shared)
    other = s;
  edit(s);
  expectText(what, s, want, context);
  if (shared)
    expectText(what, other, t, context + " (the sharing handle)");
}

void runOne(dfuzz::Input& in) {
  std::string const t = in.text(48);
  std::string const p = in.text(6);
  std::string const q = in.text(6);
  DString const s(t.data(), static_cast<u32>(t.size()));
  DString const ps(p.data(), static_cast<u32>(p.size()));
  std::string const ctx = "text " + show(t) + " arg " + show(p);
  bool const shared = in.byte() & 1;
  char const pad = static_cast<char>("-. \0*"[in.upTo(4)]);
  std::size_t const n = t.size();
  u32 const op = in.upTo(39);
  u32 const a = in.position(n, op < 12);
  u32 const b = in.position(n, op < 12);
  std::string const c2 = ctx + " a " + std::to_string(a) + " b " +
                         std::to_string(b) + " pad " +
                         show(std::string(1, pad));
  auto const memberP = [&p](char c) { return inSet(c, p); };
  auto const outsideP = [&p](char c) { return !inSet(c, p); };
  DStringTest const ab(&abPredicate);
  switch (op) {
  case 0:
    expectNumber("indexOf", s.indexOf(p.data(), static_cast<u32>(p.size()), a),
                 modelIndexOf(t, p, a), c2);
    break;
  case 1:
    expectNumber("lastIndexOf",
                 s.lastIndexOf(p.data(), static_cast<u32>(p.size()), a),
                 modelLastIndexOf(t, p, a), c2);
    break;
  case 2:
    expectNumber("indexOfAnyOf",
                 s.indexOfAnyOf(p.data(), static_cast<u32>(p.size()), a),
                 modelForward(t, a, false, p.empty(), memberP), c2);
    break;
  case 3:
    expectNumber("indexOfAnyBut",
                 s.indexOfAnyBut(p.data(), static_cast<u32>(p.size()), a),
                 modelForward(t, a, true, p.empty(), outsideP), c2);
    break;
  case 4:
    expectNumber("lastIndexOfAnyOf",
                 s.lastIndexOfAnyOf(p.data(), static_cast<u32>(p.size()), a),
                 modelBackward(t, a, false, p.empty(), memberP), c2);
    break;
  case 5:
    expectNumber("lastIndexOfAnyBut",
                 s.lastIndexOfAnyBut(p.data(), static_cast<u32>(p.size()), a),
                 modelBackward(t, a, true, p.empty(), outsideP), c2);
    break;
  case 6:
    expectNumber("indexOf(test)", s.indexOf(ab, a),
                 modelForward(t, a, false, false, abModel), c2);
    expectNumber(
        "indexOfAnyBut(test)", s.indexOfAnyBut(ab, a),
        modelForward(t, a, false, false, [](char c) { return !abModel(c); }),
        c2);
    break;
  case 7:
    expectNumber("lastIndexOf(test)", s.lastIndexOf(ab, a),
                 modelBackward(t, a, false, false, abModel), c2);
    expectNumber(
        "lastIndexOfAnyBut(test)", s.lastIndexOfAnyBut(ab, a),
        modelBackward(t, a, false, false, [](char c) { return !abModel(c); }),
        c2);
    break;
  case 8: {
    unsigned long want = 0;
    for (u32 hit = modelIndexOf(t, p, a); hit != 0;
         hit = modelIndexOf(t, p, hit + static_cast<u32>(p.size())))
      ++want;
    expectNumber("occurrencesOf",
                 s.occurrencesOf(p.data(), static_cast<u32>(p.size()), a), want,
                 c2);
    unsigned long wantTest = 0;
    for (std::size_t i = (a == 0 ? 1 : a); i <= n; ++i)
      wantTest += abModel(t[i - 1]) ? 1 : 0;
    expectNumber("occurrencesOf(test)", s.occurrencesOf(ab, a), wantTest, c2);
    break;
  }
  case 9: {
    u32 const count = in.upTo(60);
    std::size_t const from = a == 0 ? 1 : a;
    std::string want = from > n ? std::string() : t.substr(from - 1, count);
    want += pads(count - want.size(), pad);
    expectText("subString", s.subString(a, count, pad), want,
               c2 + " count " + std::to_string(count));
    break;
  }
  case 10: {
    std::string want;
    if (a <= n) {
      // Start 0 keeps its count of length + 1 and so gains one blank.
      want = a == 0 ? t + " " : t.substr(a - 1);
    }
    DString::fgI18NState = 0;
    expectText("subString(start)", s.subString(a), want, c2);
    DString::fgI18NState = 1;
    expectText("subString(start) i18n", s.subString(a),
               a <= n ? t.substr(a == 0 ? 0 : a - 1) : std::string(), c2);
    DString::fgI18NState = 0;
    break;
  }
  case 11: {
    // Comparisons: byte order, then length (C locale; with collation on,
    // only texts without NUL bytes, where strcoll is strcmp).
    std::string const& u = p;
    bool const collate = in.byte() & 1;
    if (collate && (hasNul(t) || hasNul(u)))
      break;
    DString::fgI18NState = collate ? 1 : 0;
    DString const us(u.data(), static_cast<u32>(u.size()));
    bool const ok = (s == us) == (t == u) && (s != us) == (t != u) &&
                    (s < us) == (t < u) && (s <= us) == (t <= u) &&
                    (s > us) == (t > u) && (s >= us) == (t >= u);
    DString::fgI18NState = 0;
    if (!ok)
      fail("comparison", ctx);
    break;
  }
  case 12:
    checkEdit(
        "upperCase", t, shared,
        [&] {
          std::string w = t;
          for (char& ch : w)
            if (ch >= 'a' && ch <= 'z')
              ch = static_cast<char>(ch - 32);
          return w;
        }(),
        c2, [](DString& d) { d.upperCase(); });
    break;
  case 13:
    checkEdit(
        "lowerCase", t, shared,
        [&] {
          std::string w = t;
          for (char& ch : w)
            if (ch >= 'A' && ch <= 'Z')
              ch = static_cast<char>(ch + 32);
          return w;
        }(),
        c2, [](DString& d) { d.lowerCase(); });
    break;
  case 14:
    checkEdit(
        "translate", t, shared,
        [&] {
          std::string w = t;
          for (char& ch : w) {
            std::size_t const i = p.find(ch);
            if (i != std::string::npos)
              ch = i < q.size() ? q[i] : pad;
          }
          return w;
        }(),
        c2 + " to " + show(q),
        [&](DString& d) {
          d.translate(p.data(), static_cast<u32>(p.size()), q.data(),
                      static_cast<u32>(q.size()), pad);
        });
    break;
  case 15: {
    u32 const mode = in.upTo(3);
    std::size_t first = 0;
    while (first < n && inSet(t[first], p))
      ++first;
    std::size_t last = n;
    while (last > first && inSet(t[last - 1], p))
      --last;
    std::string want;
    if (first < n) {
      if (mode == DStringEnum::leading)
        want = t.substr(first);
      else if (mode == DStringEnum::trailing)
        want = t.substr(0, last);
      else
        want = t.substr(first, last - first);
    }
    checkEdit("strip", t, shared, want, c2 + " mode " + std::to_string(mode),
              [&](DString& d) {
                d.strip(p.data(), static_cast<u32>(p.size()),
                        static_cast<DStringEnum::StripMode>(mode));
              });
    break;
  }
  case 16: {
    std::size_t first = 0;
    while (first < n && isBlank(t[first]))
      ++first;
    std::size_t last = n;
    while (last > first && isBlank(t[last - 1]))
      --last;
    checkEdit("strip()", t, shared, t.substr(first, last - first), c2,
              [](DString& d) { d.strip(); });
    break;
  }
  case 17:
    checkEdit("reverse", t, shared, std::string(t.rbegin(), t.rend()), c2,
              [](DString& d) { d.reverse(); });
    break;
  case 18: {
    std::string want;
    std::size_t const pos = a == 0 ? 1 : a;
    if (p.empty() && a <= n)
      want = t;
    else if (pos - 1 <= n)
      want = t.substr(0, pos - 1) + p +
             (n > pos - 1 + p.size() ? t.substr(pos - 1 + p.size())
                                     : std::string());
    else
      want = t + pads(pos - 1 - n, pad) + p;
    checkEdit("overlayWith", t, shared, want, c2, [&](DString& d) {
      d.overlayWith(p.data(), static_cast<u32>(p.size()), a, pad);
    });
    break;
  }
  case 19: {
    std::string want;
    if (p.empty() && a <= n)
      want = t;
    else if (a <= n)
      want = t.substr(0, a) + p + t.substr(a);
    else
      want = t + pads(a - n, pad) + p;
    checkEdit("insert", t, shared, want, c2, [&](DString& d) {
      d.insert(p.data(), static_cast<u32>(p.size()), a, pad);
    });
    break;
  }
  case 20: {
    u32 const count = in.byte() % 16 == 0 ? 0xFFFFFFFFu : in.upTo(60);
    std::string want = t;
    if (count != 0 && a <= n && n != 0) {
      std::size_t const from = a == 0 ? 1 : a;
      std::size_t const k = std::min<std::size_t>(count, n - from + 1);
      want = t.substr(0, from - 1) + t.substr(from - 1 + k);
    }
    checkEdit("remove", t, shared, want, c2 + " count " + std::to_string(count),
              [&](DString& d) { d.remove(a, count); });
    checkEdit("remove(start)", t, shared,
              a <= n && n != 0 ? t.substr(0, a == 0 ? 0 : a - 1) : t, c2,
              [&](DString& d) { d.remove(a); });
    break;
  }
  case 21: {
    u32 const w = in.upTo(60);
    std::string const cw = c2 + " width " + std::to_string(w);
    checkEdit("leftJustify", t, shared,
              t.substr(0, std::min<std::size_t>(n, w)) +
                  (w > n ? pads(w - n, pad) : std::string()),
              cw, [&](DString& d) { d.leftJustify(w, pad); });
    checkEdit("rightJustify", t, shared,
              (w > n ? pads(w - n, pad) : std::string()) +
                  t.substr(n - std::min<std::size_t>(n, w)),
              cw, [&](DString& d) { d.rightJustify(w, pad); });
    std::string centred;
    if (w == n)
      centred = t;
    else if (w < n)
      centred = t.substr((n - w) / 2, w);
    else
      centred = pads((w - n) / 2, pad) + t + pads(w - n - (w - n) / 2, pad);
    checkEdit("center", t, shared, centred, cw,
              [&](DString& d) { d.center(w, pad); });
    break;
  }
  case 22: {
    u32 const times = in.upTo(6);
    std::string want;
    for (u32 i = 0; i < times; ++i)
      want += t;
    checkEdit("copy", t, shared, want, c2 + " times " + std::to_string(times),
              [&](DString& d) { d.copy(times); });
    break;
  }
  case 23: {
    u32 const count = in.byte() % 4 == 0 ? 0xFFFFFFFFu : in.upTo(4);
    checkEdit("change", t, shared, modelChange(t, p, q, a, count),
              c2 + " by " + show(q) + " count " + std::to_string(count),
              [&](DString& d) {
                d.change(p.data(), static_cast<u32>(p.size()), q.data(),
                         static_cast<u32>(q.size()), a, count);
              });
    break;
  }
  case 24: {
    std::vector<Word> const w = wordsOf(t);
    expectNumber("numWords", s.numWords(), w.size(), ctx);
    u32 const k = in.upTo(static_cast<u32>(w.size()) + 2);
    u32 const want = k >= 1 && k <= w.size() ? w[k - 1].pos : 0;
    expectNumber("indexOfWord", s.indexOfWord(k, 1, 0), want,
                 ctx + " word " + std::to_string(k));
    expectNumber("lengthOfWord", s.lengthOfWord(k),
                 k >= 1 && k <= w.size() ? w[k - 1].length : 0,
                 ctx + " word " + std::to_string(k));
    u32 const kk = k == 0 ? 1 : k;
    expectText("word", s.word(k),
               kk <= w.size() ? t.substr(w[kk - 1].pos - 1, w[kk - 1].length)
                              : std::string(),
               ctx + " word " + std::to_string(k));
    break;
  }
  case 25: {
    std::vector<Word> const w = wordsOf(t);
    u32 const f = in.upTo(static_cast<u32>(w.size()) + 2);
    u32 const count = in.byte() % 8 == 0
                          ? 0xFFFFFFFFu
                          : in.upTo(static_cast<u32>(w.size()) + 2);
    std::string const cw =
        ctx + " first " + std::to_string(f) + " count " + std::to_string(count);
    u32 const ff = f == 0 ? 1 : f;
    std::string want;
    if (ff <= w.size() && count != 0) {
      unsigned long long const lastWanted = std::min<unsigned long long>(
          0xFFFFFFFFull, static_cast<unsigned long long>(ff) + count - 1);
      Word const& last = lastWanted <= w.size() ? w[lastWanted - 1] : w.back();
      want =
          t.substr(w[ff - 1].pos - 1, last.pos + last.length - w[ff - 1].pos);
    }
    expectText("words", s.words(f, count), want, cw);
    std::string removed = t;
    if (count != 0 && f >= 1 && f <= w.size()) {
      std::size_t const from = w[f - 1].pos;
      u32 const next = f + count; // 32-bit, as the library counts
      std::size_t const to =
          next >= f && next <= w.size() ? w[next - 1].pos : n + 1;
      removed = t.substr(0, from - 1) + t.substr(to - 1);
    }
    checkEdit("removeWords", t, shared, removed, cw,
              [&](DString& d) { d.removeWords(f, count); });
    break;
  }
  case 26: {
    std::vector<Word> const w = wordsOf(t);
    u32 const gap = in.upTo(3);
    std::string want;
    if (n == 0) {
      want = t;
    } else {
      for (std::size_t i = 0; i < w.size(); ++i) {
        if (i > 0)
          want += pads(gap, pad);
        want += t.substr(w[i].pos - 1, w[i].length);
      }
    }
    checkEdit("space", t, shared, want, c2 + " gap " + std::to_string(gap),
              [&](DString& d) { d.space(gap, pad); });
    break;
  }
  case 27: {
    std::vector<Word> const w = wordsOf(t);
    std::vector<Word> const pw = wordsOf(p);
    if (pw.empty())
      break; // a phrase without words is pinned by the unit tests
    u32 const start = 1 + in.upTo(static_cast<u32>(w.size()) + 1);
    u32 wantWord = 0;
    for (std::size_t k = start; k + pw.size() - 1 <= w.size() && wantWord == 0;
         ++k) {
      bool same = true;
      for (std::size_t i = 0; i < pw.size() && same; ++i)
        same = t.compare(w[k + i - 1].pos - 1, w[k + i - 1].length, p,
                         pw[i].pos - 1, pw[i].length) == 0 &&
               w[k + i - 1].length == pw[i].length;
      if (same)
        wantWord = static_cast<u32>(k);
    }
    std::string const cw = ctx + " from " + std::to_string(start);
    expectNumber("findPhrase word", s.findPhrase(ps, start, DString::wordIndex),
                 wantWord, cw);
    expectNumber("findPhrase char", s.findPhrase(ps, start, DString::charIndex),
                 wantWord == 0 ? 0 : w[wantWord - 1].pos, cw);
    break;
  }
  case 28:
  case 29: {
    // isLike with wildcard characters from the input (they may coincide).
    char const anyString = "*?ab"[in.upTo(3)];
    char const anyChar = "?*ab"[in.upTo(3)];
    bool const collate = op == 29;
    std::string const pat = p + q;
    if (collate && (hasNul(t) || hasNul(pat)))
      break;
    DString::fgI18NState = collate ? 1 : 0;
    bool const got =
        s.isLike(pat.data(), static_cast<u32>(pat.size()), anyString, anyChar);
    DString::fgI18NState = 0;
    bool const want = t == pat || globMatch(pat, t, anyString, anyChar);
    if (got != want)
      fail("isLike", "text " + show(t) + " pattern " + show(pat) + " any " +
                         show(std::string(1, anyString)) + " one " +
                         show(std::string(1, anyChar)));
    break;
  }
  case 30: {
    // isAbbrevFor: the receiver is p, the text t.
    u32 const minLength = in.upTo(8);
    std::size_t const m = minLength == 0 ? p.size() : minLength;
    bool const want =
        t.size() >= p.size() && m <= p.size() && t.compare(0, p.size(), p) == 0;
    if (ps.isAbbrevFor(t.data(), static_cast<u32>(t.size()), minLength) != want)
      fail("isAbbrevFor", ctx + " min " + std::to_string(minLength));
    break;
  }
  case 31: {
    // Character classes in the C locale (bytes 0x80-0xFF belong to none).
    auto const all = [&t](auto member) {
      return !t.empty() && std::all_of(t.begin(), t.end(), member);
    };
    struct {
      char const* name;
      bool got;
      bool want;
    } const checks[] = {
        {"isDigits", s.isDigits(),
         all([](char ch) { return ch >= '0' && ch <= '9'; })},
        {"isASCII", s.isASCII(), all([](char ch) { return (ch & 0x80) == 0; })},
        {"isWhiteSpace", s.isWhiteSpace(), all(isBlank)},
        {"isUpperCase", s.isUpperCase(),
         all([](char ch) { return ch >= 'A' && ch <= 'Z'; })},
        {"isLowerCase", s.isLowerCase(),
         all([](char ch) { return ch >= 'a' && ch <= 'z'; })},
        {"isAlphabetic", s.isAlphabetic(), all([](char ch) {
           return (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z');
         })},
        {"isPrintable", s.isPrintable(),
         all([](char ch) { return ch >= 0x20 && ch < 0x7F; })},
        {"isBinaryDigits", s.isBinaryDigits(), all([](char ch) {
           return ch == '0' || ch == '1' || (ch & 0x80) != 0;
         })},
    };
    for (auto const& check : checks)
      if (check.got != check.want)
        fail(check.name, ctx);
    break;
  }
  case 32: {
    DString const sum = s + ps;
    expectText("operator+", sum, t + p, ctx);
    DString acc(s);
    acc += ps;
    expectText("operator+=", acc, t + p, ctx);
    expectText("operator+= kept its source", s, t, ctx);
    break;
  }
  case 33: {
    // Bit operators: the mask repeats over the receiver from its first
    // byte and a longer one is cut; the receiver keeps its length. A text
    // argument ends at its first NUL; the free forms take the text as the
    // receiver and the string as the mask.
    u32 const which = in.upTo(2);
    auto const model = [which](std::string r, std::string const& mask) {
      for (std::size_t i = 0; i < r.size() && !mask.empty(); ++i) {
        char const m = mask[i % mask.size()];
        r[i] = static_cast<char>(which == 0   ? r[i] & m
                                 : which == 1 ? r[i] | m
                                              : r[i] ^ m);
      }
      return r;
    };
    std::string const pText = p.substr(0, p.find('\0'));
    DString const& mask = ps;
    char const* const maskText = p.c_str();
    expectText("bit operator",
               which == 0   ? s & mask
               : which == 1 ? s | mask
                            : s ^ mask,
               model(t, p), ctx);
    expectText("bit operator text",
               which == 0   ? s & maskText
               : which == 1 ? s | maskText
                            : s ^ maskText,
               model(t, pText), ctx);
    expectText("bit operator free",
               which == 0   ? maskText & s
               : which == 1 ? maskText | s
                            : maskText ^ s,
               model(pText, t), ctx);
    expectText("bit operator kept its receiver", s, t, ctx);
    checkEdit("bit assign", t, shared, model(t, p), ctx, [&](DString& h) {
      if (which == 0)
        h &= mask;
      else if (which == 1)
        h |= mask;
      else
        h ^= mask;
    });
    checkEdit("bit assign text", t, shared, model(t, pText), ctx,
              [&](DString& h) {
                if (which == 0)
                  h &= maskText;
                else if (which == 1)
                  h |= maskText;
                else
                  h ^= maskText;
              });
    std::string complement = t;
    for (char& ch : complement)
      ch = static_cast<char>(~ch);
    expectText("operator~", ~s, complement, ctx);
    expectText("operator~ twice", ~~s, t, ctx);
    break;
  }
  case 34: {
    // Indexing: 0 and 1 name the first byte; past the end the string grows
    // with blanks up to the index. A write reaches this handle only.
    std::size_t const i = a == 0 ? 0 : a - 1;
    std::string want = t;
    if (i >= want.size())
      want.resize(i + 1, ' ');
    want[i] = pad;
    checkEdit("operator[]", t, shared, want, c2,
              [&](DString& h) { h[a] = pad; });
    checkEdit("operator[](int)", t, shared, want, c2,
              [&](DString& h) { h[static_cast<int>(a)] = pad; });
    if (i < n) {
      DString const& constant = s;
      expectNumber("const operator[]", static_cast<unsigned char>(constant[a]),
                   static_cast<unsigned char>(t[i]), c2);
    }
    break;
  }
  default: {
    // A short sequence of edits on one handle, each compared with the
    // model, with a copy taken before every step.
    DString h(s);
    std::string model = t;
    for (int step = 0; step < 6 && !in.empty(); ++step) {
      DString const before(h);
      std::string const old = model;
      switch (in.upTo(4)) {
      case 0:
        h.upperCase();
        for (char& ch : model)
          if (ch >= 'a' && ch <= 'z')
            ch = static_cast<char>(ch - 32);
        break;
      case 1:
        h.insert(p.data(), static_cast<u32>(p.size()),
                 static_cast<u32>(std::min<std::size_t>(model.size(), 2)));
        if (!p.empty())
          model.insert(std::min<std::size_t>(model.size(), 2), p);
        break;
      case 2:
        if (!model.empty()) {
          h.remove(1, 1);
          model.erase(0, 1);
        }
        break;
      case 3:
        h.reverse();
        std::reverse(model.begin(), model.end());
        break;
      default:
        h = before + ps;
        model += p;
        break;
      }
      expectText("edit sequence", h, model, ctx);
      expectText("edit sequence copy", before, old, ctx);
    }
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
