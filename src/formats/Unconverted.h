#pragma once
// Formats that are recognised but have no converter yet. Each moves to a file
// of its own when it gets one.

#include "formats/FormatDescriptor.h"

namespace convora {

extern const FormatDescriptor kElsaaFormat;
extern const FormatDescriptor kChartWinFormat;
extern const FormatDescriptor kTorvaneFormat;
extern const FormatDescriptor kRacalFormat;
extern const FormatDescriptor kWinTidaFormat;
extern const FormatDescriptor kTidaFormat;
extern const FormatDescriptor kLumiraShortFormat;
extern const FormatDescriptor kLumiraLongFormat;
extern const FormatDescriptor kBrenlowFormat;
extern const FormatDescriptor kOstrelFormat;
extern const FormatDescriptor kDataQuestFormat;

}  // namespace convora
