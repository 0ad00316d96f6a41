// Fuzz target: multibyte strings in the UTF-8, EUC-JP and GB18030 locales,
// with both values of DString::fgI18NState. The locale comes from the
// environment variable ZYN_FUZZ_LOCALE (scripts/fuzz.sh runs one process
// per locale) and is set in LLVMFuzzerInitialize, before any string exists,
// because the first string fixes the buffer class. Checks: no sanitizer
// finding, and for valid input no result holds part of a character: every
// edited text is still valid in the locale and every position that a search
// returns starts a character.
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "dexcept.hpp"
#include "dstring.hpp"
#include "fuzz_input.hpp"

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
  static std::vector<std::string> const utf8 = {
      "a", "b", " ", "\t", "\xC3\xA9", "\xE3\x81\x82", "\xF0\x9F\x98\x80",
      "\xE4\xB8\xAD", "A", "*", "?"};
  static std::vector<std::string> const eucjp = {
      "a", "b", " ", "\t", "\xA4\xA2", "\xB0\xA1", "\x8E\xB1",
      "\x8F\xB0\xA1", "A", "*", "?"};
  static std::vector<std::string> const gb18030 = {
      "a", "b", " ", "\t", "\xD6\xD0", "\x81\x30\x81\x30", "\xA1\xA1",
      "\x95\x32\x82\x36", "A", "*", "?"};
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
  u32 const op = in.upTo(25);
  DString r(s);
  try {
  switch (op) {
  case 0: pos("indexOf", s.indexOf(p.data(), pl, a)); break;
  case 1: pos("lastIndexOf", s.lastIndexOf(p.data(), pl, a)); break;
  case 2: pos("indexOfAnyOf", s.indexOfAnyOf(p.data(), pl, a)); break;
  case 3: pos("indexOfAnyBut", s.indexOfAnyBut(p.data(), pl, a)); break;
  case 4: pos("lastIndexOfAnyOf", s.lastIndexOfAnyOf(p.data(), pl, a)); break;
  case 5: pos("lastIndexOfAnyBut", s.lastIndexOfAnyBut(p.data(), pl, a)); break;
  case 6: pos("occurrencesOf", 0); (void)s.occurrencesOf(p.data(), pl, a); break;
  case 7: r = s.subString(a == 0xFFFFFFFFu ? 1 : a, b, pad); break;
  case 8: r = s.subString(a == 0xFFFFFFFFu ? 1 : a); break;
  case 9: r.upperCase(); break;
  case 10: r.lowerCase(); break;
  case 11: r.translate(p.data(), pl, q.data(), static_cast<u32>(q.size()), pad); break;
  case 12: r.strip(p.data(), pl, static_cast<DStringEnum::StripMode>(b % 3)); break;
  case 13: r.reverse(); break;
  case 14: r.overlayWith(p.data(), pl, b, pad); break;
  case 15: r.insert(p.data(), pl, b, pad); break;
  case 16: r.remove(a == 0xFFFFFFFFu ? 1 : a, b); break;
  case 17: r.leftJustify(b, pad); break;
  case 18: r.rightJustify(b, pad); break;
  case 19: r.center(b, pad); break;
  case 20: r.change(p.data(), pl, q.data(), static_cast<u32>(q.size()), b, 0xFFFFFFFFu); break;
  case 21: pos("indexOfWord", s.indexOfWord(b % 4 + 1, 1, 0)); r = s.words(b % 3 + 1, 2); break;
  case 22: r.space(b % 3, pad); break;
  case 23: r.removeWords(b % 3 + 1, 1); break;
  case 24: {
    DString const other(p.data(), pl);
    (void)(s == other);
    (void)(s < other);
    (void)s.isLike(p.data(), pl, '*', '?');
    (void)s.isAlphabetic();
    (void)s.isValidMBCS();
    (void)s.includesMBCS();
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
