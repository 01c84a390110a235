// The ezossl Python module: Localizer for numpy blocks, locate for recordings, LibraryError.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "analysis/library_facts.h"
#include "analysis/library_options.h"
#include "cli/errors.h"
#include "io/audio_input.h"
#include "library_calls.h"
#include "numpy_io.h"
#include "stream_localizer.h"

namespace py = pybind11;
using namespace pybind11::literals;

namespace ezossl_python {
namespace {

using ezossl_tool::Method;

// The tool's checks name its options; Python callers know them by their keyword names.
std::string WithKeywordNames(std::string text) {
    static const std::pair<const char*, const char*> kNames[] = {{"--distance CM", "distance_cm"},
                                                                 {"--distance", "distance_cm"},
                                                                 {"--array", "array"},
                                                                 {"--temperature", "temperature"},
                                                                 {"--threshold", "threshold_db"},
                                                                 {"--frames-per-vote", "frames_per_vote"},
                                                                 {"--map", "map"},
                                                                 {"--method", "method"}};
    for (const auto& [option, keyword] : kNames) {
        for (size_t at = text.find(option); at != std::string::npos; at = text.find(option, at)) {
            text.replace(at, std::string(option).size(), keyword);
        }
    }
    return text;
}

// "x0,y0 x1,y1 x2,y2 x3,y3" in cm, exactly, so that the tool's parser and checks apply.
std::string PositionsText(const py::handle& positions) {
    const auto cm = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(positions);
    if (!cm || cm.size() != 2 * EZOSSL_MIC_NUM || (cm.ndim() != 1 && !(cm.ndim() == 2 && cm.shape(1) == 2))) {
        throw py::value_error(
            "array must be \"uca\", \"ula\" or four (x, y) positions in cm, e.g. "
            "[(0, 0), (4, 0), (4, 4), (0, 4)]");
    }
    std::string text;
    for (py::ssize_t i = 0; i < cm.size(); ++i) {
        char number[32];
        std::snprintf(number, sizeof number, "%.17g", cm.data()[i]);
        text += (i == 0 ? "" : i % 2 ? "," : " ") + std::string(number);
    }
    return text;
}

struct Options {
    py::object array;
    std::optional<double> distance_cm;
    int temperature;
    int threshold_db;
    int frames_per_vote;
    Method method;
    bool verbose;
};

// One method per Localizer: the tool's "both" is a side-by-side view of two of them.
Method ParseMethod(const std::string& name) {
    const Method method = ezossl_tool::ParseMethod(name);
    if (method == Method::kBoth) throw py::value_error("method \"both\" is for the tool; use one Localizer per method");
    return method;
}

LibrarySetup SetupFor(const Options& options, uint32_t rate) {
    if (!ezossl_tool::IsSupportedRate(rate)) {
        throw py::value_error("rate must be " + ezossl_tool::SupportedRatesText() + ", got " + std::to_string(rate));
    }
    const std::string array_text =
        py::isinstance<py::str>(options.array) ? options.array.cast<std::string>() : PositionsText(options.array);
    ezossl_tool::LibraryOptions library;
    library.temperature_c = options.temperature;
    library.threshold_db = options.threshold_db;
    library.frames_per_vote = options.frames_per_vote;
    const ezossl_tool::Orientation orientation(ezossl_tool::ParseArray(array_text, options.distance_cm));
    LibrarySetup setup{orientation, ezossl_tool::MakeLibrarySettings(library, orientation.LibraryArray(), rate)};
    setup.settings.mic_order = orientation.Order();
    return setup;
}

class Localizer {
  public:
    Localizer(Options options, uint32_t rate) : options_(std::move(options)), setup_(SetupFor(options_, rate)) {
        stream_ = CallLibrary(options_.verbose,
                              [&] { return std::make_unique<StreamLocalizer>(setup_, options_.method); });
    }

