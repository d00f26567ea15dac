"""Calls every node type with values that are right, odd or wrong: no call may end the interpreter, raise an error of
another kind than the module names, hang, or leak. Usage: random_calls.py [CALLS [SEED]]"""

import collections
import faulthandler
import gc
import os
import random
import resource
import sys
import time

import numpy as np

import zun

calls = int(sys.argv[1]) if len(sys.argv) > 1 else 10000
seed = int(sys.argv[2]) if len(sys.argv) > 2 else 1
longest_call = 60  # seconds; a node that never ends is ended, with its stack
most_memory = 1 << 30  # bytes; what wants more gets an error
choose = random.Random(seed)
extremes = [float("nan"), float("inf"), float("-inf"), -0.0, 1e9, -1e9, 2.0**31, -(2.0**31), 1e38, 0.5, -0.5, 1e-40]
dtypes = [np.uint8, np.float32, np.int32, np.float64, np.int8, np.bool_]
largest_area = 1 << 20  # of a rectangle, for a frame of that size to be made in no time


def number():
    return choose.choice(extremes) if choose.random() < 0.15 else choose.uniform(-4, 24)


def whole():
    if choose.random() < 0.1:
        return choose.choice([0, -1, 2**31 - 1, -(2**31), 2**31, 2**32 + 5, 2**70, 70000])
    return choose.randint(-3, 24)


def side():
    return choose.choice([0, 1, 2, 3, 8, 17, 24])


def array(dtype, channels):
    shape = [side(), side(), channels][: 3 if channels else 2]
    raw = np.frombuffer(choose.randbytes(int(np.prod(shape)) * np.dtype(dtype).itemsize), dtype).reshape(shape).copy()
    if dtype == np.uint8 and choose.random() < 0.5:
        raw &= 1
    layout = choose.random()
    if layout < 0.05:
        return raw[::2]
    if layout < 0.1:
        raw.flags.writeable = False
    return raw


def listed(make):
    return [make() for _ in range(choose.choice([0, 1, 1, 2, 3]))]


def as_int(side):
    return round(side) if abs(side) < 2**31 else -(2**31)


def rectangle():
    while True:
        x, y, width, height = (number() for _ in range(4))
        if as_int(width) * as_int(height) % 2**32 <= largest_area:  # as a node counts
            return x, y, width, height


def mask():
    width, height = side(), side()
    if choose.random() < 0.3:
        return ((whole(), whole(), whole(), whole()), array(np.uint8, 0))
    return ((choose.randint(0, 3), choose.randint(0, 3), width, height), np.ones((height, width), np.uint8))


makers = {
    "zun::Mat<unsigned char, 2>": lambda: array(np.uint8, 0),
    **dict.fromkeys(["zun::Mat<zun::Vec3b, 2>", "zun::Mat<RGBPixel, 2>", "zun::Mat<zun::Vec<unsigned char, 3>, 2>"],
                    lambda: array(np.uint8, 3)),
    "zun::Mat<zun::Vec4b, 2>": lambda: array(np.uint8, 4),
    "zun::Mat<float, 2>": lambda: array(np.float32, 0),
    "zun::Mat<zun::Vec3f, 2>": lambda: array(np.float32, 3),
    "zun::Mat<T, 2>": lambda: array(choose.choice([np.uint8, np.float32]), 3),
    "any": lambda: array(choose.choice([np.uint8, np.float32]), choose.choice([0, 3, 3, 4])),
    "zun::Box": rectangle,
    "zun::List<zun::Box>": lambda: listed(rectangle),
    "zun::List<zun::Vec2f>": lambda: listed(lambda: (number(), number())),
    "zun::List<std::string>": lambda: listed(lambda: choose.choice(["", "a", "Zun 12", b"\xff\x00\x80", "é", "x" * 300])),
    "zun::List<zun::Mask>": lambda: listed(mask),
    "zun::List<zun::Mat<zun::Vec3b, 2>>": lambda: listed(lambda: array(np.uint8, 3)),
}


def wrong():
    return choose.choice([
        None, 3, "text", [], {}, [1, 2], (1,), [None], object(), float("nan"), [(1, 2, 3)], b"", [[]], range(3),
        array(choose.choice(dtypes), choose.choice([0, 1, 2, 3, 4])), np.array(3), np.zeros((2, 2, 2, 2), np.uint8),
    ])


def value(expression):
    if choose.random() < 0.03 or expression not in makers:
        return wrong()
    return makers[expression]()


def option(expression):
    if choose.random() < 0.05:
        return choose.choice([None, "x", [], [1, 2, 3], True, 2**70, 1.5, {}, [[1], 2], np.int64(3), np.float32(2), -0.0])
    if expression == "bool":
        return choose.random() < 0.5
    if expression == "int":
        return choose.choice([0, 1, 2, 3, 64]) if choose.random() < 0.5 else whole()
    if expression == "float":
        return number()
    if expression == "zun::Vec2i":
        return (choose.randint(0, 40), choose.randint(0, 40)) if choose.random() < 0.8 else (whole(), whole())
    return choose.choice(["0x00FF00", "#FF00FF", "#12", "", "0xGG", "share/fonts/OpenSans-Regular.ttf", "no/such.ttf"])


def drawn(records, make, likelihood_if_optional):
    return {
        name: make(record["type"])
        for name, record in records.items()
        if choose.random() < (likelihood_if_optional if record["optional"] else 0.99)
    }


def call(node):
    about = zun.specification(node)
    inputs, options = drawn(about["inputs"], value, 0.25), drawn(about["options"], option, 0.5)
    outputs = None if choose.random() < 0.7 else [name for name in about["outputs"] if choose.random() < 0.5]
    faulthandler.dump_traceback_later(longest_call, exit=True)
    try:
        zun.call(node, inputs, options, outputs)
        return "ran"
    except (zun.Error, zun.GuardError, TypeError) as error:
        return type(error).__name__
    finally:
        faulthandler.cancel_dump_traceback_later()


def replay():
    """The same 500 calls each time; returns how many bytes the process holds in memory after them."""
    for i in range(500):
        choose.seed(i)
        call(zun.nodes()[i % len(zun.nodes())])
    gc.collect()
    with open("/proc/self/statm") as statm:
        return int(statm.read().split()[1]) * resource.getpagesize()


def main():
    faulthandler.enable()
    if "LD_PRELOAD" not in os.environ:  # sanitizers reserve more than any limit
        resource.setrlimit(resource.RLIMIT_AS, (most_memory, most_memory))
    nodes = zun.nodes()
    begun = time.monotonic()
    counts = {node: collections.Counter() for node in nodes}
    for i in range(calls):
        counts[nodes[i % len(nodes)]][call(nodes[i % len(nodes)])] += 1
    for node, kinds in counts.items():
        print(f"{node:34}", dict(kinds))
    print(f"{calls} calls in {time.monotonic() - begun:.1f} s, seed {seed}")
    assert calls < 1000 or all(kinds["ran"] for kinds in counts.values()), "a node type never got to run"

    if "LD_PRELOAD" in os.environ:
        return  # sanitizers keep what was freed, and find leaks by themselves
    replay()  # what is kept for later calls is there from now on
    held = replay()
    grown = [replay() for _ in range(4)][-1] - held
    print(f"2000 calls again, the same 500 each time: {grown >> 10} KiB more in use")
    assert grown < 8 << 20, "memory leaks"


main()
