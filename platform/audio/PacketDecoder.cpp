#include "platform/audio/PacketDecoder.h"

namespace platform::audio {

namespace {

// Between these, in samples per second, lie all rates that converters and recordings have; beyond
// them a resampler's work and memory would be what the file pleases.
constexpr int kLeastRate = 1'000;
constexpr int kMostRate = 1'000'000;

}  // namespace

SampleFormat formatOf(const AVFrame& frame) {
    return {static_cast<AVSampleFormat>(frame.format), frame.sample_rate,
            frame.ch_layout.nb_channels, frame.nb_samples};
}

PacketDecoder::PacketDecoder(const AVCodecParameters& parameters)
    : packet_(av_packet_alloc()), frame_(av_frame_alloc()) {
    const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
    if (!codec || codec->type != AVMEDIA_TYPE_AUDIO || !packet_ || !frame_) return;
    CodecContextPointer context(avcodec_alloc_context3(codec));
    if (!context || avcodec_parameters_to_context(context.get(), &parameters) < 0) return;
    context->thread_count = 1;
    // All samples are wanted; the trimming is the song's.
    context->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;
    if (avcodec_open2(context.get(), codec, nullptr) < 0) return;
    context_ = std::move(context);
}

const AVFrame* PacketDecoder::decode(const Song& song, size_t index) {
    const Packet& packet = song.packets[index];
    // The library copies a packet that it does not own, padded as its decoders need it.
    packet_->data =
        reinterpret_cast<uint8_t*>(const_cast<char*>(song.bytes.constData())) + packet.offset;
    packet_->size = packet.size;
    packet_->pts = packet_->dts = packet.start;
    const int sent = avcodec_send_packet(context_.get(), packet_.get());
    packet_->data = nullptr;
    packet_->size = 0;
    if (sent < 0 && sent != AVERROR(EAGAIN)) return nullptr;
    if (avcodec_receive_frame(context_.get(), frame_.get()) < 0) return nullptr;
    const SampleFormat format = formatOf(*frame_);
    const bool plausible = format.samples > 0 && format.channels > 0 && format.rate >= kLeastRate &&
                           format.rate <= kMostRate;
    return plausible ? frame_.get() : nullptr;
}

void PacketDecoder::flush() {
    avcodec_flush_buffers(context_.get());
}

}  // namespace platform::audio
