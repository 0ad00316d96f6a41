// Test entry point: sets the locale named by ZYN_TEST_LOCALE before any
// string exists (the first string fixes the buffer class), points the
// library at the build tree's catalogue and runs in UTC (date formats
// normalise through mktime). With ZYN_TEST_CHILD set it runs that child
// entry point (DTEST_CHILD) instead of the tests.
#include "dtest_child.hpp"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
  char const* name = std::getenv("ZYN_TEST_LOCALE");
  if (name != nullptr && std::setlocale(LC_ALL, name) == nullptr)
    std::fprintf(stderr, "locale %s is not available; its tests skip\n", name);
  setenv("KOVRA MSGFILE", ZYN_TEST_CATALOG, 0);
  setenv("TZ", "UTC0", 1);
  testing::InitGoogleTest(&argc, argv);
  char const* child = std::getenv("ZYN_TEST_CHILD");
  if (child == nullptr)
    return RUN_ALL_TESTS();
  auto const entry = dtest::children().find(child);
  if (entry == dtest::children().end())
    return 127;
  entry->second();
  return testing::UnitTest::GetInstance()->Failed() ? 1 : 0;
}
