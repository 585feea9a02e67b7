#include "abf/AbfHeader.h"

#include <gtest/gtest.h>

#include "abf/FileIo.h"
#include "abf/TemplateFile.h"
#include "support/ExpectedAbf.h"

namespace convora {
namespace {

TEST(AbfHeader, FieldsSitAtTheirOffsetsLittleEndianAndWithinTheirWidth) {
  AbfHeader h;
  h.Set(abf::lActualAcqLength, 0x01020304);
  h.Set(abf::nADCNumChannels, std::int16_t{-2});
  h.Set(abf::fADCSampleInterval, 1.0f);  // 0x3f800000
  h.Set(abf::fInstrumentScaleFactor, 3, -2.0f);  // 0xc0000000
  const auto& b = h.Bytes();
  EXPECT_EQ((std::vector<int>{b[10], b[11], b[12], b[13]}), (std::vector<int>{4, 3, 2, 1}));
  EXPECT_EQ(b[120], 0xfe);
  EXPECT_EQ(b[121], 0xff);
  EXPECT_EQ(b[125], 0x3f);
  EXPECT_EQ(b[124], 0x80);
  EXPECT_EQ(b[922 + 3 * 4 + 3], 0xc0);
  EXPECT_EQ(h.Get(abf::lActualAcqLength), 0x01020304);
  EXPECT_EQ(h.Get(abf::fInstrumentScaleFactor, 3), -2.0f);
  // Text is cut or blank-padded to its width; an index beyond the table is refused.
  h.Set(abf::sADCUnits, 0, "pA");
  h.Set(abf::sADCUnits, 1, "microvolts");
  EXPECT_EQ(h.Get(abf::sADCUnits, 0), "pA      ");
  EXPECT_EQ(h.Get(abf::sADCUnits, 1), "microvol");
  EXPECT_EQ(h.Bytes()[602 + 8], 'm');
  EXPECT_EQ(h.Bytes()[602 + 16], 0);  // the next entry is untouched
  EXPECT_THROW(h.Set(abf::fInstrumentScaleFactor, 16, 1.0f), std::out_of_range);
  EXPECT_THROW(h.Get(abf::sADCUnits, 16), std::out_of_range);
}

TEST(AbfHeader, SignatureTestWantsExactlyAbfAndABlank) {
  AbfHeader h;
  for (const char* signature : {"ABF ", "ABF2", "abf "}) {
    h.Set(abf::lFileSignature, signature);
    EXPECT_EQ(IsAbfFile(h), signature == std::string_view("ABF ")) << signature;
  }
}

// Untouched bytes travel from the file unchanged; a short file is zero-filled.
TEST(TemplateFile, LoadsEveryByteAndMissingOrFolderMeansNoTemplate) {
  test::TempDir dir;
  const test::Bytes image = test::Counting(ABF_HEADER_BYTES);
  test::WriteFile(dir / "t.dat", image);
  const auto whole = LoadTemplateHeader(dir / "t.dat");
  ASSERT_TRUE(whole);
  EXPECT_TRUE(std::equal(image.begin(), image.end(), whole->Bytes().begin()));
  EXPECT_FALSE(LoadTemplateHeader(dir / "SamplABF.dat"));
  EXPECT_FALSE(LoadTemplateHeader(dir.Path()));
  test::WriteFile(dir / "short.dat", {'A', 'B', 'F', ' ', 9});
  const auto loaded = LoadTemplateHeader(dir / "short.dat");
  ASSERT_TRUE(loaded);
  EXPECT_EQ(loaded->Bytes()[4], 9);
  EXPECT_EQ(loaded->Bytes()[6143], 0);
}

TEST(DefaultTemplate, HoldsWhatReadersNeed) {
  const AbfHeader h = BuildDefaultTemplate();
  EXPECT_TRUE(IsAbfFile(h));
  EXPECT_EQ(h.Get(abf::lDataSectionPtr), 12);
  EXPECT_EQ(h.Get(abf::nOperationMode), 3);
  EXPECT_EQ(h.Get(abf::lActualEpisodes), 1);
  EXPECT_EQ(h.Get(abf::nADCNumChannels), 1);
  EXPECT_EQ(h.Get(abf::nADCSamplingSeq, 0), 0);
  for (std::size_t k = 1; k < 16; ++k) EXPECT_EQ(h.Get(abf::nADCSamplingSeq, k), -1) << k;
  EXPECT_EQ(h.Get(abf::sADCUnits, 15), "pA      ");
  EXPECT_EQ(h.Get(abf::fInstrumentScaleFactor, 15), 1.0f);
  EXPECT_EQ(h.Get(abf::lHeaderSize), 6144);
  EXPECT_EQ(h.Get(abf::fFileVersionNumber), 1.83f);
}

}  // namespace
}  // namespace convora
