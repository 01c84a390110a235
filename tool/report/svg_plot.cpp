// SVG drawing of directions over time: axes with units, grid, truth line, estimates, legend.
#include "report/svg_plot.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <vector>

#include "analysis/accuracy.h"
#include "analysis/angles.h"
#include "report/number_format.h"

namespace ezossl_tool {
namespace {

// From the top: the angle axis, the band of periods without a direction, the level track, and
// the time labels under all three.
constexpr double kWidth = 960, kHeight = 560;
constexpr double kLeft = 70, kRight = 190, kTop = 46;
constexpr double kPlotWidth = kWidth - kLeft - kRight, kPlotHeight = 320;
constexpr double kBandTop = kTop + kPlotHeight + 10, kBandHeight = 22;
constexpr double kLevelTop = kBandTop + kBandHeight + 16, kLevelHeight = 90;
constexpr double kLevelLowest = -90, kLevelHighest = 0, kLevelTick = 30;
constexpr double kTimeLabels = kLevelTop + kLevelHeight + 18;
constexpr int kTargetTimeTicks = 10;
constexpr const char* kEstimateColour = "#1f63c6";
constexpr const char* kSrpColour = "#d9480f";
constexpr const char* kTruthColour = "#e07b00";
constexpr const char* kLevelColour = "#2e7d32";

// One mark per status of the periods without a direction, drawn in the band.
struct StatusMark {
    const char* status;
    const char* shape;   // centred on 0,0
    const char* meaning;
};
constexpr StatusMark kStatusMarks[] = {
    {"SIGNAL_TOO_WEAK", "<circle r=\"4\" fill=\"white\" stroke=\"#9a9a9a\" stroke-width=\"1.5\"/>", "too weak"},
    {"NO_DIRECTION", "<path d=\"M-4,-4L4,4M-4,4L4,-4\" stroke=\"#c62828\" stroke-width=\"2\"/>", "no direction"},
    {"DELAY_TOO_LARGE", "<path d=\"M0,-5L5,4L-5,4z\" fill=\"#7b1fa2\"/>", "delay too large"},
    {"OTHER", "<rect x=\"-4\" y=\"-4\" width=\"8\" height=\"8\" fill=\"#333\"/>", "other status"},
};

const char* MarkFor(const std::string& status) {
    for (const StatusMark& mark : kStatusMarks) {
        if (status == mark.status) return mark.status;
    }
    return "OTHER";
}

std::string Escape(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&': escaped += "&amp;"; break;
            case '<': escaped += "&lt;"; break;
            case '>': escaped += "&gt;"; break;
            case '"': escaped += "&quot;"; break;
            default: escaped += c;
        }
    }
    return escaped;
}

std::string Px(double value) { return FormatFixed(value, 1); }

// 1, 2 or 5 times a power of ten, giving about kTargetTimeTicks intervals.
double NiceStep(double span) {
    const double raw = span / kTargetTimeTicks;
    const double magnitude = std::pow(10.0, std::floor(std::log10(raw)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * magnitude >= raw) return factor * magnitude;
    }
    return 10.0 * magnitude;
}

class Canvas {
  public:
    Canvas(double duration_s, const AngleAxis& axis)
        : duration_(duration_s > 0 ? duration_s : 1.0), low_(axis.lowest), high_(axis.highest), tick_(axis.tick) {}

    double X(double seconds) const { return kLeft + kPlotWidth * seconds / duration_; }
    double Y(double degrees) const { return kTop + kPlotHeight * (high_ - degrees) / (high_ - low_); }
    static double LevelY(double dbfs) {
        const double shown = std::clamp(dbfs, kLevelLowest, kLevelHighest);
        return kLevelTop + kLevelHeight * (kLevelHighest - shown) / (kLevelHighest - kLevelLowest);
    }
    static double BandY() { return kBandTop + kBandHeight / 2; }

