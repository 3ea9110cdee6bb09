#include "RunLog.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "recordings/base/Errors.h"

namespace katessel::training {

namespace fs = std::filesystem;

namespace {

constexpr double kTerminalSeconds = 0.5, kLogSeconds = 60.0;  // between two progress lines
constexpr int kBarWidth = 30;

void append(const std::string& path, const char* header, const std::string& line) {
    const bool fresh = !fs::exists(path);
    std::ofstream file(path, std::ios::app);
    if (fresh) file << header << '\n';
    file << line << '\n';
    if (!file.flush()) fail(kCannotWrite, path, "room for a line", "none");
}

std::string duration(double seconds) {
    char text[32];
    const long whole = static_cast<long>(seconds);
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
    return text;
}

}  // namespace

RunLog::RunLog(const std::string& folder, std::int64_t firstStep, std::int64_t steps)
    : m_losses((fs::path(folder) / "losses.csv").string()),
      m_scores((fs::path(folder) / "scores.csv").string()),
      m_first(firstStep),
      m_steps(steps),
      m_start(std::chrono::steady_clock::now()),
      m_printed(m_start),
      m_terminal(isatty(STDERR_FILENO) == 1) {}

void RunLog::losses(std::int64_t step, const LossMeans& means) {
    char line[160];
    std::snprintf(line, sizeof line, "%lld,%.5f,%.5f,%.5f,%.5f,%.5f", static_cast<long long>(step), means.total,
                  means.pitch, means.unvoiced, means.confidence, means.classes);
    append(m_losses, "step,total,pitch,unvoiced,confidence,classes", line);
    progress(step, means);
}

void RunLog::scores(std::int64_t step, const std::string& form, const std::vector<ScoredGroup>& groups) {
    for (const ScoredGroup& group : groups) {
        const Scores& s = group.scores;
        char line[240];
        std::snprintf(line, sizeof line, "%lld,%s,%s,%.4f,%.4f,%.4f,%.4f,%.2f,%.4f", static_cast<long long>(step),
                      form.c_str(), group.name.c_str(), s.f1(), s.rawPitchAccuracy(50), s.voicingRecall(),
                      s.voicingFalseAlarm(), s.medianCents(), s.calibrationError());
        append(m_scores, "step,form,folder,f1,rpa50,recall,false_alarm,cents,calibration", line);
        std::fprintf(stderr, "%s%s\n", m_terminal ? "\r" : "", line);
    }
}

void RunLog::progress(std::int64_t step, const LossMeans& means) {
    const auto now = std::chrono::steady_clock::now();
    const auto since = [&](auto then) { return std::chrono::duration<double>(now - then).count(); };
    if (since(m_printed) < (m_terminal ? kTerminalSeconds : kLogSeconds) && step < m_steps) return;
    m_printed = now;
    const double perStep = since(m_start) / static_cast<double>(std::max<std::int64_t>(step - m_first, 1));
    const int done = static_cast<int>(kBarWidth * step / m_steps);
    const std::string bar =
        std::string(static_cast<std::size_t>(done), '#').append(static_cast<std::size_t>(kBarWidth - done), '.');
    std::fprintf(stderr, "%s[%s] %lld/%lld  loss %.4f  %.0f ms/step  %s left%s", m_terminal ? "\r" : "", bar.c_str(),
                 static_cast<long long>(step), static_cast<long long>(m_steps), means.total, 1e3 * perStep,
                 duration(perStep * static_cast<double>(m_steps - step)).c_str(),
                 m_terminal && step < m_steps ? "  " : "\n");
}

}  // namespace katessel::training
