#include "platform/audio/MpegFrames.h"

#include "platform/audio/GaplessComment.h"
#include "platform/containers/BigEndian.h"
#include "platform/containers/Id3v2Header.h"
#include "platform/containers/TrailingTags.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace platform::audio {

namespace {

// The frame header is laid out in ISO/IEC 11172-3, 2.4.1.3, the lower sampling rates in
// ISO/IEC 13818-3, 2.4; "MPEG 2.5" is the customary extension to the lowest rates.

// Version, layer and sampling rate: what all frames of one song have in common.
constexpr uint32_t kSameStreamMask = 0xFFFE0C00;
// A decoder's filter bank delays the sound by this many samples (as many as LAME's tag assumes).
constexpr int kDecoderDelay = 529;
constexpr qsizetype kHeaderSize = 4;
// Where junk precedes the first frame, look no further than this.
constexpr qsizetype kSearchLimit = qsizetype{1} << 20;
// A chance match of one header is common in other data; so many in a row are not.
constexpr int kFramesToTrust = 3;

struct FrameHeader {
    uint32_t bits;
    int layer;
    int rate;
    int channels;
    int samples;
    int size;
    bool lowRate;  // MPEG 2 or 2.5
};

std::optional<FrameHeader> parseHeader(uint32_t bits) {
    static constexpr std::array<std::array<std::array<int, 16>, 3>, 2> kKilobits = {{
        {{{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448, 0},
          {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384, 0},
          {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0}}},
        {{{0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256, 0},
          {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},
          {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0}}},
    }};
    static constexpr std::array<int, 3> kRates = {44100, 48000, 32000};

    const uint32_t version = bits >> 19 & 3;  // 0: MPEG 2.5, 2: MPEG 2, 3: MPEG 1
    const uint32_t layerCode = bits >> 17 & 3;
    const uint32_t bitrateIndex = bits >> 12 & 15;
    const uint32_t rateIndex = bits >> 10 & 3;
    if ((bits & 0xFFE00000) != 0xFFE00000 || version == 1 || layerCode == 0 || rateIndex == 3)
        return std::nullopt;
    FrameHeader header = {};
    header.bits = bits;
    header.layer = static_cast<int>(4 - layerCode);
    header.lowRate = version != 3;
    header.rate = kRates[rateIndex] >> (version == 3 ? 0 : version == 2 ? 1 : 2);
    header.channels = (bits >> 6 & 3) == 3 ? 1 : 2;
    const int bitrate =
        kKilobits[header.lowRate][static_cast<size_t>(header.layer - 1)][bitrateIndex] * 1000;
    if (bitrate == 0) return std::nullopt;
    const int padding = static_cast<int>(bits >> 9 & 1);
    if (header.layer == 1) {
        header.samples = 384;
        header.size = (12 * bitrate / header.rate + padding) * 4;
    } else {
        header.samples = header.layer == 3 && header.lowRate ? 576 : 1152;
        header.size = header.samples / 8 * bitrate / header.rate + padding;
    }
    return header;
}

/// The file between its tags, and the walk over its frames.
class MpegFrameWalk {
  public:
    explicit MpegFrameWalk(const QByteArray& bytes) : bytes_(bytes) {
        ByteReader file(bytes);
        // Some files carry several ID3v2 tags, one after the other. A tag that claims more than the
        // file holds is taken for junk.
        for (auto tag = id3v2HeaderAt(file, 0); tag && tag->next <= file.size();
             tag = id3v2HeaderAt(file, tag->next))
            position_ = tag->next;
        end_ = trailingTags(file, position_).begin;
    }

    QByteArrayView leadingTags() const { return bytes_.first(position_); }

    /// Goes to the first frame; false when there is none.
    bool start() {
        const qsizetype limit = std::min(end_, position_ + kSearchLimit);
        const auto found = find(position_, limit, [this](qsizetype at) { return isRun(at); });
        if (!found) return false;
        position_ = *found;
        first_ = *headerAt(position_);
        return true;
    }

    const FrameHeader& first() const { return first_; }

    /// The next whole frame's place and size, looking past what is no frame; absent at the end.
    std::optional<std::pair<qsizetype, FrameHeader>> next() {
        auto header = headerAt(position_);
        if (!header || !sameStream(*header)) {
            const auto found = find(position_, end_, [this](qsizetype at) { return isPair(at); });
            if (!found) return std::nullopt;
            position_ = *found;
            header = headerAt(position_);
        }
        if (header->size > end_ - position_) return std::nullopt;
        const qsizetype at = position_;
        position_ += header->size;
        return std::pair(at, *header);
    }

  private:
    std::optional<FrameHeader> headerAt(qsizetype at) const {
        if (at + kHeaderSize > end_) return std::nullopt;
        return parseHeader(static_cast<uint32_t>(bigEndian(bytes_.sliced(at, kHeaderSize))));
    }

    bool sameStream(const FrameHeader& header) const {
        return (header.bits & kSameStreamMask) == (first_.bits & kSameStreamMask);
    }

