#include "platform/audio/Song.h"

#include "platform/audio/GaplessComment.h"
#include "platform/audio/MemoryReader.h"
#include "platform/audio/Mp4Edits.h"
#include "platform/audio/MpegFrames.h"
#include "platform/audio/PacketDecoder.h"
#include "platform/containers/Id3v2Header.h"
#include "platform/containers/Mp4Boxes.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <tuple>
#include <utility>

namespace platform::audio {

namespace {

enum class Container { MpegAudio, Mp4, Other };

// By the bytes alone: a file's name says little about what it holds.
Container containerOf(const QByteArray& bytes) {
    ByteReader file(bytes);
    if (isMp4(file)) return Container::Mp4;
    for (const char* magic : {"fLaC", "OggS", "RIFF", "FORM", "caff"}) {
        if (bytes.startsWith(magic)) return Container::Other;
    }
    return Container::MpegAudio;
}

/// Bounds what a stranger's container may be taken for.
constexpr const char* kProbedFormats = "aac,aiff,caf,flac,loas,mov,mp3,ogg,wav";
constexpr int64_t kProbeSize = int64_t{256} << 10;

FormatContextPointer openContainer(MemoryReader& reader, const char* format) {
    AVFormatContext* context = avformat_alloc_context();
    if (!context || !reader.context()) {
        avformat_free_context(context);
        return nullptr;
    }
    context->pb = reader.context();
    context->probesize = kProbeSize;
    context->format_probesize = kProbeSize;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "format_whitelist", kProbedFormats, 0);
    // The packets are wanted as they lie in the file; the edits are applied to the samples.
    av_dict_set(&options, "ignore_editlist", "1", 0);
    const AVInputFormat* forced = format ? av_find_input_format(format) : nullptr;
    const int result = avformat_open_input(&context, nullptr, forced, &options);
    av_dict_free(&options);
    return FormatContextPointer(result == 0 ? context : nullptr);
}

AVStream* audioStream(AVFormatContext& container) {
    const int index = av_find_best_stream(&container, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    return index < 0 ? nullptr : container.streams[index];
}

CodecParametersPointer copyOf(const AVCodecParameters& parameters) {
    CodecParametersPointer copy(avcodec_parameters_alloc());
    if (!copy || avcodec_parameters_copy(copy.get(), &parameters) < 0) return nullptr;
    return copy;
}

/// A time that a file tells, in any unit, held where sums and differences of times can't overflow.
int64_t bounded(int64_t time) {
    constexpr int64_t kFarthest = int64_t{1} << 50;
    return std::clamp(time, -kFarthest, kFarthest);
}

/// Times in units of `timescale` become samples of the rate that the decoder really gives (which a
/// stream with spectral band replication announces at half).
int64_t samplesOf(int64_t time, int rate, int64_t timescale) {
    return bounded(av_rescale(bounded(time), rate, timescale));
}

/// What the first packets that decode at all sound like.
std::optional<SampleFormat> probeDecoder(const Song& song) {
    // A broken start is tolerated; a file of noise with a valid header is not searched for long.
    constexpr size_t kAttempts = 16;
    PacketDecoder decoder(*song.codec);
    if (!decoder.isOpen()) return std::nullopt;
    for (size_t i = 0; i < std::min(kAttempts, song.packets.size()); ++i) {
        if (const AVFrame* frame = decoder.decode(song, i)) return formatOf(*frame);
    }
    return std::nullopt;
}

std::shared_ptr<const Song> openMpegAudio(const QByteArray& bytes) {
    auto frames = readMpegFrames(bytes);
    if (!frames) return nullptr;
    auto song = std::make_shared<Song>();
    const bool inUnits = !frames->units.isEmpty();
    song->bytes = inUnits ? std::move(frames->units) : bytes;
    song->codec.reset(avcodec_parameters_alloc());
    if (!song->codec) return nullptr;
    constexpr AVCodecID kCodecs[] = {AV_CODEC_ID_MP1, AV_CODEC_ID_MP2, AV_CODEC_ID_MP3};
    song->codec->codec_type = AVMEDIA_TYPE_AUDIO;
    song->codec->codec_id = inUnits ? AV_CODEC_ID_MP3ADU : kCodecs[frames->layer - 1];
    song->codec->sample_rate = frames->rate;
    av_channel_layout_default(&song->codec->ch_layout, frames->channels);
    song->packets = std::move(frames->packets);
    song->rate = frames->rate;
    song->skip = frames->skip;
    song->length = frames->length;
    if (!probeDecoder(*song)) return nullptr;
    return song;
}

/// The packets of a container whose table lists them all, which begins at `base`.
std::vector<Packet> listedPackets(AVStream& stream, qsizetype base, qsizetype fileSize) {
    std::vector<Packet> packets;
    const int count = avformat_index_get_entries_count(&stream);
    packets.reserve(static_cast<size_t>(std::max(count, 0)));
    for (int i = 0; i < count; ++i) {
        const AVIndexEntry& entry = *avformat_index_get_entry(&stream, i);
        // A truncated file has lost the packets past its end.
        if (entry.pos < 0 || entry.size <= 0 || entry.pos > fileSize - base - entry.size) continue;
        packets.push_back({base + entry.pos, bounded(entry.timestamp), entry.size});
    }
    return packets;
}

/// The packets of any other container, read through once and laid end to end in `bytes`, and
/// where the last of them ends; where it starts if no container says.
std::pair<std::vector<Packet>, int64_t> collectedPackets(AVFormatContext& container,
                                                         const AVStream& stream, qsizetype fileSize,
                                                         QByteArray& bytes) {
    std::vector<Packet> packets;
    const PacketPointer packet(av_packet_alloc());
    int64_t next = 0;
    while (packet && av_read_frame(&container, packet.get()) >= 0) {
        const bool ours = packet->stream_index == stream.index && packet->size > 0;
        if (ours && bytes.size() + packet->size <= fileSize) {
            const int64_t start = packet->pts == AV_NOPTS_VALUE ? next : bounded(packet->pts);
            packets.push_back({bytes.size(), start, packet->size});
            bytes.append(reinterpret_cast<const char*>(packet->data), packet->size);
            next = bounded(start + bounded(packet->duration));
        }
        av_packet_unref(packet.get());
    }
    return {std::move(packets), next};
}

/// How many samples the song's last packet decodes to; `otherwise` where it does not decode.
int samplesAtTheEnd(const Song& song, int otherwise) {
    constexpr size_t kPreroll = 4;
    PacketDecoder decoder(*song.codec);
    int samples = 0;
    const size_t count = song.packets.size();
    for (size_t i = count - std::min(count, kPreroll); decoder.isOpen() && i < count; ++i) {
        const AVFrame* frame = decoder.decode(song, i);
        samples = frame ? formatOf(*frame).samples : 0;
    }
    return samples > 0 ? samples : otherwise;
}

/// Puts the packets' times on the scale of decoded samples, counted from 0 and rising.
void rescaleTimes(Song& song, int64_t timescale) {
    const int64_t origin = song.packets.front().start;
    int64_t previous = -1;
    for (Packet& packet : song.packets) {
        packet.start = samplesOf(packet.start - origin, song.rate, timescale);
        packet.start = std::max(packet.start, previous + 1);
        previous = packet.start;
    }
}

/// The song is what the comment says or, without one, what the edit list says. The edit list counts
/// in the movie's coarse units; where the packets' own times agree with it as far as those reach,
/// they tell the length to the sample. The packets decode to `decoded` samples.
void trimMp4(Song& song, const Mp4Edits& edits, QByteArrayView movie, int64_t decoded,
             int samplesPerPacket) {
    std::optional<int64_t> length;
    if (const auto comment = readGaplessComment(movie)) {
        const int64_t all = comment->delay + comment->length + comment->padding;
        const auto packets = static_cast<int64_t>(song.packets.size());
        // Some encoders count the samples before spectral band replication doubles them.
        const int64_t scale = all > 0 && 2 * all <= (packets + 1) * samplesPerPacket ? 2 : 1;
        song.skip = comment->delay * scale;
        length = comment->length * scale;
    } else if (edits.timescale > 0) {
        song.skip = samplesOf(edits.mediaTime, song.rate, edits.timescale);
        const double seconds = edits.editSeconds;
        const int64_t rest = decoded - song.skip;
        const double differs = std::abs(seconds - static_cast<double>(rest) / song.rate);
        if (seconds > 0 && differs > edits.editPrecision)
            length = std::llround(std::min(seconds * song.rate, 1e15));
    }
    if (song.skip < 0 || song.skip >= decoded) song.skip = 0;
    const int64_t available = decoded - song.skip;
    song.length = length && *length > 0 ? std::min(*length, available) : available;
}

/// What the file holds from `base` on.
std::shared_ptr<const Song> openWithLibrary(const QByteArray& file, qsizetype base,
                                            const char* format) {
    const auto bytes = QByteArray::fromRawData(file.constData() + base, file.size() - base);
    // Whatever it is taken for: an MP4 file can begin with any box.
    if (!readMp4Edits(bytes, 0).plausible) return nullptr;
    MemoryReader reader(bytes);
    const FormatContextPointer container = openContainer(reader, format);
    if (!container) return nullptr;
    const bool isMp4 = std::strstr(container->iformat->name, "mp4") != nullptr;
    // The other containers learn from their first packets what MP4 says in its tables.
    if (!isMp4 && avformat_find_stream_info(container.get(), nullptr) < 0) return nullptr;
    AVStream* stream = audioStream(*container);
    if (!stream) return nullptr;
    const Mp4Edits edits =
        isMp4 ? readMp4Edits(bytes, static_cast<uint32_t>(stream->id)) : Mp4Edits();
    auto song = std::make_shared<Song>();
    int64_t end = 0;
    if (isMp4 && !edits.fragmented) {
        song->packets = listedPackets(*stream, base, file.size());
        song->bytes = file;
    } else {
        std::tie(song->packets, end) =
            collectedPackets(*container, *stream, bytes.size(), song->bytes);
    }
    song->codec = copyOf(*stream->codecpar);
    if (song->packets.empty() || !song->codec) return nullptr;
    const auto sound = probeDecoder(*song);
    if (!sound) return nullptr;
    song->rate = sound->rate;
    const AVRational unit = stream->time_base;
    const int64_t timescale = std::max<int64_t>(1, unit.den / std::max(1, unit.num));
    const int64_t first = song->packets.front().start;
    const int64_t lastLength = end - song->packets.back().start;
    rescaleTimes(*song, timescale);
    // Ogg counts from the song's first sample, so that what precedes it has negative times.
    if (!isMp4 && first < 0) song->skip = samplesOf(-first, song->rate, timescale);
    int64_t last = sound->samples;
    if (!isMp4)
        last = lastLength > 0 ? samplesOf(lastLength, song->rate, timescale)
                              : samplesAtTheEnd(*song, sound->samples);
    const int64_t lastEnd = song->packets.back().start + last;
    const int64_t told = stream->duration > 0
                             ? song->skip + samplesOf(stream->duration, sound->rate, timescale)
                             : lastEnd;
    const int64_t decoded = std::min(lastEnd, std::max(told, song->packets.back().start + 1));
    trimMp4(*song, edits, isMp4 ? mp4MovieBox(bytes) : QByteArrayView(), decoded, sound->samples);
    return song;
}

/// Where the file's audio begins: some carry tags before it, whatever it is.
qsizetype behindTags(const QByteArray& bytes) {
    ByteReader file(bytes);
    qsizetype at = 0;
    for (auto tag = id3v2HeaderAt(file, 0); tag && tag->next < file.size();
         tag = id3v2HeaderAt(file, at))
        at = tag->next;
    return at;
}

}  // namespace

std::shared_ptr<const Song> openSong(const QByteArray& bytes) {
    // A broken file is no news for the standard error stream, and is not believed how much memory
    // its tables and texts will take: the demuxers ask for it before they look.
    constexpr size_t kLargestBlock = size_t{256} << 20;
    av_log_set_level(AV_LOG_QUIET);
    av_max_alloc(kLargestBlock);
    const qsizetype base = behindTags(bytes);
    switch (containerOf(bytes.sliced(base, std::min<qsizetype>(bytes.size() - base, 16)))) {
        case Container::Mp4:
            return openWithLibrary(bytes, base, "mov");
        case Container::MpegAudio:
            if (auto song = openMpegAudio(bytes)) return song;
            break;
        case Container::Other:
            break;
    }
    return openWithLibrary(bytes, base, nullptr);
}

}  // namespace platform::audio
