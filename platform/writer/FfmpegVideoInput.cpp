#include "platform/writer/FfmpegVideoInput.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <thread>

extern "C" {
#include <libavutil/opt.h>
}

#include "foundation/log.h"

namespace orvane::platform::ffmpeg {
namespace {

// YUV frames between the appending queue and the encoder: one being converted, one being
// encoded, one waiting. More would only hold stale frames when the encoder falls behind.
constexpr int kFrameCount = 3;
// The encoder counts in microseconds: fine enough for its rate control, whatever the source's
// timescale; the file keeps the source's own times.
constexpr AVRational kEncoderTimeBase{1, 1000000};

struct EncoderChoice {
    const char* encoder;
    const char* name;
    // Chosen so that 1280x720 at 30 fps encodes well ahead of real time on two cores without
    // a GPU, leaving room for the capture and the stamping (bench/asset_writer.cpp).
    const char* preset;
};

std::optional<EncoderChoice> encoderFor(const std::string& codec) {
    if (codec == kVideoCodecTypeH264) {
        return EncoderChoice{"libx264", "H.264", "superfast"};
    }
    if (codec == kVideoCodecTypeHEVC) {
        return EncoderChoice{"libx265", "HEVC", "ultrafast"};
    }
    return std::nullopt;
}

std::int32_t toFixed(double value, int fractionBits) {
    return static_cast<std::int32_t>(std::lround(value * static_cast<double>(1 << fractionBits)));
}

// The transform as a track's display matrix: 16.16 fixed point, with 2.30 in the last column.
void addDisplayMatrix(AVStream* stream, const AffineTransform& transform) {
    auto* matrix = static_cast<std::int32_t*>(av_malloc(9 * sizeof(std::int32_t)));
    if (matrix == nullptr) {
        return;
    }
    const std::int32_t values[9] = {toFixed(transform.a, 16),  toFixed(transform.b, 16),  0,
                                    toFixed(transform.c, 16),  toFixed(transform.d, 16),  0,
                                    toFixed(transform.tx, 16), toFixed(transform.ty, 16), 1 << 30};
    std::memcpy(matrix, values, sizeof values);
    if (av_stream_add_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX,
                                reinterpret_cast<std::uint8_t*>(matrix), sizeof values) < 0) {
        av_free(matrix);
        foundation::log("movie writer: cannot set the video track's transform");
    }
}

}  // namespace

bool FfmpegVideoInput::canApply(const VideoOutputSettings& settings) {
    const auto choice = encoderFor(settings.codec);
    return choice && avcodec_find_encoder_by_name(choice->encoder) != nullptr &&
           settings.width > 0 && settings.height > 0 && settings.width % 2 == 0 &&
           settings.height % 2 == 0 && settings.width <= PixelBuffer::kMaxDimension &&
           settings.height <= PixelBuffer::kMaxDimension && settings.averageBitRate > 0 &&
           settings.maxKeyFrameInterval > 0 && std::isfinite(settings.expectedSourceFrameRate) &&
           settings.expectedSourceFrameRate > 0;
}

FfmpegVideoInput::FfmpegVideoInput(std::shared_ptr<FfmpegOutput> output,
                                   VideoOutputSettings settings,
                                   FormatDescriptionRef sourceFormatHint)
    : FfmpegInput(std::move(output)),
      _settings(std::move(settings)),
      _hint(std::move(sourceFormatHint)) {}

FfmpegVideoInput::~FfmpegVideoInput() {
    // The thread uses the encoder and the frames: it ends first.
    _worker.reset();
}

