#!/usr/bin/env bash
# Builds the system and runs a first pipeline over a photo. Usage: ./demo.sh [FOLDER FOR THE RESULTS]
results=$(realpath -m "${1:-$(dirname "${BASH_SOURCE[0]}")/out/demo}")
source "$(dirname "${BASH_SOURCE[0]}")/scripts/setup.sh"

install_packages
build release zun graphPipeline

bin=build/release/bin
mkdir -p "$results"
say "checking examples/first.yaml"
"$bin/zun" check examples/first.yaml -D out="$results"
say "running it over examples/photos/coffee.png"
"$bin/zun" run examples/first.yaml -D out="$results" --progress
"$bin/graphPipeline" examples/first.yaml -D out="$results" >"$results/first.dot"

cat <<END

The results lie in $results:
  marked.png     the cup on its saucer, cut out of the photo, in negative colours: the brown saucer has turned blue, and
                 a yellow ring of points runs round the cup's rim
  close-up.png   what lies in a box about the ring, cut out once more
  points.jsonl   the points of the ring, (row, column), as they went through the pipeline
  first.dot      the pipeline as a graph, for: dot -Tsvg $results/first.dot > first.svg
To see what the description says: examples/first.yaml
END
