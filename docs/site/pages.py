"""What the scripts beside this file know of the pages: where they are, and how Doxygen names what it makes of them."""

import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
WORK = ROOT / "build/docs"
HTML = WORK / "html"
START = ROOT / "docs/start.md"


def groups():
    """The groups of pages as the start page lists them: (heading, [page that exists])."""
    found = []
    for line in START.read_text().splitlines():
        if line.startswith("## "):
            found.append((line[3:], []))
        elif link := re.match(r"- \[.*\]\(([^)#]+\.md)\)", line):
            page = (START.parent / link[1]).resolve()
            if found and page.exists():
                found[-1][1].append(page)
    return [(heading, pages) for heading, pages in found if pages]


def title_of(page):
    """The text of the page's first heading."""
    return re.search(r"^# (.+)$", page.read_text(), re.MULTILINE)[1].replace("`", "")


def page_id(page):
    return "md_" + re.sub(r"[/-]", "_", page.relative_to(ROOT).with_suffix("").as_posix())


def page_file(page):
    return "index.html" if page == START else page_id(page) + ".html"


def heading_id(page, heading):
    """A label of Doxygen's, which are the same for all pages: the page's name, and the heading as GitHub spells it."""
    return f"{page.stem.lower()}-{re.sub(r'[^a-z0-9-]', '', heading.strip().lower().replace(' ', '-'))}"


def examples():
    """The sources that are shown as examples, by the names that Doxygen gets."""
    directory = ROOT / "examples"
    paths = [*sorted(directory.glob("*.cpp")), *sorted(directory.glob("Support/*"))]
    return [path.relative_to(directory).as_posix() for path in paths]


def example_file(name):
    return name.replace("/", "_2").replace(".", "_8") + "-example.html"