bool FfmpegVideoInput::open() {
    const auto choice = encoderFor(_settings.codec);
    const AVCodec* codec = choice ? avcodec_find_encoder_by_name(choice->encoder) : nullptr;
    if (codec == nullptr) {
        _output->fail(makeError(AVERROR_ENCODER_NOT_FOUND,
                                "No encoder for the video codec " + _settings.codec));
        return false;
    }
    const std::string encoderName =
        std::string(choice->name) + " encoder (" + choice->encoder + ")";
    _encoder.reset(avcodec_alloc_context3(codec));
    if (_encoder == nullptr) {
        _output->fail(makeError(AVERROR(ENOMEM), "Cannot set up the " + encoderName));
        return false;
    }
    AVCodecContext* context = _encoder.get();
    context->width = _settings.width;
    context->height = _settings.height;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->time_base = kEncoderTimeBase;
    context->framerate = av_d2q(_settings.expectedSourceFrameRate, 100000);
    context->bit_rate = _settings.averageBitRate;
    // The average holds over the file; peaks may pass it by half for a second or two.
    context->rc_max_rate = _settings.averageBitRate + _settings.averageBitRate / 2;
    context->rc_buffer_size = static_cast<int>(
        std::min<std::int64_t>(2 * static_cast<std::int64_t>(_settings.averageBitRate), INT32_MAX));
    context->gop_size = _settings.maxKeyFrameInterval;
    context->max_b_frames = 0;
    // Each picture is cut into slices encoded side by side, one thread a processor. Threads
    // that each take a whole picture (the encoder's default, half again as many as there are
    // processors) keep several pictures in flight: more latency, and 20 MB a thread at 1080p,
    // for a speed this machine's camera and frame pass, sharing the same processors, cannot use.
    context->thread_type = FF_THREAD_SLICE;
    context->thread_count = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    context->color_range = AVCOL_RANGE_MPEG;
    context->colorspace = AVCOL_SPC_BT709;
    context->color_primaries = AVCOL_PRI_BT709;
    context->color_trc = AVCOL_TRC_BT709;
    if (_output->context()->oformat->flags & AVFMT_GLOBALHEADER) {
        context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    AVDictionary* options = nullptr;
    av_dict_set(&options, "preset", choice->preset, 0);
    if (_settings.codec == kVideoCodecTypeHEVC) {
        av_dict_set(&options, "x265-params", "log-level=warning:bframes=0", 0);
    }
    const int opened = avcodec_open2(context, codec, &options);
    av_dict_free(&options);
    if (opened < 0) {
        _output->fail(makeError(opened, "Cannot open the " + encoderName));
        return false;
    }

    _stream = avformat_new_stream(_output->context(), nullptr);
    if (_stream == nullptr) {
        _output->fail(makeError(AVERROR(ENOMEM), "Cannot add the video track"));
        return false;
    }
    avcodec_parameters_from_context(_stream->codecpar, context);
    if (_settings.codec == kVideoCodecTypeHEVC) {
        // Players that follow the QuickTime rules take HEVC only under this tag.
        _stream->codecpar->codec_tag = MKTAG('h', 'v', 'c', '1');
    }
    if (!(_transform == AffineTransform::identity())) {
        addDisplayMatrix(_stream, _transform);
    }

    for (int i = 0; i < kFrameCount; ++i) {
        FramePtr frame(av_frame_alloc());
        if (frame != nullptr) {
            frame->format = AV_PIX_FMT_YUV420P;
            frame->width = _settings.width;
            frame->height = _settings.height;
        }
        if (frame == nullptr || av_frame_get_buffer(frame.get(), 0) < 0) {
            _output->fail(makeError(AVERROR(ENOMEM), "Cannot allocate video frames"));
            return false;
        }
        _frames.push_back(std::move(frame));
        _freeFrames.push_back(i);
    }
    _packet.reset(av_packet_alloc());
    if (_packet == nullptr) {
        _output->fail(makeError(AVERROR(ENOMEM), "Cannot allocate a video packet"));
        return false;
    }
    return true;
}

void FfmpegVideoInput::prepareStream(MediaTime start) {
    // The source's timescale, raised to a multiple that can tell frames apart.
    std::int32_t timescale = start.isNumeric() ? start.timescale : 600;
    if (timescale < 600) {
        timescale *= (600 + timescale - 1) / timescale;
    }
    _stream->time_base = AVRational{1, timescale};
}

void FfmpegVideoInput::start() {
    _streamTimeBase = _stream->time_base;
    _worker = std::make_unique<EncoderWorker<Job>>("orvane-video", kFrameCount + 1,
                                                   [this](Job& job) { encode(job); });
    _accepting.store(true);
}

bool FfmpegVideoInput::isReadyForMoreMediaData() const {
    if (_output->failed()) {
        return true;  // so that the next append reports the failure
    }
    if (!_accepting.load()) {
        return false;
    }
    std::lock_guard lock(_framesMutex);
    return !_freeFrames.empty();
}

void FfmpegVideoInput::drop(const char* why, MediaTime time) {
    _dropped.fetch_add(1);
    foundation::log("movie writer: video frame at %s dropped: %s", time.description().c_str(), why);
}

bool FfmpegVideoInput::appendSampleBuffer(const SampleBufferRef& sample) {
    if (_output->failed()) {
        return false;
    }
    if (sample == nullptr || sample->mediaType() != kCMMediaType_Video ||
        sample->imageBuffer() == nullptr) {
        foundation::log("movie writer: a sample that is not an image given to the video input");
        return true;
    }
    const MediaTime time = sample->presentationTimeStamp();
    if (!_accepting.load()) {
        drop("the writer is not writing", time);
        return true;
    }
    const MediaTime offset = time - *_output->sessionStart();
    if (!offset.isNumeric() || offset < MediaTime::zero()) {
        drop("it is before the session start", time);
        return true;
    }
    const AVRational sourceBase{1, offset.timescale};
    const std::int64_t streamPts =
        av_rescale_q_rnd(offset.value, sourceBase, _streamTimeBase, AV_ROUND_NEAR_INF);
    if (_lastStreamPts && streamPts <= *_lastStreamPts) {
        drop("it is not later than the frame before", time);
        return true;
    }
    const std::int64_t encoderPts =
        std::max(_lastEncoderPts + 1,
                 av_rescale_q_rnd(offset.value, sourceBase, kEncoderTimeBase, AV_ROUND_NEAR_INF));

    int frame = -1;
    {
        std::lock_guard lock(_framesMutex);
        if (!_freeFrames.empty()) {
            frame = _freeFrames.back();
            _freeFrames.pop_back();
        }
    }
    if (frame < 0) {
        drop("the encoder is behind", time);
        return true;
    }
    // The queue holds every frame and the job being encoded, whose frame is already free: a
    // free frame always finds room.
    if (!convert(*sample->imageBuffer(), _frames[frame].get()) ||
        !_worker->tryPost(Job{frame, encoderPts, streamPts})) {
        {
            std::lock_guard lock(_framesMutex);
            _freeFrames.push_back(frame);
        }
        if (!_output->failed()) {
            drop("the encoder is finishing", time);
        }
        return !_output->failed();
    }
    _lastStreamPts = streamPts;
    _lastEncoderPts = encoderPts;
    return true;
}

bool FfmpegVideoInput::convert(const PixelBuffer& source, AVFrame* destination) {
    const int writable = av_frame_make_writable(destination);
    if (writable < 0) {
        _output->fail(makeError(writable, "Cannot reuse a video frame"));
        return false;
    }
    if (_converter == nullptr || source.width() != _converterSource.width ||
        source.height() != _converterSource.height) {
        _converter.reset(sws_getContext(source.width(), source.height(), AV_PIX_FMT_BGRA,
                                        destination->width, destination->height, AV_PIX_FMT_YUV420P,
                                        SWS_BILINEAR, nullptr, nullptr, nullptr));
        if (_converter == nullptr) {
            _output->fail(makeError(AVERROR(EINVAL), "Cannot convert 32BGRA frames of " +
                                                         std::to_string(source.width()) + "x" +
                                                         std::to_string(source.height())));
            return false;
        }
        // Full-range RGB in, limited-range BT.709 out, as the stream is tagged.
        sws_setColorspaceDetails(_converter.get(), sws_getCoefficients(SWS_CS_DEFAULT), 1,
                                 sws_getCoefficients(SWS_CS_ITU709), 0, 0, 1 << 16, 1 << 16);
        _converterSource = {source.width(), source.height()};
    }
    PixelBufferReadLock lock(source);
    const std::uint8_t* planes[1] = {lock.data()};
    const int strides[1] = {static_cast<int>(source.bytesPerRow())};
    sws_scale(_converter.get(), planes, strides, 0, source.height(), destination->data,
              destination->linesize);
    return true;
}

void FfmpegVideoInput::encode(Job& job) {
    int result = 0;
    if (!_output->failed()) {
        AVFrame* frame = _frames[job.frame].get();
        frame->pts = job.encoderPts;
        _pendingTimes.push_back({job.encoderPts, job.streamPts});
        result = avcodec_send_frame(_encoder.get(), frame);
    }
    {
        std::lock_guard lock(_framesMutex);
        _freeFrames.push_back(job.frame);
    }
    if (result < 0) {
        _output->fail(makeError(result, "Cannot encode a video frame"));
        return;
    }
    writePackets();
}

void FfmpegVideoInput::writePackets() {
    while (!_output->failed()) {
        const int result = avcodec_receive_packet(_encoder.get(), _packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
            return;
        }
        if (result < 0) {
            _output->fail(makeError(result, "Cannot encode a video frame"));
            return;
        }
        while (!_pendingTimes.empty() && _pendingTimes.front().encoderPts < _packet->pts) {
            _pendingTimes.pop_front();
        }
        if (_pendingTimes.empty() || _pendingTimes.front().encoderPts != _packet->pts) {
            av_packet_unref(_packet.get());
            _output->fail(makeError(AVERROR_BUG, "The video encoder gave a frame of unknown time"));
            return;
        }
        const std::int64_t streamPts = _pendingTimes.front().streamPts;
        _pendingTimes.pop_front();
        if (!_pendingTimes.empty()) {
            _lastDuration = _pendingTimes.front().streamPts - streamPts;
        } else if (_lastDuration <= 0) {
            _lastDuration = av_rescale_q(1, av_inv_q(_encoder->framerate), _streamTimeBase);
        }
        _packet->pts = streamPts;
        _packet->dts = streamPts;
        _packet->duration = _lastDuration;
        _packet->stream_index = _stream->index;
        _output->writePacket(_packet.get());
    }
}

void FfmpegVideoInput::finish() {
    _accepting.store(false);
    if (_worker != nullptr) {
        _worker->finish();
    }
    if (_encoder == nullptr || !_output->headerWritten() || _output->failed()) {
        return;
    }
    const int result = avcodec_send_frame(_encoder.get(), nullptr);
    if (result < 0 && result != AVERROR_EOF) {
        _output->fail(makeError(result, "Cannot flush the video encoder"));
        return;
    }
    writePackets();
}

}  // namespace orvane::platform::ffmpeg
