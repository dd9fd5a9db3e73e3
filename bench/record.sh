#!/usr/bin/env bash
# A minute of recording at 1280x720 and at 1920x1080, 30 frames a second, from the synthetic
# camera through the whole pipeline (stamp on llvmpipe, H.264 through libx264), beside FFmpeg
# encoding alone at the same size, rate, bit rate and preset: once its own test pattern as FFmpeg
# does by default, once the same kind of frames as the recorder's (32BGRA converted to 4:2:0,
# the recorder's rate control and threading). For each it prints CPU time, peak resident memory
# and the peak of the process's own memory (without the libraries' code), and the ratio of the
# recorder's peak to each.
#
# Usage: bench/record.sh [BUILD_DIR] (default build/release); ORVANE_RECORD_SECONDS (default 60)
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
bench_setup orvane_record_bench "${1:-}"
seconds=${ORVANE_RECORD_SECONDS:-60}

# The average bit rates the recorder gives these sizes at normal quality, in kbit/s.
declare -A rate=([1280x720]=7096 [1920x1080]=15966)

# Runs FFmpeg with the arguments given, printing NAME_cpu_seconds, NAME_peak_rss_mib and
# NAME_peak_anon_mib (its own memory at most, read every tenth of a second).
reference() {
    local name=$1
    shift
    /usr/bin/time -f '%U %S %M' -o "$work/time.txt" \
        ffmpeg -nostdin -loglevel error "$@" -f mp4 -y "$work/$name.mp4" &
    local timer=$! anon=0 pid="" now
    while kill -0 "$timer" 2>/dev/null; do
        [[ -n "$pid" ]] || pid=$(pgrep -P "$timer" ffmpeg || true)
        now=$(awk '/^RssAnon:/ {print $2}' "/proc/$pid/status" 2>/dev/null || echo 0)
        ((${now:-0} > anon)) && anon=$now
        sleep 0.1
    done
    wait "$timer"
    awk -v name="$name" -v anon="$anon" '{printf "%s_cpu_seconds %.2f\n%s_peak_rss_mib %.1f\n%s_peak_anon_mib %.1f\n",
        name, $1 + $2, name, $3 / 1024, name, anon / 1024}' "$work/time.txt"
}

for size in 1280x720 1920x1080; do
    echo "== $size, $seconds s"
    "$bench" "$size" "$seconds" "$work/library-$size" | tee "$work/ours.txt"
    movie=$(awk '$1 == "movie" {print $2}' "$work/ours.txt")
    if [[ -n "$movie" ]]; then
        frames=$(ffprobe -v error -select_streams v:0 -count_packets \
            -show_entries stream=nb_read_packets -of csv=p=0 "$movie")
        echo "frames_in_movie $frames (of $((seconds * 30)) at 30 fps)"
    fi
    kbps=${rate[$size]}
    reference ffmpeg_pattern -f lavfi -i "testsrc2=size=$size:rate=30" -t "$seconds" \
        -c:v libx264 -preset superfast -b:v "${kbps}k" -g 30 -bf 0 -pix_fmt yuv420p \
        | tee -a "$work/ours.txt"
    reference ffmpeg_bgra -f lavfi -i "testsrc2=size=$size:rate=30,format=bgra" -t "$seconds" \
        -c:v libx264 -preset superfast -b:v "${kbps}k" -maxrate "$((kbps * 3 / 2))k" \
        -bufsize "$((kbps * 2))k" -threads "$(nproc)" -thread_type slice -g 30 -bf 0 \
        -pix_fmt yuv420p | tee -a "$work/ours.txt"
    awk '$1 ~ /^anon_mib_at_/ && $2 > v["peak_anon_mib"] {v["peak_anon_mib"] = $2}
         {v[$1] = $2} END {
        printf "peak_anon_mib %.1f\n", v["peak_anon_mib"]
        printf "peak_rss_ratio_to_ffmpeg_pattern %.2f\n", v["peak_rss_mib"] / v["ffmpeg_pattern_peak_rss_mib"]
        printf "peak_rss_ratio_to_ffmpeg_bgra %.2f\n", v["peak_rss_mib"] / v["ffmpeg_bgra_peak_rss_mib"]
    }' "$work/ours.txt"
done
