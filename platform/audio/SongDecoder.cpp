#include "platform/audio/SongDecoder.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/opt.h>
}

namespace platform::audio {

namespace {

// Layer III takes up to 511 bytes of a frame's data from the frames before (ISO/IEC 11172-3,
// 2.4.2.7), and its filter bank remembers one frame more.
constexpr int kBitReservoir = 511;
constexpr int kMpegHeaderAndSideInfo = 38;
constexpr size_t kFilterBankFrames = 2;
// Transform codecs overlap one frame; spectral band replication remembers some more.
constexpr size_t kOverlappingPackets = 4;
// After this much an Opus decoder has forgotten all that is heard (RFC 7845, 4.6).
constexpr double kOpusPrerollSeconds = 0.08;

/// Nothing that a decoder makes of broken bytes may pass a mixer and poison its sums.
float tamed(float sample) {
    constexpr float kLimit = 4.0F;
    return std::isfinite(sample) ? std::clamp(sample, -kLimit, kLimit) : 0.0F;
}

}  // namespace

SongDecoder::SongDecoder(std::shared_ptr<const Song> song)
    : song_(std::move(song)), decoder_(*song_->codec) {}

size_t SongDecoder::prerollStart(size_t packet) const {
    switch (song_->codec->codec_id) {
        case AV_CODEC_ID_MP3: {
            int bytes = 0;
            while (packet > 0 && bytes < kBitReservoir)
                bytes += std::max(0, song_->packets[--packet].size - kMpegHeaderAndSideInfo);
            return packet - std::min(packet, kFilterBankFrames);
        }
        case AV_CODEC_ID_MP3ADU:
            return packet - std::min(packet, kFilterBankFrames);
        case AV_CODEC_ID_OPUS: {
            const auto far = static_cast<int64_t>(kOpusPrerollSeconds * song_->rate);
            const int64_t wanted = song_->packets[packet].start - far;
            while (packet > 0 && song_->packets[packet].start > wanted)
                --packet;
            return packet;
        }
        case AV_CODEC_ID_ALAC:
        case AV_CODEC_ID_FLAC:
            return packet;
        default:
            return packet - std::min(packet, kOverlappingPackets);
    }
}

void SongDecoder::seek(int64_t sample) {
    position_ = std::min(sample, song_->length);
    const int64_t target = std::max<int64_t>(position_, 0) + song_->skip;
    const auto after =
        std::upper_bound(song_->packets.begin(), song_->packets.end(), target,
                         [](int64_t value, const Packet& packet) { return value < packet.start; });
    const auto at = static_cast<size_t>(after - song_->packets.begin());
    nextPacket_ = prerollStart(at > 0 ? at - 1 : 0);
    restart();
    blockFrames_ = 0;
    flowEnd_ = kNoFlow;
    lastDecodedEnd_ = target;
    brokeOff_ = false;
}

void SongDecoder::restart() {
    if (resamples()) converter_.reset();
    if (!decoder_.isOpen()) return;
    const AVCodecID codec = song_->codec->codec_id;
    if (codec != AV_CODEC_ID_AAC && codec != AV_CODEC_ID_AAC_LATM) {
        decoder_.flush();
        return;
    }
    // A flush leaves the band replication's filters and the noise generator as they are; a new
    // decoder makes a place sound the same whatever was played before. It learns the replication's
    // settings from the first packet, as later ones need not repeat them.
    decoder_ = PacketDecoder(*song_->codec);
    if (!decoder_.isOpen() || nextPacket_ == 0) return;
    decoder_.decode(*song_, 0);
    decoder_.flush();
}

size_t SongDecoder::read(float* stereo, size_t frames) {
    size_t done = 0;
    const auto silence = [&](int64_t count) {
        std::fill_n(stereo + 2 * done, 2 * count, 0.0F);
        done += static_cast<size_t>(count);
        position_ += count;
    };
    while (done < frames && position_ < song_->length) {
        const int64_t wanted =
            std::min(static_cast<int64_t>(frames - done), song_->length - position_);
        if (position_ < 0) {
            silence(std::min(wanted, -position_));
            continue;
        }
        const int64_t within = position_ + song_->skip - blockStart_;
        if (blockFrames_ > 0 && within < 0) {
            silence(std::min(wanted, -within));
        } else if (within >= 0 && within < blockFrames_) {
            const int64_t count = std::min(wanted, blockFrames_ - within);
            std::copy_n(block_.data() + 2 * within, 2 * count, stereo + 2 * done);
            done += static_cast<size_t>(count);
            position_ += count;
        } else if (!decodeNext()) {
            brokeOff_ = brokeOff_ || lastDecodedEnd_ < song_->packets.back().start;
            silence(wanted);
        }
    }
    return done;
}

bool SongDecoder::decodeNext() {
    block_.clear();
    while (nextPacket_ < song_->packets.size() && decoder_.isOpen()) {
        const size_t packet = nextPacket_++;
        if (const AVFrame* frame = decoder_.decode(*song_, packet))
            append(*frame);
        else
            flowEnd_ = kNoFlow;
        if (takeBlock(song_->packets[packet].start)) return true;
    }
    if (!resamples()) return takeBlock(0);
    convert(nullptr);
    converter_.reset();
    return takeBlock(lastDecodedEnd_);
}

bool SongDecoder::takeBlock(int64_t start) {
    blockFrames_ = static_cast<int64_t>(block_.size() / 2);
    if (blockFrames_ == 0) return false;
    // What is resampled comes in pieces that are not as long as their packets.
    blockStart_ = flowEnd_ == kNoFlow ? start : flowEnd_;
    lastDecodedEnd_ = blockStart_ + blockFrames_;
    flowEnd_ = resamples() ? lastDecodedEnd_ : kNoFlow;
    return true;
}

bool SongDecoder::prepareConverter(const SampleFormat& format, const AVFrame& frame) {
    if (converter_ && converted_.format == format.format && converted_.rate == format.rate &&
        converted_.channels == format.channels)
        return true;
    converter_.reset();
    AVChannelLayout in = {};
    if (frame.ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(&in, format.channels);
    else
        av_channel_layout_copy(&in, &frame.ch_layout);
    AVChannelLayout out = {};
    convertedChannels_ = format.channels == 1 ? 1 : 2;
    av_channel_layout_default(&out, convertedChannels_);
    SwrContext* context = nullptr;
    swr_alloc_set_opts2(&context, &out, AV_SAMPLE_FMT_FLT, song_->rate, &in, format.format,
                        format.rate, 0, nullptr);
    av_channel_layout_uninit(&in);
    converter_.reset(context);
    // Channels that are mixed together are scaled so that the sum stays within full scale.
    av_opt_set_double(context, "rematrix_maxval", 1.0, 0);
    if (!context || swr_init(context) < 0) converter_.reset();
    converted_ = format;
    return converter_ != nullptr;
}

void SongDecoder::append(const AVFrame& frame) {
    const SampleFormat format = formatOf(frame);
    // A song may change its rate on the way, but not so far that a packet would fill the memory.
    constexpr int64_t kFarthest = 16;
    if (format.rate > kFarthest * song_->rate || song_->rate > kFarthest * format.rate) return;
    if (resamples() && format.rate != converted_.rate) convert(nullptr);
    if (prepareConverter(format, frame)) convert(&frame);
}

void SongDecoder::convert(const AVFrame* frame) {
    const int samples = frame ? frame->nb_samples : 0;
    const int capacity = swr_get_out_samples(converter_.get(), samples);
    if (capacity <= 0) return;
    const size_t before = block_.size();
    block_.resize(before + 2 * static_cast<size_t>(capacity));
    float* const stereo = block_.data() + before;
    auto* out = reinterpret_cast<uint8_t*>(stereo);
    auto** in = frame ? const_cast<const uint8_t**>(frame->extended_data) : nullptr;
    const int converted = swr_convert(converter_.get(), &out, capacity, in, samples);
    const auto frames = static_cast<size_t>(std::max(0, converted));
    block_.resize(before + 2 * frames);
    if (convertedChannels_ == 1) {
        for (size_t i = frames; i-- > 0;)
            stereo[2 * i] = stereo[2 * i + 1] = stereo[i];
    }
    for (size_t i = 0; i < 2 * frames; ++i)
        stereo[i] = tamed(stereo[i]);
}

}  // namespace platform::audio
