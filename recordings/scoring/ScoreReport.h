// Scores as a table, as CSV and as JSON.
#pragma once

#include <string>
#include <vector>

#include "recordings/scoring/Scores.h"

namespace katessel {

struct ScoredGroup {
    std::string name;  // a folder, or "all"
    int recordings = 0;
    Scores scores;
};

std::string scoreTable(const std::vector<ScoredGroup>& groups);
std::string scoreCsv(const std::vector<ScoredGroup>& groups);
std::string scoreJson(const std::vector<ScoredGroup>& groups);

}  // namespace katessel
