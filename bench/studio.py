"""Times the studio in a real browser: from an option that changes to the new picture, and the opening of a large graph.

Usage: studio.py BUILD [--json FILE] [--markdown] [--repetitions N]
"""

import argparse
import json
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

project = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(project / "tests/studio_page"))
from studio import Browser, Studio  # noqa: E402

# Sets the option, and gives the milliseconds until the viewer's canvas has drawn a state that includes the change.
change_and_wait = """
const [option, text, done] = arguments;
const field = [...document.querySelectorAll(`[data-option='${option}'] input`)].pop();
const canvas = document.querySelector("#viewer-canvas");
const before = Number(canvas.dataset.generation), shown = canvas.dataset.shown;
const begin = performance.now();
new MutationObserver((_, observer) => {
    if (Number(canvas.dataset.generation) <= before || canvas.dataset.shown === shown) return;
    observer.disconnect();
    done(performance.now() - begin);
}).observe(canvas, {attributes: true});
field.value = text;
field.dispatchEvent(new Event("input", {bubbles: true}));
field.dispatchEvent(new Event("change", {bubbles: true}));
"""


def example(zun, folder, name, option, values, stream, repetitions, *words):
    """Median of the times from changes of an option to the new picture of a stream."""
    with Studio(zun, project, project / f"examples/{name}.yaml", folder, "-D", f"out={folder}", *words) as studio, \
            Browser() as browser:
        browser.driver.set_script_timeout(30)
        browser.open(studio.address)
        browser.settled(studio.address)
        browser.select_stream(stream)
        browser.wait("document.querySelector('#viewer-canvas').dataset.shown")
        browser.click(f'[data-node="{option.split(".")[0]}"]')
        browser.find(f'[data-option="{option}"] input')
        times = []
        for i in range(repetitions):
            times.append(browser.driver.execute_async_script(change_and_wait, option, str(values[0] + i * values[1])))
            time.sleep(0.2)
        return statistics.median(times[1:]), max(times[1:])


def chain(length, folder):
    """A pipeline of so many nodes."""
    file = pathlib.Path(folder) / "chain.yaml"
    nodes = [f"  - {{type: ReadFrames, outputs: {{rgb: s0}}, options: {{path: {project}/examples/photos/coffee.png}}}}"]
    nodes += [f"  - {{type: NegativeImage, inputs: {{input: s{i}}}, outputs: {{output: s{i + 1}}}}}"
              for i in range(length - 1)]
    file.write_text("nodes:\n" + "\n".join(nodes) + "\n")
    return file


def opening(zun, folder, length, repetitions):
    """Seconds from the start of the program to a page that shows all nodes, all streams and a picture."""
    description = chain(length, folder)
    times, kept = [], 0
    with tempfile.TemporaryDirectory() as other, Browser() as browser:
        for _ in range(repetitions):
            begin = time.monotonic()
            with Studio(zun, project, description, other) as studio:
                browser.open(studio.address)
                browser.wait("document.querySelectorAll('[data-node]').length >= arguments[0]", length)
                browser.select_stream("s1")
                browser.wait("document.querySelector('#viewer-canvas').dataset.shown")
                times.append(time.monotonic() - begin)
                kept = browser.settled(studio.address)["memory"]["kept"]
    return statistics.median(times), max(times), kept


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("--json")
    parser.add_argument("--markdown", action="store_true")
    parser.add_argument("--repetitions", type=int, default=15)
    arguments = parser.parse_args()
    zun, count = f"{arguments.build}/bin/zun", arguments.repetitions
    rows = []
    with tempfile.TemporaryDirectory() as folder:
        large = f"{folder}/large.png"
        subprocess.run(["ffmpeg", "-v", "error", "-i", str(project / "examples/photos/rocket.jpg"), "-vf",
                        "scale=1920:1080", "-y", large], check=True)
        for title, aim, *case in (
                ("coins.yaml, cut.binaryThreshold", 100, "coins", "cut.binaryThreshold", (120, 1), "framed"),
                ("faces-off.yaml, blur.kernelSizeX", 100, "faces-off", "blur.kernelSizeX", (11, 2), "anonymous"),
                ("lines.yaml on 1080p, edges.minThresh", 250, "lines", "edges.minThresh", (30, 1), "drawn")):
            words = ("-D", f"photo={large}") if "1080p" in title else ()
            median, most = example(zun, folder, *case, count, *words)
            rows.append((title, f"{median:.0f} ms", f"{most:.0f} ms", f"{aim} ms"))
        median, most, kept = opening(zun, folder, 100, 3)
        rows.append((f"opening 100 nodes ({kept >> 20} MiB of values kept)", f"{median:.2f} s", f"{most:.2f} s", "2 s"))
    head = ("from change to picture", "median", "most", "aim")
    if arguments.markdown:
        print("| " + " | ".join(head) + " |\n|---|--:|--:|--:|")
    for row in rows if arguments.markdown else (head, *rows):
        print("| " + " | ".join(row) + " |" if arguments.markdown else f"{row[0]:58}{row[1]:>10}{row[2]:>10}{row[3]:>10}")
    if arguments.json:
        pathlib.Path(arguments.json).write_text(json.dumps([dict(zip(head, row)) for row in rows], indent=2) + "\n")


if __name__ == "__main__":
    main()
