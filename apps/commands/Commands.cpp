#include "apps/commands/Commands.h"

#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include "katessel/InstructionSet.h"
#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"

namespace katessel {

void whenChosen(CLI::App& command, std::function<void()> work) {
    command.final_callback([work = std::move(work)] {
        applyInstructionChoice();
        work();
    });
}

void applyInstructionChoice() {
    const char* name = std::getenv("KATESSEL_ISA");
    if (name == nullptr || *name == '\0' || KaTessel::forceInstructionSet(name)) return;
    std::string possible;
    for (const std::string& available : KaTessel::availableInstructionSets()) {
        if (!possible.empty()) possible += ", ";
        possible += available;
    }
    failUsage("wrong instruction set", "KATESSEL_ISA", "one of " + possible, name);
}

CLI::Validator numberBetween(double least, double most) {
    return CLI::Validator([=](std::string& text) { return numberProblem(text, least, most); }, "");
}

void addExcerptOptions(CLI::App& command, Excerpt& excerpt) {
    const CLI::Validator clock(
        [](std::string& text) {
            text = clockSeconds(text);
            return std::string();
        },
        "");
    const CLI::Validator within = numberBetween(0.0, kMostSeconds);
    command.add_option("--start,--from", excerpt.start, "Begin at this instant of the recording [s, min:s or h:min:s]")
        ->transform(clock)
        ->check(within);
    const auto end = std::make_shared<std::optional<double>>();
    CLI::Option* to = command.add_option("--to", *end, "End at this instant")->transform(clock)->check(within);
    command.add_option("--duration", excerpt.duration, "End after this time [s]")
        ->transform(clock)
        ->check(numberBetween(0.001, kMostSeconds))
        ->excludes(to);
    command.parse_complete_callback([&excerpt, end] {
        if (!*end) return;
        if (**end <= excerpt.start)
            failUsage(kWrongUsage, "--to", "an instant after " + shortNumber(excerpt.start) + " s", shortNumber(**end));
        excerpt.duration = **end - excerpt.start;
    });
}

void addQuietOption(CLI::App& command, bool& quiet) {
    command.add_flag("-q,--quiet", quiet, "No progress on the terminal");
}

void addThresholdOption(CLI::App& command, std::optional<double>& threshold, const std::string& meaning) {
    command.add_option("--threshold", threshold, "Confidence from which on " + meaning)->check(numberBetween(0.0, 1e6));
}

void addModelOption(CLI::App& command, std::string& model) {
    command.add_option("--model", model, "Weight file (default: the one for this mode that comes with the tool)")
        ->type_name("FILE");
}

void addModeOption(CLI::App& command, std::function<void(TrackMode)> chosen, const std::string& meaning) {
    const auto choose = [chosen = std::move(chosen)](const std::string& name) {
        chosen(name == "live" ? TrackMode::live : TrackMode::offline);
    };
    const std::vector<std::string> names = {"offline", "live"};
    command.add_option_function<std::string>("--mode", choose, meaning)->check(CLI::IsMember(names));
}

void addVoicingOption(CLI::App& command, std::optional<Voicing>& voicing, const std::string& meaning) {
    const auto choose = [&voicing](const std::string& name) {
        voicing = name == "frame" ? Voicing::frame : name == "hysteresis" ? Voicing::hysteresis : Voicing::smooth;
    };
    const std::vector<std::string> names = {"smooth", "hysteresis", "frame"};
    command.add_option_function<std::string>("--voicing", choose, meaning)->check(CLI::IsMember(names));
}

}  // namespace katessel
