#include "formats/AbfOrEventFile.h"

#include "abf/TextSearch.h"

namespace convora {

const FormatDescriptor kAbfFileFormat{
    "ABF file", [](const RecognitionInput& in) { return IsAbfFile(in.header); },
    [](Workbench& bench) {
      bench.Prompt().ShowMessage("ABF File",
                                 "This is an Axon Binary File.  You don't need to convert.");
    }};

const FormatDescriptor kVestralinkorEventFormat{
    "Vestralinkor event file",
    [](const RecognitionInput& in) {
      return Contains(in.CharsAt(abf::sCreatorInfo.offset, abf::sCreatorInfo.width),
                      "Vestralinkor");
    },
    [](Workbench& bench) {
      bench.Prompt().ShowMessage("Vestralinkor Event File",
                                 "This is an Event File Created by Vestralinkor Program.");
    }};

}  // namespace convora
