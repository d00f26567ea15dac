#!/usr/bin/env bash
# Builds the system and counts the coins in a photo. Usage: ./demo.sh [FOLDER FOR THE RESULTS]
results=$(realpath -m "${1:-$(dirname "${BASH_SOURCE[0]}")/out/demo}")
source "$(dirname "${BASH_SOURCE[0]}")/scripts/setup.sh"

install_packages
build release zun graphPipeline python

bin=build/release/bin
mkdir -p "$results"
say "checking examples/coins.yaml"
"$bin/zun" check examples/coins.yaml -D out="$results"
say "running it over examples/photos/coins.png"
"$bin/zun" run examples/coins.yaml -D out="$results" --progress
"$bin/graphPipeline" examples/coins.yaml -D out="$results" >"$results/coins.dot"

# One record: a list with an area for each coin.
coins=$(tr -cd , <"$results/areas.jsonl" | wc -c)
cat <<END

$((coins + 1)) coins found. The results lie in $results:
  coins.png     the photo, with a numbered yellow box about each coin
  areas.jsonl   the area of each coin in pixels, in the order of their numbers
  coins.dot     the pipeline as a graph, for: dot -Tsvg $results/coins.dot > coins.svg
To see what the description says: examples/coins.yaml. More of them: examples/nodes, one for each node type.
END
