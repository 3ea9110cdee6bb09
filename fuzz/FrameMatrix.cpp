// Arbitrary bytes as a frame file and as a statistics file. Frames that were read are dumped again: behind the period
// that must give the bytes they came from, and zeros for the values that were not there.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "ScratchFile.h"
#include "katessel/FrameMatrix.h"

namespace {

void requireDumpOf(const std::vector<std::vector<float>>& frames, const std::uint8_t* data, std::size_t size) {
    KaTessel::write_data(scratchFile("-dump"), frames, 0, 0);
    std::FILE* file = std::fopen(scratchFile("-dump").c_str(), "rb");
    require(file != nullptr);
    std::vector<std::uint8_t> dump(12 + frames.size() * frames[0].size() * sizeof(float) + 1);
    dump.resize(std::fread(dump.data(), 1, dump.size(), file));
    std::fclose(file);
    const std::size_t whole = std::min(dump.size(), size / 4 * 4);  // the header and all values that are not cut in two
    require(std::memcmp(dump.data() + 4, data + 4, whole - 4) == 0);
    require(std::all_of(dump.begin() + static_cast<std::ptrdiff_t>(whole), dump.end(), [](int b) { return b == 0; }));
}

// Whether a file whose counts begin at `offset` may announce far more than it holds: read as told, but slowly.
bool announcesMuch(const std::uint8_t* data, std::size_t size, std::size_t offset) {
    std::int32_t counts[2] = {};
    if (size >= offset + sizeof counts) std::memcpy(counts, data + offset, sizeof counts);
    const std::int64_t rows = counts[0], length = counts[1];
    return rows > 0 && length >= 0 && rows * (length + 6) > 100000 && rows * (length + 6) <= 110000000;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (announcesMuch(data, size, 4) || announcesMuch(data, size, 0)) return 0;
    writeScratchFile(data, size);
    std::vector<std::vector<float>> frames;
    float period = 0.0f;
    int frameSize = -1;
    const bool loaded = KaTessel::loadContext(scratchFile(), frames, period, frameSize);
    require(loaded || (frames.empty() && frameSize == -1));
    for (const std::vector<float>& frame : frames) require(frame.size() == static_cast<std::size_t>(frameSize));
    // Without a frame a dump cannot know its size.
    if (!frames.empty()) requireDumpOf(frames, data, size);

    const std::vector<std::vector<float>> rows = KaTessel::read_stats(scratchFile());
    for (const std::vector<float>& row : rows) require(row.size() == rows[0].size());
    return 0;
}
