// The movie writer over FFmpeg: QuickTime or MPEG-4 files with an H.264 or HEVC video track
// (libx264, libx265), an AAC audio track (FFmpeg's own encoder), QuickTime metadata keys and
// the video track's transform as its display matrix. The file is written in fragments while
// the recording runs and joined into an ordinary movie when it ends (fragmented_movie.h).
//
// Threads: the writer's calls come from one queue at a time (the recorder's writing queue).
// Each input encodes on a thread of its own, fed through a small bounded queue, and both
// threads hand their packets to the muxer under one lock; an append never waits for an
// encoder, and an input is ready exactly while its queue has room. An error on any thread
// fails the writer: the next append answers false and error() says what failed.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/writer/AssetWriter.h"
#include "platform/writer/ffmpeg_input.h"

namespace orvane::platform {

class FfmpegAssetWriter final : public AssetWriter {
  public:
    // A writer for `path`, or none with `error` set when FFmpeg has no muxer for the type.
    static std::unique_ptr<FfmpegAssetWriter> create(const std::string& path, AssetFileType type,
                                                     std::optional<foundation::Error>& error);
    ~FfmpegAssetWriter() override;

    AssetFileType fileType() const override { return _output->fileType(); }
    void setMetadata(std::vector<MetadataItem> items) override;

    bool canApplyVideoOutputSettings(const VideoOutputSettings& settings) const override;
    bool canApplyAudioOutputSettings(const AudioOutputSettings& settings) const override;
    std::unique_ptr<AssetWriterInput> makeVideoInput(
        const VideoOutputSettings& settings, FormatDescriptionRef sourceFormatHint) override;
    std::unique_ptr<AssetWriterInput> makeAudioInput(
        const AudioOutputSettings& settings, FormatDescriptionRef sourceFormatHint) override;
    bool canAddInput(const AssetWriterInput& input) const override;
    AssetWriterInput* addInput(std::unique_ptr<AssetWriterInput> input) override;

    bool startWriting() override;
    void startSessionAtSourceTime(MediaTime startTime) override;
    void finishWriting(std::function<void()> completion) override;

    AssetWriterStatus status() const override { return _output->status(); }
    std::optional<foundation::Error> error() const override { return _output->error(); }

  private:
    explicit FfmpegAssetWriter(std::shared_ptr<ffmpeg::FfmpegOutput> output);
    void beginSession(MediaTime startTime);
    void finishInputs();
    void joinFragmentsOrKeepThem();

    const std::shared_ptr<ffmpeg::FfmpegOutput> _output;
    std::vector<std::unique_ptr<ffmpeg::FfmpegInput>> _inputs;
    std::vector<MetadataItem> _metadata;
    bool _finished = false;  // finishWriting has run
};

class FfmpegAssetWriterFactory final : public AssetWriterFactory {
  public:
    std::unique_ptr<AssetWriter> makeWriter(const std::string& path, AssetFileType type,
                                            std::optional<foundation::Error>& error) override;
    InterruptedMovie closeInterruptedMovie(const std::string& path, AssetFileType type) override;
};

}  // namespace orvane::platform