    void Axes(std::ostringstream& svg) const {
        const double step = NiceStep(duration_);
        svg << "<g font-size=\"12\" fill=\"#333\">\n";
        for (double t = 0; t <= duration_ + 1e-9; t += step) {
            svg << "<line x1=\"" << Px(X(t)) << "\" y1=\"" << Px(kTop) << "\" x2=\"" << Px(X(t)) << "\" y2=\""
                << Px(kLevelTop + kLevelHeight) << "\" stroke=\"#e4e4e4\"/>\n"
                << "<text x=\"" << Px(X(t)) << "\" y=\"" << Px(kTimeLabels)
                << "\" text-anchor=\"middle\">" << FormatNumber(t) << "</text>\n";
        }
        for (double d = low_; d <= high_ + 1e-9; d += tick_) {
            svg << "<line x1=\"" << Px(kLeft) << "\" y1=\"" << Px(Y(d)) << "\" x2=\"" << Px(kLeft + kPlotWidth)
                << "\" y2=\"" << Px(Y(d)) << "\" stroke=\"#e4e4e4\"/>\n"
                << "<text x=\"" << Px(kLeft - 8) << "\" y=\"" << Px(Y(d) + 4) << "\" text-anchor=\"end\">"
                << FormatNumber(d) << "</text>\n";
        }
        for (double l = kLevelLowest; l <= kLevelHighest + 1e-9; l += kLevelTick) {
            svg << "<text x=\"" << Px(kLeft - 8) << "\" y=\"" << Px(LevelY(l) + 4) << "\" text-anchor=\"end\">"
                << FormatNumber(l) << "</text>\n";
        }
        for (const auto& [top, height] : {std::pair{kTop, kPlotHeight}, std::pair{kBandTop, kBandHeight},
                                          std::pair{kLevelTop, kLevelHeight}}) {
            svg << "<rect x=\"" << Px(kLeft) << "\" y=\"" << Px(top) << "\" width=\"" << Px(kPlotWidth)
                << "\" height=\"" << Px(height) << "\" fill=\"none\" stroke=\"#333\"/>\n";
        }
        svg << "<text x=\"" << Px(kLeft - 8) << "\" y=\"" << Px(BandY() + 4)
            << "\" text-anchor=\"end\" font-size=\"11\">none</text>\n"
            << "<text transform=\"translate(20 " << Px(kLevelTop + kLevelHeight / 2)
            << ") rotate(-90)\" text-anchor=\"middle\" font-size=\"13\">level (dBFS)</text>\n"
            << "<text x=\"" << Px(kLeft + kPlotWidth / 2) << "\" y=\"" << Px(kHeight - 14)
            << "\" text-anchor=\"middle\" font-size=\"13\">time (s)</text>\n"
            << "<text transform=\"translate(20 " << Px(kTop + kPlotHeight / 2)
            << ") rotate(-90)\" text-anchor=\"middle\" font-size=\"13\">direction (deg)</text>\n</g>\n";
    }

  private:
    double duration_, low_, high_, tick_;
};

// The truth as steps; on a planar plot it is drawn once more a turn higher and lower, so a
// truth at one end of the axis also shows at the other, where the library may report it. The
// plot area clips it.
void TruthLine(std::ostringstream& svg, const Canvas& canvas, const DirectionPlot& plot, double duration_s) {
    const auto& points = plot.truth->points;
    const Orientation& orientation = *plot.orientation;
    for (const double turn : orientation.Linear() ? std::vector<double>{0.0} : std::vector<double>{0.0, 360.0, -360.0}) {
        std::string path;
        double previous = 0.0;
        for (size_t i = 0; i < points.size() && points[i].time_s <= duration_s; ++i) {
            const double value = orientation.ReportTruth(points[i].azimuth_deg) + turn;
            const double end_s = i + 1 < points.size() ? std::min(points[i + 1].time_s, duration_s) : duration_s;
            // A jump across the ends of the range (e.g. 265 to -85) is not drawn through the plot.
            const bool wraps = !path.empty() && std::abs(value - previous) > 180.0;
            path += (path.empty() || wraps ? "M" : "L") + Px(canvas.X(points[i].time_s)) + "," +
                    Px(canvas.Y(value)) + "L" + Px(canvas.X(end_s)) + "," + Px(canvas.Y(value));
            previous = value;
        }
        svg << "<path d=\"" << path << "\" fill=\"none\" stroke=\"" << kTruthColour
            << "\" stroke-width=\"2.5\" stroke-opacity=\"0.8\" clip-path=\"url(#plot-area)\"/>\n";
    }
}

// Directions in the angle area (held ones hollow, the SRP's squares), a status mark in the band
// for every period without a direction of the specified library, and the level track.
void Periods(std::ostringstream& svg, const Canvas& canvas, const DirectionPlot& plot) {
    const Localization& run = *plot.localization;
    std::string level_path;
    for (const PeriodResult& period : run.periods) {
        const double x = canvas.X(period.MiddleSeconds(run.sample_rate));
        const std::string status = StatusName(period.direction.status);
        const std::string tip = "<title>" + FormatFixed(period.start_s, 3) + " s: " + status + ", " +
                                FormatFixed(period.trust.level_dbfs, 1) + " dBFS</title>";
        if (RunsSrp(run.method) && period.srp && period.srp->degrees) {
            const double srp_deg = plot.orientation->ReportExact(*period.srp->degrees);
            svg << "<rect class=\"srp\" x=\"" << Px(x - 3) << "\" y=\"" << Px(canvas.Y(srp_deg) - 3)
                << "\" width=\"6\" height=\"6\" fill=\"" << kSrpColour << "\">" << tip << "</rect>\n";
        }
        const std::optional<double> reported = AnswerOf(period, *plot.orientation).degrees;
        if (RunsSpecified(run.method) && reported) {
            svg << "<circle class=\"" << (period.trust.held ? "held" : "direction") << "\" cx=\"" << Px(x)
                << "\" cy=\"" << Px(canvas.Y(*reported)) << "\" r=\"3.5\" "
                << (period.trust.held ? "fill=\"white\" stroke=\"" : "fill=\"") << kEstimateColour << "\">" << tip
                << "</circle>\n";
        }
        if (!period.direction.degrees) {
            svg << "<use href=\"#mark-" << MarkFor(status) << "\" x=\"" << Px(x) << "\" y=\"" << Px(Canvas::BandY())
                << "\">" << tip << "</use>\n";
        }
        level_path += (level_path.empty() ? "M" : "L") + Px(x) + "," + Px(Canvas::LevelY(period.trust.level_dbfs));
    }
    if (!level_path.empty()) {
        svg << "<path class=\"level\" d=\"" << level_path << "\" fill=\"none\" stroke=\"" << kLevelColour
            << "\" stroke-width=\"1.5\"/>\n";
    }
}

