#include "platform/writer/FfmpegAudioInput.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/channel_layout.h>
}

#include "foundation/log.h"

namespace orvane::platform::ffmpeg {
namespace {

// Buffers of 1024 frames at 48 kHz are 21 ms: a queue of this many holds over half a second.
constexpr std::size_t kQueueCapacity = 32;
constexpr std::int32_t kDefaultBitRatePerChannel = 64000;
constexpr double kDefaultSampleRate = 48000;
constexpr int kMaxChannels = 8;
// Timing differences below this are the capture clock's jitter, not holes or overlaps.
constexpr double kToleranceSeconds = 0.02;
// A hole longer than this is a clock jump, not sound that went missing: it is not filled.
constexpr double kLongestFilledHoleSeconds = 60;

const AVCodec* aacEncoder() {
    return avcodec_find_encoder_by_name("aac");
}

bool isSupportedRate(const AVCodec* codec, int rate) {
    if (codec->supported_samplerates == nullptr) {
        return true;
    }
    for (const int* supported = codec->supported_samplerates; *supported != 0; ++supported) {
        if (*supported == rate) {
            return true;
        }
    }
    return false;
}

int nearestSupportedRate(const AVCodec* codec, double rate) {
    if (codec->supported_samplerates == nullptr) {
        return static_cast<int>(std::lround(rate));
    }
    int best = codec->supported_samplerates[0];
    for (const int* supported = codec->supported_samplerates; *supported != 0; ++supported) {
        if (std::abs(*supported - rate) < std::abs(best - rate)) {
            best = *supported;
        }
    }
    return best;
}

std::optional<AVSampleFormat> sampleFormatOf(const AudioStreamBasicDescription& description) {
    if (description.formatID != kAudioFormatLinearPCM ||
        (description.formatFlags & kAudioFormatFlagIsNonInterleaved) ||
        (description.formatFlags & kAudioFormatFlagIsBigEndian)) {
        return std::nullopt;
    }
    const bool isFloat = description.formatFlags & kAudioFormatFlagIsFloat;
    switch (description.bitsPerChannel) {
        case 16:
            return isFloat ? std::nullopt : std::optional(AV_SAMPLE_FMT_S16);
        case 32:
            return isFloat ? AV_SAMPLE_FMT_FLT : AV_SAMPLE_FMT_S32;
        case 64:
            return isFloat ? std::optional(AV_SAMPLE_FMT_DBL) : std::nullopt;
        default:
            return std::nullopt;
    }
}

}  // namespace

bool FfmpegAudioInput::canApply(const AudioOutputSettings& settings) {
    const AVCodec* codec = aacEncoder();
    if (codec == nullptr || settings.formatID != kAudioFormatMPEG4AAC) {
        return false;
    }
    if (settings.sampleRate && (*settings.sampleRate != std::floor(*settings.sampleRate) ||
                                !isSupportedRate(codec, static_cast<int>(*settings.sampleRate)))) {
        return false;
    }
    if (settings.numberOfChannels &&
        (*settings.numberOfChannels < 1 || *settings.numberOfChannels > kMaxChannels)) {
        return false;
    }
    if (settings.channelLayout) {
        const std::uint32_t count = *settings.channelLayout & 0xFFFF;
        if (count < 1 || count > kMaxChannels ||
            (settings.numberOfChannels && *settings.numberOfChannels != count)) {
            return false;
        }
    }
    return !settings.encoderBitRatePerChannel || *settings.encoderBitRatePerChannel > 0;
}

FfmpegAudioInput::FfmpegAudioInput(std::shared_ptr<FfmpegOutput> output,
                                   AudioOutputSettings settings,
                                   FormatDescriptionRef sourceFormatHint)
    : FfmpegInput(std::move(output)),
      _settings(std::move(settings)),
      _hint(std::move(sourceFormatHint)) {}

FfmpegAudioInput::~FfmpegAudioInput() {
    _worker.reset();
}

bool FfmpegAudioInput::open() {
    const AVCodec* codec = aacEncoder();
    if (codec == nullptr) {
        _output->fail(makeError(AVERROR_ENCODER_NOT_FOUND, "No AAC encoder"));
        return false;
    }
    const AudioStreamBasicDescription* source =
        _hint != nullptr ? _hint->streamBasicDescription() : nullptr;

    int rate = static_cast<int>(kDefaultSampleRate);
    if (_settings.sampleRate) {
        rate = static_cast<int>(*_settings.sampleRate);
    } else if (source != nullptr) {
        rate = nearestSupportedRate(codec, source->sampleRate);
    }
    int channels = 2;
    if (_settings.numberOfChannels) {
        channels = static_cast<int>(*_settings.numberOfChannels);
    } else if (_settings.channelLayout) {
        channels = static_cast<int>(*_settings.channelLayout & 0xFFFF);
    } else if (source != nullptr) {
        channels = std::clamp(static_cast<int>(source->channelsPerFrame), 1, kMaxChannels);
    }

    _encoder.reset(avcodec_alloc_context3(codec));
    if (_encoder == nullptr) {
        _output->fail(makeError(AVERROR(ENOMEM), "Cannot set up the AAC encoder"));
        return false;
    }
    AVCodecContext* context = _encoder.get();
    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->sample_rate = rate;
    context->time_base = AVRational{1, rate};
    if (_settings.channelLayout == kAudioChannelLayoutTag_Mono) {
        context->ch_layout = AV_CHANNEL_LAYOUT_MONO;
    } else if (_settings.channelLayout == kAudioChannelLayoutTag_Stereo) {
        context->ch_layout = AV_CHANNEL_LAYOUT_STEREO;
    } else {
        av_channel_layout_default(&context->ch_layout, channels);
    }
    context->bit_rate = static_cast<std::int64_t>(_settings.encoderBitRatePerChannel.value_or(
                            kDefaultBitRatePerChannel)) *
                        channels;
    if (_output->context()->oformat->flags & AVFMT_GLOBALHEADER) {
        context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    const int opened = avcodec_open2(context, codec, nullptr);
    if (opened < 0) {
        _output->fail(makeError(opened, "Cannot open the AAC encoder"));
        return false;
    }

    _stream = avformat_new_stream(_output->context(), nullptr);
    if (_stream == nullptr) {
        _output->fail(makeError(AVERROR(ENOMEM), "Cannot add the audio track"));
        return false;
    }
    avcodec_parameters_from_context(_stream->codecpar, context);

    const int frameSize = context->frame_size > 0 ? context->frame_size : 1024;
    _fifo.reset(av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, channels, 4 * frameSize));
    _frame.reset(av_frame_alloc());
    _packet.reset(av_packet_alloc());
    if (_frame != nullptr) {
        _frame->format = AV_SAMPLE_FMT_FLTP;
        _frame->sample_rate = rate;
        _frame->nb_samples = frameSize;
        av_channel_layout_copy(&_frame->ch_layout, &context->ch_layout);
    }
    if (_fifo == nullptr || _frame == nullptr || _packet == nullptr ||
        av_frame_get_buffer(_frame.get(), 0) < 0) {
        _output->fail(makeError(AVERROR(ENOMEM), "Cannot allocate audio buffers"));
        return false;
    }
    _planes.assign(static_cast<std::size_t>(channels), std::vector<float>(4 * frameSize));
    return true;
}

void FfmpegAudioInput::prepareStream(MediaTime) {
    _stream->time_base = AVRational{1, _encoder->sample_rate};
}

void FfmpegAudioInput::start() {
    _streamTimeBase = _stream->time_base;
    _worker = std::make_unique<EncoderWorker<Job>>("orvane-audio", kQueueCapacity,
                                                   [this](Job& job) { process(job); });
    _accepting.store(true);
}

bool FfmpegAudioInput::isReadyForMoreMediaData() const {
    if (_output->failed()) {
        return true;  // so that the next append reports the failure
    }
    return _accepting.load() && _worker->hasRoom();
}

bool FfmpegAudioInput::appendSampleBuffer(const SampleBufferRef& sample) {
    if (_output->failed()) {
        return false;
    }
    if (sample == nullptr || sample->mediaType() != kCMMediaType_Audio ||
        sample->formatDescription()->streamBasicDescription() == nullptr) {
        foundation::log("movie writer: a sample that is not audio given to the audio input");
        return true;
    }
    const MediaTime time = sample->presentationTimeStamp();
    const char* dropped = nullptr;
    const MediaTime offset =
        _accepting.load() ? time - *_output->sessionStart() : MediaTime::invalid();
    if (!_accepting.load()) {
        dropped = "the writer is not writing";
    } else if (!offset.isNumeric()) {
        dropped = "its time is not a number";
    } else if ((offset + sample->duration()).seconds() <= 0) {
        dropped = "it ends before the session start";
    } else if (!_worker->tryPost(Job{sample, offset})) {
        dropped = "the encoder is behind";
    }
    if (dropped != nullptr) {
        foundation::log("movie writer: audio at %s dropped: %s", time.description().c_str(),
                        dropped);
    }
    return true;
}

bool FfmpegAudioInput::configureResampler(const AudioStreamBasicDescription& source) {
    if (_resampler != nullptr && _resamplerSource == source) {
        return true;
    }
    const auto format = sampleFormatOf(source);
    if (!format || source.channelsPerFrame < 1 || source.sampleRate <= 0) {
        foundation::log("movie writer: audio in a format the writer cannot take, dropped");
        return false;
    }
    if (_resampler != nullptr) {
        foundation::log("movie writer: the audio format changed; the resampler starts anew");
    }
    AVChannelLayout sourceLayout;
    av_channel_layout_default(&sourceLayout, static_cast<int>(source.channelsPerFrame));
    SwrContext* resampler = nullptr;
    int result = swr_alloc_set_opts2(&resampler, &_encoder->ch_layout, AV_SAMPLE_FMT_FLTP,
                                     _encoder->sample_rate, &sourceLayout, *format,
                                     static_cast<int>(std::lround(source.sampleRate)), 0, nullptr);
    _resampler.reset(resampler);
    av_channel_layout_uninit(&sourceLayout);
    if (result >= 0) {
        result = swr_init(resampler);
    }
    if (result < 0) {
        _resampler.reset();
        _resamplerSource.reset();
        _output->fail(makeError(result, "Cannot convert the sound for the AAC encoder"));
        return false;
    }
    _resamplerSource = source;
    return true;
}

void FfmpegAudioInput::process(Job& job) {
    if (_output->failed()) {
        return;
    }
    const AudioStreamBasicDescription& source =
        *job.sample->formatDescription()->streamBasicDescription();
    if (!configureResampler(source)) {
        return;
    }
    const double outputRate = _encoder->sample_rate;
    const double rateRatio = source.sampleRate / outputRate;
    const auto frames = job.sample->numSamples();
    std::int64_t position = std::llround(job.offset.seconds() * outputRate);
    std::int64_t skipped = 0;  // source frames left out
    if (!_started) {
        if (position < 0) {
            skipped = static_cast<std::int64_t>(std::ceil(-position * rateRatio));
            position = 0;
        }
        _fifoStart = position;
        _started = true;
    } else {
        const std::int64_t expected = _fifoStart + av_audio_fifo_size(_fifo.get()) +
                                      swr_get_delay(_resampler.get(), _encoder->sample_rate);
        const std::int64_t gap = position - expected;
        const auto tolerance = static_cast<std::int64_t>(kToleranceSeconds * outputRate);
        if (gap > tolerance) {
            if (gap <= static_cast<std::int64_t>(kLongestFilledHoleSeconds * outputRate)) {
                writeSilence(gap);
            } else {
                foundation::log("movie writer: a hole of %.1f s in the sound is not filled",
                                static_cast<double>(gap) / outputRate);
            }
        } else if (gap < -tolerance) {
            skipped = static_cast<std::int64_t>(std::ceil(-gap * rateRatio));
        }
    }
    if (skipped >= frames) {
        return;
    }
    const auto data = job.sample->audioData();
    if (!resample(data.data() + skipped * source.bytesPerFrame,
                  static_cast<int>(frames - skipped))) {
        return;
    }
    encodeFrames(false);
}

bool FfmpegAudioInput::resample(const std::uint8_t* interleaved, int frames) {
    const int capacity = swr_get_out_samples(_resampler.get(), frames);
    if (capacity < 0) {
        _output->fail(makeError(capacity, "Cannot convert the sound for the AAC encoder"));
        return false;
    }
    std::uint8_t* planes[kMaxChannels] = {};
    for (std::size_t channel = 0; channel < _planes.size(); ++channel) {
        if (_planes[channel].size() < static_cast<std::size_t>(capacity)) {
            _planes[channel].resize(static_cast<std::size_t>(capacity));
        }
        planes[channel] = reinterpret_cast<std::uint8_t*>(_planes[channel].data());
    }
    const std::uint8_t* input[1] = {interleaved};
    const int converted = swr_convert(_resampler.get(), planes, capacity,
                                      interleaved != nullptr ? input : nullptr, frames);
    if (converted < 0) {
        _output->fail(makeError(converted, "Cannot convert the sound for the AAC encoder"));
        return false;
    }
    if (converted > 0 &&
        av_audio_fifo_write(_fifo.get(), reinterpret_cast<void**>(planes), converted) < converted) {
        _output->fail(makeError(AVERROR(ENOMEM), "Cannot buffer the sound for the AAC encoder"));
        return false;
    }
    return true;
}

void FfmpegAudioInput::writeSilence(std::int64_t frames) {
    const auto chunk = static_cast<std::int64_t>(_planes.front().size());
    std::uint8_t* planes[kMaxChannels] = {};
    for (std::size_t channel = 0; channel < _planes.size(); ++channel) {
        std::fill(_planes[channel].begin(), _planes[channel].end(), 0.0f);
        planes[channel] = reinterpret_cast<std::uint8_t*>(_planes[channel].data());
    }
    while (frames > 0 && !_output->failed()) {
        const auto count = static_cast<int>(std::min(frames, chunk));
        if (av_audio_fifo_write(_fifo.get(), reinterpret_cast<void**>(planes), count) < count) {
            _output->fail(
                makeError(AVERROR(ENOMEM), "Cannot buffer the sound for the AAC encoder"));
            return;
        }
        frames -= count;
        encodeFrames(false);
    }
}

void FfmpegAudioInput::encodeFrames(bool flush) {
    const int frameSize = _encoder->frame_size > 0 ? _encoder->frame_size : 1024;
    const bool takesShortFrame = _encoder->codec->capabilities & AV_CODEC_CAP_SMALL_LAST_FRAME;
    for (;;) {
        const int available = av_audio_fifo_size(_fifo.get());
        if (_output->failed() || available == 0 || (available < frameSize && !flush)) {
            return;
        }
        int result = av_frame_make_writable(_frame.get());
        if (result < 0) {
            _output->fail(makeError(result, "Cannot reuse an audio frame"));
            return;
        }
        const int count = std::min(available, frameSize);
        av_audio_fifo_read(_fifo.get(), reinterpret_cast<void**>(_frame->data), count);
        _frame->nb_samples = count;
        if (count < frameSize && !takesShortFrame) {
            av_samples_set_silence(_frame->data, count, frameSize - count,
                                   _encoder->ch_layout.nb_channels, AV_SAMPLE_FMT_FLTP);
            _frame->nb_samples = frameSize;
        }
        _frame->pts = _fifoStart;
        _fifoStart += count;
        result = avcodec_send_frame(_encoder.get(), _frame.get());
        _frame->nb_samples = frameSize;
        if (result < 0) {
            _output->fail(makeError(result, "Cannot encode the sound"));
            return;
        }
        writePackets();
    }
}

void FfmpegAudioInput::writePackets() {
    while (!_output->failed()) {
        const int result = avcodec_receive_packet(_encoder.get(), _packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
            return;
        }
        if (result < 0) {
            _output->fail(makeError(result, "Cannot encode the sound"));
            return;
        }
        av_packet_rescale_ts(_packet.get(), _encoder->time_base, _streamTimeBase);
        _packet->stream_index = _stream->index;
        _output->writePacket(_packet.get());
    }
}

void FfmpegAudioInput::finish() {
    _accepting.store(false);
    if (_worker != nullptr) {
        _worker->finish();
    }
    if (_encoder == nullptr || !_output->headerWritten() || _output->failed()) {
        return;
    }
    if (_resampler != nullptr && !resample(nullptr, 0)) {
        return;
    }
    encodeFrames(true);
    if (_output->failed()) {
        return;
    }
    const int result = avcodec_send_frame(_encoder.get(), nullptr);
    if (result < 0 && result != AVERROR_EOF) {
        _output->fail(makeError(result, "Cannot flush the AAC encoder"));
        return;
    }
    writePackets();
}

}  // namespace orvane::platform::ffmpeg
