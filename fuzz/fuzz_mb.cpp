// Fuzz target: multibyte strings in the UTF-8, EUC-JP and GB18030 locales,
// with both values of DString::fgI18NState. The locale comes from the
// environment variable ZYN_FUZZ_LOCALE (scripts/fuzz.sh runs one process
// per locale) and is set in LLVMFuzzerInitialize, before any string exists,
// because the first string fixes the buffer class. Checks: no sanitizer
// finding, and for valid input no result holds part of a character: every
// edited text is still valid in the locale and every position that a search
// returns starts a character. With the wide strategy every edit is also
// checked against a model built on the source's own characters: whatever
// the edit leaves alone keeps its bytes, also for GB18030 codes whose
// conversion does not round-trip. Stream input (operator>> into a reused
// target, lineFrom) must store exactly the bytes read. Arguments end right
// before an unreadable page, so no walk may read past a stated length.
#include "fuzz_input.hpp"

#include "dexcept.hpp"
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
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

using dfuzz::fail;
using dfuzz::show;

namespace {

using u32 = unsigned int;

// The byte offsets (0-based) at which characters start, or an empty vector
// when the text is not valid in the locale. NUL counts as a character.
bool characterStarts(std::string const& t, std::vector<std::size_t>& starts) {
  starts.clear();
  std::mbstate_t state{};
  for (std::size_t i = 0; i < t.size();) {
    starts.push_back(i);
    if (t[i] == '\0') {
      ++i;
      continue;
    }
    std::size_t const n = std::mbrlen(t.data() + i, t.size() - i, &state);
    if (n == static_cast<std::size_t>(-1) || n == static_cast<std::size_t>(-2))
      return false;
    i += n == 0 ? 1 : n;
  }
  return true;
}

bool isValid(std::string const& t) {
  std::vector<std::size_t> starts;
  return characterStarts(t, starts);
}

bool startsCharacter(std::string const& t, u32 position) {
  if (position == 0)
    return true; // nothing found
  std::vector<std::size_t> starts;
  characterStarts(t, starts);
  for (std::size_t s : starts)
    if (s + 1 == position)
      return true;
  return false;
}

std::string bytesOf(DString const& s) {
  return std::string(static_cast<char const*>(s), s.length());
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
                                                "?"};
  static std::vector<std::string> const eucjp = {
      "a", "b", " ", "\t", "\xA4\xA2", "\xB0\xA1", "\x8E\xB1", "\x8F\xB0\xA1",
      "A", "*", "?"};
  static std::vector<std::string> const gb18030 = {
      "a", "b", " ", "\t", "\xD6\xD0", "\x81\x30\x81\x30", "\xA1\xA1",
      "\x95\x32\x82\x36", "A", "*", "?",
      // U+20087 twice: four bytes that convert back as the two after them.
      "\x95\x32\x90\x31", "\xFE\x51"};
  static char const* codeset = std::getenv("ZYN_FUZZ_LOCALE");
  std::string const name = codeset ? codeset : "";
  if (name.find("eucJP") != std::string::npos)
    return eucjp;
  if (name.find("18030") != std::string::npos)
    return gb18030;
  return utf8;
}

// A text of whole characters of the locale, or (when raw) input bytes.
std::string mbText(dfuzz::Input& in, unsigned int maxPieces, bool raw) {
  std::string out;
  unsigned int const count = in.upTo(maxPieces);
  for (unsigned int i = 0; i < count && !in.empty(); ++i) {
    if (raw)
      out.push_back(static_cast<char>(in.byte()));
    else
      out += pieces()[in.byte() % pieces().size()];
  }
  return out;
}

// The wide strategy's model. A text is split into its characters (bytes and
// wide value each); the results are assembled from those bytes, so a model
// answer keeps every character it does not change exactly as the source
// holds it.
struct Char {
  std::string bytes;
  wchar_t wide;
};

