// katessel.core: the C++ class for Python. It takes contiguous float32 arrays of one channel and nothing else; the Python
// around it makes them.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <katessel/Globals.h>
#include <katessel/Tracker.hpp>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace py = pybind11;

namespace {

using Samples = py::array_t<float, py::array::c_style>;

// An array that owns the values of a vector, without a copy.
template <class Value>
py::array arrayOf(std::vector<Value>&& values) {
    auto* const owned = new std::vector<Value>(std::move(values));
    const py::capsule owner(owned, [](void* p) { delete static_cast<std::vector<Value>*>(p); });
    return py::array_t<Value>(static_cast<py::ssize_t>(owned->size()), owned->data(), owner);
}

py::tuple arraysOf(KaTessel::PitchTrack&& track) {
    return py::make_tuple(arrayOf(std::move(track.times)), arrayOf(std::move(track.frequencies)),
                          arrayOf(std::move(track.confidences)));
}

// A tracker that several Python threads may call: they wait for each other, and the interpreter for none of them.
class Engine {
public:
    Engine(int rate, const std::string& live, const std::string& offline) : m_tracker(rate, live, offline) {}

    int rate() const { return m_tracker.rate(); }
    int latency() const { return m_tracker.latency(); }
    const std::string& model() const { return m_tracker.model(); }

    py::tuple process(const Samples& block) {
        return run([&](Collector& collect) { m_tracker.process(dataOf(block), sizeOf(block), collect); });
    }

    py::tuple finish() {
        return run([&](Collector& collect) { m_tracker.finish(collect); });
    }

    py::tuple analyse(const Samples& recording) {
        return run(
            [&](Collector& collect) { collect.track = m_tracker.analyse(dataOf(recording), sizeOf(recording)); });
    }

    void reset() {
        const py::gil_scoped_release released;
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_tracker.reset();
    }

private:
    struct Collector {
        KaTessel::PitchTrack track;

        void operator()(const KaTessel::Pitch& pitch) {
            track.times.push_back(pitch.time);
            track.frequencies.push_back(pitch.frequency);
            track.confidences.push_back(pitch.confidence);
        }
    };

    static const float* dataOf(const Samples& samples) { return samples.data(); }
    static std::size_t sizeOf(const Samples& samples) { return static_cast<std::size_t>(samples.size()); }

    template <class Work>
    py::tuple run(Work&& work) {
        Collector collect;
        {
            const py::gil_scoped_release released;
            const std::lock_guard<std::mutex> lock(m_mutex);
            work(collect);
        }
        return arraysOf(std::move(collect.track));
    }

    std::mutex m_mutex;
    KaTessel::Tracker m_tracker;
};

std::string defaultModel(const std::string& mode) {
    if (mode != "offline" && mode != "live")
        throw py::value_error("bad mode: expected 'offline' or 'live', found '" + mode + "'");
    return KaTessel::defaultModel(mode == "live" ? KaTessel::Form::live : KaTessel::Form::offline);
}

}  // namespace

PYBIND11_MODULE(core, module) {
    // Nobody reads the sum of the steps' time: two clock readings a frame saved.
    KaTessel::performance_analysis_ = 0;
    module.attr("LOWEST_RATE") = static_cast<int>(KaTessel::Tracker::kLowestRate);
    module.attr("HIGHEST_RATE") = static_cast<int>(KaTessel::Tracker::kHighestRate);
    module.def("default_model", &defaultModel, py::arg("mode") = "offline");
    module.def("model_threshold", &KaTessel::modelThreshold, py::arg("model"));
    py::register_exception<KaTessel::ModelError>(module, "ModelError", PyExc_RuntimeError);
    py::class_<Engine>(module, "Engine")
        .def(py::init<int, const std::string&, const std::string&>(), py::arg("rate"), py::arg("live"),
             py::arg("offline"))
        .def_property_readonly("rate", &Engine::rate)
        .def_property_readonly("latency", &Engine::latency)
        .def_property_readonly("model", &Engine::model)
        .def("process", &Engine::process, py::arg("block").noconvert())
        .def("finish", &Engine::finish)
        .def("analyse", &Engine::analyse, py::arg("recording").noconvert())
        .def("reset", &Engine::reset);
}
