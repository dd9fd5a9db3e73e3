#!/usr/bin/env bash
# A long recording at 1280x720, 30 frames a second, from the synthetic camera through the whole
# pipeline: resident memory each minute, the frames dropped at each stage, and the frames the
# movie holds when read back. Memory must stay flat after the first minute.
#
# Usage: bench/soak.sh [MINUTES] [BUILD_DIR] (default 30 minutes, build/release)
set -euo pipefail

minutes=${1:-30}
if [[ ! "$minutes" =~ ^[1-9][0-9]*$ ]]; then
    echo "soak: MINUTES must be a whole number above 0, not \"$minutes\"" >&2
    exit 2
fi
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
bench_setup orvane_record_bench "${2:-}"

seconds=$((minutes * 60))
echo "== 1280x720, $minutes min"
"$bench" 1280x720 "$seconds" "$work/library" 60 | tee "$work/ours.txt"
movie=$(awk '$1 == "movie" {print $2}' "$work/ours.txt")
[[ -n "$movie" ]] || { echo "soak: no movie was delivered" >&2; exit 1; }
frames=$(ffprobe -v error -select_streams v:0 -count_packets \
    -show_entries stream=nb_read_packets -of csv=p=0 "$movie")
echo "frames_in_movie $frames (of $((seconds * 30)) at 30 fps)"
# Growth from the first minute's reading to the last, which a steady recording keeps near zero.
awk '$1 ~ /^rss_mib_at_/ {if (first == "") first = $2; last = $2}
     END {printf "rss_growth_after_first_minute_mib %.1f\n", last - first}' "$work/ours.txt"
