// katessel.core: the C++ class for Python. It takes contiguous float32 arrays of one channel and nothing else; the Python
// around it makes them.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <iterator>
#include <katessel/Globals.h>
#include <katessel/Version.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "bindings/python/Arrays.h"
#include "bindings/python/Engine.h"

namespace py = pybind11;
using katessel::python::Engine;

namespace {

using KaTessel::Form;
using KaTessel::VoicingRule;

Form formNamed(const std::string& mode) {
    if (mode != "offline" && mode != "live")
        throw py::value_error("bad mode: expected 'offline' or 'live', found '" + mode + "'");
    return mode == "live" ? Form::live : Form::offline;
}

py::object defaultModel(const std::string& mode) {
    return katessel::python::pathText(KaTessel::defaultModel(formNamed(mode)));
}

// What decides in a form: by the named voicing, or its usual one.
VoicingRule voicingRule(Form form, double threshold, const std::optional<std::string>& voicing) {
    if (!voicing) return {threshold, KaTessel::usualVoicing(form)};
    const auto names = std::begin(KaTessel::kVoicingNames), end = std::end(KaTessel::kVoicingNames);
    const auto found = std::find(names, end, *voicing);
    if (found == end)
        throw py::value_error("bad voicing: expected 'frame', 'hysteresis' or 'smooth', found '" + *voicing + "'");
    return {threshold, static_cast<KaTessel::Voicing>(found - names)};
}

using Models = std::pair<std::string, std::string>;  // live, offline
using Thresholds = std::pair<double, double>;

std::unique_ptr<Engine> openEngine(int rate, const Models& models, const Thresholds& thresholds,
                                   const std::optional<std::string>& voicing) {
    return std::make_unique<Engine>(rate, models.first, models.second,
                                    voicingRule(Form::live, thresholds.first, voicing),
                                    voicingRule(Form::offline, thresholds.second, voicing));
}

py::tuple arraysOf(katessel::python::DecidedRows&& rows) {
    using katessel::python::arrayOf;
    return py::make_tuple(arrayOf(std::move(rows.times)), arrayOf(std::move(rows.frequencies)),
                          arrayOf(std::move(rows.confidences)), arrayOf<bool>(std::move(rows.voiced)));
}

// An object that nothing has constructed would be memory without an engine in it.
PyObject* refuseNew(PyTypeObject*, PyObject*, PyObject*) {
    PyErr_SetString(PyExc_TypeError, "bad engine: expected one from open_engine, found none");
    return nullptr;
}

}  // namespace

PYBIND11_MODULE(core, module) {
    // Nobody reads the sum of the steps' time: two clock readings a frame saved.
    KaTessel::performance_analysis_ = 0;
    module.attr("VERSION") = KATESSEL_VERSION;
    module.attr("LIBRARY") = KTessel_GetVersion();
    module.attr("LOWEST_RATE") = static_cast<int>(KaTessel::Tracker::kLowestRate);
    module.attr("HIGHEST_RATE") = static_cast<int>(KaTessel::Tracker::kHighestRate);
    module.attr("LARGEST_SAMPLE") = static_cast<float>(KaTessel::Tracker::kLargestSample);
    module.def("default_model", &defaultModel, py::arg("mode") = "offline",
               "The weight file that is taken where none is named, for the mode \"offline\" or \"live\".");
    module.def("model_threshold", &KaTessel::modelThreshold, py::arg("model"));
    katessel::python::registerException<KaTessel::ModelError>(module, "ModelError");
    py::class_<Engine> engine(module, "Engine");
    engine.def_property_readonly("rate", &Engine::rate)
        .def_property_readonly("latency", &Engine::latency)
        .def(
            "process", [](Engine& self, const katessel::python::Samples& x) { return arraysOf(self.process(x)); },
            py::arg("block").noconvert())
        .def("finish", [](Engine& self) { return arraysOf(self.finish()); })
        .def(
            "analyse", [](Engine& self, const katessel::python::Samples& x) { return arraysOf(self.analyse(x)); },
            py::arg("recording").noconvert())
        .def("reset", &Engine::reset);
    reinterpret_cast<PyTypeObject*>(engine.ptr())->tp_new = &refuseNew;
    module.def("open_engine", &openEngine, py::arg("rate"), py::arg("models"), py::arg("thresholds"),
               py::arg("voicing"));
}
