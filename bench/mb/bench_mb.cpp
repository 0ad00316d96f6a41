// The multibyte pairs: DDBCSBuffer against DBuffer doing the same work on
// the same UTF-8 bytes. A program of its own because it switches the
// process locale: the DBuffer texts are made first, in the C locale (the
// buffer factory then settles on DBuffer for good); then the process moves
// to a UTF-8 locale and the DDBCSBuffer texts are made through
// DBuffer::defaultBuffer()->newBuffer(), whose allocate() consults
// MB_CUR_MAX at each call. DString::fgI18NState is 0 throughout.
#include "bench_pairs.hpp"

#include "dbuffer.hpp"
#include "dstring.hpp"

#include <benchmark/benchmark.h>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace {

// Mixed text: ASCII words and words of two-, three- and four-byte
// characters, never the three characters of the pattern.
constexpr char pattern[] = "\xE7\x8C\xAB\xE7\x8A\xAC\xE9\xB3\xA5"; // 3 CJK
constexpr unsigned int patternLength = sizeof pattern - 1;

std::string utf8Text(std::size_t size, std::string_view tail) {
  static char const* const words[] = {"the",
                                      "caf\xC3\xA9",
                                      "\xC3\xBC"
                                      "ber",
                                      "\xE6\x97\xA5\xE6\x9C\xAC",
                                      "text",
                                      "na\xC3\xAF"
                                      "ve",
                                      "se\xC3\xB1or",
                                      "\xD0\xB4\xD0\xB0\xD0\xBD",
                                      "\xE2\x82\xAC"
                                      "5",
                                      "\xF0\x9D\x84\x9E",
                                      "and",
                                      "\xE8\xAA\x9E",
                                      "of",
                                      "data"};
  std::string text;
  std::uint32_t state = 4711;
  while (text.size() + tail.size() < size) {
    state = state * 1103515245u + 12345u;
    text += words[(state >> 16) % (sizeof words / sizeof words[0])];
    text += ' ';
  }
  // Cut back to whole words so that no character is split, then pad.
  while (text.size() + tail.size() > size)
    text.erase(text.rfind(' ', text.size() - 2) + 1);
  text.append(size - tail.size() - text.size(), ' ');
  text += tail;
  return text;
}

struct Texts {
  std::string big;   // 1 MiB, the pattern at the end
  std::string small; // 4 KiB, blanks around it
  std::string tiny;  // 64 B
  DString bigSingle, smallSingle, bigMulti, smallMulti;
};

Texts& texts() {
  static Texts t;
  return t;
}

DString multibyte(std::string const& bytes) {
  return DString(DBuffer::defaultBuffer()->newBuffer(
      bytes.data(), static_cast<unsigned int>(bytes.size()), nullptr, 0,
      nullptr, 0, ' '));
}

char const* classOf(DString const& s) {
  return DBuffer::fromContents(static_cast<char const*>(s))->className();
}

bool switchToUtf8() {
  struct stat info;
  std::string const dir = ZYN_BENCH_LOCALE_DIR;
  if (std::getenv("LOCPATH") == nullptr &&
      stat((dir + "/en_US.UTF-8").c_str(), &info) == 0)
    setenv("LOCPATH", dir.c_str(), 1);
  for (char const* name : {"en_US.UTF-8", "C.UTF-8", "C.utf8"})
    if (std::setlocale(LC_ALL, name) != nullptr && MB_CUR_MAX >= 2)
      return true;
  return false;
}

using zynbench::bytesProcessed;

void indexOfSide(benchmark::State& state, DString const* text) {
  for (auto _ : state)
    benchmark::DoNotOptimize(text->indexOf(pattern, patternLength, 1));
  bytesProcessed(state, text->length());
}

void stripSide(benchmark::State& state, DString const* text) {
  for (auto _ : state) {
    DString s(*text);
    s.strip();
    benchmark::DoNotOptimize(s);
  }
}

void numWordsSide(benchmark::State& state, DString const* text) {
  for (auto _ : state)
    benchmark::DoNotOptimize(text->numWords());
  bytesProcessed(state, text->length());
}

