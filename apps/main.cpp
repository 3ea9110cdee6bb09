// katessel: the tool. Commands whose libraries would slow down the start of all others are programs of their own, which it
// becomes when they are asked for; here they have their names.
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "apps/Program.h"
#include "recordings/base/Errors.h"

namespace katessel {
namespace {

const std::vector<OtherProgram> kOthers = {
#ifdef KATESSEL_HAS_PLOT
    {"plot", kPlotSummary},
#endif
#ifdef KATESSEL_HAS_LIVE
    {"live", kLiveSummary},
#endif
};

// Becomes the program of the command, with the same arguments; returns where that fails.
void become(const OtherProgram& other, char** argv) {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::string path = self.parent_path() / KATESSEL_PROGRAMS / (std::string("katessel-") + other.command);
    ::execv(path.c_str(), argv);
    printError(errorMessage("cannot run", path, "the program of this command", std::strerror(errno)));
}

}  // namespace
}  // namespace katessel

int main(int argc, char** argv) {
    using namespace katessel;
    std::vector<char*> arguments(argv, argv + argc);
    // `katessel help COMMAND` is `katessel COMMAND --help`.
    char help[] = "--help";
    if (argc > 1 && std::strcmp(argv[1], "help") == 0) {
        arguments.erase(arguments.begin() + 1);
        arguments.push_back(help);
    }
    const std::string command = arguments.size() > 1 ? arguments[1] : "";
    arguments.push_back(nullptr);
    for (const OtherProgram& other : kOthers) {
        if (command != other.command) continue;
        become(other, arguments.data());
        return kStatusFailure;
    }
    return runProgram(argc, arguments.data(),
                      {&addTrackCommand, &addEvalCommand, &addBenchCommand, &addModelCommand, &addSynthCommand},
                      kOthers);
}
