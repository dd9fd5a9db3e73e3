#include "platform/ffmpeg/ffmpeg_handles.h"

namespace orvane::platform::ffmpeg {

std::string errorText(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return text;
}

foundation::Error makeError(int code, const std::string& whatFailed) {
    const std::string words = errorText(code);
    return {"FFmpeg", code, whatFailed + ": " + words, words};
}

}  // namespace orvane::platform::ffmpeg
