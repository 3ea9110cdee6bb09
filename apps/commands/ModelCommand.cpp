// The commands of `katessel model`.
#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "apps/commands/Commands.h"
#include "apps/commands/ModelReport.h"

namespace katessel {

namespace {

constexpr char kAboutInspect[] =
    "A tensor's role follows from its place: weights, bias, gain. `at byte` is where it\n"
    "begins; `needed` says whether the engine asks for the layer.";

constexpr char kAboutVerify[] =
    "Stricter than the engine: it also minds names that come twice, values that are not\n"
    "finite in any layer, and bytes after the last layer. Every fault is a line with its\n"
    "byte and layer on standard output; no engine opens the file.";

constexpr char kAboutHash[] =
    "The line is that of sha256sum, and `sha256sum -c` reads it. A model's card is the\n"
    "JSON file beside it with the same stem; another hash there is an error.";

void addPart(CLI::App& model, const char* name, const char* description, const char* footer,
             void (*work)(const std::string&)) {
    const auto path = std::make_shared<std::string>();
    CLI::App* command = model.add_subcommand(name, description);
    command->footer(footer);
    command->add_option("FILE", *path, "Weight file (default: the one that comes with the tool)");
    whenChosen(*command, [path, work] { work(*path); });
}

}  // namespace

void addModelCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("model", "Look at a weight file");
    command->require_subcommand(1);
    addPart(*command, "inspect", "List layers, shapes and ranges", kAboutInspect, &inspectModel);
    addPart(*command, "verify", "Say everything that is wrong with it, and where", kAboutVerify, &verifyModel);
    addPart(*command, "hash", "Print its SHA-256 and compare it with the model's card", kAboutHash, &hashModel);
}

}  // namespace katessel
