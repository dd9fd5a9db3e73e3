#!/usr/bin/env bash
# The frame pass against FFmpeg's drawtext, in one run on the same frames.
#
# Our side: orvane_bench's FramePass benchmark renders BGRA frames of the synthetic scene with the
# stamp (time row 46 with its fraction, coordinates gps2, an address line, altitude and speed,
# compass degrees), video mode, and reports the median per frame: at 1920x1080 with the text
# alone, then with every overlay (text, map, compass, logo) at 1920x1080 and 3840x2160.
# drawtext's side: ffmpeg draws the same five lines at the same size with a 2-pixel border on the
# same frame, looped (it draws no map, compass or logo); its cost per frame is the difference
# between that run and one with the null filter, so reading and passing the frames around is
# not counted against it.
#
# Usage: bench/frame_vs_drawtext.sh [BUILD_DIR] (default build/release)
set -euo pipefail
# As the orvane command runs: llvmpipe draws in the rendering thread unless told otherwise.
export LP_NUM_THREADS=${LP_NUM_THREADS:-0}

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
bench_setup orvane_bench "${1:-}"
font=$(fc-match -f '%{file}' 'Liberation Sans')

# The frames, the stamp's five lines and its font size of every case, as the benchmark uses them.
ORVANE_BENCH_WRITE_DIR="$work" "$bench" --benchmark_filter='^BM_FramePass/(copy|overlays)' \
    --benchmark_min_time=0.01 >/dev/null

compare() {
    local name=$1 size=$2 frames=$3
    local ours
    ours=$("$bench" --benchmark_filter="^BM_FramePass/$name/" --benchmark_repetitions=5 \
        --benchmark_report_aggregates_only=true --benchmark_format=json |
        python3 -c 'import json,sys; d=json.load(sys.stdin)
b = next(b for b in d["benchmarks"] if b["name"].endswith("_median"))
scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[b["time_unit"]]
print(b["real_time"] * scale, b.get("process_cpu_ms", 0.0))')
    run_ffmpeg() {
        /usr/bin/time -f '%e %U %S' -o "$work/time.txt" \
            ffmpeg -nostdin -loglevel error -stream_loop $((frames - 1)) -f rawvideo \
            -pix_fmt bgra -s "$size" -i "$work/$name.bgra" -vf "$1" -f null -
        awk '{print $2 + $3}' "$work/time.txt"
    }
    local null_cpu text_cpu filter
    null_cpu=$(run_ffmpeg null)
    filter="drawtext=fontfile=$font:textfile=$work/$name.txt:fontsize=$(cat "$work/$name.size")"
    filter+=":fontcolor=white:borderw=2:bordercolor=black:x=40:y=40"
    text_cpu=$(run_ffmpeg "$filter")
    python3 - "$name" "$size" $ours "$null_cpu" "$text_cpu" "$frames" <<'PY'
import sys
name, size = sys.argv[1], sys.argv[2]
ours_ms, ours_cpu_ms = float(sys.argv[3]), float(sys.argv[4])
null_cpu, text_cpu, frames = float(sys.argv[5]), float(sys.argv[6]), int(sys.argv[7])
drawtext_ms = max(text_cpu - null_cpu, 0.0) * 1000.0 / frames
print(f"{name}: frame pass, {size}, median wall time: {ours_ms:.3f} ms ({ours_cpu_ms:.3f} ms CPU in all threads)")
print(f"{name}: drawtext, CPU per frame over the null filter: {drawtext_ms:.3f} ms")
if drawtext_ms > 0:
    print(f"{name}: ratio (frame pass CPU / drawtext CPU): {ours_cpu_ms / drawtext_ms:.2f}")
    print(f"{name}: ratio (frame pass wall / drawtext CPU): {ours_ms / drawtext_ms:.2f}")
PY
}

frames=${ORVANE_DRAWTEXT_FRAMES:-1000}
compare copy 1920x1080 "$frames"
compare overlays_1080 1920x1080 "$frames"
compare overlays_2160 3840x2160 $((frames / 4))
