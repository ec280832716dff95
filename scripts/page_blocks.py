"""The blocks of code in a Markdown page, for scripts/check-docs and scripts/follow-page."""

import dataclasses
import difflib
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parent.parent
BLOCK = re.compile(r"^(?: *<!-- (from|run by|run|file:|output)(?: (\S+))? -->\n)?( *)```(\S*)\n(.*?)^\3```$",
                   re.MULTILINE | re.DOTALL)
COMMENT = re.compile(r"^ *<!-- (?!table: )", re.MULTILINE)
FENCE = re.compile(r"^ *(```|~~~)", re.MULTILINE)


class PageError(Exception):
    """What is wrong with a page. Its text is the whole message."""


@dataclasses.dataclass(frozen=True)
class Block:
    """`kind` is the comment before the block ('' if there is none), `argument` the rest of that comment."""

    page: pathlib.Path
    line: int
    kind: str
    argument: str
    language: str
    code: str

    def error(self, text):
        page = self.page.relative_to(ROOT) if self.page.is_relative_to(ROOT) else self.page
        return PageError(f"{page}:{self.line}: {text}")

    def check_output(self, printed):
        """Raises unless this block is what was printed. "..." matches any text, a line of "..." any lines."""
        if re.fullmatch("".join(map(pattern_of, self.code.splitlines())), printed):
            return
        difference = difflib.unified_diff(self.code.splitlines(), printed.splitlines(), "page", "printed", lineterm="")
        raise self.error("the page shows another output than was printed:\n" + "\n".join(difference))


def pattern_of(line):
    return "(?:.*\n)*?" if line.strip() == "..." else ".*?".join(map(re.escape, line.split("..."))) + "\n"


def blocks_of(page):
    """All blocks of the page, in their order."""
    text = page.read_text()
    blocks = []
    for found in BLOCK.finditer(text):
        kind, argument, indent, language, code = found.groups()
        code = re.sub(rf"^{indent}", "", code, flags=re.MULTILINE)
        line = text.count("\n", 0, found.start()) + 1
        blocks.append(Block(page, line, kind or "", argument or "", language, code))
        # Readers do not see the comment, so the paragraph before it names the file.
        if kind == "file:" and f"`{argument}`" not in text[:found.start()].rstrip().rpartition("\n\n")[2]:
            raise blocks[-1].error(f"the paragraph before this block does not name {argument}")
    if len(FENCE.findall(text)) != 2 * len(blocks):
        raise PageError(f"{page}: a block of code has no end, or is not between lines of ```")
    if len(COMMENT.findall(text)) != sum(block.kind != "" for block in blocks):
        raise PageError(f"{page}: a comment is of no known kind, or is not right before a block of code")
    return blocks