    bool isRun(qsizetype at) const {
        const auto first = headerAt(at);
        for (int count = 0; first; ++count) {
            if (count == kFramesToTrust) return true;
            const auto header = headerAt(at);
            if (!header) return count > 0 && at == end_;
            if ((header->bits & kSameStreamMask) != (first->bits & kSameStreamMask)) return false;
            if (header->size > end_ - at) return count > 1;
            at += header->size;
        }
        return false;
    }

    bool isPair(qsizetype at) const {
        const auto header = headerAt(at);
        if (!header || !sameStream(*header) || header->size > end_ - at) return false;
        const auto second = headerAt(at + header->size);
        return second ? sameStream(*second) : at + header->size == end_;
    }

    template <typename Condition>
    std::optional<qsizetype> find(qsizetype from, qsizetype limit, Condition condition) const {
        while (from + kHeaderSize <= limit) {
            const void* sync =
                std::memchr(bytes_.data() + from, 0xFF, static_cast<size_t>(limit - from));
            if (!sync) return std::nullopt;
            from = static_cast<const char*>(sync) - bytes_.data();
            if (condition(from)) return from;
            ++from;
        }
        return std::nullopt;
    }

    QByteArrayView bytes_;
    qsizetype position_ = 0;
    qsizetype end_ = 0;
    FrameHeader first_ = {};
};

/// What the tag in a song's first frame says.
struct HeaderTag {
    std::optional<int64_t> frames;  // without the tag's own
    std::optional<int> delay;       // samples put before the song by the encoder
    int padding = 0;                // and after it
};

// The Xing tag with LAME's extension: http://gabriel.mp3-tech.org/mp3infotag.html
std::optional<HeaderTag> readHeaderTag(QByteArrayView frame, const FrameHeader& header) {
    if (header.layer != 3) return std::nullopt;
    const bool mono = header.channels == 1;
    const qsizetype sideInfo = header.lowRate ? (mono ? 9 : 17) : (mono ? 17 : 32);
    if (frame.size() >= 40 && frame.sliced(36).startsWith("VBRI")) return HeaderTag();
    qsizetype at = kHeaderSize + sideInfo;
    if (frame.size() < at + 8) return std::nullopt;
    if (!frame.sliced(at).startsWith("Xing") && !frame.sliced(at).startsWith("Info"))
        return std::nullopt;
    const quint64 fields = bigEndian(frame.sliced(at + 4, 4));
    at += 8;
    HeaderTag tag;
    if (fields & 1) {
        if (frame.size() < at + 4) return tag;
        tag.frames = static_cast<int64_t>(bigEndian(frame.sliced(at, 4)));
    }
    at +=
        (fields & 1 ? 4 : 0) + (fields & 2 ? 4 : 0) + (fields & 4 ? 100 : 0) + (fields & 8 ? 4 : 0);
    if (frame.size() < at + 24) return tag;
    const QByteArrayView encoder = frame.sliced(at);
    if (encoder.startsWith("LAME") || encoder.startsWith("Lavf") || encoder.startsWith("Lavc")) {
        const quint64 delays = bigEndian(frame.sliced(at + 21, 3));
        tag.delay = static_cast<int>(delays >> 12);
        tag.padding = static_cast<int>(delays & 0xFFF);
    }
    return tag;
}

void trim(MpegFrames& frames, const HeaderTag& tag, QByteArrayView leadingTags) {
    const auto count = static_cast<int64_t>(frames.packets.size());
    const int64_t decoded = count * frames.samplesPerFrame;
    std::optional<int64_t> length;
    if (tag.delay) {
        frames.skip = *tag.delay + kDecoderDelay;
        // In a file that was cut or joined since, the padding is no longer at the end.
        if (tag.frames == count) length = decoded - *tag.delay - tag.padding;
    } else if (const auto comment = readGaplessComment(leadingTags)) {
        frames.skip = comment->delay + kDecoderDelay;
        length = comment->length;
    }
    if (frames.skip >= decoded) frames.skip = 0;
    const int64_t available = decoded - frames.skip;
    frames.length = length && *length > 0 ? std::min(*length, available) : available;
}

}  // namespace

std::optional<MpegFrames> readMpegFrames(const QByteArray& bytes) {
    MpegFrameWalk walk(bytes);
    const QByteArrayView leadingTags = walk.leadingTags();
    if (!walk.start()) return std::nullopt;
    MpegFrames frames;
    frames.layer = walk.first().layer;
    frames.rate = walk.first().rate;
    frames.channels = walk.first().channels;
    frames.samplesPerFrame = walk.first().samples;
    HeaderTag tag;
    bool isFirst = true;
    frames.packets.reserve(static_cast<size_t>(bytes.size() / walk.first().size) + 1);
    while (const auto frame = walk.next()) {
        const auto& [at, header] = *frame;
        if (std::exchange(isFirst, false)) {
            if (const auto found =
                    readHeaderTag(QByteArrayView(bytes).sliced(at, header.size), header)) {
                tag = *found;
                continue;
            }
        }
        const auto index = static_cast<int64_t>(frames.packets.size());
        frames.packets.push_back({at, index * frames.samplesPerFrame, header.size});
    }
    if (frames.packets.empty()) return std::nullopt;
    trim(frames, tag, leadingTags);
    return frames;
}

}  // namespace platform::audio
