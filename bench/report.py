"""Measures the rows of kitio_bench and prints a table. scripts/bench builds the program first.

Each row runs in three processes: memory and code have other addresses in each, which changes the time of calls that
take a few nanoseconds. In each process, the contenders of the row run five times, in random order. The program defines
the names, the targets and the order of rows and contenders.
"""

import argparse
import json
import subprocess
import sys
import tempfile
from pathlib import Path
from statistics import median

import matplotlib
from matplotlib.figure import Figure

PROGRAM = "build/release/bench/kitio_bench"
PROCESSES = 3
OPTIONS = [
    "--benchmark_repetitions=5",
    "--benchmark_enable_random_interleaving=true",
    "--benchmark_min_time=0.05",
]

# Another library is faster if it takes less than this share of the library's time; smaller differences are noise.
AHEAD = 0.97

NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
MARKS = ("<!-- table: begin -->\n", "<!-- table: end -->\n")

LIGHT = {
    "paper": "#ffffff", "ink": "#1f2328", "grid": "#d8dee4", "floor": "#57606a",
    "library": "#1a7f37", "missed": "#cf222e",
    "others": ["#0969da", "#bc4c00", "#8250df", "#bf8700", "#1b7c83", "#a40e63", "#6e7781", "#57340d"],
}
DARK = {
    "paper": "#0d1117", "ink": "#e6edf3", "grid": "#21262d", "floor": "#8b949e",
    "library": "#3fb950", "missed": "#f85149",
    "others": ["#58a6ff", "#f0883e", "#bc8cff", "#e3b341", "#39c5cf", "#ff7bc5", "#b1bac4", "#c69c6d"],
}
MARKERS = "s^vDPX<>"


class Row:
    """The nanoseconds of a row: for each contender one list per process."""

    def __init__(self, name):
        self.name = name
        self.target = None
        self.clock = "processor"
        self.times = {}

    def add(self, run):
        """Adds what Google Benchmark wrote about one run in the current process, the last one of the lists."""
        _, contender, *real_time = run["name"].split("/")
        self.target = run["target"]
        self.clock = "wall" if real_time else "processor"
        time = run["real_time" if real_time else "cpu_time"] * NANOSECONDS[run["time_unit"]]
        self.times[contender][-1].append(time)

    def time(self, contender):
        """The median of all runs; None for a contender that did not run."""
        return median(sum(self.times[contender], [])) if contender in self.times else None

    def ratio(self, contender, base):
        """How many times as long as `base` the contender takes: the median of the processes, each with its medians."""
        if contender not in self.times or base not in self.times:
            return None
        return median(median(above) / median(below) for above, below in zip(self.times[contender], self.times[base]))

    def misses_target(self):
        """Compares the two as precisely as they are shown."""
        ratio = self.ratio("library", "floor")
        return ratio is not None and round(ratio * 100) > round(self.target * 100)


def run_program(*options):
    return subprocess.run([PROGRAM, *options], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)


def list_runs(options):
    """The names of the contenders that the options choose, per row."""
    listed = run_program(*options, "--benchmark_list_tests=true")
    if listed.returncode != 0 or not listed.stdout:
        sys.exit(listed.stderr.strip() or f"{PROGRAM} --benchmark_list_tests: status {listed.returncode}")
    runs = {}
    for name in listed.stdout.splitlines():
        runs.setdefault(name.split("/")[0], []).append(name)
    return runs


def measure_row(row, names, options):
    """Runs a row in its own process. Returns the list of all contenders, and the failures."""
    for name in names:
        row.times.setdefault(name.split("/")[1], []).append([])
    with tempfile.NamedTemporaryFile() as out:
        choice = f"--benchmark_filter=^({'|'.join(names)})$"
        ended = run_program(*OPTIONS, *options, choice, f"--benchmark_out={out.name}")
        try:
            result = json.load(out)
        except ValueError:
            last_line = ended.stderr.strip().rpartition("\n")[2]
            return [], [f"{row.name}: status {ended.returncode}, {last_line}"]
    runs = [run for run in result["benchmarks"] if run["run_type"] == "iteration"]
    failures = {f"{run['name']}: {run['error_message']}": None for run in runs if run.get("error_occurred")}
    if not failures and (ended.returncode != 0 or {run["name"] for run in runs} != set(names)):
        failures[f"{row.name}: not all contenders ran, status {ended.returncode}"] = None
    if not failures:
        for run in runs:
            row.add(run)
    return result["context"]["contenders"].split(","), list(failures)


def measure(options):
    """All rows that the options choose, and the list of all contenders. Exits when a row fails."""
    runs = list_runs(options)
    rows = {name: Row(name) for name in runs}
    for process in range(1, PROCESSES + 1):
        print(f"Measuring, process {process} of {PROCESSES} ... ", end="", flush=True)
        failures = []
        for name, row in rows.items():
            contenders, failed = measure_row(row, runs[name], options)
            failures += failed
        print("FAILED" if failures else "done")
        if failures:
            sys.exit("\n".join(f"FAILED: {failure}" for failure in failures))
    return list(rows.values()), contenders


def format_time(nanoseconds):
    """Three digits that count, and a unit."""
    if nanoseconds is None:
        return "-"
    unit = "ns"
    for larger in ("us", "ms"):
        if nanoseconds >= 999.5:
            nanoseconds, unit = nanoseconds / 1000, larger
    digits = 2 if nanoseconds < 9.995 else 1 if nanoseconds < 99.95 else 0
    return f"{nanoseconds:.{digits}f} {unit}"


