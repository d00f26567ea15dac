"""Looks at the studio's page as a user does. Usage: browser_test.py ZUN PROJECT [TEST...]"""

import difflib
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest
import urllib.error
import urllib.request

import numpy
import PIL.Image
from selenium.webdriver import ActionChains

from studio import Browser, Studio

zun, project = sys.argv[1], pathlib.Path(sys.argv[2])
examples = project / "examples"


def clip(folder):
    subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc2=size=320x180:rate=30", "-t", "2", "-y",
                    f"{folder}/clip.mp4"], check=True)
    return f"clip={folder}/clip.mp4"


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = Browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.driver.quit()

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = scratch.name

    def tearDown(self):
        self.assertEqual(self.browser.complaints(), [])

    def studio(self, name, *words):
        return Studio(zun, project, examples / f"{name}.yaml", self.folder, "-D", f"out={self.folder}", *words)

    def boxes(self, studio):
        state = self.browser.settled(studio.address)
        value = next(stream["value"] for stream in state["streams"] if stream["name"] == "boxes")
        return int(value["summary"].split()[0])

    def set_number(self, option, text):
        """As typing it does."""
        self.browser.click('[data-node="%s"]' % option.split(".")[0])
        self.browser.find(f'[data-option="{option}"] input')
        self.browser.run("(() => { const field = [...document.querySelectorAll(`[data-option='${arguments[0]}'] input`)].pop();"
                         "field.focus(); field.value = arguments[1]; field.dispatchEvent(new Event('input', {bubbles: true}));"
                         "field.dispatchEvent(new Event('change', {bubbles: true})); field.blur(); })()", option, text)

    def test_each_stream_shows_the_bits_of_a_tap(self):
        for name, words in (("coins", ()), ("faces-off", ()), ("lines", ()), ("clip", ("-D", clip(self.folder)))):
            with self.subTest(name), self.studio(name, *words) as studio:
                self.browser.open(studio.address)
                for stream in self.browser.settled(studio.address)["streams"]:
                    if stream["value"] is None or stream["value"]["kind"] != "frame":
                        continue
                    self.browser.select_stream(stream["name"])
                    self.browser.wait("document.querySelector('#viewer-canvas').dataset.shown === arguments[0]",
                                      stream["value"]["id"] + "/0")
                    shown = self.browser.shown()
                    there = numpy.array(PIL.Image.open(studio.tap(stream["name"], self.folder)))
                    found = numpy.array(shown["data"], numpy.uint8).reshape(shown["height"], shown["width"], -1)
                    self.assertTrue(numpy.array_equal(found[..., :3].squeeze(), there), stream["name"])
            self.assertEqual(studio.status, 0)

    def test_a_threshold_is_moved_saved_and_followed(self):
        with self.studio("coins") as studio, Browser() as second:
            before = studio.file.read_text()
            self.browser.open(studio.address)
            second.open(studio.address)
            self.assertEqual(self.boxes(studio), 24)
            self.set_number("cut.binaryThreshold", "150")
            self.browser.wait("document.querySelector('#undo') && !document.querySelector('#undo').disabled")
            found = self.boxes(studio)
            # As many as a run finds, in both pages.
            ended = subprocess.run([zun, "run", str(studio.file), "-D", f"out={self.folder}", "-D", "threshold=150"],
                                   cwd=project, capture_output=True, check=True)
            record = (pathlib.Path(self.folder) / "coins.jsonl").read_text()
            self.assertEqual(record.split('"areas":[')[1].split("]")[0].count(",") + 1, found, ended.stderr)
            for browser in (self.browser, second):
                browser.wait("document.querySelector('[data-stream=boxes]').textContent.includes(arguments[0])",
                             f"{found} element")
            self.assertEqual(studio.file.read_text(), before)
            self.browser.click("#save")
            self.browser.click("#save-confirm")
            self.browser.wait("document.querySelector('#save').disabled")
            changed = [line for line in difflib.ndiff(before.splitlines(), studio.file.read_text().splitlines())
                       if line[0] in "+-"]
            self.assertEqual([line[2:].split("#")[0].strip() for line in changed], ["threshold: 136", "threshold: 150"])
            # What another editor writes is followed; a broken text leaves the last good graph.
            studio.file.write_text(before)
            self.browser.wait("document.querySelector('[data-stream=boxes]').textContent.includes('24 element')")
            studio.file.write_text(before.replace("type: FindContours", "type: FindContour"))
            for browser in (self.browser, second):
                browser.wait("document.body.innerText.includes('last good text')")
                self.assertTrue(browser.run("document.querySelector('[data-stream=boxes]').textContent.includes('24')"))
            studio.file.write_text(before)
            self.browser.wait("!document.body.innerText.includes('last good text')")
            self.assertEqual(second.complaints(), [])

    def test_a_box_is_moved_on_the_picture(self):
        def box():
            state = self.browser.settled(studio.address)
            node = next(node for node in state["nodes"] if node["name"] == "faces")
            return json.loads(next(option["text"] for option in node["options"] if option["name"] == "value"))[0]

        with self.studio("faces-off") as studio:
            self.browser.open(studio.address)
            self.browser.select_stream("anonymous")
            self.browser.wait("document.querySelector('#viewer-canvas').dataset.shown")
            self.browser.click('[data-node="faces"]')
            before = box()
            self.browser.find('[data-option="faces.value"]')
            self.browser.run("[...document.querySelectorAll('[data-option=\"faces.value\"] button')]"
                             ".find(button => button.textContent.includes('Drag')).click()")
            canvas = self.browser.find("#viewer-canvas")
            ActionChains(self.browser.driver).move_to_element(canvas).click_and_hold().move_by_offset(30, 20).release().perform()
            self.browser.wait("!document.querySelector('#undo').disabled")
            after = box()
            self.assertGreater(after[0], before[0])
            self.assertEqual(after[2:], before[2:])
            self.browser.click("#undo")
            self.browser.wait("document.querySelector('#undo').disabled")
            self.assertEqual(box(), before)

    def test_strangers_are_refused(self):
        with self.studio("coins") as studio:
            host = studio.address.split("/")[2]
            stranger = f"http://{host}/{'0' * len(studio.address.split('/')[3])}/"
            for address, headers in ((stranger + "state", {}), (f"http://{host}/state", {}),
                                     (studio.address + "state", {"Host": "studio.example"}),
                                     (studio.address + "state", {"Origin": "http://studio.example"})):
                with self.assertRaises(urllib.error.HTTPError) as refused:
                    urllib.request.urlopen(urllib.request.Request(address, headers=headers))
                self.assertEqual(refused.exception.code, 403, (address, headers))
                refused.exception.close()

    def test_a_report_opens_without_server_or_network(self):
        report = pathlib.Path(self.folder) / "report.html"
        subprocess.run([zun, "inspect", str(examples / "coins.yaml"), "-D", f"out={self.folder}", "-o", str(report)],
                       cwd=project, check=True, capture_output=True)
        with Browser(online=False) as offline:
            offline.open(report.as_uri())
            offline.select_stream("framed")
            offline.wait("document.querySelector('#viewer-canvas').dataset.width === '384'")
            self.assertGreater(len(set(offline.shown()["data"])), 100)
            self.assertEqual(offline.complaints(), [])

    def test_nothing_reaches_beyond_the_page_at_any_width(self):
        with self.studio("coins") as studio:
            for width, height in ((390, 844), (1280, 800), (2560, 1440)):
                for dark in (False, True):
                    with self.subTest(width=width, dark=dark), Browser(width, height, dark) as browser:
                        browser.open(studio.address)
                        browser.select_stream("framed")
                        self.assertLessEqual(browser.run("document.documentElement.scrollWidth"), width)
                        unnamed = browser.run(
                            "[...document.querySelectorAll('button, input, select')].filter(e => e.offsetParent && !("
                            "e.ariaLabel || e.labels?.length || e.textContent.trim() || e.title)).map(e => e.outerHTML)")
                        self.assertEqual(unnamed, [])
                        self.assertEqual(browser.complaints(), [])


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]], verbosity=2)
