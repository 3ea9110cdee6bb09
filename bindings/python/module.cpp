// katessel.core: the C++ class for Python. It takes contiguous float32 arrays of one channel and nothing else; the Python
// around it makes them.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <katessel/Globals.h>
#include <katessel/Tracker.hpp>
#include <katessel/Voicing.hpp>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace py = pybind11;

namespace {

using KaTessel::Form;
using KaTessel::Pitch;
using KaTessel::VoicingRule;
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

// A tracker that several Python threads may call, with what decides which rows are voiced: they wait for each other, and
// the interpreter for none of them.
class Engine {
public:
    Engine(int rate, const std::string& live, const std::string& offline, VoicingRule liveRule, VoicingRule offlineRule)
        : m_tracker(rate, live, offline), m_liveRule(liveRule), m_offlineRule(offlineRule), m_voicing(liveRule) {}

    int rate() const { return m_tracker.rate(); }
    // A decision that waits for later rows comes as much later. [samples]
    int latency() const {
        constexpr int kRows = KaTessel::facts::kFramesPerSecond;  // in a second
        return m_tracker.latency() + (m_liveRule.delay() * rate() + kRows - 1) / kRows;
    }
    const std::string& model() const { return m_tracker.model(); }

    py::tuple process(const Samples& block) {
        return run([&](Collector& collect) {
            m_tracker.process(dataOf(block), sizeOf(block), [&](const Pitch& row) { decide(m_voicing, row, collect); });
        });
    }

    py::tuple finish() {
        return run([&](Collector& collect) {
            m_tracker.finish([&](const Pitch& row) { decide(m_voicing, row, collect); });
            m_voicing.finish(collect);
        });
    }

    py::tuple analyse(const Samples& recording) {
        return run([&](Collector& collect) {
            const KaTessel::PitchTrack track = m_tracker.analyse(dataOf(recording), sizeOf(recording));
            RowFilter voicing(m_offlineRule);
            for (std::size_t i = 0; i < track.size(); ++i) decide(voicing, track[i], collect);
            voicing.finish(collect);
        });
    }

    void reset() {
        const py::gil_scoped_release released;
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_tracker.reset();
        m_voicing.finish([](const Pitch&, bool) {});
    }

private:
    using RowFilter = KaTessel::VoicingFilter<Pitch>;

    struct Collector {
        KaTessel::PitchTrack track;

        void operator()(const Pitch& row, bool voiced) {
            track.times.push_back(row.time);
            track.frequencies.push_back(voiced ? row.frequency : 0.0f);
            track.confidences.push_back(row.confidence);
        }
    };

    static void decide(RowFilter& voicing, const Pitch& row, Collector& collect) {
        voicing.add(row, row.confidence, collect);
    }

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
    VoicingRule m_liveRule, m_offlineRule;
    RowFilter m_voicing;  // of the live sound
};

Form formNamed(const std::string& mode) {
    if (mode != "offline" && mode != "live")
        throw py::value_error("bad mode: expected 'offline' or 'live', found '" + mode + "'");
    return mode == "live" ? Form::live : Form::offline;
}

std::string defaultModel(const std::string& mode) { return KaTessel::defaultModel(formNamed(mode)); }

// What decides for a mode: by the named voicing, or its usual one.
VoicingRule voicingRule(const std::string& mode, double threshold, const std::optional<std::string>& voicing) {
    if (!voicing) return {threshold, KaTessel::usualVoicing(formNamed(mode))};
    const auto names = std::begin(KaTessel::kVoicingNames), end = std::end(KaTessel::kVoicingNames);
    const auto found = std::find(names, end, *voicing);
    if (found == end)
        throw py::value_error("bad voicing: expected 'frame', 'hysteresis' or 'smooth', found '" + *voicing + "'");
    return {threshold, static_cast<KaTessel::Voicing>(found - names)};
}

}  // namespace

PYBIND11_MODULE(core, module) {
    // Nobody reads the sum of the steps' time: two clock readings a frame saved.
    KaTessel::performance_analysis_ = 0;
    module.attr("LOWEST_RATE") = static_cast<int>(KaTessel::Tracker::kLowestRate);
    module.attr("HIGHEST_RATE") = static_cast<int>(KaTessel::Tracker::kHighestRate);
    module.def("default_model", &defaultModel, py::arg("mode") = "offline");
    module.def("model_threshold", &KaTessel::modelThreshold, py::arg("model"));
    py::class_<VoicingRule>(module, "VoicingRule")
        .def(py::init(&voicingRule), py::arg("mode"), py::arg("threshold"), py::arg("voicing"));
    py::register_exception<KaTessel::ModelError>(module, "ModelError", PyExc_RuntimeError);
    py::class_<Engine>(module, "Engine")
        .def(py::init<int, const std::string&, const std::string&, VoicingRule, VoicingRule>(), py::arg("rate"),
             py::arg("live"), py::arg("offline"), py::arg("live_rule"), py::arg("offline_rule"))
        .def_property_readonly("rate", &Engine::rate)
        .def_property_readonly("latency", &Engine::latency)
        .def_property_readonly("model", &Engine::model)
        .def("process", &Engine::process, py::arg("block").noconvert())
        .def("finish", &Engine::finish)
        .def("analyse", &Engine::analyse, py::arg("recording").noconvert())
        .def("reset", &Engine::reset);
}