def cells(row, contenders, mark):
    """The cells of a row. Those that deserve attention go through `mark`."""
    ratio = row.ratio("library", "floor")
    shown = "-" if ratio is None else f"{ratio:.2f}"
    line = [row.name, format_time(row.time("library")), format_time(row.time("floor"))]
    line += [mark(shown) if row.misses_target() else shown, f"{row.target:.2f}"]
    for other in contenders[2:]:
        time = format_time(row.time(other))
        line.append(mark(time) if (row.ratio(other, "library") or 1) < AHEAD else time)
    return line


def table(rows, contenders, mark):
    headline = ["row", "library", "floor", "ratio", "target", *contenders[2:]]
    return [headline] + [cells(row, contenders, mark) for row in rows]


def print_table(rows, contenders):
    print()
    for name, *others in table(rows, contenders, lambda text: "*" + text):
        print(f"{name:38}" + "".join(f"{cell:>10}" for cell in others))
    print("\n* misses its target, or is more than 3 % faster than the library")


def refresh_page(path, rows, contenders):
    """Replaces the text between the two marks in a Markdown page."""
    before, begin, rest = path.read_text().partition(MARKS[0])
    _, end, after = rest.partition(MARKS[1])
    if not end:
        sys.exit(f"{path} has no place for the table")
    lines = table(rows, contenders, lambda text: f"**{text}**")
    lines.insert(1, ["---"] * len(lines[0]))
    text = "".join("| " + " | ".join(line) + " |\n" for line in lines)
    path.write_text(f"{before}{begin}\n{text}\n{end}{after}")


def write_json(path, rows):
    lines = ",\n  ".join(json.dumps(vars(row) | {"ratio": row.ratio("library", "floor")}) for row in rows)
    path.write_text(f'{{"unit": "nanoseconds, one list per process", "rows": [\n  {lines}\n]}}\n')


def draw_marks(axes, rows, contenders, colours):
    """The marks of the chart. Values off the scale are shown at its end."""
    def plot(label, ratios, **style):
        places = [(min(max(ratio, 1 / 32), 64), place) for place, ratio in enumerate(ratios) if ratio is not None]
        axes.plot([x for x, _ in places], [y for _, y in places], linestyle="", label=label, **style)

    for label, missed in (("library", False), ("missed", True)):
        ratios = [row.ratio("library", "floor") if row.misses_target() == missed else None for row in rows]
        plot(label, ratios, color=colours[label], marker="o", markersize=7, zorder=3)
    targets = [row.target for row in rows]
    plot("target", targets, color=colours["ink"], marker="|", markersize=10, markeredgewidth=1.5, zorder=4)
    for other, colour, marker in zip(contenders[2:], colours["others"], MARKERS):
        plot(other, [row.ratio(other, "floor") for row in rows], color=colour, marker=marker, markersize=4.5)


def draw_chart(path, rows, contenders, colours):
    """Draws all times as multiples of the floor's. The same times always give the same file."""
    rows = [row for row in rows if row.ratio("library", "floor") is not None]
    matplotlib.rcParams.update({"svg.hashsalt": "kitio", "svg.fonttype": "none"})
    matplotlib.rcParams.update({"font.sans-serif": ["DejaVu Sans"], "font.size": 8, "text.color": colours["ink"]})
    lines = max(len(rows), 1)  # none when the options chose single contenders
    height = lines * 0.18 + 0.8
    figure = Figure(figsize=(9.5, height), facecolor=colours["paper"])
    axes = figure.add_axes([0.25, 0.1 / height, 0.73, 1 - 0.8 / height], facecolor=colours["paper"])
    axes.set_xscale("log", base=2)
    axes.set_xlim(1 / 36, 72)
    axes.set_ylim(lines - 0.5, -0.5)
    steps = range(-5, 7)
    axes.set_xticks([2.0**step for step in steps], [str(2**step) if step >= 0 else f"1/{2**-step}" for step in steps])
    axes.set_yticks(range(len(rows)), [row.name for row in rows])
    axes.tick_params(length=0, which="both", labelcolor=colours["ink"], top=False, labeltop=True, labelbottom=False)
    axes.grid(color=colours["grid"], linewidth=0.6)
    axes.set_axisbelow(True)
    axes.spines[:].set_visible(False)
    axes.axvline(1, color=colours["floor"], linewidth=1, zorder=1)
    draw_marks(axes, rows, contenders, colours)
    figure.text(0.01, 1 - 0.2 / height, "Time as a multiple of the hand-written floor's: further left is faster")
    figure.legend(loc="upper center", bbox_to_anchor=(0.5, 1 - 0.2 / height), ncol=len(contenders) + 1, frameon=False,
                  handletextpad=0, columnspacing=1.5)
    figure.savefig(path, format="svg", metadata={"Date": None, "Creator": None})


def main():
    epilog = "Other options go to kitio_bench: --benchmark_filter='^pipe'"
    parser = argparse.ArgumentParser(prog="scripts/bench", allow_abbrev=False, epilog=epilog)
    parser.add_argument("--update", action="store_true", help="put the table and the charts into docs/")
    arguments, options = parser.parse_known_args()
    rows, contenders = measure(options)
    write_json(Path("build/bench.json"), rows)
    images = Path("docs/images" if arguments.update else "build")
    draw_chart(images / "bench.svg", rows, contenders, LIGHT)
    draw_chart(images / "bench-dark.svg", rows, contenders, DARK)
    if arguments.update:
        refresh_page(Path("docs/performance.md"), rows, contenders)
    print_table(rows, contenders)


if __name__ == "__main__":
    main()
