#include <gtest/gtest.h>

#include "abf/ConvoraError.h"
#include "formats/Scan.h"
#include "support/ExpectedAbf.h"

// No SCAN file written by the program itself is at hand: these are made from
// the published facts of its layout (a 512-byte header of backslash-separated
// KEY=value fields, 12-bit samples in 16-bit words from byte 2048), with the
// reader's own reading of what the notes leave open (see Scan.cpp).

namespace convora {
namespace {

const std::string kFields = "DT=0,5\\AD=5\\CU=pA\\BC=0.01\\NF=256\\NBA=3\\";

test::Bytes ScanFile(const std::string& fields, const std::vector<std::int16_t>& words,
                     std::size_t blocks = 1) {
  test::ByteBuilder b;
  b.Text(fields).PadTo(2048);
  for (std::int16_t w : words) b.Int16LE(w);
  b.PadTo(2048 + 512 * blocks);
  return b.Get();
}

TEST(Scan, OneChannelBecomesGapFreeWithTheZeroLevelFolded) {
  test::BenchFixture f;
  const auto file = test::Converted(f, ConvertSCAN, "cell.SCA",
                                    ScanFile(kFields + "IZ=10\\NBD=2\\", {10, 2047, -2048, 11}, 2));
  const AbfHeader h = test::HeaderOf(file);
  EXPECT_EQ(h.Get(abf::lActualAcqLength), 512);
  EXPECT_EQ(h.Get(abf::fADCSampleInterval), 500.0f);
  EXPECT_EQ(h.Get(abf::sADCUnits, 0), "pA      ");
  // 5 V / (2048 x 0.01 V/pA) = 0.244140625 pA per count.
  EXPECT_EQ(h.Get(abf::fInstrumentScaleFactor, 0), 0.00125f);
  std::vector<std::int16_t> expected(512, -10);
  expected[0] = 0, expected[1] = 2037, expected[2] = -2058, expected[3] = 1;
  EXPECT_EQ(test::SamplesOf(file, 512), expected);
}

TEST(Scan, WhatTheNotesLeaveOpenIsRefused) {
  test::BenchFixture f;
  test::ExpectErrors(f, ConvertSCAN, "cell.SCA", {
      {ScanFile(kFields + "IZ=0\\", {}), "NBD is missing"},
      {ScanFile("DT=0.5\\AD=5\\CU=pA\\IZ=0\\NBD=1\\", {}), "BC is missing"},
      {ScanFile("DT=0\\AD=5\\BC=1\\IZ=0\\NBD=1\\", {}), "DT is not positive"},
      {ScanFile(kFields + "IZ=4096\\NBD=1\\", {}), "IZ (4096) is not a 12-bit count"},
      {ScanFile(kFields + "IZ=0\\NBD=3\\", {}), "3 data blocks of the header (NBD)"},
      {ScanFile(kFields + "IZ=0\\NBD=1\\", {0, 0, 2048}), "sample 3 holds 2048"},
  });
}

}  // namespace
}  // namespace convora
