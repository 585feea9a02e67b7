#include "abf/ReplacementFile.h"

#include <gtest/gtest.h>

#include "support/TestSupport.h"

namespace convora {
namespace {

using test::Bytes;

TEST(ReplacementFile, TheOldFileStaysWholeUntilTheNewOneIsComplete) {
  test::TempDir dir;
  const auto target = dir / "cell.abf";
  test::WriteFile(target, Bytes{1, 2, 3, 4, 5, 6});
  const Bytes patch{9, 9};
  {
    ReplacementFile abandoned = RewriteOf(target);
    abandoned.WriteAt(0, patch);
    EXPECT_EQ(test::ReadFile(target), (Bytes{1, 2, 3, 4, 5, 6}));
  }  // gone without Commit, as when an error ends the edit
  EXPECT_EQ(test::ReadFile(target), (Bytes{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(test::EntriesIn(dir.Path()), 1);

  ReplacementFile rewrite = RewriteOf(target);
  rewrite.WriteAt(2, patch);
  rewrite.Commit();
  EXPECT_EQ(test::ReadFile(target), (Bytes{1, 2, 9, 9, 5, 6}));  // bytes past the write kept
  EXPECT_EQ(test::EntriesIn(dir.Path()), 1);
}

TEST(ReplacementFile, StartsFromAnotherFileOrFromNothing) {
  test::TempDir dir;
  test::WriteFile(dir / "first.abf", Bytes{7, 7, 7});
  test::WriteFile(dir / "old.abf", Bytes(10, 1));
  ReplacementFile copy(dir / "old.abf", dir / "first.abf");
  copy.WriteAt(3, Bytes{8});
  copy.Commit();
  EXPECT_EQ(test::ReadFile(dir / "old.abf"), (Bytes{7, 7, 7, 8}));

  ReplacementFile fresh(dir / "new.abf", std::nullopt);
  fresh.WriteAt(1, Bytes{5});
  fresh.Commit();
  EXPECT_EQ(test::ReadFile(dir / "new.abf"), (Bytes{0, 5}));
}

}  // namespace
}  // namespace convora
