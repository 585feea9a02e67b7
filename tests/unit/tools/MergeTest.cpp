#include <gtest/gtest.h>

#include "support/ExpectedAbf.h"
#include "tools/AbfTools.h"

namespace convora {
namespace {

using test::Bytes;
using test::Ramp;

std::vector<std::int16_t> Joined(std::initializer_list<std::vector<std::int16_t>> parts) {
  std::vector<std::int16_t> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

class MergeTest : public ::testing::Test {
 protected:
  std::filesystem::path Write(const std::string& name, const Bytes& bytes) {
    const auto path = f.dir / name;
    test::WriteFile(path, bytes);
    return path;
  }
  void List(const std::filesystem::path& path) {
    ASSERT_TRUE(AddToMergeList(f.bench, mergeList, path));
  }
  std::filesystem::path Merge(const std::string& name = "ABFMerge") {
    f.prompter.AnswerOkCancel("proceed", true);
    f.prompter.AnswerInput("name", name);
    MergeAbfFiles(f.bench, mergeList, f.dir.Path());
    return f.dir / (name + ".ABF");
  }

  test::BenchFixture f;
  std::vector<std::filesystem::path> mergeList;
  // 512 samples, then a section of 100 bytes that the appended samples cover.
  const std::vector<std::int16_t> a = Ramp(512, -300, 3);
  const Bytes aFile = test::AbfImage(test::AbfToEdit(512), a, Bytes(8192 + 1024 + 100, 0xEE));
};

TEST_F(MergeTest, AppendsWholeBlocksAndTheOverlappingTailAndRecomputesTheLength) {
  // 1000 samples: 3 whole blocks of 256, then the 512 bytes ending at the
  // last sample (from t = 2 x (1000 - 256) = 1488) written over the third.
  AbfHeader second = test::AbfToEdit(1000);
  second.Set(abf::fADCSampleInterval, 50.0f);  // not compared: the first file's is kept
  const auto b = Ramp(1000, 7, -5);
  List(Write("a.abf", aFile));
  List(Write("b.abf", test::AbfImage(second, b)));
  List(f.dir / "a.abf");
  const auto output = Merge();

  AbfHeader expected = test::AbfToEdit(512);
  expected.Set(abf::lActualAcqLength, 512 + 1000 + 512);
  // 100 us / 1e6 x 2024 samples
  expected.Set(abf::fSecondsPerRun, static_cast<float>(0.0001 * 2024));
  EXPECT_EQ(test::ReadFile(output), test::AbfImage(expected, Joined({a, b, a}), aFile));
  EXPECT_EQ(f.bench.List1.Entries(), std::vector<std::filesystem::path>{output});
  EXPECT_TRUE(mergeList.empty());
}

TEST_F(MergeTest, FewerThan256SamplesOverwriteTheEndOfWhatWasAccumulated) {
  // 100 samples: t = 2 x (100 - 256) = -312, so the 312 bytes before the
  // source's data (0xAB here) replace the last 156 samples already merged.
  Bytes before(8192, 0xAB);
  const auto c = Ramp(100, 1000, 1);
  List(Write("a.abf", aFile));
  List(Write("c.abf", test::AbfImage(test::AbfToEdit(100), c, before)));
  const auto output = Merge("joined");

  auto expectedSamples = Joined({a, c});
  std::fill(expectedSamples.begin() + 512 - 156, expectedSamples.begin() + 512,
            static_cast<std::int16_t>(0xABAB));
  AbfHeader expected = test::AbfToEdit(512);
  expected.Set(abf::lActualAcqLength, 612);
  expected.Set(abf::fSecondsPerRun, static_cast<float>(0.0001 * 612));
  EXPECT_EQ(test::ReadFile(output), test::AbfImage(expected, expectedSamples, aFile));
}

TEST_F(MergeTest, RefusesToListAFileThatIsNotAbf) {
  const auto text = Write("notes.txt", Bytes(7000, 'x'));
  EXPECT_FALSE(AddToMergeList(f.bench, mergeList, text));
  EXPECT_TRUE(mergeList.empty());
  EXPECT_EQ(f.prompter.Transcript(),
            std::vector<std::string>{"Not an ABF File: " + text.string() +
                                     " is NOT an Axon Binary File.  You can only merge ABF files."});
}

TEST_F(MergeTest, WritesNothingWithOneFileOrWhenTheWarningIsCancelled) {
  List(Write("a.abf", aFile));
  MergeAbfFiles(f.bench, mergeList, f.dir.Path());
  EXPECT_TRUE(f.prompter.Transcript().empty());  // no question for a single file

  List(f.dir / "a.abf");
  MergeAbfFiles(f.bench, mergeList, f.dir.Path());  // the warning is answered Cancel
  ASSERT_EQ(f.prompter.Transcript().size(), 1u);
  EXPECT_EQ(f.prompter.Transcript()[0].rfind("Warning!: This function assumes", 0), 0u);
  EXPECT_FALSE(std::filesystem::exists(f.dir / "ABFMerge.ABF"));
  EXPECT_EQ(mergeList.size(), 2u);
}

TEST_F(MergeTest, RefusesBeforeWritingWhenAHeaderClaimsMoreThanItsFileHolds) {
  List(Write("a.ABF", aFile));
  List(Write("short.abf", test::AbfImage(test::AbfToEdit(1000), Ramp(400, 0, 1))));
  EXPECT_THROW(Merge(), ConvoraError);
  EXPECT_FALSE(std::filesystem::exists(f.dir / "ABFMerge.ABF"));

  // Nor may the merged file replace one of the files it reads.
  mergeList.pop_back();
  List(f.dir / "a.ABF");
  EXPECT_THROW(Merge("a"), ConvoraError);
  EXPECT_EQ(test::ReadFile(f.dir / "a.ABF"), aFile);
  EXPECT_EQ(test::EntriesIn(f.dir.Path()), 2);
}

}  // namespace
}  // namespace convora
