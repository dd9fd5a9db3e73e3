# Shared start of the benchmark scripts: `bench_setup PROGRAM [BUILD_DIR]` sets `top`, `build`
# (default build/release), `bench` (the benchmark program in it) and `work` (a scratch folder
# removed on exit), and stops with a hint when ffmpeg or the program is missing.
bench_setup() {
    top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
    build=${2:-$top/build/release}
    bench="$build/bench/$1"
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT

    command -v ffmpeg >/dev/null || { echo "ffmpeg is not installed (scripts/install-deps)"; exit 1; }
    [[ -x "$bench" ]] || { echo "no $bench: build the release preset first (scripts/build release)"; exit 1; }
}