std::vector<Char> charsOf(std::string const& t) {
  std::vector<Char> out;
  std::mbstate_t state{};
  for (std::size_t i = 0; i < t.size();) {
    wchar_t w = 0;
    std::size_t n = std::mbrtowc(&w, t.data() + i, t.size() - i, &state);
    if (n == 0)
      n = 1;
    out.push_back({t.substr(i, n), w});
    i += n;
  }
  return out;
}

struct Model {
  std::string const& t;
  std::vector<Char> chars;
  std::vector<std::size_t> starts; // 0-based, one more entry: t.size()

  explicit Model(std::string const& text) : t(text), chars(charsOf(text)) {
    std::size_t at = 0;
    for (Char const& c : chars) {
      starts.push_back(at);
      at += c.bytes.size();
    }
    starts.push_back(at);
  }
  std::size_t count() const { return chars.size(); }
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
};

// What the wide strategy must give for edit \p op of text t with argument
// p (and q); false when the model does not cover the operation.
bool wideModel(u32 op, std::string const& t, std::string const& p,
               std::string const& q, u32 a, u32 b, char pad,
               std::string& want) {
  Model const m(t);
  u32 const n = static_cast<u32>(t.size());
  u32 const pl = static_cast<u32>(p.size());
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
    for (Char const& c : m.chars) {
      wint_t const w = static_cast<wint_t>(c.wide);
      wchar_t const mapped =
          static_cast<wchar_t>(op == 9 ? std::towupper(w) : std::towlower(w));
      char bytes[MB_LEN_MAX];
      std::mbstate_t state{};
      want += mapped == c.wide
                  ? c.bytes
                  : std::string(bytes, std::wcrtomb(bytes, mapped, &state));
    }
    return true;
  case 11: {
    std::vector<Char> const from = charsOf(p);
    std::vector<Char> const to = charsOf(q);
    want.clear();
    for (Char const& c : m.chars) {
      std::size_t j = 0;
      while (j < from.size() && from[j].wide != c.wide)
        ++j;
      want += j == from.size() ? c.bytes
              : j < to.size()  ? to[j].bytes
                               : std::string(1, pad);
    }
    return true;
  }
  case 12: {
    std::vector<Char> const set = charsOf(p);
    auto const stripped = [&](Char const& c) {
      for (Char const& s : set)
        if (s.wide == c.wide)
          return true;
      return false;
    };
    u32 const mode = b % 3;
    std::size_t first = 0, last = m.count();
    if (mode != 1)
      while (first < last && stripped(m.chars[first]))
        ++first;
    if (mode != 0)
      while (last > first && stripped(m.chars[last - 1]))
        --last;
    want = t.substr(m.starts[first], m.starts[last] - m.starts[first]);
    return true;
  }
  case 13:
    want.clear();
    for (std::size_t i = m.count(); i-- > 0;)
      want += m.chars[i].bytes;
    return true;
  case 14: { // overlayWith(p, b)
    if (pl == 0 && b <= n) {
      want = t;
      return true;
    }
    u32 const at = b ? b : 1;
    if (at > n) {
      want = t + pads(at - 1 - n) + p;
      return true;
    }
    want = m.sub(1, at - 1, pad) + p;
    if (std::size_t(at) + pl <= n)
      want += m.rest(at + pl, pad);
    return true;
  }
  case 15: { // insert(p, b)
    if (b > n) {
      want = t + pads(b - n) + p;
      return true;
    }
    std::size_t const split = b == 0 ? 0 : m.starts[m.holding(b) + 1];
    want = t.substr(0, split) + p + t.substr(split);
    return true;
  }
  case 28: { // strip(): white space at both ends, by iswspace
    std::size_t first = 0, last = m.count();
    auto const blank = [&](std::size_t i) {
      return std::iswspace(static_cast<wint_t>(m.chars[i].wide)) != 0;
    };
    while (first < last && blank(first))
      ++first;
    while (last > first && blank(last - 1))
      --last;
    want = t.substr(m.starts[first], m.starts[last] - m.starts[first]);
    return true;
  }
  case 17: // leftJustify(b)
    want = b >= n ? t + pads(b - n) : m.field(0, m.count(), b, pad);
    return true;
  case 19: { // center(b)
    if (b >= n) {
      std::size_t const left = (b - n) / 2;
      want = pads(left) + t + pads(b - n - left);
      return true;
    }
    std::size_t const k = m.holding((n - b) / 2 + 1);
    want = m.field(k, m.count() - 1, b, pad);
    return true;
  }
  default:
    return false;
  }
}

