#!/usr/bin/env python3
"""Media as people have it, made on the spot, through zun and compared with what ffprobe, FFmpeg and Pillow say of both.

usage: media_table.py ZUN [--group clips|pictures|colours|streams|broken]... [--row PART OF A NAME] [--quick] [--keep]

Every row of a group runs; all that is wrong is printed at the end. --quick runs the rows that are marked as such, for
builds that are slow. The exit status is 1 if anything was wrong."""

import argparse
import concurrent.futures
import os
import shutil
import sys
import tempfile
import time
import traceback

import broken
import clips
import colours
import pictures
import streams
import tools

groups = {"clips": clips.rows, "pictures": pictures.rows, "colours": colours.rows, "streams": streams.rows,
          "broken": broken.rows}


def try_row(zun, row, keep):
    """What is wrong with one row, and how long it took."""
    folder = tempfile.mkdtemp(prefix="zun-media-")
    os.chmod(folder, 0o755)
    trial = tools.Trial(zun, folder)
    start = time.monotonic()
    try:
        row.run(trial)
    except tools.Fault as fault:
        trial.faults.append(str(fault))
    except Exception:  # a fault of any other kind must not hide those of other rows
        trial.faults.append(traceback.format_exc(limit=-3))
    if keep:
        print(f"{row.name}: {folder}")
    else:
        shutil.rmtree(folder, ignore_errors=True)
    return trial.faults, time.monotonic() - start


def main():
    parser = argparse.ArgumentParser(description="Tries media as people have it")
    parser.add_argument("zun", help="the program")
    parser.add_argument("--group", action="append", choices=groups, help="only these rows")
    parser.add_argument("--row", default="", help="only rows with this in their name")
    parser.add_argument("--quick", action="store_true", help="only the rows for slow builds")
    parser.add_argument("--keep", action="store_true", help="leave the files, and say where")
    arguments = parser.parse_args()
    chosen = [(group, row) for group in arguments.group or groups for row in groups[group]()
              if arguments.row in row.name and (row.quick or not arguments.quick)]
    zun = os.path.abspath(arguments.zun)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = list(pool.map(lambda entry: try_row(zun, entry[1], arguments.keep), chosen))
    wrong = 0
    for (group, row), (faults, seconds) in zip(chosen, results):
        wrong += bool(faults)
        for fault in faults:
            print(f"{group}: {row.name} ({seconds:.1f} s): {fault}")
    print(f"{len(chosen) - wrong} of {len(chosen)} rows as expected")
    sys.exit(1 if wrong or not chosen else 0)


if __name__ == "__main__":
    main()
