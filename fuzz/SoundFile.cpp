// Arbitrary bytes as a sound file that is looked at for damage.
#include <cstdint>
#include <cstdio>
#include <memory>

#include "ScratchFile.h"
#include "recordings/audio/Damage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    std::string bytes(reinterpret_cast<const char*>(data), size);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(fmemopen(bytes.data(), size, "rb"), &std::fclose);
    require(file != nullptr);
    if (const auto damage = katessel::findDamage(file.get()))
        require(!damage->expected.empty() && !damage->found.empty());
    return 0;
}
