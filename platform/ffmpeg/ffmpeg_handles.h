// Owning handles for FFmpeg's objects, and FFmpeg's error codes as the program's errors.
#pragma once

#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include "foundation/Error.h"

namespace orvane::platform::ffmpeg {

struct CodecContextDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct SwsContextDeleter {
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};
struct SwrContextDeleter {
    void operator()(SwrContext* context) const { swr_free(&context); }
};
struct AudioFifoDeleter {
    void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
};
// Closes the file, if one is open, before freeing the context.
struct FormatContextDeleter {
    void operator()(AVFormatContext* context) const {
        if (context->pb != nullptr && !(context->oformat->flags & AVFMT_NOFILE)) {
            avio_closep(&context->pb);
        }
        avformat_free_context(context);
    }
};

// A demuxer's context, opened by avformat_open_input.
struct InputContextDeleter {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};

using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;
using SwsContextPtr = std::unique_ptr<SwsContext, SwsContextDeleter>;
using SwrContextPtr = std::unique_ptr<SwrContext, SwrContextDeleter>;
using AudioFifoPtr = std::unique_ptr<AVAudioFifo, AudioFifoDeleter>;
using FormatContextPtr = std::unique_ptr<AVFormatContext, FormatContextDeleter>;
using InputContextPtr = std::unique_ptr<AVFormatContext, InputContextDeleter>;

// FFmpeg's words for an error code, as av_strerror gives them.
std::string errorText(int code);

// An error in the "FFmpeg" domain: the code is the AVERROR, the description says what failed
// followed by FFmpeg's words, and the failure reason is FFmpeg's words alone.
foundation::Error makeError(int code, const std::string& whatFailed);

}  // namespace orvane::platform::ffmpeg
