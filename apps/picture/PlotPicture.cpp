#include "apps/picture/PlotPicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

#include "apps/picture/Envelope.h"
#include "apps/picture/Spectrogram.h"
#include "recordings/base/Text.h"

namespace katessel {

namespace {

constexpr Colour kInk = {0.2, 0.2, 0.2};
constexpr Colour kGrid = {0.85, 0.85, 0.85};
constexpr Colour kPaper = {1.0, 1.0, 1.0};
constexpr Colour kPitch = {0.9, 0.25, 0.05};
constexpr std::array<Colour, 4> kOverlays = {{{0.0, 0.6, 0.2}, {0.65, 0.1, 0.65}, {0.75, 0.6, 0.0}, {0.0, 0.6, 0.65}}};

constexpr double kLeft = 74.0, kRight = 92.0, kTop = 38.0, kBottom = 50.0, kGap = 22.0;  // [pixels] around the panels
constexpr double kSpectrumShare = 0.74;                                                  // of the height that is left
constexpr double kTick = 5.0;                                                            // [pixels]
constexpr double kConfidenceTop = 1.1;                                                   // a little above certainty
constexpr double kLongestGap = 0.03;   // [s] between two rows that a line connects
constexpr double kLargestStep = 1.25;  // ratio of two such rows; a jump of the estimate is not a glide

// Towards the paper, for what a line lies on.
Colour paleOf(const Colour& colour) {
    const auto pale = [](double part) { return 1.0 - 0.35 * (1.0 - part); };
    return {pale(colour.red), pale(colour.green), pale(colour.blue)};
}

const Colour& overlayColour(std::size_t index) { return kOverlays[index % kOverlays.size()]; }

class PlotPicture {
public:
    PlotPicture(const PlotContent& content, const FrequencyScale& scale, PictureFormat format, int width, int height)
        : m_content(content), m_scale(scale), m_canvas(format, width, height) {
        const double inside = height - kTop - kBottom - kGap;
        const double spectrum = std::round(kSpectrumShare * inside);
        m_spectrum = {kLeft, kTop, width - kLeft - kRight, spectrum};
        m_confidence = {kLeft, kTop + spectrum + kGap, m_spectrum.width, inside - spectrum};
    }

    std::string draw(const Recording& recording, double offset, const OnProgress& onProgress) {
        drawSpectrogram(recording, offset, onProgress);
        drawFrequencyAxis();
        drawTracks();
        drawConfidence();
        drawTimeAxis();
        drawHeading();
        return m_canvas.finish();
    }

private:
    double xOf(double time) const {
        return m_spectrum.left + (time - m_content.start) / m_content.duration * m_spectrum.width;
    }
    // Clamped to a little outside the panel: coordinates of the drawing overflow far out.
    double yOf(double frequency) const {
        return m_spectrum.bottom() - std::clamp(m_scale.fraction(frequency), -1.0, 2.0) * m_spectrum.height;
    }
    double yOfConfidence(double confidence) const {
        return m_confidence.bottom() - std::clamp(confidence / kConfidenceTop, -1.0, 2.0) * m_confidence.height;
    }

    void drawSpectrogram(const Recording& recording, double offset, const OnProgress& onProgress) {
        const int columns = static_cast<int>(m_spectrum.width), rows = static_cast<int>(m_spectrum.height);
        const Spectrogram levels = makeSpectrogram(recording, m_content.start - offset, m_content.duration, m_scale,
                                                   columns, rows, onProgress);
        const double loudest = *std::max_element(levels.levels.begin(), levels.levels.end());
        const double top = loudest > -120.0 ? std::ceil(loudest / 5.0) * 5.0 : 0.0;
        const ColourScale colours(top - m_content.range, top);
        std::vector<std::uint32_t> pixels;
        for (const float level : levels.levels) pixels.push_back(colours.colourOf(level));
        m_canvas.image(pixels, columns, rows, m_spectrum);
        drawColourBar(colours);
    }