// Stream input: the bytes of the word operator>> reads from \p input (after
// leading white space, up to the next), and the line lineFrom reads.
std::string wordOf(std::string const& input) {
  std::size_t i = 0;
  while (i < input.size() && std::isspace(static_cast<unsigned char>(input[i])))
    ++i;
  std::size_t j = i;
  while (j < input.size() &&
         !std::isspace(static_cast<unsigned char>(input[j])))
    ++j;
  return input.substr(i, j - i);
}

// Argument slots that end right before an unreadable page: an argument is
// copied to the end of its slot, so a read past its stated length ends the
// run with SIGSEGV, also inside the C library, where sanitizers see
// nothing. Made once; arguments are at most a few characters long.
char const* guardedCopy(int slot, std::string const& bytes) {
  static char* pages[2] = {nullptr, nullptr};
  static std::size_t const page =
      static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  if (pages[slot] == nullptr) {
    void* const m = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE,
                         MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m == MAP_FAILED ||
        mprotect(static_cast<char*>(m) + page, page, PROT_NONE) != 0)
      std::abort();
    pages[slot] = static_cast<char*>(m);
  }
  char* const start = pages[slot] + page - bytes.size();
  std::memcpy(start, bytes.data(), bytes.size());
  return start;
}

void runOne(dfuzz::Input& in) {
  DString::fgI18NState = in.byte() & 1;
  bool const raw = (in.byte() & 7) == 0;
  std::string const t = mbText(in, 16, raw);
  std::string const p = mbText(in, 3, raw);
  std::string const q = mbText(in, 3, raw);
  bool const valid = isValid(t) && isValid(p) && isValid(q);
  DString s(t.data(), static_cast<u32>(t.size()));
  DString const shared(s);
  std::size_t const n = t.size();
  u32 const a = in.position(n, true);
  u32 const b = in.upTo(static_cast<u32>(n) + 4);
  char const pad = " .*"[in.upTo(2)];
  auto const pos = [&](char const* what, u32 got) {
    if (valid && !startsCharacter(t, got))
      fail(what, "text " + show(t) + " arg " + show(p) + " start " +
                     std::to_string(a) + " gave " + std::to_string(got));
  };
  u32 const pl = static_cast<u32>(p.size());
  char const* const pd = guardedCopy(0, p);
  char const* const qd = guardedCopy(1, q);
  u32 const op = in.upTo(28);
  DString r(s);
  try {
    switch (op) {
    case 0:
      pos("indexOf", s.indexOf(pd, pl, a));
      break;
    case 1:
      pos("lastIndexOf", s.lastIndexOf(pd, pl, a));
      break;
    case 2:
      pos("indexOfAnyOf", s.indexOfAnyOf(pd, pl, a));
      break;
    case 3:
      pos("indexOfAnyBut", s.indexOfAnyBut(pd, pl, a));
      break;
    case 4:
      pos("lastIndexOfAnyOf", s.lastIndexOfAnyOf(pd, pl, a));
      break;
    case 5:
      pos("lastIndexOfAnyBut", s.lastIndexOfAnyBut(pd, pl, a));
      break;
    case 6:
      pos("occurrencesOf", 0);
      (void)s.occurrencesOf(pd, pl, a);
      break;
    case 7:
      r = s.subString(a == 0xFFFFFFFFu ? 1 : a, b, pad);
      break;
    case 8:
      r = s.subString(a == 0xFFFFFFFFu ? 1 : a);
      break;
    case 9:
      r.upperCase();
      break;
    case 10:
      r.lowerCase();
      break;
    case 11:
      r.translate(pd, pl, qd, static_cast<u32>(q.size()), pad);
      break;
    case 12:
      r.strip(pd, pl, static_cast<DStringEnum::StripMode>(b % 3));
      break;
    case 13:
      r.reverse();
      break;
    case 14:
      r.overlayWith(pd, pl, b, pad);
      break;
    case 15:
      r.insert(pd, pl, b, pad);
      break;
    case 16:
      r.remove(a == 0xFFFFFFFFu ? 1 : a, b);
      break;
    case 17:
      r.leftJustify(b, pad);
      break;
    case 18:
      r.rightJustify(b, pad);
      break;
    case 19:
      r.center(b, pad);
      break;
    case 20:
      r.change(pd, pl, qd, static_cast<u32>(q.size()), b, 0xFFFFFFFFu);
      break;
    case 21:
      pos("indexOfWord", s.indexOfWord(b % 4 + 1, 1, 0));
      r = s.words(b % 3 + 1, 2);
      break;
    case 22:
      r.space(b % 3, pad);
      break;
    case 23:
      r.removeWords(b % 3 + 1, 1);
      break;
    case 24: {
      DString const other(pd, pl);
      (void)(s == other);
      (void)(s < other);
      (void)s.isLike(pd, pl, '*', '?');
      (void)s.isAbbrevFor(pd, pl, 0);
      (void)s.buffer()->compare(pd, pl);
      (void)s.isAlphabetic();
      (void)s.isValidMBCS();
      (void)s.includesMBCS();
      break;
    }
    case 26: { // a word into a target that holds q (reused when not empty)
      std::string const input = p + " " + q;
      std::istringstream stream(input);
      r = DString(q.data(), static_cast<u32>(q.size()));
      stream >> r;
      if (bytesOf(r) != wordOf(input))
        fail("operator>>", "input " + show(input) + " target " + show(q) +
                               " gave " + show(bytesOf(r)));
      break;
    }
    case 28:
      r.strip(); // white space: iswspace on wide characters (see the model)
      break;
    case 27: { // a line: everything up to the first newline
      std::string const input = p + q + "\n" + t;
      std::istringstream stream(input);
      r = DString::lineFrom(stream);
      if (bytesOf(r) != input.substr(0, input.find('\n')))
        fail("lineFrom", "input " + show(input) + " gave " + show(bytesOf(r)));
      break;
    }
    default:
      r = s + DString(p.data(), pl);
      break;
    }
  } catch (DException const& e) {
    // Invalid text may raise message 1012 (an invalid or incomplete
    // character); valid text must never raise anything here.
    if (valid || e.errorId() != 1012)
      fail("exception", std::string(e.name()) + " id " +
                            std::to_string(e.errorId()) + " from operation " +
                            std::to_string(op) + " on " + show(t) + " arg " +
                            show(p) + " a " + std::to_string(a) + " b " +
                            std::to_string(b));
    return;
  }
  std::string want;
  if (valid && DString::fgI18NState == 1 &&
      wideModel(op, t, p, q, a, b, pad, want) && bytesOf(r) != want)
    fail("wide edit", "operation " + std::to_string(op) + " on " + show(t) +
                          " arg " + show(p) + " " + show(q) + " a " +
                          std::to_string(a) + " b " + std::to_string(b) +
                          " gave " + show(bytesOf(r)) + " want " + show(want));
  if (valid && !isValid(bytesOf(r)))
    fail("edit", "operation " + std::to_string(op) + " on " + show(t) +
                     " arg " + show(p) + " a " + std::to_string(a) + " b " +
                     std::to_string(b) + " gave " + show(bytesOf(r)));
  if (bytesOf(shared) != t)
    fail("copy on write", "operation " + std::to_string(op) + " on " + show(t));
}

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
// Invalid input raises message 1012 often; its trace reports would only
// slow the run down, so they are dropped.
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
