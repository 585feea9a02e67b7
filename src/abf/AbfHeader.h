#pragma once
// The ABF 1.x header as a 6144-byte image with typed accessors at named offsets.
// Every byte that no accessor touches travels from the file read (or the
// template) to the file written unchanged.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "abf/LittleEndian.h"

namespace convora {

inline constexpr std::size_t ABF_HEADER_BYTES = 6144;
inline constexpr std::int64_t ABF_BLOCK_BYTES = 512;

template <FileScalar T>
struct ScalarField {
  std::size_t offset;
};

template <FileScalar T>
struct ArrayField {
  std::size_t offset;
  std::size_t count;
};

struct TextField {
  std::size_t offset;
  std::size_t width;
};

struct TextArrayField {
  std::size_t offset;
  std::size_t width;
  std::size_t count;
};

namespace abf {
using i16 = std::int16_t;
using i32 = std::int32_t;

// The published ABF 1.x layout, as far as this program or its template uses it.
// clang-format off
inline constexpr TextField         lFileSignature           {0, 4};
inline constexpr ScalarField<float> fFileVersionNumber      {4};
inline constexpr ScalarField<i16>  nOperationMode           {8};
inline constexpr ScalarField<i32>  lActualAcqLength         {10};
inline constexpr ScalarField<i16>  nNumPointsIgnored        {14};
inline constexpr ScalarField<i32>  lActualEpisodes          {16};
inline constexpr ScalarField<i32>  lFileStartDate           {20};
inline constexpr ScalarField<i32>  lFileStartTime           {24};
inline constexpr ScalarField<i32>  lStopwatchTime           {28};
inline constexpr ScalarField<float> fHeaderVersionNumber    {32};
inline constexpr ScalarField<i16>  nFileType                {36};
inline constexpr ScalarField<i16>  nMSBinFormat             {38};
inline constexpr ScalarField<i32>  lDataSectionPtr          {40};
inline constexpr ScalarField<i32>  lTagSectionPtr           {44};
inline constexpr ScalarField<i32>  lNumTagEntries           {48};
inline constexpr ScalarField<i32>  lSynchArrayPtr           {92};
inline constexpr ScalarField<i32>  lSynchArraySize          {96};
inline constexpr ScalarField<i16>  nDataFormat              {100};
inline constexpr ScalarField<i16>  nADCNumChannels          {120};
inline constexpr ScalarField<float> fADCSampleInterval      {122};
inline constexpr ScalarField<float> fADCSecondSampleInterval{126};
inline constexpr ScalarField<float> fSynchTimeUnit          {130};
inline constexpr ScalarField<float> fSecondsPerRun          {134};
inline constexpr ScalarField<i32>  lNumSamplesPerEpisode    {138};
inline constexpr ScalarField<i32>  lPreTriggerSamples       {142};
inline constexpr ScalarField<i32>  lEpisodesPerRun          {146};
inline constexpr ScalarField<i32>  lRunsPerTrial            {150};
inline constexpr ScalarField<i32>  lNumberOfTrials          {154};
inline constexpr ScalarField<float> fEpisodeStartToStart    {178};
inline constexpr ScalarField<float> fADCRange               {244};
inline constexpr ScalarField<float> fDACRange               {248};
inline constexpr ScalarField<i32>  lADCResolution           {252};
inline constexpr ScalarField<i32>  lDACResolution           {256};
inline constexpr ScalarField<i16>  nExperimentType          {260};
inline constexpr ScalarField<i16>  nAutosampleEnable        {262};
inline constexpr ScalarField<float> fAutosampleAdditGain    {268};
inline constexpr TextField         sCreatorInfo             {294, 16};
inline constexpr TextField         sFileComment             {310, 56};
inline constexpr ArrayField<i16>   nADCPtoLChannelMap       {378, 16};
inline constexpr ArrayField<i16>   nADCSamplingSeq          {410, 16};
inline constexpr TextArrayField    sADCChannelName          {442, 10, 16};
inline constexpr TextArrayField    sADCUnits                {602, 8, 16};
inline constexpr ArrayField<float> fADCProgrammableGain     {730, 16};
inline constexpr ArrayField<float> fADCDisplayAmplification {794, 16};
inline constexpr ArrayField<float> fADCDisplayOffset        {858, 16};
inline constexpr ArrayField<float> fInstrumentScaleFactor   {922, 16};
inline constexpr ArrayField<float> fInstrumentOffset        {986, 16};
inline constexpr ArrayField<float> fSignalGain              {1050, 16};
inline constexpr ArrayField<float> fSignalOffset            {1114, 16};
inline constexpr ArrayField<float> fSignalLowpassFilter     {1178, 16};
inline constexpr ArrayField<float> fSignalHighpassFilter    {1242, 16};
inline constexpr TextArrayField    sDACChannelName          {1306, 10, 4};
inline constexpr TextArrayField    sDACChannelUnits         {1346, 8, 4};
inline constexpr ArrayField<float> fDACScaleFactor          {1378, 4};
inline constexpr ScalarField<i16>  nSignalType              {1410};
inline constexpr ScalarField<i32>  lHeaderSize              {2034};
inline constexpr ArrayField<i16>   nTelegraphEnable         {4512, 16};
inline constexpr ArrayField<float> fTelegraphAdditGain      {4576, 16};
// clang-format on
}  // namespace abf

class AbfHeader {
 public:
  using Image = std::array<std::uint8_t, ABF_HEADER_BYTES>;

  AbfHeader() = default;
  // Takes up to 6144 bytes; a shorter run leaves the rest of the image zero.
  explicit AbfHeader(std::span<const std::uint8_t> bytes);

  const Image& Bytes() const { return image_; }
  Image& MutableBytes() { return image_; }

  template <FileScalar T>
  T Get(ScalarField<T> field) const {
    return LoadLittleEndian<T>(&image_[field.offset]);
  }
  template <FileScalar T>
  void Set(ScalarField<T> field, T value) {
    StoreLittleEndian<T>(&image_[field.offset], value);
  }

  template <FileScalar T>
  T Get(ArrayField<T> field, std::size_t index) const {
    return LoadLittleEndian<T>(&image_[ElementOffset(field, index)]);
  }
  template <FileScalar T>
  void Set(ArrayField<T> field, std::size_t index, T value) {
    StoreLittleEndian<T>(&image_[ElementOffset(field, index)], value);
  }

  std::string Get(TextField field) const;
  // Left-aligned, cut to the field's width, blank-padded on the right.
  void Set(TextField field, std::string_view text);
  std::string Get(TextArrayField field, std::size_t index) const;
  void Set(TextArrayField field, std::size_t index, std::string_view text);

  // Raw bits of a float field, for values copied from a source without conversion.
  void SetBits(ScalarField<float> field, std::uint32_t bits) {
    StoreLittleEndian<std::uint32_t>(&image_[field.offset], bits);
  }

  friend bool operator==(const AbfHeader&, const AbfHeader&) = default;

 private:
  template <FileScalar T>
  static std::size_t ElementOffset(ArrayField<T> field, std::size_t index) {
    if (index >= field.count) throw std::out_of_range("ABF header array index out of range");
    return field.offset + index * sizeof(T);
  }

  Image image_{};
};

// True when the 4-byte signature is "ABF ".
bool IsAbfFile(const AbfHeader& header);

}  // namespace convora
