#!/usr/bin/python3
"""Prints a page as Doxygen gets it. The pages are written for GitHub, too, and Doxygen needs some things otherwise:

- names of classes and functions in code font become links to their descriptions;
- links to examples lead to their pages; those to other files that are not pages become plain text;
- headings get ids that do not depend on what comes before them, and links to sections lead there;
- pictures in a light and a dark version follow the site's mode;
- code for the shell, CMake and Python is coloured here, since Doxygen does not.
"""

import html
import os.path
import pathlib
import re
import sys

import pygments
import pygments.lexers
from pygments.token import Comment, Keyword, Literal, Name, Operator, Punctuation, String, Text

import pages

# Kinds of words as Pygments and as Doxygen's style sheet call them.
COLOURS = ((Comment, "comment"), (String, "stringliteral"), (Literal.Number, "vhdllogic"), (Keyword, "keyword"),
           (Name.Builtin, "keywordflow"), (Name.Variable, "preprocessor"), (Name.Attribute, "keywordtype"))
LANGUAGES = ("sh", "cmake", "python")


def with_commands(tokens):
    """Pygments leaves the programs that a script calls, and their options, without a kind."""
    at_start = True
    for kind, text in tokens:
        word = text.strip()
        if kind in Text and word:
            kind = Name.Builtin if at_start else Name.Attribute if word.startswith("-") else kind
        if word:
            at_start = kind in Comment or (kind in Operator or kind in Punctuation) and word[-1] in "|&;("
        elif "\n" in text:
            at_start = True
        yield kind, text


def coloured(code, language):
    """The code as Doxygen writes it: a line is an element of its own, so no word may span two of them."""
    lines = [[]]
    tokens = pygments.lexers.get_lexer_by_name(language).get_tokens(code)
    for kind, text in with_commands(tokens) if language == "sh" else tokens:
        style = next((name for token, name in COLOURS if kind in token), None)
        for number, part in enumerate(text.split("\n")):
            if number > 0:
                lines.append([])
            part = html.escape(part, quote=False)
            lines[-1].append(f'<span class="{style}">{part}</span>' if style and part else part)
    while lines and not "".join(lines[-1]):
        lines.pop()
    body = "\n".join(f'<div class="line">{"".join(line)}</div>' for line in lines)
    return raw(f'<div class="fragment">{body}\n</div>')


def raw(markup):
    return f"@htmlonly[block]{markup}@endhtmlonly"


def picture(match):
    """Both versions, of which the style sheet shows the one for the mode."""
    dark, light, alt = match.groups()
    names = ((light, "only-light"), (dark, "only-dark"))
    images = (f'<img class="{style}" src="{pathlib.PurePath(name).name}" alt="{alt}"/>' for name, style in names)
    return raw(f'<div class="picture">{"".join(images)}</div>')


PICTURE = re.compile(r'<picture>\s*<source[^>]*srcset="([^"]+)"[^>]*>\s*'
                     r'<img src="([^"]+)" alt="([^"]*)"[^>]*>\s*</picture>')


class PageFilter:
    def __init__(self, page):
        self.page = page
        self.names = dict(line.split() for line in (pages.WORK / "names.txt").read_text().splitlines())

    def prose(self, text):
        text = PICTURE.sub(picture, text)
        text = re.sub(r"^(##+) (.+)$", self.heading, text, flags=re.MULTILINE)
        text = re.sub(r"\[([^\]]+)\]\(([^)\s]+)\)", self.link, text)
        text = re.sub(r"`(\w+)`", self.name, text)
        # Doxygen takes an apostrophe for the end of a code span, unless that has two backticks on each side, and warns
        # of names in an anonymous namespace, which it does not have.
        text = re.sub(r"`([^`]*\(anonymous namespace\))::([^`:]*)::([^`]*)`", r"<code>\1\\::\2\\::\3</code>", text)
        return re.sub(r"(^|[ (])`([^` ][^`]*'[^`]*)`", r"\1``\2``", text, flags=re.MULTILINE)

    def heading(self, match):
        # Doxygen shows the tags of code in a heading as text.
        return f"{match[1]} {match[2].replace('`', '')} {{#{pages.heading_id(self.page, match[2])}}}"

    def name(self, match):
        scope = self.names.get(match[1])
        return f'<code>\\ref {scope}::{match[1]} "{match[1]}"</code>' if scope else match[0]

    def link(self, match):
        text, target = match.groups()
        if ":" in target:
            return match[0]
        file, _, section = target.partition("#")
        path = pathlib.Path(os.path.normpath(self.page.parent / file)) if file else self.page
        if section:
            label = pages.heading_id(path, section)
            return f'<a href="{pages.page_file(path)}#{label}">{text}</a>'
        if path in (pages.START, pages.ROOT / "README.md"):
            return f'<a href="index.html">{text}</a>'
        example = os.path.relpath(path, pages.ROOT / "examples")
        if example in pages.examples():
            return f'<a href="{pages.example_file(example)}">{text}</a>'
        return match[0] if path.suffix == ".md" else text

    def filtered(self, text):
        # Every second part is a block of code, with its fences.
        parts = re.split(r"(^ *```.*?^ *```$)", text, flags=re.MULTILINE | re.DOTALL)
        for number, part in enumerate(parts):
            if number % 2 == 0:
                parts[number] = self.prose(part)
                continue
            first, code = part.split("\n", 1)
            language = first.strip(" `")
            if language in LANGUAGES:
                indent = len(first) - len(first.lstrip(" "))
                lines = [line[indent:] for line in code.split("\n")[:-1]]
                parts[number] = " " * indent + coloured("\n".join(lines), language)
        return "".join(parts)


def main():
    page = pathlib.Path(sys.argv[1]).resolve()
    print(PageFilter(page).filtered(page.read_text()), end="")


if __name__ == "__main__":
    main()
