#include "platform/library/thumbnail_decoders.h"

#include <turbojpeg.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <memory>
#include <vector>

extern "C" {
#include <libavutil/display.h>
}

#include "platform/ffmpeg/ffmpeg_handles.h"

namespace orvane::platform {

namespace {

struct TjDeleter {
    void operator()(void* handle) const { tjDestroy(handle); }
};
using TjHandle = std::unique_ptr<void, TjDeleter>;

// Packets read looking for the first picture before giving up.
constexpr int kMostPackets = 1000;

// Scales any picture FFmpeg knows into a new 32BGRA buffer of `size`.
DecodedThumbnail scaleInto(const std::uint8_t* const planes[4], const int strides[4],
                           AVPixelFormat format, int width, int height, ThumbnailSize size) {
    auto created = PixelBuffer::create(size.width, size.height);
    if (!created.buffer) {
        return {nullptr, "no memory for a thumbnail"};
    }
    ffmpeg::SwsContextPtr scaler(sws_getContext(width, height, format, size.width, size.height,
                                                AV_PIX_FMT_BGRA, SWS_AREA, nullptr, nullptr,
                                                nullptr));
    if (!scaler) {
        return {nullptr, "cannot scale the picture"};
    }
    const PixelBufferWriteLock lock(*created.buffer);
    std::uint8_t* destination[4] = {lock.data(), nullptr, nullptr, nullptr};
    const int destinationStrides[4] = {static_cast<int>(created.buffer->bytesPerRow()), 0, 0, 0};
    sws_scale(scaler.get(), planes, strides, 0, height, destination, destinationStrides);
    return {created.buffer, {}};
}

// The picture turned by a quarter-turn multiple, clockwise.
PixelBufferRef turned(const PixelBufferRef& source, int quarterTurns) {
    quarterTurns = ((quarterTurns % 4) + 4) % 4;
    if (quarterTurns == 0) {
        return source;
    }
    const int w = source->width();
    const int h = source->height();
    const bool swap = quarterTurns % 2 == 1;
    auto created = PixelBuffer::create(swap ? h : w, swap ? w : h);
    if (!created.buffer) {
        return source;
    }
    const PixelBufferReadLock from(*source);
    const PixelBufferWriteLock to(*created.buffer);
    const auto fromRow = source->bytesPerRow();
    const auto toRow = created.buffer->bytesPerRow();
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            int tx = x;
            int ty = y;
            if (quarterTurns == 1) {
                tx = h - 1 - y;
                ty = x;
            } else if (quarterTurns == 2) {
                tx = w - 1 - x;
                ty = h - 1 - y;
            } else {
                tx = y;
                ty = w - 1 - x;
            }
            const auto* pixel = from.data() + static_cast<std::size_t>(y) * fromRow + 4 * x;
            std::copy_n(pixel, 4, to.data() + static_cast<std::size_t>(ty) * toRow + 4 * tx);
        }
    }
    return created.buffer;
}

}  // namespace

ThumbnailSize fitThumbnail(int width, int height, int maximumSize) {
    const int longer = std::max(width, height);
    if (longer <= maximumSize || longer <= 0) {
        return {std::max(width, 1), std::max(height, 1)};
    }
    const double scale = static_cast<double>(maximumSize) / longer;
    return {std::max(1, static_cast<int>(std::lround(width * scale))),
            std::max(1, static_cast<int>(std::lround(height * scale)))};
}

DecodedThumbnail decodeJpegThumbnail(const std::filesystem::path& file, int maximumSize) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        return {nullptr, "cannot open " + file.string()};
    }
    std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)),
                                     std::istreambuf_iterator<char>());
    TjHandle decoder(tjInitDecompress());
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colorspace = 0;
    if (!decoder || tjDecompressHeader3(decoder.get(), bytes.data(), bytes.size(), &width, &height,
                                        &subsampling, &colorspace) != 0) {
        return {nullptr, std::string("not a JPEG: ") + tjGetErrorStr2(decoder.get())};
    }
    const auto target = fitThumbnail(width, height, maximumSize);
    // The smallest scale libjpeg-turbo decodes to directly that still covers the target.
    int factorCount = 0;
    const tjscalingfactor* factors = tjGetScalingFactors(&factorCount);
    int decodedWidth = width;
    int decodedHeight = height;
    for (int i = 0; factors && i < factorCount; ++i) {
        const int w = TJSCALED(width, factors[i]);
        const int h = TJSCALED(height, factors[i]);
        if (w >= target.width && h >= target.height &&
            std::int64_t{w} * h < std::int64_t{decodedWidth} * decodedHeight) {
            decodedWidth = w;
            decodedHeight = h;
        }
    }
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(decodedWidth) * decodedHeight * 4);
    if (tjDecompress2(decoder.get(), bytes.data(), bytes.size(), pixels.data(), decodedWidth,
                      decodedWidth * 4, decodedHeight, TJPF_BGRA, TJFLAG_FASTDCT) != 0 &&
        tjGetErrorCode(decoder.get()) == TJERR_FATAL) {
        return {nullptr, std::string("cannot decode the JPEG: ") + tjGetErrorStr2(decoder.get())};
    }
    const std::uint8_t* planes[4] = {pixels.data(), nullptr, nullptr, nullptr};
    const int strides[4] = {decodedWidth * 4, 0, 0, 0};
    return scaleInto(planes, strides, AV_PIX_FMT_BGRA, decodedWidth, decodedHeight, target);
}

