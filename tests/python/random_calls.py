"""Calls every node type with values that are right, odd or wrong: no call may end the interpreter, raise an error of
another kind than the module names, hang, or leak. Usage: random_calls.py [CALLS [SEED]]"""

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
most_memory = 3 << 30  # bytes; what wants more gets an error
choose = random.Random(seed)
extremes = [float("nan"), float("inf"), float("-inf"), -0.0, 1e9, -1e9, 2.0**31, -(2.0**31), 1e38, 0.5, -0.5, 1e-40]
dtypes = [np.uint8, np.float32, np.int32, np.float64, np.int8, np.bool_]


def number():
    return choose.choice(extremes) if choose.random() < 0.15 else choose.uniform(-4, 24)


def whole():
    if choose.random() < 0.1:
        return choose.choice([0, -1, 2**31 - 1, -(2**31), 2**31, 2**32 + 5, 2**70, 70000])
    return choose.randint(-3, 24)


def side():
    return choose.choice([0, 1, 2, 3, 8, 17, 24])


def array(dtype, channels):
    shape = [side(), side()] + ([channels] if channels else [])
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


def rectangle():
    return tuple(number() for _ in range(4))


def mask():
    width, height = side(), side()
    if choose.random() < 0.3:
        return ((whole(), whole(), whole(), whole()), array(np.uint8, 0))
    return ((choose.randint(0, 3), choose.randint(0, 3), width, height), np.ones((height, width), np.uint8))


def text():
    return choose.choice(["", "a", "Zun 12", b"\xff\x00\x80", "é", "x" * 300])


makers = {
    "zun::Mat<unsigned char, 2>": lambda: array(np.uint8, 0),
    "zun::Mat<zun::Vec3b, 2>": lambda: array(np.uint8, 3),
    "zun::Mat<RGBPixel, 2>": lambda: array(np.uint8, 3),
    "zun::Mat<zun::Vec<unsigned char, 3>, 2>": lambda: array(np.uint8, 3),
    "zun::Mat<zun::Vec4b, 2>": lambda: array(np.uint8, 4),
    "zun::Mat<float, 2>": lambda: array(np.float32, 0),
    "zun::Mat<zun::Vec3f, 2>": lambda: array(np.float32, 3),
    "zun::Mat<T, 2>": lambda: array(choose.choice([np.uint8, np.float32]), 3),
    "any": lambda: array(choose.choice([np.uint8, np.float32]), choose.choice([0, 3, 3, 4])),
    "zun::Box": rectangle,
    "zun::List<zun::Box>": lambda: listed(rectangle),
    "zun::List<zun::Vec2f>": lambda: listed(lambda: (number(), number())),
    "zun::List<std::string>": lambda: listed(text),
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


def call(node):
    about = zun.specification(node)
    inputs = {
        name: value(port["type"])
        for name, port in about["inputs"].items()
        if choose.random() < (0.25 if port["optional"] else 0.99)
    }
    options = {
        name: option(meta["type"])
        for name, meta in about["options"].items()
        if choose.random() < (0.5 if meta["optional"] else 0.99)
    }
    outputs = None if choose.random() < 0.7 else [name for name in about["outputs"] if choose.random() < 0.5]
    faulthandler.dump_traceback_later(longest_call, exit=True)
    try:
        zun.call(node, inputs, options, outputs)
        return "ran"
    except (zun.Error, zun.GuardError, TypeError) as error:
        return type(error).__name__
    finally:
        faulthandler.cancel_dump_traceback_later()


def resident():
    """Bytes that this process holds in memory."""
    with open("/proc/self/statm") as statm:
        return int(statm.read().split()[1]) * resource.getpagesize()


def replay(seeds):
    """The same calls for the same seeds, one for each."""
    for i in seeds:
        choose.seed(i)
        call(zun.nodes()[i % len(zun.nodes())])
    gc.collect()
    return resident()


def main():
    faulthandler.enable()
    if "LD_PRELOAD" not in os.environ:  # sanitizers reserve more than any limit
        resource.setrlimit(resource.RLIMIT_AS, (most_memory, most_memory))
    nodes = zun.nodes()
    assert len(nodes) == 25, nodes
    counts = {node: {} for node in nodes}
    begun = time.monotonic()
    for i in range(calls):
        node = nodes[i % len(nodes)]
        kind = call(node)
        counts[node][kind] = counts[node].get(kind, 0) + 1
    for node, kinds in counts.items():
        print(f"{node:34}", kinds)
    print(f"{calls} calls in {time.monotonic() - begun:.1f} s, seed {seed}")
    if calls >= 1000:
        assert all("ran" in kinds for kinds in counts.values()), "a node type never got to run"

    replay(range(500))  # what is kept for later calls is there from now on
    held = replay(range(500))
    for _ in range(4):
        grown = replay(range(500)) - held
    print(f"2000 calls again, the same 500 each time: {grown >> 10} KiB more in use")
    assert grown < 8 << 20, "memory leaks"


main()
