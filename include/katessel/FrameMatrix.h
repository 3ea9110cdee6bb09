// Matrices in binary files: frames with their period, dumps of intermediate results for plotting, and statistics.
//
// A frame file is a header of the frame period (float32, seconds), the number of frames (int32) and the values per
// frame (int32), then the values (float32), frame after frame. Dumps are frame files; a dumped vector is one of
// frames of a single value. A statistics file has no period: the number of rows (int32), the values per row (int32),
// then the values, row after row. Everything is little-endian.
#ifndef KATESSEL_FRAMEMATRIX_H
#define KATESSEL_FRAMEMATRIX_H

#include <string>
#include <vector>

#include "katessel/Export.h"

namespace KaTessel {

// The three writers replace an existing file, make the folders of the path that do not exist yet, and always give
// 0.005 s as the period. A file that cannot be written costs one line on standard output, "WARNING: PATH not
// written: REASON\n", and is skipped.
//
// The header counts everything that was passed, also what is left out at the two ends: a trimmed dump announces more
// frames than it holds, and loadContext delivers what is announced.

// Frames of as many values as the first one has: longer ones are cut, shorter ones filled up with zeros.
//   skipAtStart, skipAtEnd  frames left out; below 0 counts as 0. One frame always remains: the start gives way
//                           first, then the end
KATESSEL_API void write_data(std::string path, const std::vector<std::vector<float>>& frames, int skipAtStart,
                             int skipAtEnd);

// The same for single values. When a skip is negative or the two leave nothing, no value is written.
KATESSEL_API void write_data(std::string path, const std::vector<float>& values, int skipAtStart, int skipAtEnd);

// All of n values; may be null when n is 0.
KATESSEL_API void write_data(std::string path, float* values, int n);

// The two readers take files and pipes, and deliver every row that the counts announce: values for which the file is
// too short are 0, and what follows the last row is ignored.

// Reads a frame file and appends its frames to `frames`.
//   framePeriod  [s]
//   frameSize    values per frame
// Returns false, leaving all three as they were, when the three header fields cannot be read or announce other than
// 0 to 100000 frames of 0 to 1000 values.
KATESSEL_API bool loadContext(std::string path, std::vector<std::vector<float>>& frames, float& framePeriod,
                              int& frameSize);

// The rows of a statistics file. When its two counts cannot be read, are negative or announce rows of more than 400 MB,
// prints one line on standard output, "WARNING: PATH not loaded: it REASON\n", and returns none.
KATESSEL_API std::vector<std::vector<float>> read_stats(std::string path);

}  // namespace KaTessel

#endif