    void drawColourBar(const ColourScale& colours) {
        const Box bar = {m_spectrum.right() + 16.0, m_spectrum.top, 12.0, m_spectrum.height};
        const int rows = static_cast<int>(bar.height);
        const double range = colours.top() - colours.bottom();
        std::vector<std::uint32_t> pixels;
        for (int r = 0; r < rows; ++r) pixels.push_back(colours.colourOf(colours.top() - (r + 0.5) / rows * range));
        m_canvas.image(pixels, 1, rows, bar);
        m_canvas.frame(bar, kInk);
        for (const double level : evenTicks(colours.bottom(), colours.top(), 8)) {
            const double y = bar.top + (colours.top() - level) / range * bar.height;
            m_canvas.line({{bar.right(), y}, {bar.right() + kTick, y}}, kInk, 1.0);
            m_canvas.text(shortNumber(level), {bar.right() + kTick + 4.0, y}, {0.0, 0.5}, kInk);
        }
        m_canvas.textUpwards("level [dB]", {bar.right() + 48.0, bar.top + 0.5 * bar.height}, kInk);
    }

    void drawFrequencyAxis() {
        for (const double frequency : m_scale.ticks()) {
            const double y = yOf(frequency);
            m_canvas.line({{m_spectrum.left - kTick, y}, {m_spectrum.left, y}}, kInk, 1.0);
            m_canvas.text(shortNumber(frequency), {m_spectrum.left - kTick - 4.0, y}, {1.0, 0.5}, kInk);
        }
        m_canvas.textUpwards("frequency [Hz]", {20.0, m_spectrum.top + 0.5 * m_spectrum.height}, kInk);
        m_canvas.frame(m_spectrum, kInk);
    }

    bool isShown(double time) const { return time >= m_content.start && time <= m_content.start + m_content.duration; }

    // The voiced stretches of a track, as they lie in the picture.
    std::vector<std::vector<Point>> stretches(const PitchTrack& track, double longestGap = kLongestGap) const {
        std::vector<std::vector<Point>> all;
        const PitchRow* before = nullptr;
        for (const PitchRow& row : track) {
            const bool voiced = row.frequency > 0.0f && isShown(row.time);
            if (voiced) {
                const double step = before != nullptr ? row.frequency / before->frequency : 0.0;
                if (before == nullptr || row.time - before->time > longestGap || step > kLargestStep ||
                    step < 1.0 / kLargestStep)
                    all.emplace_back();
                all.back().push_back({xOf(row.time), yOf(row.frequency)});
            }
            before = voiced ? &row : nullptr;
        }
        return all;
    }

    void drawLines(const std::vector<std::vector<Point>>& stretches, const Colour& colour, double width) {
        for (const std::vector<Point>& stretch : stretches) {
            if (stretch.size() == 1)
                m_canvas.dot(stretch.front(), 0.6 * width, colour);
            else
                m_canvas.line(stretch, colour, width);
        }
    }

    void drawTrack(const PitchTrack& track, const Colour& colour, double width) {
        drawLines(stretches(track), colour, width);
    }

    int columns() const { return static_cast<int>(m_spectrum.width); }
    bool hasManyRows() const { return m_content.duration / kHopSeconds > kManyRows * columns(); }

    // The middle half as a band, and the middle to be a line.
    PitchTrack drawBand(const PitchTrack& track, const std::function<double(const PitchRow&)>& valueOf,
                        const Colour& colour, const std::function<double(double)>& yOfValue) {
        PitchTrack middle;
        for (const ColumnSpan& span : columnSpans(track, valueOf, m_content.start, m_content.duration, columns())) {
            const double x = xOf(span.time);
            m_canvas.line({{x, yOfValue(span.low) + 0.5}, {x, yOfValue(span.high) - 0.5}}, paleOf(colour), 1.2);
            middle.push_back({span.time, static_cast<float>(span.middle), 1.0f});
        }
        return middle;
    }

    void drawEnvelope(const PitchTrack& track, const Colour& colour) {
        const auto pitchOf = [](const PitchRow& row) {
            return row.frequency > 0.0f ? static_cast<double>(row.frequency) : std::nan("");
        };
        const PitchTrack middle = drawBand(track, pitchOf, colour, [this](double frequency) { return yOf(frequency); });
        drawLines(stretches(middle, 1.5 * m_content.duration / columns()), colour, 1.5);
    }

