#!/usr/bin/env bash
# The frame pass against FFmpeg's drawtext, in one run on the same frames.
#
# Our side: orvane_bench's FramePass benchmark renders 1920x1080 BGRA frames of the synthetic
# scene with the stamp (time row 46 with its fraction, coordinates gps2, an address line,
# altitude and speed, compass degrees), video mode, and reports the median per frame.
# drawtext's side: ffmpeg draws the same five lines with a 2-pixel border on the same frame,
# looped; its cost per frame is the difference between that run and one with the null filter,
# so reading and passing the frames around is not counted against it.
#
# Usage: bench/frame_vs_drawtext.sh [BUILD_DIR] (default build/release)
set -euo pipefail
# As the orvane command runs: llvmpipe draws in the rendering thread unless told otherwise.
export LP_NUM_THREADS=${LP_NUM_THREADS:-0}

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
bench_setup orvane_bench "${1:-}"
frames=${ORVANE_DRAWTEXT_FRAMES:-1000}

# The frame, the stamp's five lines and its font size, as the benchmark uses them.
ORVANE_BENCH_WRITE_DIR="$work" "$bench" --benchmark_filter='^BM_FramePass/copy' \
    --benchmark_min_time=0.01 >/dev/null
size=$(cat "$work/size.txt")
font=$(fc-match -f '%{file}' 'Liberation Sans')

ours=$("$bench" --benchmark_filter='^BM_FramePass/copy' --benchmark_repetitions=5 \
    --benchmark_report_aggregates_only=true --benchmark_format=json |
    python3 -c 'import json,sys; d=json.load(sys.stdin)
b = next(b for b in d["benchmarks"] if b["name"].endswith("_median"))
scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[b["time_unit"]]
print(b["real_time"] * scale, b.get("process_cpu_ms", 0.0))')

run_ffmpeg() {
    local filter=$1
    /usr/bin/time -f '%e %U %S' -o "$work/time.txt" \
        ffmpeg -nostdin -loglevel error -stream_loop $((frames - 1)) -f rawvideo -pix_fmt bgra \
        -s 1920x1080 -i "$work/frame.bgra" -vf "$filter" -f null - 
    awk '{print $2 + $3}' "$work/time.txt"
}
null_cpu=$(run_ffmpeg null)
text_filter="drawtext=fontfile=$font:textfile=$work/stamp.txt:fontsize=$size:fontcolor=white"
text_filter+=":borderw=2:bordercolor=black:x=40:y=40"
text_cpu=$(run_ffmpeg "$text_filter")

python3 - $ours "$null_cpu" "$text_cpu" "$frames" <<'PY'
import sys
ours_ms, ours_cpu_ms = float(sys.argv[1]), float(sys.argv[2])
null_cpu, text_cpu, frames = float(sys.argv[3]), float(sys.argv[4]), int(sys.argv[5])
drawtext_ms = max(text_cpu - null_cpu, 0.0) * 1000.0 / frames
print(f"frame pass, 1920x1080, median wall time: {ours_ms:.3f} ms ({ours_cpu_ms:.3f} ms CPU in all threads)")
print(f"drawtext, CPU per frame over the null filter: {drawtext_ms:.3f} ms")
if drawtext_ms > 0:
    print(f"ratio (frame pass CPU / drawtext CPU): {ours_cpu_ms / drawtext_ms:.2f}")
    print(f"ratio (frame pass wall / drawtext CPU): {ours_ms / drawtext_ms:.2f}")
PY
