#!/usr/bin/env python3
"""Draws the picture of the parts of KitIO: overview.svg and overview-dark.svg, beside this file or in a directory.

Usage: docs/images/overview.py [DIRECTORY]

The picture is 600 units wide with letters of at least 15, so that it can be read on a phone.
"""

import pathlib
import sys

WIDTH, HEIGHT = 600, 772
SANS = "system-ui, -apple-system, 'Segoe UI', 'Noto Sans', Helvetica, Arial, sans-serif"
MONO = "ui-monospace, SFMono-Regular, Menlo, Consolas, 'DejaVu Sans Mono', monospace"

LIGHT = {
    "panel": "#f6f8fa", "rim": "#d0d7de", "text": "#1f2328", "soft": "#57606a", "arrow": "#57606a",
    "core": "#ddf0fb", "core-rim": "#1779ba", "bridge": "#f3ebfd", "bridge-rim": "#8250df",
    "outside": "#ffffff", "outside-rim": "#8c959f",
}
DARK = {
    "panel": "#161b22", "rim": "#30363d", "text": "#e6edf3", "soft": "#9da7b3", "arrow": "#9da7b3",
    "core": "#12324a", "core-rim": "#4aa8e0", "bridge": "#2c2245", "bridge-rim": "#a98bf0",
    "outside": "#0d1117", "outside-rim": "#6e7681",
}


def panel(y, height, title):
    yield f'<rect class="panel" x="1" y="{y}" width="{WIDTH - 2}" height="{height}" rx="12"/>'
    yield f'<text class="title" x="18" y="{y + 29}">{title}</text>'


def box(kind, x, y, width, height, *lines):
    """A box of one of the kinds core, bridge and outside; a line in backticks is code."""
    yield f'<rect class="{kind}" x="{x}" y="{y}" width="{width}" height="{height}" rx="7"/>'
    first = y + height / 2 - 10.5 * (len(lines) - 1)
    for number, line in enumerate(lines):
        style = "code" if line.startswith("`") else "name"
        yield f'<text class="{style}" x="{x + width / 2:g}" y="{first + 21 * number + 5.5:g}">{line.strip("`")}</text>'


def arrow(x1, y1, x2, y2, both=False):
    start = ' marker-start="url(#head)"' if both else ""
    yield f'<path class="arrow" d="M{x1} {y1}L{x2} {y2}"{start} marker-end="url(#head)"/>'


def label(x, y, text, style="label"):
    yield f'<text class="{style}" x="{x}" y="{y}">{text}</text>'


def streams():
    """What one process does with its streams."""
    yield from panel(1, 306, "Streams in one process")
    yield from box("core", 16, 44, 278, 64, "Bits", "`DataBitInput, DataBitOutput`")
    yield from box("core", 306, 44, 278, 64, "Whole streams", "`StreamToBuffer, MD5Generate`")
    yield from arrow(155, 114, 155, 136, both=True)
    yield from arrow(445, 114, 445, 136, both=True)
    yield from box("core", 16, 142, 568, 64, "Streams with a position", "`IDataInput, IDataOutput`")
    for number, (kind, name) in enumerate((("core", "File"), ("core", "Memory"), ("core", "String"),
                                           ("bridge", "std::iostream"))):
        x = 16 + 144 * number
        yield from arrow(x + 68, 212, x + 68, 234, both=True)
        yield from box(kind, x, 240, 136, 48, name)


def processes():
    """How a message goes from one process to another, and back."""
    yield from panel(323, 398, "Messages between two processes")
    yield from box("outside", 16, 366, 220, 44, "Process A")
    yield from box("outside", 364, 366, 220, 44, "Process B")
    for x, down, up, guard in ((16, 208, 44, 16), (364, 556, 392, 364)):
        yield from arrow(down, 416, down, 438)
        yield from arrow(up, 438, up, 416)
        yield from label(x + 110, 433, "messages")
        yield from box("core", x, 444, 220, 48, "`CommunicationChannel`")
        yield from box("bridge", guard, 520, 164, 44, "`GuardedFrameInput`")
        yield from arrow(up, 514, up, 498)
    yield from label(300, 473, "frames")
    yield from arrow(208, 498, 208, 592)
    yield from box("core", 88, 598, 148, 44, "`DataOutputPipe`")
    yield from arrow(44, 654, 44, 570)
    yield from box("core", 16, 660, 220, 44, "`DataInputPipe`")
    yield from arrow(392, 592, 392, 570)
    yield from box("core", 364, 598, 148, 44, "`DataInputPipe`")
    yield from arrow(556, 498, 556, 654)
    yield from box("core", 364, 660, 220, 44, "`DataOutputPipe`")
    yield from box("outside", 262, 600, 76, 40, "FIFO")
    yield from box("outside", 262, 662, 76, 40, "FIFO")
    for y, x1, x2 in ((620, 242, 256), (620, 344, 358), (682, 358, 344), (682, 256, 242)):
        yield from arrow(x1, y, x2, y)
    yield '<path class="frames" d="M236 484L364 484"/>'


def legend():
    for x, kind, text in ((16, "core", "KitIO"), (140, "bridge", "optional bridge"),
                          (346, "outside", "outside of KitIO")):
        yield f'<rect class="{kind}" x="{x}" y="739" width="26" height="18" rx="4"/>'
        yield from label(x + 36, 754, text, "label legend")


def picture(colours):
    style = f"""
text {{ font: 16px {SANS}; fill: {colours["text"]}; text-anchor: middle }}
.title {{ font-size: 19px; font-weight: 600; text-anchor: start }}
.name {{ font-weight: 600 }}
.code {{ font: 15px {MONO} }}
.label {{ fill: {colours["soft"]} }}
.legend {{ text-anchor: start }}
.panel {{ fill: {colours["panel"]}; stroke: {colours["rim"]} }}
.core {{ fill: {colours["core"]}; stroke: {colours["core-rim"]}; stroke-width: 1.5 }}
.bridge {{ fill: {colours["bridge"]}; stroke: {colours["bridge-rim"]}; stroke-width: 1.5; stroke-dasharray: 6 4 }}
.outside {{ fill: {colours["outside"]}; stroke: {colours["outside-rim"]}; stroke-width: 1.5 }}
.arrow {{ fill: none; stroke: {colours["arrow"]}; stroke-width: 2 }}
.frames {{ fill: none; stroke: {colours["arrow"]}; stroke-width: 2; stroke-dasharray: 3 5 }}
.head {{ fill: {colours["arrow"]} }}"""
    lines = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" width="{WIDTH}" height="{HEIGHT}"'
        ' role="img" aria-labelledby="t">',
        '<title id="t">The parts of KitIO, and how data flow through them</title>',
        f"<style>{style}\n</style>",
        '<marker id="head" viewBox="0 0 10 10" refX="5" refY="5" markerWidth="5.5" markerHeight="5.5"'
        ' orient="auto-start-reverse"><path class="head" d="M0 0L10 5L0 10z"/></marker>',
        *streams(), *processes(), *legend(),
        "</svg>",
    ]
    return "\n".join(lines) + "\n"


def main():
    directory = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path(__file__).resolve().parent
    (directory / "overview.svg").write_text(picture(LIGHT))
    (directory / "overview-dark.svg").write_text(picture(DARK))


if __name__ == "__main__":
    main()
