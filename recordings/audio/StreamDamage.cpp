// Files that are a row of pages or frames, without a length in front: the row has no hole, and it has an end.
#include <ogg/ogg.h>

#include <array>
#include <cstdint>
#include <map>
#include <memory>

#include "recordings/audio/Damage.h"

namespace katessel {

namespace {

std::string atByte(long place) { return " at byte " + std::to_string(place); }

struct OggStream {
    long nextPage = 0;
    bool hasEnded = false;
};

class OggPages {
public:
    OggPages() { ogg_sync_init(&m_sync); }
    OggPages(const OggPages&) = delete;
    OggPages& operator=(const OggPages&) = delete;
    ~OggPages() { ogg_sync_clear(&m_sync); }

    // Returns false at the end of the file.
    bool feed(std::FILE* file) {
        constexpr long kPiece = 1 << 16;
        char* const room = ogg_sync_buffer(&m_sync, kPiece);
        if (room == nullptr) return false;
        const std::size_t count = std::fread(room, 1, static_cast<std::size_t>(kPiece), file);
        ogg_sync_wrote(&m_sync, static_cast<long>(count));
        return count > 0;
    }

    // The pages that are there; their checksums are right.
    std::optional<Damage> take() {
        ogg_page page;
        for (long bytes; (bytes = ogg_sync_pageseek(&m_sync, &page)) != 0;) {
            if (bytes < 0 && !haveAllEnded())
                return Damage{"page after page", std::to_string(-bytes) + " bytes of something else" + atByte(m_at),
                              true};
            if (bytes > 0) {
                const auto [entry, isNew] = m_streams.try_emplace(ogg_page_serialno(&page));
                OggStream& stream = entry->second;
                const long number = ogg_page_pageno(&page);
                if (!isNew && number != stream.nextPage)
                    return Damage{"page " + std::to_string(stream.nextPage) + atByte(m_at), std::to_string(number),
                                  true};
                stream.nextPage = number + 1;
                stream.hasEnded = ogg_page_eos(&page) != 0;
            }
            m_at += bytes < 0 ? -bytes : bytes;
        }
        return std::nullopt;
    }

    bool haveAllEnded() const {
        for (const auto& [serial, stream] : m_streams)
            if (!stream.hasEnded) return false;
        return true;
    }

private:
    ogg_sync_state m_sync = {};
    std::map<int, OggStream> m_streams;  // by serial number
    long m_at = 0;                       // [bytes]
};

// The header of an MPEG audio frame. Length 0: none, or one whose length it does not tell.
struct MpegFrame {
    explicit MpegFrame(const std::string& bytes) {
        if (bytes.size() < 4 || bytes[0] != '\xff') return;
        const auto byte = [&](std::size_t i) { return static_cast<unsigned>(static_cast<unsigned char>(bytes[i])); };
        const unsigned version = byte(1) >> 3 & 3, layer = 4 - (byte(1) >> 1 & 3);  // version 3: MPEG-1
        const unsigned rateIndex = byte(2) >> 2 & 3, bitIndex = byte(2) >> 4, padding = byte(2) >> 1 & 1;
        if ((byte(1) & 0xe0) != 0xe0 || version == 1 || layer == 4 || rateIndex == 3 || bitIndex == 15) return;
        isFirstVersion = version == 3;
        isMono = byte(3) >> 6 == 3;
        constexpr std::array<unsigned, 3> kRates = {44100, 48000, 32000};  // [Hz]
        const unsigned rate = kRates[rateIndex] >> (version == 3 ? 0 : version == 2 ? 1 : 2);
        const unsigned bits = kBitRates[isFirstVersion ? layer - 1 : layer == 1 ? 3 : 4][bitIndex] * 1000;
        isFree = bitIndex == 0;
        if (layer == 1)
            length = (12 * bits / rate + padding) * 4;
        else
            length = (layer == 3 && !isFirstVersion ? 72 : 144) * bits / rate + padding;
    }

    // Frames that the first one says follow, in a tag that many encoders write; 0: it says nothing.
    std::uint32_t promised(const std::string& frame) const {
        const std::size_t at = 4u + (isFirstVersion ? (isMono ? 17u : 32u) : (isMono ? 9u : 17u));
        if (frame.size() < at + 12) return 0;
        const std::string name = frame.substr(at, 4);
        if ((name != "Xing" && name != "Info") || (frame[at + 7] & 1) == 0) return 0;
        std::uint32_t count = 0;
        for (std::size_t i = 8; i < 12; ++i) count = count << 8 | static_cast<unsigned char>(frame[at + i]);
        return count;
    }

    // [kbit/s] of layers 1 to 3 of MPEG-1, then of layer 1 and of the others of MPEG-2.
    static constexpr unsigned kBitRates[5][16] = {
        {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
        {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
    };

    bool isFirstVersion = false, isMono = false;
    bool isFree = false;  // of a bit rate that it does not name
    unsigned length = 0;  // [bytes]
};

// Tags in front, and the zeros that some writers leave behind them.
long skipTags(std::FILE* file) {
    long at = 0;
    for (std::string tag; (tag = bytesAt(file, at, 10)).starts_with("ID3") && tag.size() == 10;) {
        long length = 0;
        for (std::size_t i = 6; i < 10; ++i) length = length << 7 | (tag[i] & 0x7f);
        at += 10 + length + ((tag[5] & 0x10) != 0 ? 10 : 0);
    }
    while (bytesAt(file, at, 1) == std::string(1, '\0')) ++at;
    return at;
}

// Whether what is no frame is a tag, or zeros up to the end.
bool isTail(std::FILE* file, long at, long size) {
    const std::string start = bytesAt(file, at, 4);
    for (const char* tag : {"TAG", "APET", "LYRI", "ID3", "3DI"})
        if (start.starts_with(tag)) return true;
    const std::string rest = bytesAt(file, at, static_cast<std::size_t>(size - at));
    return rest.find_first_not_of('\0') == std::string::npos;
}

}  // namespace

std::optional<Damage> findOggDamage(std::FILE* file) {
    std::rewind(file);
    OggPages pages;
    while (pages.feed(file))
        if (const auto damage = pages.take()) return damage;
    if (pages.haveAllEnded()) return std::nullopt;
    return Damage{"a page that says it is the last", "none"};
}

std::optional<Damage> findMp3Damage(std::FILE* file, long size) {
    std::uint32_t frames = 0, promised = 0;
    for (long at = skipTags(file); at < size; ++frames) {
        const MpegFrame frame(bytesAt(file, at, 4));
        if (frame.isFree) return std::nullopt;
        if (frame.length < 4) {
            if (frames == 0 || isTail(file, at, size)) break;  // libsndfile knows better what else it may be
            return Damage{"frame after frame", "something else" + atByte(at), true};
        }
        if (at + static_cast<long>(frame.length) > size)
            return Damage{"a frame of " + std::to_string(frame.length) + " bytes" + atByte(at),
                          std::to_string(size - at)};
        if (frames == 0) promised = frame.promised(bytesAt(file, at, frame.length));
        at += static_cast<long>(frame.length);
    }
    if (frames + 1 > promised) return std::nullopt;  // some writers count the one that says it
    return Damage{std::to_string(promised) + " frames, as the first one says", std::to_string(frames - 1)};
}

}  // namespace katessel
