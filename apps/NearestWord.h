// What somebody may have meant who misspelt a word.
#pragma once

#include <string>
#include <vector>

namespace katessel {

// The one of `known` that takes fewest keystrokes from `word`; empty where they are more than a third of its letters. A keystroke
// is a letter too many, too few or wrong, or two that changed places.
std::string nearestWord(const std::string& word, const std::vector<std::string>& known);

}  // namespace katessel
