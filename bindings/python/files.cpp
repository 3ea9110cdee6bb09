// katessel.files: recordings from files, and tracks to them, by the code of the command-line tool.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "apps/formats/TrackFormat.h"
#include "bindings/python/Arrays.h"
#include "bindings/python/SignalCheck.h"
#include "katessel/EngineFacts.hpp"
#include "recordings/audio/AudioFile.h"
#include "recordings/base/Errors.h"
#include "recordings/base/OutputFile.h"
#include "recordings/tracks/Notes.h"
#include "recordings/tracks/TrackReader.h"

namespace py = pybind11;

namespace {

using namespace katessel;

// One value in each for every row; frequency [Hz], 0 where unvoiced.
using Columns = std::tuple<py::array_t<double>, py::array_t<float>, py::array_t<float>>;

PitchTrack rowsOf(const Columns& columns) {
    const auto times = std::get<0>(columns).unchecked<1>();
    const auto frequencies = std::get<1>(columns).unchecked<1>();
    const auto confidences = std::get<2>(columns).unchecked<1>();
    if (frequencies.shape(0) != times.shape(0) || confidences.shape(0) != times.shape(0))
        failUsage("bad track", "its arrays", std::to_string(times.shape(0)) + " rows in each", "other lengths");
    PitchTrack track;
    for (py::ssize_t i = 0; i < times.shape(0); ++i) track.push_back({times(i), frequencies(i), confidences(i)});
    return track;
}

// Mono samples and their rate: the file's, or the engine's own where it does not take that one.
py::tuple readSound(const std::string& path, const std::optional<int>& channel, bool allowDamaged) {
    constexpr std::size_t kPiece = 1 << 16;  // [samples] between two looks at the signals
    Recording recording;
    {
        const py::gil_scoped_release released;
        python::SignalCheck signals;
        SoundSelection selection;
        selection.channel = channel;
        selection.allowDamaged = allowDamaged;
        RecordingStream stream(path, selection);
        recording.rate = stream.rate();
        while (stream.read(recording.samples, kPiece)) signals.poll();
        namespace facts = KaTessel::facts;
        if (recording.rate < facts::kLowestRate || recording.rate > facts::kHighestRate)
            recording = convertRate(recording, facts::kRate, path);
    }
    return py::make_tuple(python::arrayOf(std::move(recording.samples)), recording.rate);
}

struct Description {
    double start, end;      // [s]
    std::string recording;  // its path
    int rate;               // [Hz]
    std::string about;      // a JSON object
    std::string unit, unvoiced;
};

template <class Choice>
Choice choose(const char* what, const std::string& name, const std::vector<std::pair<const char*, Choice>>& choices) {
    std::string known;
    for (const auto& [each, value] : choices) {
        if (name == each) return value;
        known.append(known.empty() ? "'" : ", '").append(each).append("'");
    }
    failUsage(std::string("bad ") + what, "track", known, "'" + name + "'");
}

py::bytes trackBytes(const std::string& format, const Columns& columns, const Description& description) {
    const TrackFormat* const found = findTrackFormat(format);
    if (found == nullptr) failUsage("bad format", "track", trackFormatNames(), "'" + format + "'");
    const auto writer = found->writer(
        {description.start,
         choose<PitchUnit>("unit", description.unit,
                           {{"hz", PitchUnit::hertz}, {"cents", PitchUnit::cents}, {"midi", PitchUnit::midi}}),
         choose<UnvoicedRows>(
             "unvoiced", description.unvoiced,
             {{"zero", UnvoicedRows::zero}, {"nan", UnvoicedRows::notANumber}, {"drop", UnvoicedRows::drop}}),
         description.recording, description.rate, description.about});
    std::string bytes;
    for (const PitchRow& row : rowsOf(columns)) writer->add(row, bytes);
    writer->finish(description.end, bytes);
    return bytes;
}

py::tuple readTrackColumns(const std::string& path) {
    std::vector<double> times;
    std::vector<float> frequencies, confidences;
    for (const PitchRow& row : readTrack(path)) {
        times.push_back(row.time);
        frequencies.push_back(row.frequency);
        confidences.push_back(row.confidence);
    }
    return py::make_tuple(python::arrayOf(std::move(times)), python::arrayOf(std::move(frequencies)),
                          python::arrayOf(std::move(confidences)));
}

}  // namespace

PYBIND11_MODULE(files, module) {
    // What is asked wrongly is a ValueError, what the system or a file does not allow an OSError.
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown) std::rethrow_exception(thrown);
        } catch (const ToolError& error) {
            PyErr_SetObject(error.status() == kStatusUsage ? PyExc_ValueError : PyExc_OSError,
                            python::pathText(error.what()).ptr());
        }
    });
    module.def("read_sound", &readSound, py::arg("path"), py::arg("channel"), py::arg("allow_damaged"));
    module.def("read_track", &readTrackColumns, py::arg("path"));
    module.def(
        "format_of", [](const std::string& path) { return trackFormatOfFile(path).name; }, py::arg("path"));
    module.def(
        "write_file", [](const std::string& path, const std::string& bytes) { OutputFile(path).write(bytes); },
        py::arg("path"), py::arg("bytes"), py::call_guard<py::gil_scoped_release>());
    module.def("note_name", &noteName, py::arg("number"));
    module.def("note_frequency", &noteFrequency, py::arg("number"));
    module.def(
        "find_notes",
        [](const Columns& columns, double end) {
            std::vector<std::tuple<double, double, int>> notes;
            for (const Note& note : findNotes(rowsOf(columns), end))
                notes.emplace_back(note.start, note.end, note.number);
            return notes;
        },
        py::arg("columns"), py::arg("end"));
    module.def(
        "track_bytes",
        [](const std::string& format, const Columns& columns, double start, double end, const std::string& recording,
           int rate, const std::string& about, const std::string& unit, const std::string& unvoiced) {
            return trackBytes(format, columns, {start, end, recording, rate, about, unit, unvoiced});
        },
        py::arg("format"), py::arg("columns"), py::arg("start"), py::arg("end"), py::arg("recording"), py::arg("rate"),
        py::arg("about"), py::arg("unit"), py::arg("unvoiced"));
}
