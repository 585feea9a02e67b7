#include <gtest/gtest.h>

#include <filesystem>

#include "abf/ConvoraError.h"
#include "abf/FileIo.h"
#include "abf/ScratchFile.h"
#include "support/TestSupport.h"

namespace convora::test {
namespace {

// Writes out of order, the later one first with a gap before it (the blocks
// taken ahead of it must not stand in for what the earlier one writes); what
// each wrote reads back, the folder gains no file by name, and reading past
// what was written is an error.
TEST(ScratchFile, KeepsWhatWasWrittenWithoutANameInTheFolder) {
  TempDir dir;
  ScratchFile kept(dir.Path());
  const Bytes first(300'000, 0x11);
  const Bytes second(200'000, 0x22);
  kept.WriteAt(1'000'000, second);
  kept.WriteAt(0, first);

  Bytes read(first.size());
  kept.ReadAt(0, read);
  EXPECT_EQ(read, first);
  read.resize(second.size());
  kept.ReadAt(1'000'000, read);
  EXPECT_EQ(read, second);
  EXPECT_TRUE(std::filesystem::is_empty(dir.Path()));
  read.resize(second.size() + 1);
  EXPECT_THROW(kept.ReadAt(1'000'000, read), ConvoraError);

  // A folder that cannot hold it (here: none at all) leaves it to the
  // system's temporary folder.
  ScratchFile elsewhere(dir.Path() / "missing");
  elsewhere.WriteAt(0, first);
  elsewhere.ReadAt(0, read);
  EXPECT_EQ(read, Bytes(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(read.size())));
}

}  // namespace
}  // namespace convora::test
