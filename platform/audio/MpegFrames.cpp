#include "platform/audio/MpegFrames.h"

#include "platform/audio/GaplessComment.h"
#include "platform/containers/BigEndian.h"
#include "platform/containers/Id3v2Header.h"
#include "platform/containers/TrailingTags.h"

#include <algorithm>
#include <array>
#include <cmath>
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
    int size;      // of a free frame, its padding alone
    bool lowRate;  // MPEG 2 or 2.5
    bool isFree;
};

/// Bytes of a layer III frame's header, check sum and side information.
qsizetype layer3Head(const FrameHeader& header) {
    const bool mono = header.channels == 1;
    const qsizetype checked = (header.bits & 0x10000) ? 0 : 2;
    return kHeaderSize + checked + (header.lowRate ? (mono ? 9 : 17) : (mono ? 17 : 32));
}

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
    // Free format: the size is the same for all frames, and told by none.
    header.isFree = bitrateIndex == 0 && layerCode == 1;
    if (bitrate == 0 && !header.isFree) return std::nullopt;
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
        tagsEnd_ = position_;
        const auto zeros = bytes_.first(std::max(end_, position_)).sliced(position_);
        position_ +=
            std::find_if(zeros.begin(), zeros.end(), [](char c) { return c != 0; }) - zeros.begin();
    }

    QByteArrayView leadingTags() const { return bytes_.first(tagsEnd_); }

    /// Goes to the first frame; false when there is none.
    bool start() {
        const qsizetype limit = std::min(end_, position_ + kSearchLimit);
        const auto found =
            find(position_, limit, [this](qsizetype at) { return isRun(at) || isFreeRun(at); });
        if (!found) return false;
        position_ = *found;
        stream_ = *headerAt(position_);
        return true;
    }

    /// What all frames have in common since the last that had not.
    const FrameHeader& stream() const { return stream_; }

    /// The next whole frame's place and size, looking past what is no frame; absent at the end.
    std::optional<std::pair<qsizetype, FrameHeader>> next() {
        auto header = headerAt(position_);
        if (!header || !sameStream(*header)) {
            const auto found = find(
                position_, end_, [this](qsizetype at) { return isPair(at) || startsAnother(at); });
            if (!found) return std::nullopt;
            position_ = *found;
            header = headerAt(position_);
            stream_ = *header;
        }
        if (header->size > end_ - position_) return std::nullopt;
        const qsizetype at = position_;
        position_ += header->size;
        return std::pair(at, *header);
    }

  private:
    std::optional<FrameHeader> headerAt(qsizetype at) const {
        if (at + kHeaderSize > end_) return std::nullopt;
        auto header = parseHeader(static_cast<uint32_t>(bigEndian(bytes_.sliced(at, kHeaderSize))));
        if (!header || header->isFree != (freeSize_ > 0)) return std::nullopt;
        header->size += freeSize_;
        return header;
    }

    bool sameStream(const FrameHeader& header) const {
        return (header.bits & kSameStreamMask) == (stream_.bits & kSameStreamMask);
    }

    /// Whether free frames begin here; their size is then known.
    bool isFreeRun(qsizetype at) {
        // LAME goes up to 640 kbit/s, which at 8 kHz are so many bytes.
        constexpr qsizetype kLargest = 5760;
        const auto bitsAt = [this](qsizetype place) {
            return static_cast<uint32_t>(bigEndian(bytes_.sliced(place, kHeaderSize)));
        };
        const auto header = parseHeader(bitsAt(at));
        if (!header || !header->isFree) return false;
        const qsizetype last = std::min(at + kLargest, end_ - kHeaderSize);
        for (qsizetype next = at + layer3Head(*header); next <= last; ++next) {
            const auto second = parseHeader(bitsAt(next));
            if (!second || !second->isFree ||
                (second->bits & kSameStreamMask) != (header->bits & kSameStreamMask))
                continue;
            freeSize_ = static_cast<int>(next - at) - header->size;
            if (isRun(at)) return true;
            freeSize_ = 0;
        }
        return false;
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

    /// Whether another song begins here, joined to this one.
    bool startsAnother(qsizetype at) const {
        const auto header = headerAt(at);
        return header && header->layer == stream_.layer && isRun(at);
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
            if (from + kHeaderSize > limit) return std::nullopt;
            if (condition(from)) return from;
            ++from;
        }
        return std::nullopt;
    }

    QByteArrayView bytes_;
    qsizetype tagsEnd_ = 0;
    qsizetype position_ = 0;
    qsizetype end_ = 0;
    FrameHeader stream_ = {};
    int freeSize_ = 0;  // of a free frame without padding; 0 where the frames tell theirs
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
    if (frame.size() >= 40 && frame.sliced(36).startsWith("VBRI")) return HeaderTag();
    qsizetype at = layer3Head(header) - ((header.bits & 0x10000) ? 0 : 2);
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

/// Puts the data of layer III frames together with what they take from those before.
class Units {
  public:
    /// The next frame's unit in `into`; absent where those before are missing.
    std::optional<Packet> add(QByteArrayView frame, const FrameHeader& header, QByteArray& into) {
        const qsizetype head = layer3Head(header);
        if (frame.size() < head) return std::nullopt;
        const QByteArrayView side = frame.sliced(kHeaderSize + ((header.bits & 0x10000) ? 0 : 2));
        const auto behind = static_cast<qsizetype>(header.lowRate ? bigEndian(side.first(1))
                                                                  : bigEndian(side.first(2)) >> 7);
        const bool whole = behind <= reservoir_.size();
        const qsizetype offset = into.size();
        if (whole) {
            into.append(frame.first(head));
            into.append(QByteArrayView(reservoir_).last(behind));
            into.append(frame.sliced(head));
        }
        constexpr qsizetype kFarthest = 511;
        reservoir_.append(frame.sliced(head));
        reservoir_.remove(0, std::max<qsizetype>(0, reservoir_.size() - kFarthest));
        if (!whole) return std::nullopt;
        return Packet{offset, 0, static_cast<int32_t>(into.size() - offset)};
    }

  private:
    QByteArray reservoir_;
};

/// The frames in all decode to `decoded` samples.
void trim(MpegFrames& frames, const HeaderTag& tag, int64_t decoded, QByteArrayView leadingTags) {
    const auto count = static_cast<int64_t>(frames.packets.size());
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
    const FrameHeader first = walk.stream();
    frames.layer = first.layer;
    frames.rate = first.rate;
    frames.channels = first.channels;
    HeaderTag tag;
    Units units;
    bool isFirst = true;
    double decoded = 0;
    frames.packets.reserve(static_cast<size_t>(bytes.size() / first.size) + 1);
    while (const auto frame = walk.next()) {
        const auto& [at, header] = *frame;
        const QByteArrayView content = QByteArrayView(bytes).sliced(at, header.size);
        if (std::exchange(isFirst, false)) {
            if (const auto found = readHeaderTag(content, header)) {
                tag = *found;
                continue;
            }
        }
        std::optional<Packet> packet = Packet{at, 0, header.size};
        if (first.isFree) packet = units.add(content, header, frames.units);
        const int64_t start = std::llround(decoded);
        decoded += static_cast<double>(header.samples) * first.rate / header.rate;
        if (packet) frames.packets.push_back({packet->offset, start, packet->size});
    }
    if (frames.packets.empty()) return std::nullopt;
    trim(frames, tag, std::llround(decoded), leadingTags);
    return frames;
}

}  // namespace platform::audio
