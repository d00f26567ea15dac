"""A studio that runs, and a browser that looks at it: what the page's test and its benchmark share."""

import json
import pathlib
import re
import shutil
import signal
import subprocess
import time

from selenium import webdriver
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

patience = 30  # seconds, for a busy machine


class Studio:
    """zun studio on a copy of a description."""

    def __init__(self, zun, project, description, folder, *words):
        self.zun, self.project, self.words = zun, pathlib.Path(project), words
        self.file = pathlib.Path(folder) / pathlib.Path(description).name
        shutil.copy(description, self.file)
        self.process = subprocess.Popen([zun, "studio", str(self.file), *words], cwd=project, text=True,
                                        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.address = re.search(r"http://\S+", self.process.stdout.readline()).group()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGINT)
        try:
            self.status = self.process.wait(patience)
        except subprocess.TimeoutExpired:
            self.process.kill()
            raise
        self.process.stdout.close()

    def tap(self, stream, folder, *words):
        """What zun run puts on a stream at tick 0: the file that a tap writes."""
        for old in pathlib.Path(folder).glob("tap.*"):
            old.unlink()
        ended = subprocess.run([self.zun, "run", str(self.file), *self.words, "-D", f"out={folder}", "--frames", "0:1",
                                "--tap", f"{stream}@0={folder}/tap.png", *words],
                               cwd=self.project, capture_output=True, text=True, check=False)
        assert ended.returncode == 0, ended.stderr
        return pathlib.Path(folder) / "tap.png"


class Browser:
    def __init__(self, width=1280, height=800, dark=False, online=True):
        options = webdriver.ChromeOptions()
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                         f"--window-size={width},{height}", "--hide-scrollbars"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(options=options)
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                    {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                    {"features": [{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}]})
        if not online:
            self.driver.execute_cdp_cmd("Network.enable", {})
            self.driver.execute_cdp_cmd("Network.emulateNetworkConditions", {
                "offline": True, "latency": 0, "downloadThroughput": 0, "uploadThroughput": 0})

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.driver.quit()

    def open(self, address):
        self.driver.get(address)
        self.wait("document.querySelectorAll('[data-node]').length > 0 || document.querySelector('.banner')")

    def run(self, script, *arguments):
        return self.driver.execute_script(f"return {script}", *arguments)

    def wait(self, script, *arguments):
        """Until the script gives something true, which is returned."""
        return WebDriverWait(self.driver, patience, 0.02).until(lambda _: self.run(script, *arguments))

    def find(self, selector):
        return WebDriverWait(self.driver, patience, 0.02).until(
            lambda driver: next(iter(driver.find_elements(By.CSS_SELECTOR, selector)), None))

    def click(self, selector):
        element = self.find(selector)
        self.driver.execute_script("arguments[0].scrollIntoView({block: 'center', inline: 'center'})", element)
        self.driver.execute_script("arguments[0].click()", element)

    def select_stream(self, name):
        self.click(f'.graph [data-stream="{name}"], [data-stream="{name}"]')

    def shown(self):
        """Width, height, channels and bytes of the picture that the viewer shows."""
        return self.run("(p => p && {width: p.width, height: p.height, channels: p.channels, "
                        "data: Array.from(p.data)})(window.zunStudio.pixels())")

    def state(self, address):
        """As the server has it now."""
        return json.loads(self.driver.execute_async_script(
            "const done = arguments[1]; fetch(arguments[0] + 'state').then(r => r.text()).then(done)", address))

    def settled(self, address):
        """The state, once its values are those of the latest change."""
        for _ in range(int(patience / 0.05)):
            state = self.state(address)
            if not state["busy"]:
                return state
            time.sleep(0.05)
        raise AssertionError("the studio is busy for ever")

    def complaints(self):
        return [entry["message"] for entry in self.driver.get_log("browser") if entry["level"] in ("SEVERE", "WARNING")]
