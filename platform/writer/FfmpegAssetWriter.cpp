#include "platform/writer/FfmpegAssetWriter.h"

#include <mutex>
#include <utility>

extern "C" {
#include <libavutil/log.h>
}

#include "foundation/log.h"
#include "platform/writer/FfmpegAudioInput.h"
#include "platform/writer/FfmpegVideoInput.h"
#include "platform/writer/fragmented_movie.h"

namespace orvane::platform {

using ffmpeg::FfmpegAudioInput;
using ffmpeg::FfmpegInput;
using ffmpeg::FfmpegOutput;
using ffmpeg::FfmpegVideoInput;
using ffmpeg::makeError;

namespace {

// The encoders' progress and statistics are not the program's to print; their warnings and
// errors still are.
void quietEncoderLogs() {
    static std::once_flag once;
    std::call_once(once, [] {
        if (av_log_get_level() > AV_LOG_WARNING) {
            av_log_set_level(AV_LOG_WARNING);
        }
    });
}

}  // namespace

std::unique_ptr<FfmpegAssetWriter> FfmpegAssetWriter::create(
    const std::string& path, AssetFileType type, std::optional<foundation::Error>& error) {
    quietEncoderLogs();
    AVFormatContext* context = nullptr;
    const int result =
        avformat_alloc_output_context2(&context, nullptr, assetFileTypeName(type), path.c_str());
    if (result < 0 || context == nullptr) {
        error = makeError(result < 0 ? result : AVERROR_MUXER_NOT_FOUND,
                          std::string("Cannot write ") + assetFileTypeName(type) + " files");
        return nullptr;
    }
    auto output = std::make_shared<FfmpegOutput>(ffmpeg::FormatContextPtr(context), type, path);
    return std::unique_ptr<FfmpegAssetWriter>(new FfmpegAssetWriter(std::move(output)));
}

FfmpegAssetWriter::FfmpegAssetWriter(std::shared_ptr<FfmpegOutput> output)
    : _output(std::move(output)) {}

FfmpegAssetWriter::~FfmpegAssetWriter() {
    if (status() == AssetWriterStatus::Writing) {
        foundation::log("movie writer %s: let go while writing; the file is left unfinished",
                        _output->path().c_str());
    }
    // The inputs' threads end before the file is closed.
    _inputs.clear();
}

void FfmpegAssetWriter::setMetadata(std::vector<MetadataItem> items) {
    if (status() != AssetWriterStatus::Unknown) {
        foundation::log("movie writer: metadata set after writing started is ignored");
        return;
    }
    _metadata = std::move(items);
}

bool FfmpegAssetWriter::canApplyVideoOutputSettings(const VideoOutputSettings& settings) const {
    return FfmpegVideoInput::canApply(settings);
}

bool FfmpegAssetWriter::canApplyAudioOutputSettings(const AudioOutputSettings& settings) const {
    return FfmpegAudioInput::canApply(settings);
}

std::unique_ptr<AssetWriterInput> FfmpegAssetWriter::makeVideoInput(
    const VideoOutputSettings& settings, FormatDescriptionRef sourceFormatHint) {
    if (!FfmpegVideoInput::canApply(settings)) {
        foundation::log("movie writer: no video input for codec %s at %dx%d",
                        settings.codec.c_str(), settings.width, settings.height);
        return nullptr;
    }
    return std::make_unique<FfmpegVideoInput>(_output, settings, std::move(sourceFormatHint));
}

std::unique_ptr<AssetWriterInput> FfmpegAssetWriter::makeAudioInput(
    const AudioOutputSettings& settings, FormatDescriptionRef sourceFormatHint) {
    if (!FfmpegAudioInput::canApply(settings)) {
        foundation::log("movie writer: no audio input for format %s",
                        fourCharCodeString(settings.formatID).c_str());
        return nullptr;
    }
    return std::make_unique<FfmpegAudioInput>(_output, settings, std::move(sourceFormatHint));
}

bool FfmpegAssetWriter::canAddInput(const AssetWriterInput& input) const {
    const auto* ours = dynamic_cast<const FfmpegInput*>(&input);
    if (ours == nullptr || ours->output() != _output.get() ||
        status() != AssetWriterStatus::Unknown) {
        return false;
    }
    for (const auto& added : _inputs) {
        if (added->mediaType() == input.mediaType()) {
            return false;
        }
    }
    return true;
}

AssetWriterInput* FfmpegAssetWriter::addInput(std::unique_ptr<AssetWriterInput> input) {
    if (input == nullptr || !canAddInput(*input)) {
        foundation::log("movie writer: input refused");
        return nullptr;
    }
    _inputs.emplace_back(static_cast<FfmpegInput*>(input.release()));
    return _inputs.back().get();
}

bool FfmpegAssetWriter::startWriting() {
    if (status() != AssetWriterStatus::Unknown) {
        foundation::log("movie writer: startWriting called twice");
        return false;
    }
    AVFormatContext* context = _output->context();
    const int opened = avio_open(&context->pb, _output->path().c_str(), AVIO_FLAG_WRITE);
    if (opened < 0) {
        _output->fail(makeError(opened, "Cannot open " + _output->path() + " for writing"));
        return false;
    }
    for (const auto& item : _metadata) {
        av_dict_set(&context->metadata, item.key.c_str(), item.value.c_str(), 0);
    }
    for (const auto& input : _inputs) {
        if (!input->open()) {
            return false;
        }
    }
    _output->setStatus(AssetWriterStatus::Writing);
    return true;
}

void FfmpegAssetWriter::startSessionAtSourceTime(MediaTime startTime) {
    if (status() != AssetWriterStatus::Writing || _output->sessionStart()) {
        foundation::log("movie writer: session start at %s ignored: %s",
                        startTime.description().c_str(),
                        _output->sessionStart() ? "the session has started" : "not writing");
        return;
    }
    if (!startTime.isNumeric()) {
        _output->fail(
            makeError(AVERROR(EINVAL), "The session cannot start at " + startTime.description()));
        return;
    }
    beginSession(startTime);
}

void FfmpegAssetWriter::beginSession(MediaTime startTime) {
    _output->setSessionStart(startTime);
    for (const auto& input : _inputs) {
        input->prepareStream(startTime);
    }
    AVFormatContext* context = _output->context();
    // The muxer reads the creation time into the movie header.
    av_dict_set(&context->metadata, "creation_time", "now", 0);
    AVDictionary* options = nullptr;
    // File-level metadata as QuickTime metadata keys, in MPEG-4 files too. The index goes first
    // and the samples follow in fragments, each handed to the kernel as it is made, so a killed
    // process leaves a movie that plays up to its last second.
    av_dict_set(&options, "movflags",
                "use_metadata_tags+empty_moov+delay_moov+default_base_moof+frag_keyframe", 0);
    av_dict_set_int(&options, "frag_duration", ffmpeg::kFragmentDuration, 0);
    av_dict_set_int(&options, "movie_timescale", ffmpeg::kMovieTimescale, 0);
    av_dict_set_int(&options, "flush_packets", 1, 0);
    const bool written = _output->writeHeader(&options);
    av_dict_free(&options);
    // The muxer has the creation time and has named itself; the movie's metadata holds the
    // program's items alone.
    av_dict_set(&context->metadata, "creation_time", nullptr, 0);
    av_dict_set(&context->metadata, "encoder", nullptr, 0);
    if (!written) {
        return;
    }
    for (const auto& input : _inputs) {
        input->start();
    }
}

void FfmpegAssetWriter::finishInputs() {
    for (const auto& input : _inputs) {
        input->finish();
    }
}

void FfmpegAssetWriter::joinFragmentsOrKeepThem() {
    if (auto error = ffmpeg::joinFragments(_output->path(), fileType())) {
        // Still a whole movie: players read its fragments, only some tools miss its duration.
        foundation::log("movie writer: %s stays in fragments: %s", _output->path().c_str(),
                        error->message().c_str());
    }
}

void FfmpegAssetWriter::finishWriting(std::function<void()> completion) {
    if (_finished) {
        // A recorder closing a failed writer may come after its own finish: the file is closed.
        if (completion) {
            completion();
        }
        return;
    }
    _finished = true;
    switch (status()) {
        case AssetWriterStatus::Writing:
            if (!_output->headerWritten() && !_output->sessionStart()) {
                // Nothing was appended: the movie is valid and empty.
                beginSession(MediaTime::zero());
            }
            finishInputs();
            if (_output->close()) {
                joinFragmentsOrKeepThem();
                _output->setStatus(AssetWriterStatus::Completed);
            }
            break;
        case AssetWriterStatus::Failed:
            // Whatever was written before the failure is kept, joined if the disk allows.
            finishInputs();
            _output->close();
            if (_output->headerWritten()) {
                joinFragmentsOrKeepThem();
            }
            break;
        default:
            _output->fail(makeError(AVERROR(EINVAL), "The movie " + _output->path() +
                                                         " was finished before it was started"));
            break;
    }
    if (completion) {
        completion();
    }
}

std::unique_ptr<AssetWriter> FfmpegAssetWriterFactory::makeWriter(
    const std::string& path, AssetFileType type, std::optional<foundation::Error>& error) {
    return FfmpegAssetWriter::create(path, type, error);
}

InterruptedMovie FfmpegAssetWriterFactory::closeInterruptedMovie(const std::string& path,
                                                                 AssetFileType type) {
    ffmpeg::MovieContents contents;
    InterruptedMovie movie;
    movie.error = ffmpeg::joinFragments(path, type, &contents);
    movie.videoFrames = contents.videoFrames;
    movie.audioPackets = contents.audioPackets;
    movie.seconds = contents.seconds;
    return movie;
}

}  // namespace orvane::platform
