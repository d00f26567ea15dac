#!/usr/bin/env bash
# Builds the system and measures it: each node, plain and in its best form, beside OpenCV's nearest operation and
# memcpy; then whole pipelines beside OpenCV and FFmpeg; then the reading and writing of media beside FFmpeg, OpenCV and
# vipsthumbnail; then what observing a run costs, and how fast the studio's page follows in a browser. The figures also
# go to out/bench/ as JSON.
#
#   ./bench.sh [--nodes] [--pipelines] [--media] [--observers] [--studio] [--markdown]
#              [--size 1919x1081] [--cold] [PART OF A NODE'S NAME]
#
#   --nodes, --pipelines, ...   only those that are named
#   --markdown                  print tables that go into a page as they are
# All else, such as the size of the frames, goes to bench_nodes; its --help lists them.
source "$(dirname "${BASH_SOURCE[0]}")/scripts/setup.sh"

parts=() markdown=() others=()
for argument in "$@"; do
    case $argument in
    --nodes | --pipelines | --media | --observers | --studio) parts+=("${argument#--}") ;;
    --markdown) markdown=(--markdown) ;;
    -h | --help)
        sed -n '2,/^source/{s/^# \{0,1\}//p}' "$0"
        exit
        ;;
    *) others+=("$argument") ;;
    esac
done

# The tables alone go to the standard output.
{
    install_packages packages/apt.txt packages/bench.txt
    build release bench_nodes bench_opencv_chain zun
} >&2

mkdir -p out/bench
[[ ${#parts[@]} -gt 0 ]] || parts=(nodes pipelines media observers studio)
for part in "${parts[@]}"; do
    [[ $part == "${parts[0]}" ]] || echo
    case $part in
    nodes) build/release/bin/bench_nodes --json out/bench/nodes.json "${markdown[@]}" "${others[@]}" ;;
    *) /usr/bin/python3 "bench/$part.py" build/release --json "out/bench/$part.json" "${markdown[@]}" ;;
    esac
done
