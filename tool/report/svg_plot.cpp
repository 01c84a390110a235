// SVG drawing of directions over time: axes with units, grid, truth line, estimates, legend.
#include "report/svg_plot.h"

#include <cmath>
#include <sstream>
#include <vector>

#include "analysis/accuracy.h"
#include "analysis/angles.h"
#include "report/number_format.h"

namespace ezossl_tool {
namespace {

constexpr double kWidth = 960, kHeight = 480;
constexpr double kLeft = 70, kRight = 190, kTop = 46, kBottom = 56;
constexpr double kPlotWidth = kWidth - kLeft - kRight, kPlotHeight = kHeight - kTop - kBottom;
constexpr double kPlanarTickDeg = 45.0, kLinearTickDeg = 30.0;
constexpr int kTargetTimeTicks = 10;
constexpr const char* kEstimateColour = "#1f63c6";
constexpr const char* kSrpColour = "#d9480f";
constexpr const char* kTruthColour = "#e07b00";
constexpr const char* kMissColour = "#9a9a9a";

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
    Canvas(double duration_s, bool linear)
        : duration_(duration_s > 0 ? duration_s : 1.0),
          low_(kPlanarLowest),
          high_(linear ? kLinearHighest : kPlanarHighest),
          tick_(linear ? kLinearTickDeg : kPlanarTickDeg) {}

    double X(double seconds) const { return kLeft + kPlotWidth * seconds / duration_; }
    double Y(double degrees) const { return kTop + kPlotHeight * (high_ - degrees) / (high_ - low_); }

    void Axes(std::ostringstream& svg) const {
        const double step = NiceStep(duration_);
        svg << "<g font-size=\"12\" fill=\"#333\">\n";
        for (double t = 0; t <= duration_ + 1e-9; t += step) {
            svg << "<line x1=\"" << Px(X(t)) << "\" y1=\"" << Px(kTop) << "\" x2=\"" << Px(X(t)) << "\" y2=\""
                << Px(kTop + kPlotHeight) << "\" stroke=\"#e4e4e4\"/>\n"
                << "<text x=\"" << Px(X(t)) << "\" y=\"" << Px(kTop + kPlotHeight + 18)
                << "\" text-anchor=\"middle\">" << FormatNumber(t) << "</text>\n";
        }
        for (double d = low_; d <= high_ + 1e-9; d += tick_) {
            svg << "<line x1=\"" << Px(kLeft) << "\" y1=\"" << Px(Y(d)) << "\" x2=\"" << Px(kLeft + kPlotWidth)
                << "\" y2=\"" << Px(Y(d)) << "\" stroke=\"#e4e4e4\"/>\n"
                << "<text x=\"" << Px(kLeft - 8) << "\" y=\"" << Px(Y(d) + 4) << "\" text-anchor=\"end\">"
                << FormatNumber(d) << "</text>\n";
        }
        svg << "<rect x=\"" << Px(kLeft) << "\" y=\"" << Px(kTop) << "\" width=\"" << Px(kPlotWidth)
            << "\" height=\"" << Px(kPlotHeight) << "\" fill=\"none\" stroke=\"#333\"/>\n"
            << "<text x=\"" << Px(kLeft + kPlotWidth / 2) << "\" y=\"" << Px(kHeight - 14)
            << "\" text-anchor=\"middle\" font-size=\"13\">time (s)</text>\n"
            << "<text transform=\"translate(20 " << Px(kTop + kPlotHeight / 2)
            << ") rotate(-90)\" text-anchor=\"middle\" font-size=\"13\">direction (deg)</text>\n</g>\n";
    }