void Legend(std::ostringstream& svg, const DirectionPlot& plot) {
    const double x = kLeft + kPlotWidth + 16;
    double y = kTop + 14;
    const auto entry = [&](const std::string& symbol, const std::string& text) {
        svg << symbol << "<text x=\"" << Px(x + 26) << "\" y=\"" << Px(y) << "\">" << text << "</text>\n";
        y += 22;
    };
    svg << "<g font-size=\"12\" fill=\"#333\">\n";
    const std::string dot = "<circle cx=\"" + Px(x + 10) + "\" cy=\"" + Px(y - 4) + "\" r=\"3.5\" ";
    const Method method = plot.localization->method;
    if (RunsSpecified(method)) {
        entry(dot + "fill=\"" + kEstimateColour + "\"/>", method == Method::kBoth ? "specified direction" : "library direction");
    }
    if (RunsSrp(method)) {
        entry("<rect x=\"" + Px(x + 7) + "\" y=\"" + Px(y - 7) + "\" width=\"6\" height=\"6\" fill=\"" + kSrpColour + "\"/>",
              "SRP direction");
    }
    if (plot.localization->steadying.hold_periods > 0) {
        entry("<circle cx=\"" + Px(x + 10) + "\" cy=\"" + Px(y - 4) + "\" r=\"3.5\" fill=\"white\" stroke=\"" +
                  kEstimateColour + "\"/>",
              "held direction");
    }
    if (plot.truth) {
        entry("<line x1=\"" + Px(x) + "\" y1=\"" + Px(y - 4) + "\" x2=\"" + Px(x + 20) + "\" y2=\"" + Px(y - 4) +
                  "\" stroke=\"" + kTruthColour + "\" stroke-width=\"2.5\"/>",
              plot.orientation->Linear() ? "truth, sides folded" : "truth");
    }
    for (const StatusMark& mark : kStatusMarks) {
        entry("<use href=\"#mark-" + std::string(mark.status) + "\" x=\"" + Px(x + 10) + "\" y=\"" + Px(y - 4) + "\"/>",
              mark.meaning);
    }
    entry("<line x1=\"" + Px(x) + "\" y1=\"" + Px(y - 4) + "\" x2=\"" + Px(x + 20) + "\" y2=\"" + Px(y - 4) +
              "\" stroke=\"" + kLevelColour + "\" stroke-width=\"1.5\"/>",
          "level of the period");
    svg << "</g>\n";
}

}  // namespace

std::string RenderDirectionPlot(const DirectionPlot& plot) {
    const double duration = plot.localization->DurationSeconds();
    const Canvas canvas(duration, plot.orientation->Axis());
    std::ostringstream svg;
    svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << kWidth << "\" height=\"" << kHeight
        << "\" viewBox=\"0 0 " << kWidth << " " << kHeight << "\" font-family=\"sans-serif\">\n"
        << "<defs><clipPath id=\"plot-area\"><rect x=\"" << Px(kLeft) << "\" y=\"" << Px(kTop - 2)
        << "\" width=\"" << Px(kPlotWidth) << "\" height=\"" << Px(kPlotHeight + 4) << "\"/></clipPath>\n";
    for (const StatusMark& mark : kStatusMarks) svg << "<g id=\"mark-" << mark.status << "\">" << mark.shape << "</g>\n";
    svg << "</defs>\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
        << "<text x=\"" << Px(kLeft) << "\" y=\"26\" font-size=\"15\" fill=\"#111\">" << Escape(plot.title)
        << "</text>\n";
    canvas.Axes(svg);
    if (plot.truth) TruthLine(svg, canvas, plot, duration);
    Periods(svg, canvas, plot);
    Legend(svg, plot);
    svg << "</svg>\n";
    return svg.str();
}

}  // namespace ezossl_tool
