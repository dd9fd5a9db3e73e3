#include "platform/writer/fragmented_movie.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/log.h"
#include "platform/ffmpeg/ffmpeg_handles.h"

namespace orvane::platform::ffmpeg {

namespace {

// A file beside `movie` that no other process names, created empty; removed again unless kept.
class JoinedFile {
  public:
    explicit JoinedFile(const std::filesystem::path& movie) {
        std::string pattern =
            (movie.parent_path() / ("." + movie.filename().string() + ".joining-XXXXXX")).string();
        const int fd = ::mkostemp(pattern.data(), O_CLOEXEC);
        if (fd < 0) {
            _error = errno;
            return;
        }
        // The joined movie keeps the permissions the movie was made with.
        struct stat made {};
        if (::stat(movie.c_str(), &made) == 0) {
            ::fchmod(fd, made.st_mode & 07777);
        }
        ::close(fd);
        _path = pattern;
    }
    ~JoinedFile() {
        if (!_path.empty() && !_kept) {
            ::unlink(_path.c_str());
        }
    }
    JoinedFile(const JoinedFile&) = delete;
    JoinedFile& operator=(const JoinedFile&) = delete;

    const std::string& path() const { return _path; }
    int error() const { return _error; }
    // Flushed to disk and renamed over `movie`; answers 0 or the errno.
    int replace(const std::filesystem::path& movie) {
        const int fd = ::open(_path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0 || ::fsync(fd) != 0) {
            const int error = errno;
            if (fd >= 0) {
                ::close(fd);
            }
            return error;
        }
        ::close(fd);
        if (::rename(_path.c_str(), movie.c_str()) != 0) {
            return errno;
        }
        _kept = true;
        return 0;
    }

  private:
    std::string _path;
    int _error = 0;
    bool _kept = false;
};

foundation::Error errnoError(int error, const std::string& whatFailed) {
    return makeError(AVERROR(error), whatFailed);
}

// The program's metadata keys and the creation time; the container's own bookkeeping (brands,
// the muxer's name) is the new muxer's to write.
void copyMovieMetadata(const AVDictionary* from, AVDictionary** to) {
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(from, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr) {
        const std::string key = entry->key;
        if (key.rfind("com.", 0) == 0 || key == "creation_time") {
            av_dict_set(to, entry->key, entry->value, 0);
        }
    }
}

bool copyStream(const AVStream& in, AVFormatContext& out) {
    AVStream* stream = avformat_new_stream(&out, nullptr);
    if (stream == nullptr || avcodec_parameters_copy(stream->codecpar, in.codecpar) < 0) {
        return false;
    }
    stream->time_base = in.time_base;
    for (int i = 0; i < in.nb_side_data; ++i) {
        const AVPacketSideData& side = in.side_data[i];
        std::uint8_t* data = av_stream_new_side_data(stream, side.type, side.size);
        if (data == nullptr) {
            return false;
        }
        std::memcpy(data, side.data, side.size);
    }
    av_dict_copy(&stream->metadata, in.metadata, 0);
    return true;
}

}  // namespace

std::optional<foundation::Error> joinFragments(const std::filesystem::path& movie,
                                               AssetFileType type, MovieContents* contents) {
    MovieContents found;
    const auto answer = [&](std::optional<foundation::Error> error) {
        if (contents != nullptr) {
            *contents = found;
        }
        return error;
    };

    AVFormatContext* opened = nullptr;
    int result = avformat_open_input(&opened, movie.c_str(), nullptr, nullptr);
    if (result < 0) {
        return answer(makeError(result, "Cannot read the movie " + movie.string()));
    }
    InputContextPtr input(opened);
    // The index at the start describes every track; a cut-off file may still fail here.
    avformat_find_stream_info(input.get(), nullptr);

    JoinedFile joined(movie);
    if (joined.error() != 0) {
        return answer(errnoError(joined.error(), "Cannot make a file beside " + movie.string()));
    }
    AVFormatContext* made = nullptr;
    result = avformat_alloc_output_context2(&made, nullptr, assetFileTypeName(type),
                                            joined.path().c_str());
    if (result < 0 || made == nullptr) {
        return answer(makeError(result < 0 ? result : AVERROR_MUXER_NOT_FOUND,
                                std::string("Cannot write ") + assetFileTypeName(type) + " files"));
    }
    FormatContextPtr output(made);

    std::vector<int> streamMap(input->nb_streams, -1);
    for (unsigned i = 0; i < input->nb_streams; ++i) {
        const AVStream& stream = *input->streams[i];
        const AVMediaType kind = stream.codecpar->codec_type;
        if (kind != AVMEDIA_TYPE_VIDEO && kind != AVMEDIA_TYPE_AUDIO) {
            continue;
        }
        if (!copyStream(stream, *output)) {
            return answer(
                makeError(AVERROR(ENOMEM), "Cannot copy the tracks of " + movie.string()));
        }
        streamMap[i] = static_cast<int>(output->nb_streams) - 1;
    }
    copyMovieMetadata(input->metadata, &output->metadata);

    result = avio_open(&output->pb, joined.path().c_str(), AVIO_FLAG_WRITE);
    if (result < 0) {
        return answer(makeError(result, "Cannot write beside " + movie.string()));
    }
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "use_metadata_tags", 0);
    av_dict_set_int(&options, "movie_timescale", kMovieTimescale, 0);
    result = avformat_write_header(output.get(), &options);
    av_dict_free(&options);
    if (result < 0) {
        return answer(makeError(result, "Cannot write the header of " + movie.string()));
    }
    // Read into the movie header; the metadata block, written with the trailer, holds the
    // program's keys alone.
    av_dict_set(&output->metadata, "creation_time", nullptr, 0);
    av_dict_set(&output->metadata, "encoder", nullptr, 0);

