// Parsing and checking array descriptions; the microphone positions they stand for.
#include "analysis/array_geometry.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <vector>

#include "cli/errors.h"
#include "report/number_format.h"

namespace ezossl_tool {
namespace {

constexpr double kCmPerMetre = 100.0;
// Arbitrary positions closer to a straight line than this (relative to the aperture) would be
// solved by the library as an ill-conditioned plane; the tool lays them onto one line instead.
constexpr double kCollinearTolerance = 1e-6;

// Larger than any array the library can handle at any rate (its delay search spans less than
// 124 samples: under 6 m even at 8000 Hz); beyond it the size, not the shape, is the problem.
constexpr double kMaxArrayCm = 1000.0;

const char* const kArrayHint = "expected ula, uca or four x,y positions in cm, e.g. --array \"0,0 4,0 4,4 0,4\"";

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

std::vector<double> ParseNumbers(const std::string& text) {
    std::string spaced = text;
    std::replace_if(spaced.begin(), spaced.end(), [](char c) { return c == ',' || c == ';'; }, ' ');
    std::istringstream stream(spaced);
    std::vector<double> numbers;
    std::string word;
    while (stream >> word) {
        char* end = nullptr;
        const double value = std::strtod(word.c_str(), &end);
        if (*end != '\0' || !std::isfinite(value)) {
            throw UsageError("--array \"" + text + "\": \"" + word + "\" is not a number; " + kArrayHint);
        }
        numbers.push_back(value);
    }
    return numbers;
}

std::string PointText(Vec2 p) { return "(" + FormatNumber(p.x) + ", " + FormatNumber(p.y) + ")"; }

// The library keeps positions in single precision: distinct doubles may meet there.
bool SameInSinglePrecision(Vec2 a, Vec2 b) {
    return static_cast<float>(a.x) == static_cast<float>(b.x) && static_cast<float>(a.y) == static_cast<float>(b.y);
}

void RequireDistinctPositions(const MicPositions& p) {
    for (int i = 0; i < EZOSSL_MIC_NUM; ++i) {
        for (int j = i + 1; j < EZOSSL_MIC_NUM; ++j) {
            const std::string pair = "--array: microphones " + std::to_string(i) + " and " + std::to_string(j);
            if (p[i].x == p[j].x && p[i].y == p[j].y) {
                throw UsageError(pair + " are both at " + PointText(p[i]) + " cm; give each microphone its own position");
            }
            if (SameInSinglePrecision(p[i], p[j])) {
                throw UsageError(pair + " at " + PointText(p[i]) + " and " + PointText(p[j]) +
                                 " cm are one position in the library's single precision; give each microphone its "
                                 "own position");
            }
        }
    }
}

double Cross(Vec2 a, Vec2 b) { return a.x * b.y - a.y * b.x; }

Vec2 Minus(Vec2 a, Vec2 b) { return {a.x - b.x, a.y - b.y}; }

double LargestDistance(const MicPositions& p) {
    double largest = 0.0;
    for (const Vec2& a : p) {
        for (const Vec2& b : p) largest = std::max(largest, std::hypot(a.x - b.x, a.y - b.y));
    }
    return largest;
}

bool AllOnOneLine(const MicPositions& p) {
    const double scale = LargestDistance(p);
    const Vec2 axis = Minus(p[1], p[0]);
    for (int i = 2; i < EZOSSL_MIC_NUM; ++i) {
        if (std::abs(Cross(axis, Minus(p[i], p[0]))) > kCollinearTolerance * scale * scale) return false;
    }
    return true;
}

ArrayDescription ParsePositions(const std::string& text, std::optional<double> distance_cm) {
    const std::vector<double> numbers = ParseNumbers(text);
    if (numbers.size() != 2 * EZOSSL_MIC_NUM) {
        throw UsageError("--array \"" + text + "\": found " + std::to_string(numbers.size()) +
                         " numbers, need 8; " + kArrayHint);
    }
    if (distance_cm) {
        throw UsageError("--distance does not apply to an array given by positions; leave it out");
    }
    ArrayDescription array;
    array.kind = ArrayKind::kArbitrary;
    for (int i = 0; i < EZOSSL_MIC_NUM; ++i) array.positions_cm[i] = {numbers[2 * i], numbers[2 * i + 1]};
    const double span_cm = LargestDistance(array.positions_cm);
    if (span_cm > kMaxArrayCm) {
        throw UsageError("--array: the microphones are up to " + FormatNumber(span_cm) +
                         " cm apart, far larger than any array the library handles; positions are in cm");
    }
    RequireDistinctPositions(array.positions_cm);
    return array;
}

}  // namespace

ArrayDescription ParseArray(const std::string& text, std::optional<double> distance_cm) {
    const std::string kind = Lower(text);
    if (kind != "ula" && kind != "uca") return ParsePositions(text, distance_cm);
    const char* meaning = kind == "ula" ? "the spacing of neighbouring microphones" : "the diameter of the circle";
    if (!distance_cm) throw UsageError("--array " + kind + " needs --distance CM, " + meaning);
    if (!(*distance_cm > 0.0) || !std::isfinite(*distance_cm)) {
        throw UsageError("--distance must be greater than 0 cm (" + std::string(meaning) + "), got " +
                         FormatNumber(*distance_cm));
    }
    if (*distance_cm > kMaxArrayCm) {
        throw UsageError("--distance " + FormatNumber(*distance_cm) +
                         " cm is far larger than any array the library handles; --distance is in cm");
    }
    ArrayDescription array;
    array.kind = kind == "ula" ? ArrayKind::kLinear : ArrayKind::kCircular;
    array.distance_cm = *distance_cm;
    return array;
}

MicPositions MicrophonePositionsM(const ArrayDescription& array) {
    MicPositions positions{};
    const double d = array.distance_cm / kCmPerMetre;
    switch (array.kind) {
        case ArrayKind::kLinear:
            positions = UniformLinearPositions(d);
            break;
        case ArrayKind::kCircular:
            positions = UniformCircularPositions(d);
            break;
        case ArrayKind::kArbitrary: {
            Vec2 centre;
            for (const Vec2& p : array.positions_cm) centre = {centre.x + p.x / EZOSSL_MIC_NUM, centre.y + p.y / EZOSSL_MIC_NUM};
            for (int i = 0; i < EZOSSL_MIC_NUM; ++i) {
                const Vec2 offset = Minus(array.positions_cm[i], centre);
                positions[i] = {offset.x / kCmPerMetre, offset.y / kCmPerMetre};
            }
            break;
        }
    }
    return positions;
}

bool IsLinear(const ArrayDescription& array) {
    return array.kind == ArrayKind::kLinear ||
           (array.kind == ArrayKind::kArbitrary && AllOnOneLine(array.positions_cm));
}

double InitDistanceCm(const ArrayDescription& array) {
    return array.kind == ArrayKind::kArbitrary ? LargestDistance(array.positions_cm) : array.distance_cm;
}

double ApertureM(const ArrayDescription& array) { return LargestDistance(MicrophonePositionsM(array)); }

std::string Describe(const ArrayDescription& array) {
    switch (array.kind) {
        case ArrayKind::kLinear:
            return "linear array, " + FormatNumber(array.distance_cm) + " cm spacing";
        case ArrayKind::kCircular:
            return "circular array, " + FormatNumber(array.distance_cm) + " cm diameter";
        case ArrayKind::kArbitrary:
            break;
    }
    std::string text = "array at";
    for (const Vec2& p : array.positions_cm) text += " " + PointText(p);
    return text + " cm";
}

}  // namespace ezossl_tool
