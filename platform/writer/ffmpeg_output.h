// The file a movie writer fills, shared by the writer and its inputs: the muxer, the session's
// zero point, and the writer's status and first error. Inputs write their packets here from
// their encoding threads.
#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <string>

#include "foundation/Error.h"
#include "platform/ffmpeg/ffmpeg_handles.h"
#include "platform/media/MediaTime.h"
#include "platform/writer/AssetWriter.h"

namespace orvane::platform::ffmpeg {

class FfmpegOutput {
  public:
    FfmpegOutput(FormatContextPtr context, AssetFileType fileType, std::string path);

    AVFormatContext* context() { return _context.get(); }
    AssetFileType fileType() const { return _fileType; }
    const std::string& path() const { return _path; }

    // Status and the first error that ended the writing. Safe from any thread.
    AssetWriterStatus status() const { return _status.load(); }
    void setStatus(AssetWriterStatus status) { _status.store(status); }
    bool failed() const { return status() == AssetWriterStatus::Failed; }
    // Goes to Failed, keeping the first error; logs every one.
    void fail(const foundation::Error& error);
    std::optional<foundation::Error> error() const;

    // The source time that is zero in the file; none until the session starts. Set and read on
    // the writer's calling queue.
    void setSessionStart(MediaTime start) { _sessionStart = start; }
    const std::optional<MediaTime>& sessionStart() const { return _sessionStart; }

    // Writes the header; the streams' time bases are final afterwards. On the calling queue.
    bool writeHeader(AVDictionary** options);
    bool headerWritten() const { return _headerWritten; }
    // Hands an encoded packet (times in its stream's time base) to the muxer, which interleaves
    // the streams. Safe from the inputs' threads. False, with the writer failed, on an error
    // such as a full disk.
    bool writePacket(AVPacket* packet);
    // Writes the trailer and closes the file. Once, after every input has flushed.
    bool close();

  private:
    FormatContextPtr _context;
    const AssetFileType _fileType;
    const std::string _path;
    std::atomic<AssetWriterStatus> _status{AssetWriterStatus::Unknown};
    mutable std::mutex _errorMutex;  // guards _error
    std::optional<foundation::Error> _error;
    std::optional<MediaTime> _sessionStart;
    std::mutex _muxMutex;  // serialises the muxer between the inputs' threads
    bool _headerWritten = false;
};

}  // namespace orvane::platform::ffmpeg
