#!/usr/bin/python3
"""Writes what Doxygen needs besides the headers and the pages: the tree of contents, after the groups of the start
page, and a page for each example."""

from xml.sax.saxutils import quoteattr

import pages


def layout():
    yield '<doxygenlayout version="1.0"><navindex>'
    yield '<tab type="mainpage" visible="yes" title="Start"/><tab type="pages" visible="no" title=""/>'
    for heading, group in pages.groups():
        yield f'<tab type="usergroup" visible="yes" title={quoteattr(heading)}>'
        for page in group:
            yield f'<tab type="user" url="@ref {pages.page_id(page)}" title={quoteattr(pages.title_of(page))}/>'
        yield "</tab>"
    yield '<tab type="usergroup" visible="yes" title="Names">'
    for kind, title in (("namespacelist", "Classes and functions"), ("hierarchy", "Class hierarchy"),
                        ("filelist", "Headers"), ("examples", "Sources of the examples")):
        yield f'<tab type="{kind}" visible="yes" title="{title}"/>'
    yield "</tab>"
    yield "</navindex></doxygenlayout>"


def examples():
    for name in pages.examples():
        shared = " It is shared by several of the examples." if "/" in name else ""
        yield (f"/** \\example {name}\n\\details "
               f'The page <a href="md_docs_examples.html">Examples</a> describes what it shows and how to build it.'
               f"{shared} */")


def main():
    pages.WORK.mkdir(parents=True, exist_ok=True)
    (pages.WORK / "layout.xml").write_text("\n".join(layout()) + "\n")
    (pages.WORK / "examples.dox").write_text("\n".join(examples()) + "\n")


if __name__ == "__main__":
    main()
