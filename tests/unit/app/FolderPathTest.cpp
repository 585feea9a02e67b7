#include "app/FolderPath.h"

#include <string>

#include <gtest/gtest.h>

namespace convora {
namespace {

struct JoinCase {
  const char* folder;
  const char* name;
  const char* expected;
};

class JoinFolderAndNameTest : public ::testing::TestWithParam<JoinCase> {};

TEST_P(JoinFolderAndNameTest, AddsOneSeparatorOnly) {
  const JoinCase& c = GetParam();
  const std::u8string joined = JoinFolderAndName(c.folder, c.name).u8string();
  EXPECT_EQ(std::string(joined.begin(), joined.end()), c.expected);
}

#ifdef _WIN32
INSTANTIATE_TEST_SUITE_P(Windows, JoinFolderAndNameTest,
                         ::testing::Values(JoinCase{"C:\\", "rec.dat", "C:\\rec.dat"},
                                           JoinCase{"C:\\data", "rec.dat", "C:\\data\\rec.dat"},
                                           JoinCase{"C:\\data\\", "rec.dat", "C:\\data\\rec.dat"}));
#else
INSTANTIATE_TEST_SUITE_P(Posix, JoinFolderAndNameTest,
                         ::testing::Values(JoinCase{"/", "rec.dat", "/rec.dat"},
                                           JoinCase{"/data", "rec.dat", "/data/rec.dat"},
                                           JoinCase{"/data/", "rec.dat", "/data/rec.dat"},
                                           // A backslash is an ordinary character of a POSIX name.
                                           JoinCase{"/data\\", "rec.dat", "/data\\/rec.dat"},
                                           JoinCase{"", "rec.dat", "rec.dat"},
                                           JoinCase{"/d\xc3\xa9j\xc3\xa0", "\xc3\xa9t\xc3\xa9.abf",
                                                    "/d\xc3\xa9j\xc3\xa0/\xc3\xa9t\xc3\xa9.abf"}));
#endif

}  // namespace
}  // namespace convora
