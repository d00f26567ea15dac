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

# One record, with a list that has an area for each coin.
coins=$(sed 's/.*"areas":\[\([^]]*\)\].*/\1/' "$results/coins.jsonl" | tr -cd , | wc -c)
cat <<END

$((coins + 1)) coins found. The results lie in $results:
  coins.png     the photo, with a yellow box about each coin, and its area in pixels
  coins.jsonl   one record, with the box and the area of each coin
  coins.dot     the pipeline as a graph, for: dot -Tsvg $results/coins.dot > coins.svg
To see how they came about, in the browser: build/release/bin/zun studio examples/coins.yaml
To see what the description says: examples/coins.yaml. More of them: examples/nodes, one for each node type.
END
