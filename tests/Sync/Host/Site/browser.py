"""A browser without a window, driven over WebDriver's HTTP interface."""
import base64
import json
import re
import shutil
import subprocess
import threading
import time
import urllib.error
import urllib.request


class Browser:
    ELEMENT = "element-6066-11e4-a52e-4f735466cecf"  # the key of an element's name (WebDriver, 11.2)

    def __init__(self):
        driver = shutil.which("chromedriver")
        assert driver, "chromedriver is missing; ./dev setup tests installs it"
        # It takes a free port and names it in its output, which stays open for what it writes later.
        self._driver = subprocess.Popen([driver, "--port=0"], stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, text=True)
        self._base = f"http://127.0.0.1:{self._port_of_driver()}"
        self._session = None
        try:
            self._wait_until_ready()
            options = {"args": ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                                "--disable-extensions", "--no-first-run", "--lang=de"]}
            answer = self._call("POST", "/session", {"capabilities": {"alwaysMatch": {
                "browserName": "chrome", "goog:chromeOptions": options,
                "goog:loggingPrefs": {"browser": "ALL"}}}})
            self._session = answer["sessionId"]
        except BaseException:
            self.close()
            raise

    def close(self):
        if self._session:
            try:
                self._call("DELETE", f"/session/{self._session}")
            except OSError:
                pass
        self._driver.terminate()
        self._driver.wait(timeout=60)
        self._driver.stdout.close()

    def _port_of_driver(self):
        watchdog = threading.Timer(60, self._driver.kill)  # ends the wait for the line as well
        watchdog.start()
        try:
            for line in self._driver.stdout:
                found = re.search(r"successfully on port (\d+)", line)
                if found:
                    return int(found.group(1))
        finally:
            watchdog.cancel()
        self._driver.wait()
        self._driver.stdout.close()
        raise AssertionError("chromedriver does not start")

    def _wait_until_ready(self):
        for _ in range(200):
            try:
                if self._call("GET", "/status")["ready"]:
                    return
            except OSError:
                time.sleep(0.1)
        raise AssertionError("chromedriver does not answer")

    def _call(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self._base + path, data=data, method=method,
                                         headers={"Content-Type": "application/json"})
        try:
            with urllib.request.urlopen(request, timeout=90) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise AssertionError(f"{method} {path}: {error.read().decode()[:500]}") from error

    def _command(self, method, path, body=None):
        return self._call(method, f"/session/{self._session}{path}", body)

    def open(self, address):
        self._command("POST", "/url", {"url": address})

    @property
    def address(self):
        return self._command("GET", "/url")

    @property
    def title(self):
        return self._command("GET", "/title")

    def run(self, script, *arguments):
        """What the script returns; it runs for the test, the pages have none of their own."""
        return self._command("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def find(self, selector):
        return self._command("POST", "/elements", {"using": "css selector", "value": selector})

    def texts(self, selector):
        return self.run("return [...document.querySelectorAll(arguments[0])].map(e => e.innerText.trim())", selector)

    def click(self, selector):
        self._command("POST", f"/element/{self._first(selector)}/click", {})

    def _first(self, selector):
        return self.find(selector)[0][self.ELEMENT]

    def follow(self, selector):
        """Clicks what leads to another page and waits until that page has taken this one's place."""
        page = self._first("html")
        self.click(selector)
        self.wait_for(lambda: self._is_gone(page), f"{selector} leads to no other page")

    def choose(self, selector):
        """Clicks an option until it is the chosen one: a click on a list that is only opening chooses nothing."""
        def is_chosen():
            self.click(selector)
            return self._command("GET", f"/element/{self._first(selector)}/selected")

        self.wait_for(is_chosen, f"{selector} is not chosen")

    def _is_gone(self, element):
        try:
            self._command("GET", f"/element/{element}/name")
            return False
        except AssertionError as error:
            # A page that is being left answers in a third way: it is neither there nor replaced.
            return "stale element reference" in str(error)

    @staticmethod
    def wait_for(condition, complaint):
        deadline = time.monotonic() + 60
        while not condition():
            if time.monotonic() > deadline:
                raise AssertionError(complaint)
            time.sleep(0.02)

    def press(self, key):
        self._command("POST", "/actions", {"actions": [{"type": "key", "id": "keyboard", "actions": [
            {"type": "keyDown", "value": key}, {"type": "keyUp", "value": key}]}]})

    def has_dialog(self):
        try:
            self._command("GET", "/alert/text")
            return True
        except AssertionError:
            return False

    def complaints(self):
        """What the browser wrote on its console since the last call."""
        return [entry["message"] for entry in self._command("POST", "/se/log", {"type": "browser"})]

    def protocol(self, command, **parameters):
        return self._command("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def look_as(self, width, height, dark=False, scale=1):
        self.protocol("Emulation.setDeviceMetricsOverride", width=width, height=height,
                      deviceScaleFactor=scale, mobile=width < 600)
        self.protocol("Emulation.setEmulatedMedia", features=[
            {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}])

    def picture(self, path, selector="html", height=None):
        """The page from an element's top on as a PNG file, at most so high."""
        size = self.protocol("Page.getLayoutMetrics")["cssContentSize"]
        top = self.run("return document.querySelector(arguments[0]).getBoundingClientRect().top + scrollY", selector)
        clip = {"x": 0, "y": top, "width": size["width"], "height": min(size["height"] - top, height or size["height"]),
                "scale": 1}
        data = self.protocol("Page.captureScreenshot", format="png", captureBeyondViewport=True, clip=clip)["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(data))
