#!/usr/bin/python3
"""Finishes the site that Doxygen has written: lists without repetitions, diagrams that follow the mode, examples with
links at each name of a class, and the index of the search."""

import html
import json
import re
import xml.etree.ElementTree as xml

import pages

HEADING = re.compile(r'<h[1-6]><a class="anchor" id="([^"]+)"></a>\s*(.*?)</h[1-6]>')
MEMBER = re.compile(r'^<tr class="memitem:([^ "]*)">')
DIAGRAM = re.compile(r'<iframe[^>]*src="([^"]+\.svg)"[^>]*>.*?</iframe>', re.DOTALL)


def without_overridden(name, text):
    """Doxygen lists the operations of an interface a second time, without a heading, where a class overrides them."""
    kept, elsewhere = [], None
    for line in text.splitlines(keepends=True):
        if member := MEMBER.match(line):
            here = f'"{name}#{member[1]}"' in line
            elsewhere = member[1] if f'.html#{member[1]}"' in line and not here else None
        if not (elsewhere and f':{elsewhere}">' in line):
            kept.append(line)
    return "".join(kept)


def with_diagrams(text):
    """Puts the diagrams into the page itself, where its style sheet reaches them."""
    def diagram(match):
        svg = (pages.HTML / match[1]).read_text()
        svg = re.sub(r"^.*?(?=<svg)|<!--.*?-->|<title>.*?</title>| id=\"[^\"]*\"", "", svg, flags=re.DOTALL)
        return svg.replace('target="_parent"', "").replace('target="_top"', "").strip()

    return DIAGRAM.sub(diagram, text)


def with_names(text, classes):
    """Doxygen leaves some names of classes in the code of an example as they are, for instance before ::Create."""
    def line(match):
        parts = re.split(r"(<a .*?</a>|<[^>]+>)", match[0])
        for number in range(0, len(parts), 2):
            parts[number] = re.sub(r"(?<![\w\"/.])(\w+)(?![\w/.])", name, parts[number])
        return "".join(parts)

    def name(match):
        file = classes.get(match[1])
        return f'<a class="code" href="{file}">{match[1]}</a>' if file else match[1]

    return re.sub(r'<div class="line">.*', line, text)


def compounds():
    """(kind, name, file, element) of all that Doxygen has described."""
    for element in xml.parse(pages.WORK / "tags.xml").getroot():
        file = element.findtext("filename")
        yield element.get("kind"), element.findtext("name"), file if file.endswith(".html") else file + ".html", element


def entries_of_pages():
    """The titles of the pages, and their headings with the page as the place."""
    listed = [page for _, group in pages.groups() for page in group]
    for page in [pages.START, *listed]:
        title, file = pages.title_of(page), pages.page_file(page)
        yield title, file, "Page"
        headings = HEADING.findall((pages.HTML / file).read_text())
        for label, text in headings:
            yield html.unescape(re.sub(r"<[^>]+>", "", text)), f"{file}#{label}", title
    for name in pages.examples():
        yield name, pages.example_file(name), "Example"


def entries_of_names():
    kinds = {"class": "Class", "struct": "Class", "namespace": "Namespace", "file": "Header"}
    for kind, name, file, element in compounds():
        if kind not in kinds:
            continue
        scope, _, short = name.rpartition("::")
        yield short, file, f"{kinds[kind]} {scope and 'in ' + scope}".strip()
        members = () if kind == "file" else element.findall("member")
        for member in members:
            url = f"{member.findtext('anchorfile')}#{member.findtext('anchor')}"
            yield member.findtext("name"), url, name


def main():
    classes = {name.rpartition("::")[2]: file for kind, name, file, _ in compounds() if kind == "class"}
    for path in pages.HTML.glob("*.html"):
        text = old = path.read_text()
        if path.name.startswith("class"):
            text = without_overridden(path.name, text)
        if path.name.endswith("-example.html"):
            text = with_names(text, classes)
        text = with_diagrams(text)
        if text != old:
            path.write_text(text)
    entries = sorted({*entries_of_pages(), *entries_of_names()})
    (pages.HTML / "search-index.js").write_text(f"var siteIndex = {json.dumps(entries, indent=0)};\n")


if __name__ == "__main__":
    main()
