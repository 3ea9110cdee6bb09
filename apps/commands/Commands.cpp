#include "apps/commands/Commands.h"

#include <utility>

#include "apps/commands/InstructionChoice.h"

namespace katessel {

void whenChosen(CLI::App& command, std::function<void()> work) {
    command.final_callback([work = std::move(work)] {
        applyInstructionChoice();
        work();
    });
}

CLI::Option* addModeOption(CLI::App& command, std::function<void(TrackMode)> chosen, const std::string& description) {
    const auto choose = [chosen = std::move(chosen)](const std::string& name) {
        chosen(name == "live" ? TrackMode::live : TrackMode::offline);
    };
    const std::vector<std::string> names = {"offline", "live"};
    return command.add_option_function<std::string>("--mode", choose, description)->check(CLI::IsMember(names));
}

}  // namespace katessel
