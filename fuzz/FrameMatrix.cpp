// Arbitrary bytes as a frame file and as a statistics file. Frames that were read are dumped again: behind the period
// that must give the bytes they came from.
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
    std::vector<std::uint8_t> dump(size + 1);
    dump.resize(std::fread(dump.data(), 1, dump.size(), file));
    std::fclose(file);
    require(dump.size() <= size && std::memcmp(dump.data() + 4, data + 4, dump.size() - 4) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
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
    for (const std::vector<float>& row : rows) require(!row.empty() && row.size() == rows[0].size());
    return 0;
}
