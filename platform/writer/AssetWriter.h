// The movie writer: one file, any number of inputs (one video and one audio in this program),
// file-level metadata, and a session whose zero point is the first sample's time.
//
// The calling order is that of a real-time writer: create, setMetadata, make and add inputs,
// startWriting, startSessionAtSourceTime with the first sample's time, appendSampleBuffer on
// the inputs (never blocking: an input that is not ready answers so, and the caller drops the
// sample), finishWriting. A writer whose status is failed says why in error().
//
// Implementations: FFmpeg (FfmpegAssetWriter), and the fakes of the tests.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Error.h"
#include "platform/media/FormatDescription.h"
#include "platform/media/MediaTime.h"
#include "platform/media/SampleBuffer.h"

namespace orvane::platform {

enum class AssetFileType { QuickTimeMovie, MPEG4 };

// "mov" or "mp4", for logs and FFmpeg's muxer names.
const char* assetFileTypeName(AssetFileType type);

enum class AssetWriterStatus : std::int64_t {
    Unknown = 0,
    Writing = 1,
    Completed = 2,
    Failed = 3,
    Cancelled = 4,
};

// A 2D affine transform [a b 0; c d 0; tx ty 1], applied as a row vector times the matrix, as
// a track's display matrix is.
struct AffineTransform {
    double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;
    static AffineTransform identity() { return {}; }
    static AffineTransform rotation(double radians);
    bool operator==(const AffineTransform&) const = default;
};

// Video codecs by their four-character names.
inline constexpr const char* kVideoCodecTypeH264 = "avc1";
inline constexpr const char* kVideoCodecTypeHEVC = "hvc1";

struct VideoOutputSettings {
    std::string codec = kVideoCodecTypeH264;  // kVideoCodecTypeH264 or kVideoCodecTypeHEVC
    std::int32_t width = 0;
    std::int32_t height = 0;
    // The compression properties: the average bit rate in bits per second and the most frames
    // between two key frames.
    std::int32_t averageBitRate = 0;
    std::int32_t maxKeyFrameInterval = 0;
    // The rate the frames are expected to come at. An encoder whose rate control counts frames
    // rather than time (HEVC) spends the average bit rate over this many frames a second.
    double expectedSourceFrameRate = 30;
};

struct AudioOutputSettings {
    FourCharCode formatID = kAudioFormatMPEG4AAC;
    // Unset fields follow the source format given as the hint.
    std::optional<double> sampleRate;
    std::optional<std::int32_t> encoderBitRatePerChannel;
    std::optional<std::uint32_t> numberOfChannels;
    std::optional<AudioChannelLayoutTag> channelLayout;
};

// One file-level metadata item, as a QuickTime metadata key ("mdta" key space) and its text.
struct MetadataItem {
    std::string key;
    std::string value;
    bool operator==(const MetadataItem&) const = default;
};

// The QuickTime metadata keys the program writes.
inline constexpr const char* kQuickTimeMetadataKeySoftware = "com.apple.quicktime.software";
inline constexpr const char* kQuickTimeMetadataKeyMake = "com.apple.quicktime.make";
inline constexpr const char* kQuickTimeMetadataKeyComment = "com.apple.quicktime.comment";
inline constexpr const char* kQuickTimeMetadataKeyDescription = "com.apple.quicktime.description";
inline constexpr const char* kQuickTimeMetadataKeyKeywords = "com.apple.quicktime.keywords";
inline constexpr const char* kQuickTimeMetadataKeyLocationISO6709 =
    "com.apple.quicktime.location.ISO6709";

class AssetWriterInput {
  public:
    virtual ~AssetWriterInput() = default;

    virtual CMMediaType mediaType() const = 0;
    virtual void setExpectsMediaDataInRealTime(bool realTime) = 0;
    // Video only; the display matrix of the track. Set before startWriting.
    virtual void setTransform(const AffineTransform& transform) = 0;
    // Whether an append now would be taken without waiting. Safe from any thread.
    virtual bool isReadyForMoreMediaData() const = 0;
    // Encodes and writes the sample, or returns false when the writer has failed (its error()
    // says why). Called on one queue at a time; never waits for the encoder to catch up.
    virtual bool appendSampleBuffer(const SampleBufferRef& sample) = 0;
};

class AssetWriter {
  public:
    virtual ~AssetWriter() = default;

    virtual AssetFileType fileType() const = 0;
    virtual void setMetadata(std::vector<MetadataItem> items) = 0;

    virtual bool canApplyVideoOutputSettings(const VideoOutputSettings& settings) const = 0;
    virtual bool canApplyAudioOutputSettings(const AudioOutputSettings& settings) const = 0;
    // An input for these settings; the source format is a hint of what will be appended (size
    // and pixel format, or the PCM shape), and may be null. The input belongs to the caller
    // until it is added.
    virtual std::unique_ptr<AssetWriterInput> makeVideoInput(
        const VideoOutputSettings& settings, FormatDescriptionRef sourceFormatHint) = 0;
    virtual std::unique_ptr<AssetWriterInput> makeAudioInput(
        const AudioOutputSettings& settings, FormatDescriptionRef sourceFormatHint) = 0;
    virtual bool canAddInput(const AssetWriterInput& input) const = 0;
    // The writer takes the input; the pointer answered stays valid for the writer's life.
    virtual AssetWriterInput* addInput(std::unique_ptr<AssetWriterInput> input) = 0;

    // Opens the file and the encoders. False and status Failed, with error(), when that fails.
    virtual bool startWriting() = 0;
    // Times of appended samples are written relative to this one.
    virtual void startSessionAtSourceTime(MediaTime startTime) = 0;
    // Flushes the encoders, writes the trailer and closes the file, then calls `completion` on
    // the calling thread (the writer does its work there). Status is then Completed or Failed.
    virtual void finishWriting(std::function<void()> completion) = 0;

    virtual AssetWriterStatus status() const = 0;
    virtual std::optional<foundation::Error> error() const = 0;
};

// What a movie left by a writer that never finished holds, once it is closed.
struct InterruptedMovie {
    std::int64_t videoFrames = 0;
    std::int64_t audioPackets = 0;
    double seconds = 0;
    // Why it could not be closed; a movie with frames is still whole as far as it was written.
    std::optional<foundation::Error> error;
};

// Makes writers: the road from the recorder to the platform's engine, replaced in tests.
class AssetWriterFactory {
  public:
    virtual ~AssetWriterFactory() = default;
    // A writer for the file at `path` (nothing is opened yet), or the error that prevents one.
    virtual std::unique_ptr<AssetWriter> makeWriter(const std::string& path, AssetFileType type,
                                                    std::optional<foundation::Error>& error) = 0;
    // Closes, in place, a movie that a writer of this kind left when its process was killed,
    // as far as it was written.
    virtual InterruptedMovie closeInterruptedMovie(const std::string& path, AssetFileType type) = 0;
};

}  // namespace orvane::platform
