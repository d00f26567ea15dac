"""What the module promises beyond the nodes' own results: kinds of values, memory, errors, threads."""

import gc
import os
import subprocess
import sys
import threading
import unittest
import weakref
from concurrent.futures import ThreadPoolExecutor

import numpy as np

import zun


def grey(*shape):
    return np.arange(np.prod(shape), dtype=np.uint8).reshape(shape)


def rgb(*shape):
    return grey(*shape, 3)


class Values(unittest.TestCase):
    def test_frames_and_lists_keep_their_bits_on_the_way_through(self):
        nan_with_payload = np.array([0x7FC01234, 0x80000000, 0x00000001], np.uint32).view(np.float32)
        frame = np.tile(nan_with_payload, (4, 2, 1))
        cut = zun.call("CropAny", {"image": frame, "box": (0, 1, 1, 2)})["output"]
        np.testing.assert_array_equal(cut.view(np.uint32), frame[1:3, :1].view(np.uint32))

        masks = zun.call("MaskFactory", {"rectangles": [(1.5, 2, 3, 1)]}, {"maskShape": 0})["masks"]
        (rectangle, mask), = masks
        self.assertEqual((rectangle, mask.tolist(), mask.dtype), ((2, 2, 3, 1), [[1, 1, 1]], np.uint8))
        target = zun.call("ApplyMask", {"masks": masks, "sourceFrames": [rgb(4, 6)],
                                        "targetFrames": np.zeros((4, 6, 3), np.uint8)})["maskedFrames"]
        np.testing.assert_array_equal(target[2, 2:5], rgb(4, 6)[2, 2:5])

        found = zun.call("FindContours", {"input": np.pad(np.ones((2, 3), np.uint8), 2)})
        self.assertEqual((found["area"], found["boundingBox"]), ([6], [(2.0, 2.0, 3.0, 2.0)]))
        self.assertIn((2, 2), found["points"][0])

        options = dict(edgeThresh=0, lineGapMax=1, lineLenMin=5, quantize=False, rho=1, theta=0.0175, threshold=5)
        lines = zun.call("HoughLines", {"image": np.eye(20, dtype=np.uint8)}, options)["houghLines"]
        self.assertEqual((lines.dtype, lines.shape[1:]), (np.int32, (4,)))

    def test_only_connected_outputs_come_back(self):
        for outputs in [["area"], []]:
            written = zun.call("FindContours", {"input": np.zeros((5, 5), np.uint8)}, outputs=outputs)
            self.assertEqual(list(written), outputs)

    def test_texts_hold_any_byte(self):
        inputs = {"frames": rgb(20, 40), "locations": [(0, 0)]}
        as_bytes = zun.call("DrawText", inputs | {"strings": [b"\xc3\xa9\xffa"]})["output"].copy()
        as_text = zun.call("DrawText", inputs | {"strings": ["é\udcffa"], "frames": rgb(20, 40)})["output"]
        np.testing.assert_array_equal(as_bytes, as_text)

    def test_the_wrong_kind_of_value_names_port_type_and_what_came(self):
        box = (0, 0, 1, 1)
        for node, inputs, words in [
            ("NegativeImage", {"input": np.zeros((2, 2, 3))}, ["'input'", "zun::Mat<zun::Vec3b, 2>", "float64", "(2, 2, 3)"]),
            ("NegativeImage", {"input": [[1]]}, ["'input'", "list"]),
            ("CropAny", {"image": np.zeros((2, 2), complex), "box": box}, ["'image'", "any", "complex128"]),
            ("CropAny", {"image": rgb(2, 2), "box": (0, 0, 1)}, ["'box'", "zun::Box", "tuple of length 3"]),
            ("DrawPoints", {"image": rgb(2, 2), "points": [(0, 0), (1, "1")]}, ["'points'", "element 1", "str"]),
            ("DrawPoints", {"image": rgb(2, 2), "points": {(0, 0)}}, ["'points'", "zun::List<zun::Vec2f>", "set"]),
            ("ApplyMask", {"masks": [((0, 0, 1, 2**31), grey(1, 1))], "sourceFrames": [], "targetFrames": rgb(2, 2)},
             ["'masks'", "element 0"]),
        ]:
            with self.subTest(words), self.assertRaises(TypeError) as raised:
                zun.call(node, inputs)
            for word in words:
                self.assertIn(word, str(raised.exception))