    // Samples read from fragments come without their lengths: each track holds its latest
    // sample back until the next one says how long it lasts; the last lasts as its forerunner.
    std::vector<PacketPtr> held(input->nb_streams);
    std::vector<std::int64_t> lastDuration(input->nb_streams, 0);
    const auto write = [&](unsigned index, AVPacket* sample) {
        const AVStream& from = *input->streams[index];
        AVStream& to = *output->streams[streamMap[index]];
        if (from.codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
            ++found.videoFrames;
        } else {
            ++found.audioPackets;
        }
        if (sample->pts != AV_NOPTS_VALUE) {
            found.seconds =
                std::max(found.seconds, (sample->pts + sample->duration) * av_q2d(from.time_base));
        }
        av_packet_rescale_ts(sample, from.time_base, to.time_base);
        sample->stream_index = streamMap[index];
        sample->pos = -1;
        return av_interleaved_write_frame(output.get(), sample);
    };
    for (;;) {
        PacketPtr packet(av_packet_alloc());
        result = av_read_frame(input.get(), packet.get());
        if (result < 0) {
            if (result != AVERROR_EOF) {
                foundation::log("%s is read up to where it breaks off: %s", movie.c_str(),
                                errorText(result).c_str());
            }
            break;
        }
        const int index = packet->stream_index;
        if (index < 0 || static_cast<unsigned>(index) >= streamMap.size() || streamMap[index] < 0) {
            continue;
        }
        if (packet->flags & AV_PKT_FLAG_CORRUPT) {
            break;  // a sample cut off by the end of the file: everything before it is whole
        }
        PacketPtr& previous = held[index];
        if (previous) {
            if (previous->duration <= 0 && packet->dts != AV_NOPTS_VALUE &&
                previous->dts != AV_NOPTS_VALUE && packet->dts > previous->dts) {
                previous->duration = packet->dts - previous->dts;
            }
            lastDuration[index] = previous->duration;
            if ((result = write(index, previous.get())) < 0) {
                return answer(makeError(result, "Cannot write beside " + movie.string()));
            }
        }
        previous = std::move(packet);
    }
    for (unsigned index = 0; index < held.size(); ++index) {
        if (!held[index]) {
            continue;
        }
        if (held[index]->duration <= 0) {
            held[index]->duration = lastDuration[index];
        }
        if ((result = write(index, held[index].get())) < 0) {
            return answer(makeError(result, "Cannot write beside " + movie.string()));
        }
    }
    result = av_write_trailer(output.get());
    if (result >= 0) {
        avio_flush(output->pb);
        result = output->pb->error;
    }
    const int closed = avio_closep(&output->pb);
    if (result < 0 || closed < 0) {
        return answer(makeError(result < 0 ? result : closed,
                                "Cannot finish the movie beside " + movie.string()));
    }
    if (const int error = joined.replace(movie)) {
        return answer(
            errnoError(error, "Cannot put the joined movie in place of " + movie.string()));
    }
    return answer(std::nullopt);
}

}  // namespace orvane::platform::ffmpeg
