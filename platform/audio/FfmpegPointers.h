#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

namespace platform::audio {

// Owning pointers to the codec library's objects, each released by the library's own function.

struct FfmpegDeleter {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(SwrContext* context) const { swr_free(&context); }
    void operator()(AVIOContext* context) const {
        av_freep(&context->buffer);
        avio_context_free(&context);
    }
};

using FormatContextPointer = std::unique_ptr<AVFormatContext, FfmpegDeleter>;
using CodecContextPointer = std::unique_ptr<AVCodecContext, FfmpegDeleter>;
using CodecParametersPointer = std::unique_ptr<AVCodecParameters, FfmpegDeleter>;
using PacketPointer = std::unique_ptr<AVPacket, FfmpegDeleter>;
using FramePointer = std::unique_ptr<AVFrame, FfmpegDeleter>;
using ConverterPointer = std::unique_ptr<SwrContext, FfmpegDeleter>;
using IoContextPointer = std::unique_ptr<AVIOContext, FfmpegDeleter>;

}  // namespace platform::audio