class Memory(unittest.TestCase):
    def test_a_frame_that_is_passed_on_shares_its_memory_and_keeps_it_alive(self):
        frame = rgb(4, 6)
        passed = zun.call("ResizeImage", {"input": frame})["output"]
        self.assertTrue(np.shares_memory(passed, frame))
        expected, alive = frame.copy(), weakref.ref(frame)
        del frame
        self.assertIsNotNone(alive(), "the result needs it")
        np.testing.assert_array_equal(passed, expected)
        del passed
        gc.collect()
        self.assertIsNone(alive(), "and gives it back")

    def test_read_only_memory_stays_read_only(self):
        frame = rgb(4, 6)
        frame.flags.writeable = False
        self.assertFalse(zun.call("ResizeImage", {"input": frame})["output"].flags.writeable)
        self.assertTrue(zun.call("NegativeImage", {"input": frame})["output"].flags.writeable)

    def test_layouts_other_than_dense_are_copied(self):
        frame = rgb(6, 8)
        for view in [frame[::2], frame[:, ::-1], frame.transpose(1, 0, 2), frame[1:3, 2:5]]:
            np.testing.assert_array_equal(zun.call("NegativeImage", {"input": view})["output"], ~view)

    def test_a_node_that_draws_changes_the_array_it_is_given(self):
        frame = np.zeros((4, 4, 3), np.uint8)
        inputs = {"boxes": [(1, 1, 2, 2)]}
        drawn = zun.call("DrawBoxes", inputs | {"frames": frame}, {"filled": True, "colour": "0x0000FF"})["output"]
        self.assertEqual(frame[1, 1].tolist(), [0, 0, 255])
        self.assertTrue(np.shares_memory(drawn, frame))
        locked = frame.copy()
        locked.flags.writeable = False
        for array in [locked, frame[::2]]:
            with self.assertRaisesRegex(TypeError, "'frames'.*writeable"):
                zun.call("DrawBoxes", inputs | {"frames": array})


class Errors(unittest.TestCase):
    def test_each_has_its_class_and_the_nodes_own_text(self):
        frame = rgb(3, 3)
        for error, text, arguments in [
            (zun.Error, "No value specified for Input \"points\" in a node of type DrawPoints", ("DrawPoints", {"image": frame})),
            (zun.Error, "Attempt to convert OptionNode 'x' of type std::string to int32_t",
             ("MaskFactory", {"rectangles": []}, {"maskShape": "x"})),
            (zun.Error, "Unknown Option for NegativeImage: size", ("NegativeImage", {"input": frame}, {"size": 1})),
            (zun.Error, "vector<T> too long",
             ("Grey2BinarySequence", {"input": grey(2, 2)},
              dict(binThresholdCount=-1, binThresholdMin=0, binThresholdMax=1, inverted=True, noninverted=True))),
            (zun.Error, "there is no node type 'Crop<Vec3c>'; did you mean 'Crop<Vec3b>'?", ("Crop<Vec3c>", {})),
            (zun.Error, "a node of type NegativeImage has no output 'out'; did you mean 'output'?",
             ("NegativeImage", {"input": frame}, {}, ["out"])),
        ]:
            with self.subTest(text), self.assertRaises(error) as raised:
                zun.call(*arguments)
            self.assertEqual(str(raised.exception), text)
        self.assertTrue(issubclass(zun.Error, RuntimeError) and issubclass(zun.GuardError, RuntimeError))
        self.assertFalse(issubclass(zun.GuardError, zun.Error))

    def test_a_guard_stands_before_the_node_and_steps_aside_for_trust(self):
        frame, points = rgb(3, 3), [(0, 3)]
        zun.call("DrawPoints", {"image": frame, "points": points})  # lands on the next row
        with self.assertRaisesRegex(zun.GuardError, "tick 0, input 'points': point 0 .*row 3"):
            zun.call("DrawPoints", {"image": frame, "points": [(3, 0)]})
        masks = [((0, 0, 1, 1), np.zeros((2, 2), np.uint8))]
        inputs = {"masks": masks, "sourceFrames": [frame], "targetFrames": frame}
        with self.assertRaisesRegex(zun.GuardError, "'masks': mask 0"):
            zun.call("ApplyMask", inputs)
        zun.call("ApplyMask", inputs, trust=True)  # nothing is set, so nothing is written


