// The tracker for Python: several threads may call it, the interpreter does not wait for it, and Ctrl-C ends it.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <algorithm>
#include <katessel/Tracker.hpp>
#include <katessel/Voicing.hpp>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "bindings/python/SignalCheck.h"
#include "tracking/AnalysisParts.h"

namespace katessel::python {

using Samples = pybind11::array_t<float, pybind11::array::c_style>;

// Rows with the decision about each; the frequency is there whatever that is.
struct DecidedRows {
    std::vector<double> times;       // [s]
    std::vector<float> frequencies;  // [Hz]
    std::vector<float> confidences;
    std::vector<char> voiced;

    void operator()(const KaTessel::Pitch& row, bool isVoiced) {
        times.push_back(row.time);
        frequencies.push_back(row.frequency);
        confidences.push_back(row.confidence);
        voiced.push_back(isVoiced && row.frequency > 0.0f);
    }
};

// Samples are mono and numbers within Tracker::kLargestSample; the Python around it sees to that.
class Engine {
public:
    using Rule = KaTessel::VoicingRule;

    Engine(int rate, const std::string& live, const std::string& offline, Rule liveRule, Rule offlineRule)
        : m_tracker(rate, live, offline), m_liveRule(liveRule), m_offlineRule(offlineRule), m_voicing(liveRule) {}

    int rate() const { return m_tracker.rate(); }
    // A decision that waits for later rows comes as much later. [samples]
    int latency() const {
        constexpr int kRows = KaTessel::facts::kFramesPerSecond;  // in a second
        return m_tracker.latency() + (m_liveRule.delay() * rate() + kRows - 1) / kRows;
    }

    // Interrupted, the stream is as new.
    DecidedRows process(const Samples& block) {
        return run([&](DecidedRows& rows, SignalCheck& signals) {
            try {
                m_tracker.process(block.data(), static_cast<std::size_t>(block.size()),
                                  [&](const KaTessel::Pitch& row) {
                                      decide(m_voicing, row, rows);
                                      signals.poll();
                                  });
            } catch (...) {
                forget();
                throw;
            }
        });
    }

    DecidedRows finish() {
        return run([&](DecidedRows& rows, SignalCheck&) {
            m_tracker.finish([&](const KaTessel::Pitch& row) { decide(m_voicing, row, rows); });
            m_voicing.finish(rows);
        });
    }

    DecidedRows analyse(const Samples& recording) {
        return run([&](DecidedRows& rows, SignalCheck& signals) {
            Filter voicing(m_offlineRule);
            const float* const end = recording.data() + recording.size();
            const float* next = recording.data();
            const auto fill = [&](std::vector<float>& samples, std::size_t length) {
                const std::ptrdiff_t wanted = static_cast<std::ptrdiff_t>(length - samples.size());
                const float* const from = std::exchange(next, next + std::min(end - next, wanted));
                samples.insert(samples.end(), from, next);
            };
            analyseInParts(m_tracker, kPartSeconds, fill, [&](const KaTessel::Pitch& row) {
                decide(voicing, row, rows);
                signals.poll();
            });
            voicing.finish(rows);
        });
    }

    void reset() {
        run([&](DecidedRows&, SignalCheck&) { forget(); });
    }

private:
    using Filter = KaTessel::VoicingFilter<KaTessel::Pitch>;
    static constexpr std::int64_t kPartSeconds = 20;  // between two looks at the signals, a twentieth of a second

    static void decide(Filter& voicing, const KaTessel::Pitch& row, DecidedRows& rows) {
        voicing.add(row, row.confidence, rows);
    }

    void forget() {
        m_tracker.reset();
        m_voicing = Filter(m_liveRule);
    }

    template <class Work>
    DecidedRows run(Work&& work) {
        DecidedRows rows;
        const pybind11::gil_scoped_release released;
        const std::unique_lock<std::recursive_mutex> lock(m_mutex);
        if (m_isBusy)
            throw std::runtime_error("stream in use: expected no call of it, found one from a signal's handler");
        const Busy busy(m_isBusy);
        SignalCheck signals;
        work(rows, signals);
        return rows;
    }

    struct Busy {
        explicit Busy(bool& flag) : m_flag(flag) { m_flag = true; }
        ~Busy() { m_flag = false; }
        bool& m_flag;
    };

    std::recursive_mutex m_mutex;  // a signal's handler runs on a thread that may hold it
    bool m_isBusy = false;
    KaTessel::Tracker m_tracker;
    Rule m_liveRule, m_offlineRule;
    Filter m_voicing;  // of the live sound
};

}  // namespace katessel::python