    void drawTracks() {
        m_canvas.clipTo(m_spectrum);
        if (hasManyRows()) {
            for (std::size_t i = 0; i < m_content.overlays.size(); ++i)
                drawEnvelope(m_content.overlays[i].track, overlayColour(i));
            drawEnvelope(m_content.pitch.track, kPitch);
            return m_canvas.unclip();
        }
        // The overlays broad, so that both are seen where they agree; all of them set off from the levels.
        for (const NamedTrack& overlay : m_content.overlays) drawTrack(overlay.track, kPaper, 7.0);
        drawTrack(m_content.pitch.track, kPaper, 4.0);
        for (std::size_t i = 0; i < m_content.overlays.size(); ++i)
            drawTrack(m_content.overlays[i].track, overlayColour(i), 5.0);
        drawTrack(m_content.pitch.track, kPitch, 2.0);
        m_canvas.unclip();
    }

    void drawConfidence() {
        for (const double confidence : {0.0, 0.5, 1.0}) {
            const double y = std::floor(yOfConfidence(confidence)) + 0.5;
            m_canvas.line({{m_confidence.left, y}, {m_confidence.right(), y}}, kGrid, 1.0);
            m_canvas.line({{m_confidence.left - kTick, y}, {m_confidence.left, y}}, kInk, 1.0);
            m_canvas.text(shortNumber(confidence), {m_confidence.left - kTick - 4.0, y}, {1.0, 0.5}, kInk);
        }
        m_canvas.textUpwards("confidence", {20.0, m_confidence.top + 0.5 * m_confidence.height}, kInk);
        m_canvas.clipTo(m_confidence);
        const auto confidenceOf = [](const PitchRow& row) { return static_cast<double>(row.confidence); };
        std::vector<Point> points;
        if (hasManyRows()) {
            const auto y = [this](double confidence) { return yOfConfidence(confidence); };
            for (const PitchRow& row : drawBand(m_content.pitch.track, confidenceOf, kPitch, y))
                points.push_back({xOf(row.time), yOfConfidence(row.frequency)});
        } else {
            for (const PitchRow& row : m_content.pitch.track)
                if (isShown(row.time) && !std::isnan(row.confidence))
                    points.push_back({xOf(row.time), yOfConfidence(row.confidence)});
        }
        m_canvas.line(points, kPitch, 1.5);
        if (m_content.threshold) {
            const double y = yOfConfidence(*m_content.threshold);
            m_canvas.line({{m_confidence.left, y}, {m_confidence.right(), y}}, kInk, 1.0, true);
        }
        m_canvas.unclip();
        m_canvas.frame(m_confidence, kInk);
    }

    void drawTimeAxis() {
        const int most = std::max(static_cast<int>(m_spectrum.width / 80.0), 2);
        const TimeScale scale(m_content.start, m_content.start + m_content.duration, most);
        for (const double time : scale.ticks()) {
            const double x = xOf(time), y = m_confidence.bottom();
            m_canvas.line({{x, y}, {x, y + kTick}}, kInk, 1.0);
            m_canvas.text(scale.label(time), {x, y + kTick + 5.0}, {0.5, 0.0}, kInk);
        }
        m_canvas.text(scale.title(), {m_spectrum.left + 0.5 * m_spectrum.width, m_confidence.bottom() + 38.0},
                      {0.5, 0.5}, kInk);
    }

    // Title on the left, from the right the names of the lines.
    void drawHeading() {
        const double y = 0.5 * kTop;
        double x = m_spectrum.right();
        const auto add = [&](const std::string& name, const Colour& colour) {
            x -= m_canvas.textWidth(name);
            m_canvas.text(name, {x, y}, {0.0, 0.5}, kInk);
            m_canvas.line({{x - 30.0, y}, {x - 8.0, y}}, colour, 4.0);
            x -= 50.0;
        };
        for (std::size_t i = m_content.overlays.size(); i-- > 0;) add(m_content.overlays[i].name, overlayColour(i));
        add(m_content.pitch.name, kPitch);
        m_canvas.text(m_content.title, {m_spectrum.left, y}, {0.0, 0.5}, kInk, 15.0);
    }

    const PlotContent& m_content;
    const FrequencyScale& m_scale;
    Canvas m_canvas;
    Box m_spectrum, m_confidence;
};

}  // namespace

std::string drawPlot(const PlotContent& content, const Recording& recording, double offset, const FrequencyScale& scale,
                     PictureFormat format, int width, int height, const OnProgress& onProgress) {
    return PlotPicture(content, scale, format, width, height).draw(recording, offset, onProgress);
}

}  // namespace katessel
