// A movie file as libavformat reads it back: its tracks, their packets' times and the
// container's metadata. For the tests of the movie writer and of whole recordings.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

namespace orvane::platform {

// What a movie file holds, as libavformat reads it back.
struct ProbedTrack {
    AVCodecID codec = AV_CODEC_ID_NONE;
    std::string tag;
    int width = 0;
    int height = 0;
    int channels = 0;
    int sampleRate = 0;
    AVRational timeBase{0, 1};
    std::vector<std::int64_t> pts;  // in packet order
    double endSeconds = 0;          // the last packet's end
    std::optional<double> rotation;
};
struct ProbedMovie {
    std::string majorBrand;
    std::map<std::string, std::string> metadata;
    std::optional<ProbedTrack> video;
    std::optional<ProbedTrack> audio;
};

inline ProbedMovie probeMovie(const std::string& path) {
    ProbedMovie movie;
    AVFormatContext* context = nullptr;
    if (avformat_open_input(&context, path.c_str(), nullptr, nullptr) < 0) {
        ADD_FAILURE() << "cannot open " << path;
        return movie;
    }
    avformat_find_stream_info(context, nullptr);
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(context->metadata, "", entry, AV_DICT_IGNORE_SUFFIX))) {
        movie.metadata[entry->key] = entry->value;
    }
    movie.majorBrand = movie.metadata["major_brand"];
    for (const char* fileKey : {"major_brand", "minor_version", "compatible_brands"}) {
        movie.metadata.erase(fileKey);
    }
    std::map<int, ProbedTrack*> tracks;
    for (unsigned i = 0; i < context->nb_streams; ++i) {
        const AVStream* stream = context->streams[i];
        auto& track =
            stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO ? movie.video : movie.audio;
        track.emplace();
        track->codec = stream->codecpar->codec_id;
        char tag[AV_FOURCC_MAX_STRING_SIZE] = {};
        track->tag = av_fourcc_make_string(tag, stream->codecpar->codec_tag);
        track->width = stream->codecpar->width;
        track->height = stream->codecpar->height;
        track->channels = stream->codecpar->ch_layout.nb_channels;
        track->sampleRate = stream->codecpar->sample_rate;
        track->timeBase = stream->time_base;
        size_t size = 0;
        if (const std::uint8_t* matrix =
                av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, &size)) {
            track->rotation =
                av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix));
        }
        tracks[static_cast<int>(i)] = &*track;
    }
    AVPacket* packet = av_packet_alloc();
    while (av_read_frame(context, packet) >= 0) {
        ProbedTrack* track = tracks[packet->stream_index];
        track->pts.push_back(packet->pts);
        track->endSeconds = std::max(track->endSeconds,
                                     static_cast<double>(packet->pts + packet->duration) *
                                         av_q2d(context->streams[packet->stream_index]->time_base));
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    avformat_close_input(&context);
    return movie;
}

}  // namespace orvane::platform
