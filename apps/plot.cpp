// What `katessel plot` becomes.
#include "apps/Program.h"
#include "apps/picture/Plot.h"

int main(int argc, char** argv) {
    using namespace katessel;
    return runProgram(argc, argv, {[](CLI::App& app) { addPlotCommand(app, &runPlot); }});
}
