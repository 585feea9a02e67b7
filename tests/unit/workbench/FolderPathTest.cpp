#include "workbench/FolderPath.h"

#include <string>

#include <gtest/gtest.h>

namespace convora {
namespace {

TEST(JoinFolderAndName, AddsOneSeparatorOnly) {
  struct Case {
    const char* folder;
    const char* name;
    const char* expected;
  };
  for (const Case& c : {
#ifdef _WIN32
           Case{"C:\\", "rec.dat", "C:\\rec.dat"},
           Case{"C:\\data", "rec.dat", "C:\\data\\rec.dat"},
           Case{"C:\\data\\", "rec.dat", "C:\\data\\rec.dat"},
#else
           Case{"/", "rec.dat", "/rec.dat"},
           Case{"/data", "rec.dat", "/data/rec.dat"},
           Case{"/data/", "rec.dat", "/data/rec.dat"},
           // A backslash is an ordinary character of a POSIX name.
           Case{"/data\\", "rec.dat", "/data\\/rec.dat"},
           Case{"", "rec.dat", "rec.dat"},
           Case{"/d\xc3\xa9j\xc3\xa0", "\xc3\xa9t\xc3\xa9.abf", "/d\xc3\xa9j\xc3\xa0/\xc3\xa9t\xc3\xa9.abf"},
#endif
       }) {
    const std::u8string joined = JoinFolderAndName(c.folder, c.name).u8string();
    EXPECT_EQ(std::string(joined.begin(), joined.end()), c.expected) << c.folder;
  }
}

}  // namespace
}  // namespace convora