// Half the width: centring cuts both ends (on character boundaries in
// multibyte text).
void centerSide(benchmark::State& state, DString const* text) {
  unsigned int const width = text->length() / 2;
  for (auto _ : state) {
    DString s(*text);
    s.center(width);
    benchmark::DoNotOptimize(s);
  }
}

// The pattern's three characters inserted behind the middle byte.
void insertSide(benchmark::State& state, DString const* text) {
  unsigned int const middle = text->length() / 2;
  for (auto _ : state) {
    DString s(*text);
    s.insert(pattern, patternLength, middle);
    benchmark::DoNotOptimize(s);
  }
}

// Making a 64-byte string and destroying it, as a program whose locale is
// UTF-8 from the start does: through a DDBCSBuffer's newBuffer(). The peer
// is std::string. No thread is started in this program.
void makeOurs(benchmark::State& state, DString const* multi,
              std::string const* text) {
  DBuffer const* buffer = multi->buffer();
  for (auto _ : state) {
    DString made(buffer->newBuffer(text->data(),
                                   static_cast<unsigned int>(text->size()),
                                   nullptr, 0, nullptr, 0, ' '));
    benchmark::DoNotOptimize(made);
  }
}

void makePeer(benchmark::State& state, DString const*,
              std::string const* text) {
  for (auto _ : state) {
    std::string made(*text);
    benchmark::DoNotOptimize(made);
  }
}

template <class Side>
void pair(char const* work, char const* size, Side side, DString const* ours,
          DString const* peer) {
  zynbench::side(work, size, "ours", side, ours);
  zynbench::side(work, size, "peer", side, peer);
}

} // namespace

int main(int argc, char** argv) {
  std::setlocale(LC_ALL, "C");
  DString::fgI18NState = 0;
  Texts& t = texts();
  t.big = utf8Text(std::size_t(1) << 20, pattern);
  t.small = "    " + utf8Text(4096 - 8, "") + "    ";
  t.tiny = utf8Text(64, "");
  t.bigSingle = DString(std::string_view(t.big));
  t.smallSingle = DString(std::string_view(t.small));
  if (!switchToUtf8()) {
    std::fprintf(stderr, "zyn_bench_mb: no UTF-8 locale (tried the build "
                         "tree's en_US.UTF-8 and C.UTF-8)\n");
    return 1;
  }
  t.bigMulti = multibyte(t.big);
  t.smallMulti = multibyte(t.small);
  if (std::strcmp(classOf(t.bigSingle), "DBuffer") != 0 ||
      std::strcmp(classOf(t.bigMulti), "DDBCSBuffer") != 0) {
    std::fprintf(stderr, "zyn_bench_mb: buffers are %s and %s\n",
                 classOf(t.bigSingle), classOf(t.bigMulti));
    return 1;
  }
  // Both buffers find the one occurrence, at the end.
  unsigned int const expected =
      static_cast<unsigned int>(t.big.size()) - patternLength + 1;
  if (t.bigMulti.indexOf(pattern, patternLength, 1) != expected ||
      t.bigSingle.indexOf(pattern, patternLength, 1) != expected) {
    std::fprintf(stderr, "zyn_bench_mb: the pattern is not found at %u\n",
                 expected);
    return 1;
  }

  pair("UTF-8 indexOf, 3 characters", "1 MiB", indexOfSide, &t.bigMulti,
       &t.bigSingle);
  pair("UTF-8 strip", "4 KiB", stripSide, &t.smallMulti, &t.smallSingle);
  pair("UTF-8 center", "4 KiB", centerSide, &t.smallMulti, &t.smallSingle);
  pair("UTF-8 insert", "4 KiB", insertSide, &t.smallMulti, &t.smallSingle);
  pair("UTF-8 numWords", "4 KiB", numWordsSide, &t.smallMulti, &t.smallSingle);
  zynbench::side("UTF-8 make from text, no thread started", "64 B", "ours",
                 makeOurs, &t.smallMulti, &t.tiny);
  zynbench::side("UTF-8 make from text, no thread started", "64 B", "peer",
                 makePeer, &t.smallMulti, &t.tiny);

  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv))
    return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