    py::array Process(const py::handle& samples) {
        const std::vector<int16_t> interleaved = InterleavedInt16(samples, clipped_);
        return PeriodArray(
            CallLibrary(options_.verbose,
                        [&] { return stream_->Process(interleaved.data(), interleaved.size() / EZOSSL_MIC_NUM); }),
            options_.method);
    }

    py::array Flush() {
        return PeriodArray(CallLibrary(options_.verbose, [&] { return stream_->Flush(); }), options_.method);
    }

    // A fresh instance of the specified library (the SRP one has no per-frame delays), so the
    // stream that process() feeds is left as it is.
    py::array Delays(const py::handle& samples) {
        int64_t clipped = 0;
        const std::vector<int16_t> interleaved = InterleavedInt16(samples, clipped);
        return FrameArray(CallLibrary(options_.verbose, [&] {
            StreamLocalizer fresh(setup_, Method::kSpecified);
            fresh.KeepFrames();
            fresh.Process(interleaved.data(), interleaved.size() / EZOSSL_MIC_NUM);
            fresh.Flush();
            return fresh.TakeFrames();
        }));
    }

    int64_t ClippedSamples() const { return clipped_; }
    double PeriodSeconds() const {
        return double(setup_.settings.frames_per_vote) * EZOSSL_POINT_NUMBER / setup_.settings.sample_rate;
    }

  private:
    Options options_;
    LibrarySetup setup_;
    std::unique_ptr<StreamLocalizer> stream_;
    int64_t clipped_ = 0;
};

py::array Locate(const std::string& path, Options options, std::optional<std::string> map) {
    ezossl_tool::AudioInputOptions input;
    input.path = path;
    input.map = std::move(map);
    std::unique_ptr<ezossl_tool::BlockSource> source = ezossl_tool::OpenRecording(input);
    const LibrarySetup setup = SetupFor(options, source->SampleRate());
    return PeriodArray(
        CallLibrary(options.verbose,
                    [&] {
                        StreamLocalizer stream(setup, options.method);
                        std::vector<PeriodRow> periods;
                        ezossl_tool::Block block;
                        for (int real = source->NextBlock(block); real > 0; real = source->NextBlock(block)) {
                            for (PeriodRow& row : stream.Process(block.data(), static_cast<size_t>(real)))
                                periods.push_back(row);
                        }
                        for (PeriodRow& row : stream.Flush()) periods.push_back(row);
                        return periods;
                    }),
        options.method);
}

void RegisterErrors(py::module_& m) {
    static py::exception<ezossl_tool::LibraryRefusal> library_error(m, "LibraryError", PyExc_RuntimeError);
    library_error.doc() =
        "The library refused a call. Attributes: function (the library function), status (its status name, "
        "e.g. \"INVALID_SAMPLE_RATE\") and message (the library's own last message, or \"\").";
    py::register_exception_translator([](std::exception_ptr failure) {
        try {
            if (failure) std::rethrow_exception(failure);
        } catch (const ezossl_tool::LibraryRefusal& refusal) {
            py::object error = py::reinterpret_borrow<py::object>(library_error)(refusal.what());
            error.attr("function") = refusal.Function();
            error.attr("status") = refusal.Status();
            error.attr("message") = refusal.Message();
            PyErr_SetObject(library_error.ptr(), error.ptr());
        } catch (const ezossl_tool::UsageError& error) {
            PyErr_SetString(PyExc_ValueError, WithKeywordNames(error.what()).c_str());
        } catch (const ezossl_tool::RunError& error) {
            // Everything else the tool's code refuses is about the recording file.
            PyErr_SetString(PyExc_OSError, WithKeywordNames(error.what()).c_str());
        }
    });
}

}  // namespace
}  // namespace ezossl_python

