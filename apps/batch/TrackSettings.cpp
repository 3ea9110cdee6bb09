#include "apps/batch/TrackSettings.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string_view>
#include <vector>

#include "tracking/FileHash.h"
#include "katessel/InstructionSet.h"
#include "katessel/KTessel.h"
#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"

namespace katessel {

namespace {

constexpr char kRawForm[] = "f32:RATE, f64:RATE, s16:RATE, s24:RATE or s32:RATE, perhaps with :CHANNELS";
constexpr int kMostRate = 1000000;  // [Hz]
constexpr int kMostChannels = 1024;

void checkCombinations(const TrackOptions& options) {
    if (options.lowest && options.highest && *options.highest < *options.lowest)
        failUsage("wrong frequency", "--fmax", "a number from --fmin up", shortNumber(*options.highest));
    if (options.blockSize && options.mode == TrackMode::offline)
        failUsage(kWrongUsage, "--block-size", "--mode live", "--mode offline, which has no blocks");
    if (options.raw && options.inputs.recursive)
        failUsage(kWrongUsage, "--raw", "recordings by name", "-r, which looks for known formats");
}

std::vector<std::string_view> splitAtColons(std::string_view text) {
    std::vector<std::string_view> all;
    for (std::size_t colon; (colon = text.find(':')) != std::string_view::npos; text.remove_prefix(colon + 1))
        all.push_back(text.substr(0, colon));
    all.push_back(text);
    return all;
}

int parseCount(std::string_view digits, int most, const std::string& whole) {
    int value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size() || value < 1 || value > most)
        failUsage("wrong form of sound", "--raw", kRawForm, whole);
    return value;
}

// Reads "SAMPLE:RATE[:CHANNELS]".
RawForm parseRawForm(const std::string& text) {
    const std::vector<std::string_view> given = splitAtColons(text);
    const auto kind = std::find_if(std::begin(kRawKinds), std::end(kRawKinds),
                                   [&](const RawKind& each) { return each.name == given[0]; });
    if (kind == std::end(kRawKinds) || given.size() < 2 || given.size() > 3)
        failUsage("wrong form of sound", "--raw", kRawForm, text);
    RawForm form;
    form.kind = *kind;
    form.rate = parseCount(given[1], kMostRate, text);
    if (given.size() == 3) form.channels = parseCount(given[2], kMostChannels, text);
    return form;
}

// How the rows look, as far as the format has any.
void chooseRows(const TrackOptions& options, TrackSettings& settings) {
    const std::string format = settings.format->name;
    const bool unitGiven = options.unit || options.cents;
    if (!settings.format->hasRows && (unitGiven || options.unvoiced || options.loudness))
        failUsage(kWrongUsage,
                  unitGiven          ? "--unit"
                  : options.unvoiced ? "--unvoiced"
                                     : "--loudness",
                  "a format with rows", format);
    if (format != "midi" && (options.tempo || options.pitchBend))
        failUsage(kWrongUsage, options.tempo ? "--tempo" : "--pitch-bend", "--format midi", format);
    settings.loudness = options.loudness;
    settings.tempo = options.tempo.value_or(settings.tempo);
    settings.pitchBend = options.pitchBend;
    const std::string unit = options.cents ? "cents" : options.unit.value_or("hz");
    settings.unit = unit == "cents" ? PitchUnit::cents : unit == "midi" ? PitchUnit::midi : PitchUnit::hertz;
    const std::string unvoiced = options.unvoiced.value_or(settings.unit == PitchUnit::hertz ? "zero" : "nan");
    if (unvoiced == "zero" && settings.unit != PitchUnit::hertz)
        failUsage(kWrongUsage, "--unvoiced zero", "--unit hz", "--unit " + unit + ", where 0 is a pitch");
    settings.unvoiced = unvoiced == "zero"  ? UnvoicedRows::zero
                        : unvoiced == "nan" ? UnvoicedRows::notANumber
                                            : UnvoicedRows::drop;
}

const char* nameOf(Voicing voicing) {
    switch (voicing) {
        case Voicing::frame: return "frame";
        case Voicing::hysteresis: return "hysteresis";
        default: return "smooth";
    }
}

std::string describe(const TrackOptions& options, const TrackSettings& settings) {
    nlohmann::ordered_json about, used;
    about["library"] = KTessel_GetVersion();
    about["instructions"] = KaTessel::instructionSet();
    const std::filesystem::path model = settings.model.path;
    about["model"] = {{"file", model.filename().string()}, {"sha256", fileSha256(settings.model.path)}};
    used["mode"] = settings.mode == TrackMode::live ? "live" : "offline";
    used["threshold"] = settings.model.threshold;
    used["voicing"] = nameOf(settings.voicing);
    if (settings.blockSize) used["block_size"] = *settings.blockSize;
    if (options.lowest) used["fmin"] = *options.lowest;
    if (options.highest) used["fmax"] = *options.highest;
    if (options.channel) used["channel"] = *options.channel;
    if (options.raw) used["raw"] = *options.raw;
    about["settings"] = used;
    return about.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);  // a path may hold any bytes
}

}  // namespace

TrackSettings chooseSettings(const TrackOptions& options, const TrackFormat& defaultFormat) {
    checkCombinations(options);
    TrackSettings settings;
    settings.mode = options.blockSize ? TrackMode::live : options.mode.value_or(TrackMode::offline);
    settings.voicing = options.voicing.value_or(usualVoicing(settings.mode));
    settings.blockSize = options.blockSize;
    settings.lowest = options.lowest.value_or(settings.lowest);
    settings.highest = options.highest.value_or(settings.highest);
    settings.channel = options.channel;
    if (options.raw) settings.raw = parseRawForm(*options.raw);
    settings.allowDamaged = options.allowDamaged;
    settings.excerpt = options.excerpt;
    settings.format = options.format ? &trackFormat(*options.format) : &defaultFormat;
    chooseRows(options, settings);
    return settings;
}

void completeSettings(const TrackOptions& options, TrackSettings& settings) {
    settings.model = chooseModel(options.model, settings.mode, options.threshold);
    if (settings.format == &trackFormat("json")) settings.about = describe(options, settings);
}

}  // namespace katessel
