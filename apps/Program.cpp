#include "apps/Program.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

#include "apps/NearestWord.h"
#include "apps/commands/Commands.h"
#include "katessel/InstructionSet.h"
#include "katessel/KTessel.h"
#include "recordings/base/Errors.h"
#include "recordings/base/ProcessStart.h"
#include "tracking/FileHash.h"
#include "tracking/Model.h"

namespace katessel {

namespace {

constexpr char kAbout[] =
    "Estimates the pitch of one voice or instrument every 5 ms. `katessel help COMMAND`\n"
    "says what a command does and takes.\n"
    "\n"
    "The environment variable KATESSEL_ISA names the vector instructions to compute\n"
    "with (scalar; on x86 sse2, avx2 or avx512; on ARM neon); without it the best\n"
    "available are used.\n"
    "KATESSEL_MODEL names the weight file to use where no --model does.\n"
    "Exit status: 0 success, 1 failure, 2 wrong usage.";

// "none" where a default model is missing: --version must work there, too.
std::string defaultModelHash(TrackMode mode) {
    try {
        return fileSha256(modelPath("", mode));
    } catch (const ToolError&) {
        return "none";
    }
}

std::string defaultModelHashes() {
    const std::string offline = defaultModelHash(TrackMode::offline), live = defaultModelHash(TrackMode::live);
    return "model " + offline + (live == offline ? "" : ", live model " + live);
}

// The deepest command that the command line names.
const CLI::App& chosenCommand(const CLI::App& app) {
    const std::vector<CLI::App*> below = app.get_subcommands();
    return below.empty() ? app : chosenCommand(*below.front());
}

// Where the first word that the parser could not place is a misspelt command or option, or no such at all: says so.
void checkWords(const CLI::App& app) {
    const std::vector<std::string> words = app.remaining(true);
    if (words.empty()) return;
    const std::string& word = words.front();
    const CLI::App& command = chosenCommand(app);
    const bool isOption = word.starts_with("-");
    std::vector<std::string> known;
    for (const CLI::App* below : command.get_subcommands(nullptr))
        if (!isOption) known.push_back(below->get_name());
    for (const CLI::Option* option : command.get_options())
        for (const std::string& name : option->get_lnames())
            if (isOption) known.push_back("--" + name);
    if (known.empty()) return;
    const std::string nearest = nearestWord(word.substr(0, word.find('=')), known);
    const std::string parent = &command == &app ? "" : " " + command.get_name();
    failUsage(kWrongUsage, word,
              (isOption ? "an option" : "a command") + (nearest.empty() ? "" : ", perhaps " + nearest) +
                  " (`katessel help" + parent + "` lists them)",
              "none of that name");
}

// Runs the chosen command, or prints help or the version where they were asked for.
void parse(CLI::App& app, int argc, char** argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        checkWords(app);
        if (error.get_exit_code() != 0) throw ToolError(std::string("wrong usage: ") + error.what(), kStatusUsage);
        app.exit(error);
    }
}

void run(int argc, char** argv, const std::vector<void (*)(CLI::App&)>& commands,
         const std::vector<OtherProgram>& others) {
    CLI::App app(kAbout, "katessel");
    app.set_version_flag("--version", [] {
        applyInstructionChoice();
        return std::string(KTessel_GetVersion()) + ", " + defaultModelHashes() + ", " + KaTessel::instructionSet();
    });
    app.require_subcommand(1);
    for (const auto& add : commands) add(app);
    for (const OtherProgram& other : others) app.add_subcommand(other.command, other.summary);
    parse(app, argc, argv);
}

}  // namespace

int runProgram(int argc, char** argv, const std::vector<void (*)(CLI::App&)>& commands,
               const std::vector<OtherProgram>& others) {
    startSafely();
    try {
        run(argc, argv, commands, others);
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
            fail(kCannotWrite, "standard output", "room for the result", "none");
        return 0;
    } catch (const ToolError& error) {
        printError(error.what());
        return error.status();
    } catch (const std::exception& error) {
        printError(error.what());
        return kStatusFailure;
    }
}

}  // namespace katessel
