#!/usr/bin/python3
"""Looks at the finished site in a browser: takes screenshots of five pages, on a desk and on a phone, light and dark.

Fails if a page is wider than its window, if the text on the phone is narrower than 340 pixels, if a button of the page
or the link at a heading is missing or has no effect, or if the search does not find a heading. Talks to Chromium by the
DevTools protocol, over two pipes.
"""

import base64
import json
import os
import shutil
import subprocess
import sys
import tempfile
import threading

import pages

SHOTS = pages.WORK / "screenshots"
SHOWN = {
    "start": "index.html",
    "getting-started": "md_docs_getting_started.html",
    "class": "classTarsel_1_1Core_1_1CommunicationChannel.html",
    "tables": "md_docs_performance.html",
    "example": "message_queue_8cpp-example.html",
}
WIDTHS = {"desk": 1280, "phone": 420}
NARROWEST_TEXT = 340
TIMEOUT = 300  # seconds, for all of it

# What is measured in each page. The text is the narrowest of the column and its paragraphs. The point at the left, half
# way down, has to belong to the page and not to something that covers it.
MEASURE = """({
    mode: document.documentElement.classList.contains('dark-mode') ? 'dark' : 'light',
    window: innerWidth,
    page: Math.max(document.documentElement.scrollWidth, document.body.scrollWidth),
    text: Math.min(...[...document.querySelectorAll('.contents, .contents > p, .textblock > p')].map((element) => {
        const style = getComputedStyle(element);
        return element.clientWidth - parseFloat(style.paddingLeft) - parseFloat(style.paddingRight);
    })),
    covered: !document.getElementById('doc-content').contains(document.elementFromPoint(24, innerHeight / 2)),
})"""
PRESS_MODE = "document.getElementById('mode-button').click(); document.documentElement.className"
PRESS_CONTENTS = """(() => {
    const width = () => document.getElementById('nav-tree').getBoundingClientRect().right;
    const before = width();
    document.getElementById('side-nav').style.transition = 'none';
    document.getElementById('nav-button').click();
    return before <= 0 && width() > 200;
})()"""
COPIED = """[...document.querySelectorAll('doxygen-awesome-fragment-copy-button')].map((button) => {
    let copied;
    navigator.clipboard.writeText = (text) => { copied = text; };
    button.click();
    return copied;
})"""
LINKED = "[...document.querySelectorAll('h1 > a.anchorlink')].map((link) => link.hash)"
# The tree comes after the page, so this waits for its links.
LISTED_PAGES = """new Promise((done) => {
    const deadline = Date.now() + 10000;
    const look = () => {
        const links = document.querySelectorAll('#nav-tree .label a[class^="md_"]');
        if (links.length > 0 || Date.now() > deadline) {
            done([...links].map((link) => link.getAttribute('href')));
        } else {
            setTimeout(look, 20);
        }
    };
    look();
})"""
FIND = "new Promise((done) => withIndex(() => done(findEntries('full disk').map((entry) => entry[1]))))"


class Browser:
    def __init__(self, profile):
        ours, theirs = os.pipe(), os.pipe()
        self.process = subprocess.Popen(
            ["sh", "-c", f'exec "$@" 3<&{theirs[0]} 4>&{ours[1]}', "sh", shutil.which("chromium") or "chromium",
             "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--hide-scrollbars",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             f"--user-data-dir={profile}", "--remote-debugging-pipe"],
            pass_fds=(theirs[0], ours[1]), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(theirs[0])
        os.close(ours[1])
        self.answers, self.calls = open(ours[0], "rb"), open(theirs[1], "wb", buffering=0)
        self.number, self.session = 0, None
        self.watchdog = threading.Timer(TIMEOUT, self.process.kill)
        self.watchdog.start()
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        self.call("Page.enable")

    def message(self):
        text = bytearray()
        while (byte := self.answers.read(1)) != b"\0":
            if not byte:
                raise RuntimeError("the browser has ended")
            text += byte
        return json.loads(text)

    def wait_for(self, accepted):
        while not accepted(message := self.message()):
            pass
        return message

    def call(self, method, **parameters):
        self.number += 1
        call = {"id": self.number, "method": method, "params": parameters}
        self.calls.write(json.dumps(call | ({"sessionId": self.session} if self.session else {})).encode() + b"\0")
        answer = self.wait_for(lambda message: message.get("id") == self.number)
        if "error" in answer:
            raise RuntimeError(f"{method}: {answer['error']['message']}")
        return answer["result"]

    def evaluate(self, expression):
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(f"the page throws: {answer['exceptionDetails']['exception']['description']}")
        return answer["result"].get("value")

    def show(self, file, width, mode):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=900, deviceScaleFactor=1,
                  mobile=width < 768)
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": mode}])
        self.call("Page.navigate", url=(pages.HTML / file).as_uri())
        self.wait_for(lambda message: message.get("method") == "Page.loadEventFired")

    def close(self):
        self.watchdog.cancel()
        self.process.kill()
        self.process.wait()

    def save(self, path):
        path.write_bytes(base64.b64decode(self.call("Page.captureScreenshot", format="png")["data"]))


def faults_of(shape, width, mode):
    """What is wrong with the shape of a page."""
    if shape["mode"] != mode:
        yield f"it is {shape['mode']}"
    if shape["window"] != width or shape["page"] > width:
        yield f"it is {shape['page']} pixels wide, in a window of {shape['window']}"
    if width == WIDTHS["phone"] and shape["text"] < NARROWEST_TEXT:
        yield f"its text is {shape['text']} pixels wide"
    if width == WIDTHS["phone"] and shape["covered"]:
        yield "something covers its text"


def look(browser):
    """Yields each fault as a line of text."""
    for name, file in SHOWN.items():
        for place, width in WIDTHS.items():
            for mode in ("light", "dark"):
                browser.show(file, width, mode)
                browser.save(SHOTS / f"{name}-{place}-{mode}.png")
                yield from (f"{file}, {place}, {mode}: {fault}"
                            for fault in faults_of(browser.evaluate(MEASURE), width, mode))
    for page in sorted(pages.HTML.glob("*.html")):
        browser.show(page.name, WIDTHS["phone"], "light")
        shape = browser.evaluate(MEASURE)
        if shape["page"] > WIDTHS["phone"]:
            yield f"{page.name}, phone: it is {shape['page']} pixels wide"


def try_controls(browser):
    browser.show("index.html", WIDTHS["phone"], "light")
    if "dark-mode" not in browser.evaluate(PRESS_MODE):
        yield "the button for the mode does not switch to dark"
    browser.evaluate(PRESS_MODE)  # the browser remembers it
    if not browser.evaluate(PRESS_CONTENTS):
        yield "the button for the contents does not show them"
    if "kitio/scripts/bootstrap\ncmake -B build -G Ninja" not in "\n\n".join(browser.evaluate(COPIED)):
        yield "a button at a block of code does not copy it"
    if "#start-quick-start" not in browser.evaluate(LINKED):
        yield "a heading has no link to itself"
    listed = browser.evaluate(LISTED_PAGES)
    yield from (f"the tree of contents does not show {page.name}"
                for _, group in pages.groups() for page in group if pages.page_file(page) not in listed)
    if not any("md_docs_files.html#" in url for url in browser.evaluate(FIND)):
        yield "the search does not find the heading of a page"


def main():
    SHOTS.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as profile:
        browser = Browser(profile)
        try:
            faults = [*look(browser), *try_controls(browser)]
        finally:
            browser.close()
    if faults:
        sys.exit("\n".join(faults))


if __name__ == "__main__":
    main()
