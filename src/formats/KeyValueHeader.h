#pragma once
// The text headers of the WinWCP, WinEDR and SCAN recordings: fields
// KEY=value, in the first NBH bytes of the file, padded with zero bytes. The
// newer programs write a field a line; SCAN separates them with backslashes.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "abf/FileIo.h"
#include "abf/StartDateTime.h"
#include "formats/RecordingOutput.h"

namespace convora {

class KeyValueHeader {
 public:
  // Reads the header of `source`, whose size its NBH key gives (at most
  // 64 KiB; `fallbackBytes` when the key is missing), its fields ended by
  // any of `separators`.
  KeyValueHeader(SourceFile& source, std::int64_t fallbackBytes,
                 std::string_view separators = "\r\n");

  std::int64_t Bytes() const { return bytes_; }
  std::optional<std::string> Text(const std::string& key) const;
  // A number; files written under some locales use a decimal comma.
  std::optional<double> Number(const std::string& key) const;
  // The same, throwing ConvoraError that names the key when it is missing or
  // not a number.
  double Required(const std::string& key) const;
  // A whole number of at least `lowest`, as Required.
  std::int64_t Count(const std::string& key, std::int64_t lowest) const;
  // "dd/mm/yyyy hh:mm:ss", as the recording programs write times.
  std::optional<LocalDateTime> Time(const std::string& key) const;

  // Channel c of `channels`, as both programs describe it: name YNc, unit
  // YUc, zero level YZc (in counts), with `perCount` units per count.
  RecordedChannel Channel(std::int64_t c, double perCount) const;
  // Where channel c sits in a scan of `channels` values (YOc; c without it).
  std::size_t Position(std::int64_t c, std::int64_t channels) const;

 private:
  std::map<std::string, std::string> values_;
  std::int64_t bytes_ = 0;
};

}  // namespace convora