class Nodes(unittest.TestCase):
    def test_a_node_is_called_again_and_takes_new_options(self):
        node = zun.Node("Crop<Vec3b>", {"clamp": True})
        frame = rgb(4, 4)
        for width in (1, 3):
            self.assertEqual(node.process(image=frame, box=(0, 0, width, 2))["output"].shape, (2, width, 3))
        self.assertEqual(node.process(image=frame, box=(-1, 0, 3, 1))["output"].shape, (1, 2, 3))
        node.set_option("clamp", 0)
        self.assertEqual(node.process(image=frame, box=(-1, 0, 3, 1))["output"].shape, (1, 3, 3))
        with self.assertRaisesRegex(zun.Error, "Unknown Option for Crop<T>: clam"):
            node.set_option("clam", True)
        with self.assertRaisesRegex(TypeError, "'box'.*missing"):
            node.process(image=frame)
        node.flush()
        with self.assertRaises(zun.Error):
            node.process(image=frame, box=(0, 0, 1, 1))

    def test_other_threads_run_while_a_node_does(self):
        turns, stop = [], threading.Event()

        def turn():
            while not stop.wait(0.0005):
                turns.append(1)

        interval = sys.getswitchinterval()
        sys.setswitchinterval(1000)  # so that only a node can let the other thread in
        with ThreadPoolExecutor() as pool:
            try:
                pool.submit(turn)
                before = len(turns)
                options = dict(stepX=1, stepY=1, windowWidth=64, windowHeight=64)
                zun.call("SlidingWindowNormalizeGreyImage", {"input": np.zeros((1000, 1000), np.uint8)}, options)
                self.assertGreater(len(turns), before + 3)  # one of them may come when the node is dropped
            finally:
                sys.setswitchinterval(interval)
                stop.set()

    def test_one_node_serves_many_threads(self):
        for node, inputs in [
            (zun.Node("GreyBoxBlur", {"kernelSizeX": 3, "kernelSizeY": 3}), lambda: {"input": grey(40, 50)}),
            (zun.Node("DrawText"), lambda: {"frames": rgb(30, 50), "strings": ["text"], "locations": [(1, 1)]}),
        ]:
            expected = node.process(**inputs())["output"]
            with ThreadPoolExecutor(4) as pool:
                for result in pool.map(lambda _: node.process(**inputs())["output"], range(200)):
                    np.testing.assert_array_equal(result, expected)


class Targets(unittest.TestCase):
    def test_are_those_of_the_machine_and_another_is_named_with_them(self):
        targets = zun.targets()
        for target in reversed(targets):
            zun.use_target(target)
        self.assertEqual(zun.targets(), targets)
        words = '"MMX" is not a target of this machine, which has ' + ", ".join(targets)
        with self.assertRaises(ValueError) as raised:
            zun.use_target("MMX")
        self.assertEqual(str(raised.exception), words)
        for target, error in [("MMX", "ImportError: ZUN_TARGET: " + words), ("", ""), ("plain", "")]:
            ended = subprocess.run([sys.executable, "-c", "import zun"], env=os.environ | {"ZUN_TARGET": target},
                                   capture_output=True, text=True)
            self.assertEqual(ended.stderr.strip().rpartition("\n")[2], error)


if __name__ == "__main__":
    unittest.main()
