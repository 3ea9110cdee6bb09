// Numbers and columns as text, of any length.
#pragma once

#include <cstddef>
#include <string>

namespace katessel {

// With so many decimals, as "%.*f" has it; "nan" without a sign.
std::string fixedText(double value, int decimals);

// The same at the end of a text that grows, without one of its own.
void appendFixed(std::string& text, double value, int decimals);

// With the digits that it needs and no more than six, as "%g" has it: for messages and labels.
std::string shortNumber(double value);

// "7:05", or "1:07:05" from an hour on.
std::string clockTime(double seconds);

// The other way round: the seconds of "7:05" or "1:07:05.5", as a number; any other text as it is.
std::string clockSeconds(const std::string& text);

// Why a text is no number from `least` to `most`, as "expected .., found .."; empty: it is one.
std::string numberProblem(const std::string& text, double least, double most);

// A to Z in small letters.
std::string lowerCase(std::string text);

// Filled up with blanks to `width` characters; longer text stays as it is.
std::string leftAligned(std::string text, std::size_t width);
std::string rightAligned(const std::string& text, std::size_t width);

}  // namespace katessel
