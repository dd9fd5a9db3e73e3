// What the FFmpeg movie writer asks of its inputs, beyond the public input interface: open the
// encoder and the stream, learn the stream's time base, and flush at the end.
#pragma once

#include <memory>

#include "platform/writer/AssetWriter.h"
#include "platform/writer/ffmpeg_output.h"

namespace orvane::platform::ffmpeg {

class FfmpegInput : public AssetWriterInput {
  public:
    explicit FfmpegInput(std::shared_ptr<FfmpegOutput> output) : _output(std::move(output)) {}

    const FfmpegOutput* output() const { return _output.get(); }

    // Opens the encoder and adds the stream to the file. On startWriting; false with the writer
    // failed when the encoder cannot open.
    virtual bool open() = 0;
    // Sets the stream's time base for a session that starts at `start`, before the header.
    virtual void prepareStream(MediaTime start) = 0;
    // Learns the time base the muxer settled on and starts the encoding thread. After the
    // header.
    virtual void start() = 0;
    // Encodes what is queued, flushes the encoder and writes the last packets. On
    // finishWriting; later appends are refused.
    virtual void finish() = 0;

  protected:
    const std::shared_ptr<FfmpegOutput> _output;
};

}  // namespace orvane::platform::ffmpeg