  private:
    double duration_, low_, high_, tick_;
};

// The truth as steps; on a planar plot it is drawn once more a turn higher and lower, so a
// truth at -90 also shows at 270 where the library may report it. The plot area clips it.
void TruthLine(std::ostringstream& svg, const Canvas& canvas, const DirectionPlot& plot, double duration_s) {
    const auto& points = plot.truth->points;
    for (const double turn : plot.linear ? std::vector<double>{0.0} : std::vector<double>{0.0, 360.0, -360.0}) {
        std::string path;
        double previous = 0.0;
        for (size_t i = 0; i < points.size() && points[i].time_s <= duration_s; ++i) {
            const double value =
                (plot.linear ? FoldFrontBack(points[i].azimuth_deg) : WrapAzimuth(points[i].azimuth_deg)) + turn;
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

// The specified method's directions are dots, the SRP's are squares; a period without a
// direction is an x at the bottom, in the method's colour when both are shown.
void Estimates(std::ostringstream& svg, const Canvas& canvas, const DirectionPlot& plot) {
    const Localization& run = *plot.localization;
    const std::vector<bool> methods = ShownMethods(run.method);
    for (const bool srp : methods) {
        const char* colour = srp ? kSrpColour : kEstimateColour;
        const char* miss_colour = methods.size() > 1 ? colour : kMissColour;
        for (const PeriodResult& period : run.periods) {
            const double middle = period.MiddleSeconds(run.sample_rate);
            const MethodAnswer answer = AnswerOf(period, srp);
            const std::string tip = "<title>" + FormatFixed(period.start_s, 3) + " s: " + answer.status + "</title>";
            if (answer.degrees && srp) {
                svg << "<rect x=\"" << Px(canvas.X(middle) - 3) << "\" y=\"" << Px(canvas.Y(*answer.degrees) - 3)
                    << "\" width=\"6\" height=\"6\" fill=\"" << colour << "\">" << tip << "</rect>\n";
            } else if (answer.degrees) {
                svg << "<circle cx=\"" << Px(canvas.X(middle)) << "\" cy=\"" << Px(canvas.Y(*answer.degrees))
                    << "\" r=\"3.5\" fill=\"" << colour << "\">" << tip << "</circle>\n";
            } else {
                svg << "<text x=\"" << Px(canvas.X(middle)) << "\" y=\"" << Px(kTop + kPlotHeight - 4)
                    << "\" text-anchor=\"middle\" font-size=\"12\" fill=\"" << miss_colour << "\">x" << tip
                    << "</text>\n";
            }
        }
    }
}

void Legend(std::ostringstream& svg, const DirectionPlot& plot) {
    const double x = kLeft + kPlotWidth + 16;
    double y = kTop + 14;
    const Method method = plot.localization->method;
    svg << "<g font-size=\"12\" fill=\"#333\">\n";
    if (RunsSpecified(method)) {
        svg << "<circle cx=\"" << Px(x + 10) << "\" cy=\"" << Px(y - 4) << "\" r=\"3.5\" fill=\"" << kEstimateColour
            << "\"/><text x=\"" << Px(x + 26) << "\" y=\"" << Px(y) << "\">"
            << (method == Method::kBoth ? "specified direction" : "library direction") << "</text>\n";
        y += 22;
    }
    if (RunsSrp(method)) {
        svg << "<rect x=\"" << Px(x + 7) << "\" y=\"" << Px(y - 7) << "\" width=\"6\" height=\"6\" fill=\"" << kSrpColour
            << "\"/><text x=\"" << Px(x + 26) << "\" y=\"" << Px(y) << "\">SRP direction</text>\n";
        y += 22;
    }
    if (plot.truth) {
        svg << "<line x1=\"" << Px(x) << "\" y1=\"" << Px(y - 4) << "\" x2=\"" << Px(x + 20) << "\" y2=\""
            << Px(y - 4) << "\" stroke=\"" << kTruthColour << "\" stroke-width=\"2.5\"/><text x=\"" << Px(x + 26)
            << "\" y=\"" << Px(y) << "\">" << (plot.linear ? "truth, front/back folded" : "truth") << "</text>\n";
        y += 22;
    }
    svg << "<text x=\"" << Px(x + 10) << "\" y=\"" << Px(y) << "\" text-anchor=\"middle\" fill=\"" << kMissColour
        << "\">x</text><text x=\"" << Px(x + 26) << "\" y=\"" << Px(y) << "\">no direction</text>\n</g>\n";
}

}  // namespace

std::string RenderDirectionPlot(const DirectionPlot& plot) {
    const double duration = plot.localization->DurationSeconds();
    const Canvas canvas(duration, plot.linear);
    std::ostringstream svg;
    svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << kWidth << "\" height=\"" << kHeight
        << "\" viewBox=\"0 0 " << kWidth << " " << kHeight << "\" font-family=\"sans-serif\">\n"
        << "<defs><clipPath id=\"plot-area\"><rect x=\"" << Px(kLeft) << "\" y=\"" << Px(kTop - 2)
        << "\" width=\"" << Px(kPlotWidth) << "\" height=\"" << Px(kPlotHeight + 4) << "\"/></clipPath></defs>\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
        << "<text x=\"" << Px(kLeft) << "\" y=\"26\" font-size=\"15\" fill=\"#111\">" << Escape(plot.title)
        << "</text>\n";
    canvas.Axes(svg);
    if (plot.truth) TruthLine(svg, canvas, plot, duration);
    Estimates(svg, canvas, plot);
    Legend(svg, plot);
    svg << "</svg>\n";
    return svg.str();
}

}  // namespace ezossl_tool