DecodedThumbnail decodeMovieThumbnail(const std::filesystem::path& file, int maximumSize) {
    AVFormatContext* opened = nullptr;
    if (const int error = avformat_open_input(&opened, file.c_str(), nullptr, nullptr); error < 0) {
        return {nullptr, "cannot open " + file.string() + ": " + ffmpeg::errorText(error)};
    }
    ffmpeg::InputContextPtr format(opened);
    if (const int error = avformat_find_stream_info(format.get(), nullptr); error < 0) {
        return {nullptr, "cannot read " + file.string() + ": " + ffmpeg::errorText(error)};
    }
    const AVCodec* codec = nullptr;
    const int streamIndex =
        av_find_best_stream(format.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
    if (streamIndex < 0 || !codec) {
        return {nullptr, file.string() + " has no video to show"};
    }
    AVStream* stream = format->streams[streamIndex];
    ffmpeg::CodecContextPtr decoder(avcodec_alloc_context3(codec));
    if (!decoder || avcodec_parameters_to_context(decoder.get(), stream->codecpar) < 0) {
        return {nullptr, "cannot set up a decoder for " + file.string()};
    }
    // One picture is not worth a pool of decoding threads.
    decoder->thread_count = 1;
    if (const int error = avcodec_open2(decoder.get(), codec, nullptr); error < 0) {
        return {nullptr, "cannot open the decoder: " + ffmpeg::errorText(error)};
    }
    ffmpeg::PacketPtr packet(av_packet_alloc());
    ffmpeg::FramePtr frame(av_frame_alloc());
    if (!packet || !frame) {
        return {nullptr, "no memory for decoding"};
    }
    bool decoded = false;
    bool flushing = false;
    for (int read = 0; !decoded && read < kMostPackets; ++read) {
        if (!flushing) {
            const int status = av_read_frame(format.get(), packet.get());
            if (status < 0) {
                flushing = true;
                avcodec_send_packet(decoder.get(), nullptr);
            } else {
                if (packet->stream_index == streamIndex) {
                    avcodec_send_packet(decoder.get(), packet.get());
                }
                av_packet_unref(packet.get());
            }
        }
        const int received = avcodec_receive_frame(decoder.get(), frame.get());
        if (received == 0) {
            decoded = true;
        } else if (received == AVERROR_EOF || (flushing && received != AVERROR(EAGAIN))) {
            break;
        }
    }
    if (!decoded) {
        return {nullptr, "no picture could be decoded from " + file.string()};
    }
    const auto target = fitThumbnail(frame->width, frame->height, maximumSize);
    auto thumbnail =
        scaleInto(frame->data, frame->linesize, static_cast<AVPixelFormat>(frame->format),
                  frame->width, frame->height, target);
    // A movie recorded turned carries how to show it; the thumbnail shows it that way.
    if (thumbnail.image) {
        const auto* matrix = reinterpret_cast<const std::int32_t*>(
            av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
        if (matrix) {
            const double degrees = -av_display_rotation_get(matrix);
            if (std::isfinite(degrees)) {
                thumbnail.image =
                    turned(thumbnail.image, static_cast<int>(std::lround(degrees / 90)));
            }
        }
    }
    return thumbnail;
}

DecodedThumbnail decodeThumbnail(const std::filesystem::path& file, int maximumSize) {
    std::ifstream in(file, std::ios::binary);
    unsigned char start[3] = {};
    in.read(reinterpret_cast<char*>(start), sizeof start);
    if (in && start[0] == 0xFF && start[1] == 0xD8 && start[2] == 0xFF) {
        return decodeJpegThumbnail(file, maximumSize);
    }
    return decodeMovieThumbnail(file, maximumSize);
}

}  // namespace orvane::platform
