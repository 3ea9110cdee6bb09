// The pitch of a voice or an instrument in C++: a class over the two C headers that checks what it is given, takes any
// rate and any block size, and says which instant of the sound a value describes. Header-only, C++17; link
// KaTesselLib.
//
//     KaTessel::Tracker tracker(48000);                            // the default model
//     const float threshold = KaTessel::modelThreshold(tracker.model());
//     tracker.process(block, [=](const KaTessel::Pitch& pitch) {    // live, every 5 ms
//         if (pitch.voiced(threshold)) std::printf("%.3f s: %.1f Hz\n", pitch.time, pitch.frequency);
//     });
//     const KaTessel::PitchTrack track = tracker.analyse(recording);  // a whole recording at once
#ifndef KATESSEL_TRACKER_HPP
#define KATESSEL_TRACKER_HPP

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "katessel/DefaultModel.hpp"
#include "katessel/EngineFacts.hpp"
#include "katessel/EngineRate.hpp"
#include "katessel/KTessel.h"
#include "katessel/KTesselExt.h"
#include "katessel/ModelCard.hpp"
#include "katessel/ModelFile.hpp"
#include "katessel/Pitch.hpp"

namespace KaTessel {
inline namespace v1 {
namespace detail {

template <class Samples>
using IfFloats =
    std::enable_if_t<std::is_convertible_v<decltype(std::data(std::declval<const Samples&>())), const float*>>;

template <class Each>
using IfTakesPitch = std::enable_if_t<std::is_invocable_v<Each&, const Pitch&>>;

}  // namespace detail

// One engine, and one more for recordings where they have a model of their own. Can be moved, not copied. One thread at a time; different trackers are independent.
class Tracker {
public:
    static constexpr int kLowestRate = facts::kLowestRate;    // [Hz] 1000
    static constexpr int kHighestRate = facts::kHighestRate;  // [Hz] 240000
    static constexpr float kLargestSample = 1e6f;

    // For sound at `rate` [Hz]. Takes a few milliseconds. The weight file is read once, here; nothing later needs it.
    // Throws std::invalid_argument for a rate outside kLowestRate .. kHighestRate, and ModelError when the weight file
    // is missing or no model of this engine.
    Tracker(int rate, const std::string& model) : Tracker(rate, model, model) {}

    // The same with the default models: for live sound that of its form, and for whole recordings theirs.
    explicit Tracker(int rate) : Tracker(rate, defaultModel(Form::live), defaultModel(Form::offline)) {}

    // The same with a model for each form. Where they are two files, that for recordings is read by the first analyse(),
    // which may throw ModelError then.
    Tracker(int rate, std::string liveModel, std::string offlineModel)
        : m_rate(checkedRate(rate)),
          m_model(std::move(liveModel)),
          m_offlineModel(std::move(offlineModel)),
          m_converter(rate),
          m_open(&openEngine),
          m_engine(m_open(m_model)) {
        lead();
    }

    // The same with one model for both forms that is in memory, the content of a weight file; not used any more once this
    // returns. model() is empty.
    Tracker(int rate, const void* weights, std::size_t bytes)
        : m_rate(checkedRate(rate)), m_converter(rate), m_engine(makeEngine("in memory", weights, bytes)) {
        lead();
    }

    int rate() const { return m_rate; }
    const std::string& model(Form form = Form::live) const { return form == Form::live ? m_model : m_offlineModel; }

    // How much sound a live value waits for: it comes with the sample that lies latency() - 1 behind the instant that
    // it describes. 1992 at 48 kHz, 41.5 ms. [samples at rate()]
    int latency() const {
        const std::int64_t ahead = kAhead + m_converter.delay();  // the last that the first frame needs
        const std::int64_t position = ahead * m_rate + std::int64_t{m_converter.inputDelay()} * facts::kRate -
                                      std::int64_t{m_converter.delay()} * m_rate;
        return static_cast<int>(position / facts::kRate) + 1;
    }

    // Takes `count` mono samples (nominally -1 .. 1) of a live sound, as many or few as there are, and calls
    // each(const Pitch&) for every 5 ms that they complete, in order. Nothing is allocated. Throws
    // std::invalid_argument, before it takes anything, when a sample is not a number or larger than kLargestSample: it
    // would spoil everything within 0.1 s.
    template <class Each>
    void process(const float* samples, std::size_t count, Each&& each) {
        checkSamples(samples, count);
        m_received += static_cast<std::int64_t>(count);
        stream(samples, count, each);
    }

    // The same without a callback: returns the newest value, that of an earlier call when this one completed none.
    Pitch process(const float* samples, std::size_t count) {
        process(samples, count, [](const Pitch&) {});
        return m_newest;
    }

    // The rest of a live sound that has ended: calls `each` for the instants that still waited for what comes after
    // them. The tracker is then as new. Throws nothing but what `each` throws.
    template <class Each>
    void finish(Each&& each) {
        checkEngine();
        const std::int64_t rows = rowsOf(m_received);
        const auto inside = [&](const Pitch& pitch) {
            if (rowOf(m_passed) < rows) each(pitch);
        };
        const float silence[64] = {};
        while (rowOf(m_passed) + 1 < rows) stream(silence, std::size(silence), inside);
        reset();
    }

    // Forgets the live sound: the next sample is that of instant 0. Touches no file and allocates nothing.
    void reset() {
        checkEngine();
        KTesselExt_Reset(m_engine.get());
        m_converter.reset();
        m_newest = Pitch();
        m_received = m_passed = 0;
        lead();
    }

    // Analyses a whole recording of `count` samples; a live sound in progress is not disturbed. Needs 96 kB for each
    // second of sound, and some more for its result. Throws std::invalid_argument as process() does, and
    // std::length_error for more than 24 hours.
    PitchTrack analyse(const float* samples, std::size_t count) {
        checkSamples(samples, count);
        if (m_offlineModel != m_model && !m_offlineEngine) m_offlineEngine = m_open(m_offlineModel);
        void* const engine = m_offlineEngine ? m_offlineEngine.get() : m_engine.get();
        const std::int64_t rows = rowsOf(static_cast<std::int64_t>(count));
        const std::vector<float> sound = betweenSilence(samples, count, rows);
        const int length = static_cast<int>(sound.size());
        const std::size_t room =
            static_cast<std::size_t>(KTessel_GetNumOutputFramesForInputSamples(length, engine)) + 1;
        PitchTrack track;
        track.frequencies.resize(room);
        track.confidences.resize(room);
        KTessel_DoProcessOffline(sound.data(), length, track.frequencies.data(), track.confidences.data(), 0, engine);
        for (std::vector<float>* values : {&track.frequencies, &track.confidences}) {
            values->erase(values->begin(), values->begin() + kMarginFrames);
            values->resize(static_cast<std::size_t>(rows));
        }
        for (float& confidence : track.confidences) confidence = std::min(confidence, 1.0f);
        for (std::int64_t row = 0; row < rows; ++row) track.times.push_back(instantOf(row));
        return track;
    }

    // The same for anything that holds floats side by side: std::vector, std::array, std::span, an array.
    template <class Samples, class = detail::IfFloats<Samples>>
    Pitch process(const Samples& block) {
        return process(std::data(block), std::size(block));
    }
    template <class Samples, class Each, class = detail::IfFloats<Samples>, class = detail::IfTakesPitch<Each>>
    void process(const Samples& block, Each&& each) {
        process(std::data(block), std::size(block), each);
    }
    template <class Samples, class = detail::IfFloats<Samples>>
    PitchTrack analyse(const Samples& recording) {
        return analyse(std::data(recording), std::size(recording));
    }

private:
    struct Destroy {
        void operator()(void* engine) const { KTessel_Destroy(engine); }
    };
    using Engine = std::unique_ptr<void, Destroy>;

    static constexpr int kRowsPerSecond = facts::kFramesPerSecond;
    static constexpr int kHop = facts::kHop;
    static constexpr int kWindow = facts::kWindow;
    static constexpr int kLeadFrames = facts::kLeadFrames;
    // Silence before a live sound, so that frame kLeadFrames is about its first sample and the network has heard as
    // many frames as one answer depends on. 992 [samples at 24 kHz], too few for a frame.
    static constexpr int kLeadSamples = kLeadFrames * kHop + facts::kLiveInstant;
    static constexpr int kAhead = kWindow - 1 - facts::kLiveInstant;  // [samples at 24 kHz] that an instant waits for
    static constexpr int kMarginFrames = kLeadFrames;  // silence around a recording, as far as network and window reach

    static Engine openEngine(const std::string& model) {
        const std::vector<char> weights = readModelFile(model);
        return makeEngine(model, weights.data(), weights.size());
    }

    static Engine makeEngine(const std::string& name, const void* weights, std::size_t bytes) {
        Engine engine(KTessel_Create());
        switch (KTesselExt_ConfigureFromMemory(facts::kRate, kHop, weights, bytes, engine.get())) {
            case KTESSELEXT_OK: return engine;
            case KTESSELEXT_NO_MEMORY: throw std::bad_alloc();
            default: break;
        }
        char fault[512] = "expected an engine, found that it cannot be configured";
        KTesselExt_CheckWeights(weights, bytes, fault, sizeof fault);
        throw ModelError(name, fault);
    }

    static int checkedRate(int rate) {
        if (rate >= kLowestRate && rate <= kHighestRate) return rate;
        throw std::invalid_argument("bad rate: expected " + std::to_string(kLowestRate) + " to " +
                                    std::to_string(kHighestRate) + " Hz, found " + std::to_string(rate));
    }

    void checkEngine() const {
        if (!m_engine) throw std::logic_error("bad tracker: expected one that was not moved from");
    }

    void checkSamples(const float* samples, std::size_t count) const {
        checkEngine();
        if (count > 0 && samples == nullptr)
            throw std::invalid_argument("bad samples: expected " + std::to_string(count) + ", found a null pointer");
        const float* const end = samples + count;
        const float* const bad =
            std::find_if(samples, end, [](float sample) { return !(std::fabs(sample) <= kLargestSample); });
        if (bad == end) return;
        throw std::invalid_argument("bad sample: expected a number within +-1e6, found " + std::to_string(*bad) +
                                    " at place " + std::to_string(bad - samples));
    }

    // Instants that lie inside `count` samples, the first one included.
    std::int64_t rowsOf(std::int64_t count) const { return (count * kRowsPerSecond + m_rate - 1) / m_rate; }

    static double instantOf(std::int64_t row) { return static_cast<double>(row) / kRowsPerSecond; }

    // The newest row once `passed` samples at 24 kHz are through; below 0: none.
    static std::int64_t rowOf(std::int64_t passed) {
        return passed < kWindow ? -1 - kLeadFrames : (passed - kWindow) / kHop - kLeadFrames;
    }

    void lead() {
        const float silence[kHop] = {};
        for (int missing = kLeadSamples - m_converter.delay(); missing > 0; missing -= kHop)
            advance(silence, std::min(missing, kHop), [](const Pitch&) {});
    }

    template <class Each>
    void stream(const float* samples, std::size_t count, Each& each) {
        m_converter.convert(samples, count, [&](const float* piece, int length) { advance(piece, length, each); });
    }

    // At most a hop at a time: the engine tells only the last frame of a call.
    template <class Each>
    void advance(const float* samples, int count, Each&& each) {
        for (; count > 0; count -= kHop, samples += kHop) {
            const int length = std::min(count, kHop);
            Pitch pitch;
            KTessel_DoProcess(samples, length, &pitch.frequency, &pitch.confidence, 0, m_engine.get());
            const std::int64_t before = rowOf(m_passed);
            m_passed += length;
            const std::int64_t row = rowOf(m_passed);
            if (row == before || row < 0) continue;
            pitch.time = instantOf(row);
            pitch.confidence = std::min(pitch.confidence, 1.0f);
            m_newest = pitch;
            each(m_newest);
        }
    }

    // The recording at 24 kHz with its first sample on frame kMarginFrames, and silence on both sides.
    std::vector<float> betweenSilence(const float* samples, std::size_t count, std::int64_t rows) const {
        const std::int64_t length = (rows + 2 * kMarginFrames) * kHop;
        if (length > INT_MAX)
            throw std::length_error("recording too long: expected at most 24 hours, found " +
                                    std::to_string(rows / kRowsPerSecond) + " s");
        std::vector<float> sound;
        sound.reserve(static_cast<std::size_t>(length + kMarginFrames * kHop));
        EngineRate converter(m_rate);
        sound.resize(static_cast<std::size_t>(kMarginFrames * kHop - converter.delay()), 0.0f);
        const auto append = [&](const float* piece, int n) { sound.insert(sound.end(), piece, piece + n); };
        converter.convert(samples, count, append);
        const float silence[32] = {};  // lets out what the filter still holds
        converter.convert(silence, std::size(silence), append);
        sound.resize(static_cast<std::size_t>(length), 0.0f);
        return sound;
    }

    int m_rate;
    std::string m_model, m_offlineModel;
    EngineRate m_converter;
    // Null with a model from memory: a program that opens no files need not hold what opens them.
    Engine (*m_open)(const std::string& model) = nullptr;
    Engine m_engine;
    Engine m_offlineEngine;  // none while recordings are heard by m_engine
    Pitch m_newest;
    std::int64_t m_received = 0;  // samples at m_rate
    std::int64_t m_passed = 0;    // samples at 24 kHz that the engine was given, the silence before included
};

}  // namespace v1
}  // namespace KaTessel

#endif
