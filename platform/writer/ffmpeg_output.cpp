#include "platform/writer/ffmpeg_output.h"

#include <utility>

#include "foundation/log.h"

namespace orvane::platform::ffmpeg {

FfmpegOutput::FfmpegOutput(FormatContextPtr context, AssetFileType fileType, std::string path)
    : _context(std::move(context)), _fileType(fileType), _path(std::move(path)) {}

void FfmpegOutput::fail(const foundation::Error& error) {
    foundation::log("movie writer %s: %s", _path.c_str(), error.message().c_str());
    {
        std::lock_guard lock(_errorMutex);
        if (!_error) {
            _error = error;
        }
    }
    setStatus(AssetWriterStatus::Failed);
}

std::optional<foundation::Error> FfmpegOutput::error() const {
    std::lock_guard lock(_errorMutex);
    return _error;
}

bool FfmpegOutput::writeHeader(AVDictionary** options) {
    std::lock_guard lock(_muxMutex);
    const int result = avformat_write_header(_context.get(), options);
    if (result < 0) {
        fail(makeError(result, "Cannot write the movie header of " + _path));
        return false;
    }
    _headerWritten = true;
    return true;
}

bool FfmpegOutput::writePacket(AVPacket* packet) {
    std::lock_guard lock(_muxMutex);
    if (failed()) {
        av_packet_unref(packet);
        return false;
    }
    const int result = av_interleaved_write_frame(_context.get(), packet);
    if (result < 0) {
        fail(makeError(result, "Cannot write to " + _path));
        return false;
    }
    return true;
}

bool FfmpegOutput::close() {
    std::lock_guard lock(_muxMutex);
    int result = 0;
    if (_headerWritten) {
        // Also after a failure: what was written before it stays playable where it can.
        result = av_write_trailer(_context.get());
        if (result < 0) {
            fail(makeError(result, "Cannot finish the movie " + _path));
        }
    }
    AVFormatContext* context = _context.get();
    if (context->pb != nullptr) {
        avio_flush(context->pb);
        const int writeError = context->pb->error;
        result = avio_closep(&context->pb);
        if (writeError < 0 && !failed()) {
            fail(makeError(writeError, "Cannot write to " + _path));
        } else if (result < 0 && !failed()) {
            fail(makeError(result, "Cannot close " + _path));
        }
    }
    return !failed();
}

}  // namespace orvane::platform::ffmpeg
