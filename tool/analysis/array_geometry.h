// Array descriptions (ula, uca or four positions) and the microphone positions they imply.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "analysis/library_facts.h"

namespace ezossl_tool {

enum class ArrayKind { kLinear, kCircular, kArbitrary };

struct ArrayDescription {
    ArrayKind kind = ArrayKind::kCircular;
    double distance_cm = 0.0;      // linear: neighbour spacing; circular: diameter
    MicPositions positions_cm{};   // arbitrary: as given, microphones in channel order
};

// Parses --array ("ula", "uca" or "x0,y0 x1,y1 x2,y2 x3,y3" in cm) together with --distance,
// and refuses descriptions the library cannot localise with; throws UsageError.
ArrayDescription ParseArray(const std::string& text, std::optional<double> distance_cm);

// Microphone positions in metres, centred on the array (the library's own placement).
MicPositions MicrophonePositionsM(const ArrayDescription& array);

// True when the four microphones lie on one line, in any direction: the library then solves a
// line and cannot tell one side of it from the other.
bool IsLinear(const ArrayDescription& array);

// The distance to hand to the library's init record, in cm.
double InitDistanceCm(const ArrayDescription& array);

// Largest distance between any two microphones, in metres.
double ApertureM(const ArrayDescription& array);

// "circular array, 6.5 cm diameter" and the like, for titles.
std::string Describe(const ArrayDescription& array);

}  // namespace ezossl_tool
