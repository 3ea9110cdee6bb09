#include "apps/NearestWord.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace katessel {

namespace {

// Optimal string alignment, row by row.
std::size_t keystrokes(const std::string& a, const std::string& b) {
    std::vector<std::size_t> beforeLast, last(b.size() + 1), next(b.size() + 1);
    std::iota(last.begin(), last.end(), 0);
    for (std::size_t i = 1; i <= a.size(); ++i) {
        next[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            next[j] = std::min({last[j] + 1, next[j - 1] + 1, last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                next[j] = std::min(next[j], beforeLast[j - 2] + 1);
        }
        beforeLast = last;
        last = next;
    }
    return last[b.size()];
}

}  // namespace

std::string nearestWord(const std::string& word, const std::vector<std::string>& known) {
    std::string nearest;
    std::size_t fewest = word.size() / 3 + 1;
    for (const std::string& each : known) {
        const std::size_t count = keystrokes(word, each);
        if (count < fewest) nearest = each, fewest = count;
    }
    return nearest;
}

}  // namespace katessel
