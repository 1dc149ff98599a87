#include "tests/platform/audio/Songs.h"

#include "platform/audio/FfmpegPointers.h"
#include "platform/audio/MemoryReader.h"

#include <QByteArrayList>
#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace platform::audio {

QByteArray encodedBy(const QStringList& command, const QString& suffix) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("song.") + suffix);
    QStringList arguments = command;
    arguments.replaceInStrings(QStringLiteral("OUT"), path);
    QByteArrayList words;
    for (const QString& argument : arguments)
        words << argument.toUtf8();
    std::vector<char*> argv;
    for (QByteArray& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    // Not by QProcess: after its way of forking, the thread sanitizer is blind to the locks of the
    // thread that started it.
    pid_t encoder = 0;
    int status = 0;
    const bool ended =
        ::posix_spawnp(&encoder, argv[0], nullptr, nullptr, argv.data(), environ) == 0 &&
        ::waitpid(encoder, &status, 0) == encoder;
    if (!ended || status != 0) std::abort();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) std::abort();
    return file.readAll();
}

QString songSource(double seconds, int rate, int channels) {
    const QString left =
        QStringLiteral("0.3*sin(2*PI*440*t)+0.2*sin(2*PI*(200+900*t)*t)+0.1*(random(0)-0.5)");
    const QString right = QStringLiteral("0.4*sin(2*PI*554.37*t*(1+0.05*t))+0.1*(random(1)-0.5)");
    return QStringLiteral("aevalsrc=%1:s=%2:d=%3")
        .arg(channels == 1 ? left : left + u'|' + right)
        .arg(rate)
        .arg(seconds);
}

QByteArray encodedSong(double seconds, const QString& options, const QString& suffix, int rate,
                       int channels) {
    QStringList command = {QStringLiteral("ffmpeg"),
                           QStringLiteral("-v"),
                           QStringLiteral("error"),
                           QStringLiteral("-f"),
                           QStringLiteral("lavfi"),
                           QStringLiteral("-i"),
                           songSource(seconds, rate, channels)};
    command += options.split(u' ', Qt::SkipEmptyParts);
    command += QStringLiteral("OUT");
    return encodedBy(command, suffix);
}

QByteArray waveFile(const std::vector<float>& stereo, int rate) {
    QByteArray bytes;
    const auto number = [&](uint32_t value, int size) {
        const uint32_t little = qToLittleEndian(value);
        bytes.append(reinterpret_cast<const char*>(&little), size);
    };
    const auto size = static_cast<uint32_t>(stereo.size() * sizeof(float));
    constexpr uint32_t ieeeFloat = 3;
    bytes += "RIFF";
    number(36 + size, 4);
    bytes += "WAVEfmt ";
    number(16, 4);
    number(ieeeFloat, 2);
    number(2, 2);
    number(static_cast<uint32_t>(rate), 4);
    number(static_cast<uint32_t>(rate) * 8, 4);
    number(8, 2);
    number(32, 2);
    bytes += "data";
    number(size, 4);
    bytes.append(reinterpret_cast<const char*>(stereo.data()), size);
    return bytes;
}

namespace {

void append(Reference& reference, const AVFrame& frame) {
    const int channels = frame.ch_layout.nb_channels;
    reference.channels = channels;
    reference.rate = frame.sample_rate;
    for (int i = 0; i < frame.nb_samples; ++i) {
        for (int c = 0; c < channels; ++c) {
            const uint8_t* plane = frame.extended_data[c];
            switch (frame.format) {
                case AV_SAMPLE_FMT_FLTP:
                    reference.samples.push_back(reinterpret_cast<const float*>(plane)[i]);
                    break;
                case AV_SAMPLE_FMT_S16P: {
                    const auto sample = reinterpret_cast<const int16_t*>(plane)[i];
                    reference.samples.push_back(static_cast<float>(sample) / 32768.0F);
                    break;
                }
                case AV_SAMPLE_FMT_S32P: {
                    const auto sample = reinterpret_cast<const int32_t*>(plane)[i];
                    reference.samples.push_back(static_cast<float>(sample / 2147483648.0));
                    break;
                }
                default:
                    std::abort();
            }
        }
    }
}

}  // namespace

Reference wholeFileDecode(const QByteArray& bytes) {
    MemoryReader reader(bytes);
    AVFormatContext* opened = avformat_alloc_context();
    opened->pb = reader.context();
    if (avformat_open_input(&opened, nullptr, nullptr, nullptr) != 0) std::abort();
    const FormatContextPointer container(opened);
    if (avformat_find_stream_info(opened, nullptr) < 0) std::abort();
    const int index = av_find_best_stream(opened, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    const AVCodecParameters& parameters = *opened->streams[index]->codecpar;
    const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
    const CodecContextPointer context(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(context.get(), &parameters);
    context->pkt_timebase = opened->streams[index]->time_base;
    if (avcodec_open2(context.get(), codec, nullptr) != 0) std::abort();
    const PacketPointer packet(av_packet_alloc());
    const FramePointer frame(av_frame_alloc());
    Reference reference;
    const auto receive = [&] {
        while (avcodec_receive_frame(context.get(), frame.get()) == 0)
            append(reference, *frame);
    };
    while (av_read_frame(opened, packet.get()) == 0) {
        if (packet->stream_index == index) {
            avcodec_send_packet(context.get(), packet.get());
            receive();
        }
        av_packet_unref(packet.get());
    }
    avcodec_send_packet(context.get(), nullptr);
    receive();
    return reference;
}

}  // namespace platform::audio