PYBIND11_MODULE(ezossl, m) {
    using namespace ezossl_python;
    m.doc() =
        "Sound-source localisation for four-microphone arrays: numpy blocks in, directions out.\n\n"
        "The library's messages never reach standard output: with verbose=True they go to the "
        "\"ezossl\" logger. Processing releases the GIL. One Localizer must not be used from two "
        "threads at once; different ones may (their library calls take turns, since the library's "
        "messages are caught on the process's one standard output).";
    m.attr("__version__") = EZOSSL_PYTHON_VERSION;
    RegisterErrors(m);

    py::class_<Localizer>(
        m, "Localizer",
        "One stream of a four-microphone array, localised period by period.\n\n"
        "array: \"uca\" (circular, distance_cm is the diameter), \"ula\" (linear, "
        "distance_cm is the spacing) or four (x, y) positions in cm in channel order. "
        "A period is frames_per_vote blocks of 128 instants. method: \"specified\" (the library's GCC-PHAT "
        "voting) or \"srp\" (the companion library's all-pairs SRP-PHAT, a direction every "
        "period with a confidence).")
        .def(py::init([](py::object array, std::optional<double> distance_cm, uint32_t rate, int temperature,
                         int threshold_db, int frames_per_vote, const std::string& method, bool verbose) {
                 Options options{std::move(array), distance_cm,         temperature, threshold_db,
                                 frames_per_vote,  ParseMethod(method), verbose};
                 return std::make_unique<Localizer>(std::move(options), rate);
             }),
             "array"_a, py::kw_only(), "distance_cm"_a = py::none(), "rate"_a = 16000,
             "temperature"_a = ezossl_tool::kDefaultTemperatureC, "threshold_db"_a = ezossl_tool::kDefaultThresholdDb,
             "frames_per_vote"_a = ezossl_tool::kDefaultFramesPerVote, "method"_a = "specified", "verbose"_a = false)
        .def("process", &Localizer::Process, "samples"_a,
             "Feeds an (n, 4) array (int16, or float in -1 ... 1), any n; instants short of a whole block wait "
             "for the next call. Returns the periods these samples complete: a structured array of start_s, "
             "frames, status (\"OK\", \"SIGNAL_TOO_WEAK\", \"NO_DIRECTION\", ...; for SRP \"OK\", \"SILENT\", ...) "
             "and direction_deg (NaN without a direction); for method=\"srp\" also confidence (0 ... 1) and "
             "level_dbfs.")
        .def("flush", &Localizer::Flush,
             "Completes a waiting block with zeros and votes the started period, as `ezossl locate` does at "
             "the end of a recording; returns it (or nothing). Feeding may go on afterwards.")
        .def("delays", &Localizer::Delays, "samples"_a,
             "Per-frame delays of these samples from a fresh start, as `ezossl delays` gives them: start_s, "
             "delay_01, delay_02, delay_03 in whole samples, NaN when the pair was rejected. Leaves the stream "
             "of process() alone.")
        .def_property_readonly("clipped_samples", &Localizer::ClippedSamples,
                               "Float samples beyond full scale that process() clipped to 16 bits.")
        .def_property_readonly("period_s", &Localizer::PeriodSeconds, "Length of a voting period in seconds.");

    m.def(
        "locate",
        [](const std::string& path, py::object array, std::optional<double> distance_cm, int temperature,
           int threshold_db, int frames_per_vote, const std::string& method, bool verbose,
           std::optional<std::string> map) {
            Options options{std::move(array), distance_cm,         temperature, threshold_db,
                            frames_per_vote,  ParseMethod(method), verbose};
            return Locate(path, std::move(options), std::move(map));
        },
        "path"_a, py::kw_only(), "array"_a, "distance_cm"_a = py::none(),
        "temperature"_a = ezossl_tool::kDefaultTemperatureC, "threshold_db"_a = ezossl_tool::kDefaultThresholdDb,
        "frames_per_vote"_a = ezossl_tool::kDefaultFramesPerVote, "method"_a = "specified", "verbose"_a = false,
        "map"_a = py::none(),
        "Every period of a recording (anything libsndfile reads, at the file's rate), read and voted as "
        "`ezossl locate` does; map picks the microphones' channels, 1-based, e.g. \"3,4,5,6\". Same records "
        "as Localizer.process.");
}
