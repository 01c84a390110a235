// Checking and converting numpy sample arrays; building the result arrays.
#include "numpy_io.h"

#include <cmath>
#include <string>

#include "io/pcm_samples.h"

namespace py = pybind11;

namespace ezossl_python {
namespace {

std::string ShapeText(const py::array& array) {
    std::string text = "(";
    for (py::ssize_t axis = 0; axis < array.ndim(); ++axis) {
        text += (axis ? ", " : "") + std::to_string(array.shape(axis));
    }
    return text + (array.ndim() == 1 ? ",)" : ")");
}

template <typename Float>
std::vector<int16_t> FromFullScale(const py::array& array, int64_t& clipped) {
    const auto samples = py::array_t<Float, py::array::c_style | py::array::forcecast>::ensure(array);
    std::vector<int16_t> out(static_cast<size_t>(samples.size()));
    const Float* in = samples.data();
    for (size_t i = 0; i < out.size(); ++i) {
        if (!std::isfinite(in[i])) {
            throw py::value_error("samples must be finite; row " + std::to_string(i / EZOSSL_MIC_NUM) + " holds " +
                                  std::to_string(in[i]));
        }
        out[i] = ezossl_tool::NormalisedToInt16(in[i], clipped);
    }
    return out;
}

py::array Records(const py::list& rows, const py::list& fields) {
    return py::module_::import("numpy").attr("array")(rows, py::arg("dtype") = fields);
}

}  // namespace

std::vector<int16_t> InterleavedInt16(const py::handle& samples, int64_t& clipped) {
    const py::array array = py::module_::import("numpy").attr("asarray")(samples);
    if (array.ndim() != 2 || array.shape(1) != EZOSSL_MIC_NUM) {
        throw py::value_error("samples must be an (n, 4) array, one column per microphone; got shape " +
                              ShapeText(array));
    }
    const py::dtype dtype = array.dtype();
    if (dtype.is(py::dtype::of<int16_t>())) {
        const auto ints = py::array_t<int16_t, py::array::c_style | py::array::forcecast>::ensure(array);
        return std::vector<int16_t>(ints.data(), ints.data() + ints.size());
    }
    if (dtype.is(py::dtype::of<float>())) return FromFullScale<float>(array, clipped);
    if (dtype.is(py::dtype::of<double>())) return FromFullScale<double>(array, clipped);
    throw py::value_error("samples must be int16, or float32/float64 in -1 ... 1; got " +
                          dtype.attr("name").cast<std::string>());
}

py::array PeriodArray(const std::vector<PeriodRow>& rows, ezossl_tool::Method method) {
    const bool srp = method == ezossl_tool::Method::kSrp;
    py::list records;
    for (const PeriodRow& row : rows) {
        py::tuple common = py::make_tuple(row.start_s, row.frames, row.status, row.direction_deg);
        records.append(srp ? py::tuple(common + py::make_tuple(row.confidence, row.level_dbfs)) : common);
    }
    py::list fields;
    fields.append(py::make_tuple("start_s", "f8"));
    fields.append(py::make_tuple("frames", "i4"));
    fields.append(py::make_tuple("status", "U24"));
    fields.append(py::make_tuple("direction_deg", "f8"));
    if (srp) {
        fields.append(py::make_tuple("confidence", "f8"));
        fields.append(py::make_tuple("level_dbfs", "f8"));
    }
    return Records(records, fields);
}

py::array FrameArray(const std::vector<FrameRow>& rows) {
    py::list records;
    for (const FrameRow& row : rows) {
        records.append(py::make_tuple(row.start_s, row.delays[0], row.delays[1], row.delays[2]));
    }
    py::list fields;
    for (const char* name : {"start_s", "delay_01", "delay_02", "delay_03"}) fields.append(py::make_tuple(name, "f8"));
    return Records(records, fields);
}

}  // namespace ezossl_python
