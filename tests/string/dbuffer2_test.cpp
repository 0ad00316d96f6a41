// Buffer comparison (single-byte: DBufferCompare, multibyte: MbBufferCompare):
// bytes with fgI18NState 0, with 1 the collation walk over NUL-separated
// segments, seen through an interposed strcoll.
#include "dbuffer.hpp"
#include "dstring.hpp"
#include "dtest_child.hpp"
#include "dtest_support.hpp"

#include <dlfcn.h>

using dtest::make;
using std::string;

namespace {

std::vector<std::pair<string, string>> collated;
bool recordCollation = false;

} // namespace

extern "C" int strcoll(char const* a, char const* b) noexcept {
  using Fn = int (*)(char const*, char const*);
  static Fn const real = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, "strcoll"));
  if (recordCollation)
    collated.emplace_back(a, b);
  return real(a, b);
}

namespace {

using Seg = std::vector<std::pair<string, string>>;
string const z(1, '\0');
constexpr unsigned int unpinned = 9;

// Receiver, argument, the answers with fgI18NState 1 of the single-byte
// and the multibyte buffer, and the segments the single-byte walk hands to
// strcoll. With 0 both compare bytes.
struct Row {
  string a, b;
  unsigned int single, multi;
  Seg segments;
};
std::vector<Row> const rows = {
    {"abc", "abd", 2, 2, {{"abc", "abd"}}},
    {"ab", "abc", 2, 2, {{"ab", "ab"}}}, // only the common length
    {"abc", "ab", 1, 1, {{"ab", "ab"}}},
    {"", "x", 2, 2, {}},
    {"x", "", 1, 1, {}},
    {"a" + z + "b", "a" + z + "c", 2, 2, {{"a", "a"}, {"b", "c"}}},
    {"a" + z + "c", "a" + z + "b", 1, unpinned, {{"a", "a"}, {"c", "b"}}},
    {"b" + z + "a", "a" + z + "b", 1, 1, {{"b", "a"}}},
    // Runs of NULs: a shorter run on the receiver's side orders it after.
    {"ab", z + "b", 1, unpinned, {}},
    {z + "b", "ab", 2, unpinned, {}},
    {"a" + z + "b", "a" + z + z, 1, unpinned, {{"a", "a"}}},
    {z + z + "a", z + "a", unpinned, 1, {}},
    {z + "a", z + z + "a", unpinned, 2, {}},
    {"a" + z + "b", "a" + z + z + "b", unpinned, 2, {}},
    // A longer run after an equal segment leaves the equality pending,
    // so the lengths decide.
    {"a" + z + z, "a" + z + "x", 0, unpinned, {{"a", "a"}}},
    {"a" + z + z, "a" + z + "xy", 2, unpinned, {{"a", "a"}}},
    {"a" + z + z + z, "a" + z + "x", 1, unpinned, {{"a", "a"}}},
    {"a" + z + z, "a" + z, unpinned, 1, {}},
    // Trailing NULs.
    {"a" + z, "a", unpinned, 0, {}},
    {"ab" + z, "ab" + z + z, 2, unpinned, {{"ab", "ab"}}},
    {z + z, z + z, 0, unpinned, {}},
    {z, z, unpinned, 0, {}},
    {z, z + "x", unpinned, 2, {}},
    {"\xE9", "e", 1, unpinned, {{"\xE9", "e"}}},
};

void compareTable(bool multibyte) {
  dtest::RecordingTrace trace;
  for (Row const& r : rows) {
    SCOPED_TRACE(testing::PrintToString(r.a) + " vs " +
                 testing::PrintToString(r.b));
    DString const s = make(r.a);
    DBuffer const* const b = s.buffer();
    EXPECT_STREQ(multibyte ? "DDBCSBuffer" : "DBuffer", b->className());
    int const order = r.a.compare(r.b);
    unsigned int got[2];
    for (int state : {0, 1}) {
      dtest::I18NState const flag(state);
      collated.clear();
      recordCollation = true;
      got[state] = b->compare(r.b.data(), dtest::len(r.b));
      recordCollation = false;
      EXPECT_TRUE(state == 1 || collated.empty()); // bytes: no strcoll
      EXPECT_EQ(got[state] == 0, s == make(r.b));  // however == decides
    }
    EXPECT_EQ(order < 0 ? 2u : order > 0 ? 1u : 0u, got[0]);
    unsigned int const want = multibyte ? r.multi : r.single;
    EXPECT_EQ(want == unpinned ? got[1] : want, got[1]);
    EXPECT_EQ(multibyte || r.single == unpinned ? collated : r.segments,
              collated);
  }
  for (int state : {0, 1}) {
    dtest::I18NState const mode(state);
    DString const s("abc");
    DBuffer const* b = s.buffer();
    EXPECT_EQ(1u,
              b->compare(nullptr, 0) * DString().buffer()->compare(nullptr, 0));
    collated.clear();
    recordCollation = true;
    EXPECT_EQ(0u, b->compare(b->contents(), 3)); // itself: no walk
    recordCollation = false;
    EXPECT_TRUE(collated.empty());
    // Its own text with another length is compared (the NUL behind).
    EXPECT_TRUE(multibyte || (b->compare(b->contents(), 2) == 1 &&
                              b->compare(b->contents(), 4) == 2));
  }
  EXPECT_EQ(0, trace.logged);
}

} // namespace

TEST(DBufferCompare, Table) {
  compareTable(false);
}

TEST(MbBufferCompare, Table) {
  if (MB_CUR_MAX < 2)
    GTEST_SKIP() << "not a multibyte locale";
  compareTable(true);
}

namespace {

// With fgI18NState 1 compare() works on NUL-terminated copies (and, for
// multibyte text, wide arrays). When they cannot be allocated the answer is
// 2 (before): no exception, no error, no out-of-memory report.
void collationWithoutMemory() {
  if (!dtest::allocationsCanFail())
    GTEST_SKIP() << "another allocator replaced the test program's";
  dtest::I18NState const collation(1);
  std::string const tail(4000, 'x'); // the copies fail, a report would fit
  std::pair<std::string, std::string> const cases[] = {
      {"b" + tail, "a" + tail},
      {"a" + tail, "a" + tail + "y"},
      {"a" + std::string(1, '\0') + "b" + tail, std::string("a\0a", 3) + tail}};
  dtest::RecordingTrace trace;
  for (auto const& [mine, other] : cases) {
    DString const s = dtest::make(mine);
    unsigned int const normally =
        s.buffer()->compare(other.data(), dtest::len(other));
    unsigned int answer = 99;
    dtest::failAllocationsFrom(mine.size() / 2);
    try {
      answer = s.buffer()->compare(other.data(), dtest::len(other));
    } catch (...) {
    }
    dtest::failAllocationsFrom(0);
    EXPECT_EQ(2u, answer) << mine.substr(0, 3);
    EXPECT_EQ(normally, s.buffer()->compare(other.data(), dtest::len(other)));
  }
  EXPECT_EQ(0, trace.logged);
  EXPECT_TRUE(trace.lines.empty());
}

} // namespace

TEST(DBufferCompare, CollationWithoutMemory) {
  collationWithoutMemory();
}

TEST(MbBufferCompare, CollationWithoutMemory) {
  collationWithoutMemory();
}
