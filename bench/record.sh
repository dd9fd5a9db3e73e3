#!/usr/bin/env bash
# A minute of recording at 1280x720 and at 1920x1080, 30 frames a second, from the synthetic
# camera through the whole pipeline (stamp on llvmpipe, H.264 through libx264), beside FFmpeg
# encoding a minute of its own test pattern at the same size, rate, bit rate and preset: what
# the encoder alone costs on this machine.
#
# Usage: bench/record.sh [BUILD_DIR] (default build/release); ORVANE_RECORD_SECONDS (default 60)
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
bench_setup orvane_record_bench "${1:-}"
seconds=${ORVANE_RECORD_SECONDS:-60}

# The average bit rates the recorder gives these sizes at normal quality, in kbit/s.
declare -A rate=([1280x720]=7096 [1920x1080]=15966)

for size in 1280x720 1920x1080; do
    echo "== $size, $seconds s"
    TMPDIR="$work" "$bench" "$size" "$seconds" "$work/library-$size" | tee "$work/ours.txt"
    movie=$(awk '$1 == "movie" {print $2}' "$work/ours.txt")
    if [[ -n "$movie" ]]; then
        frames=$(ffprobe -v error -select_streams v:0 -count_packets \
            -show_entries stream=nb_read_packets -of csv=p=0 "$movie")
        echo "frames_in_movie $frames (of $((seconds * 30)) at 30 fps)"
    fi
    /usr/bin/time -f '%U %S %M' -o "$work/time.txt" \
        ffmpeg -nostdin -loglevel error -f lavfi -i "testsrc2=size=$size:rate=30" -t "$seconds" \
        -c:v libx264 -preset superfast -b:v "${rate[$size]}k" -g 30 -bf 0 -pix_fmt yuv420p \
        -f mp4 -y "$work/reference.mp4"
    awk '{printf "ffmpeg_reference_cpu_seconds %.2f\nffmpeg_reference_peak_rss_mib %.1f\n", $1 + $2, $3 / 1024}' \
        "$work/time.txt"
done
