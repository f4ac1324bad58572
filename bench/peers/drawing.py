"""Charts with a row per family, as SVG that is the same for the same figures. What tells the runs apart
is shape and hatching, not colour alone."""
import io

import matplotlib

matplotlib.use("svg")
from matplotlib import pyplot, ticker  # noqa: E402

BLUE, BROWN, GREY, INK = "#0550ae", "#9a4600", "#d0d7de", "#1f2328"

matplotlib.rcParams.update({
    "svg.hashsalt": "trvil", "svg.fonttype": "none", "font.family": "sans-serif", "font.size": 10,
    "axes.spines.top": False, "axes.spines.right": False, "axes.spines.left": False,
    "axes.edgecolor": GREY, "axes.axisbelow": True, "axes.labelcolor": INK, "text.color": INK,
    "xtick.color": INK, "ytick.color": INK, "ytick.major.size": 0, "grid.color": GREY,
    "hatch.linewidth": 1.2, "legend.frameon": False})


def chart(title, rows, row_height):
    """Axes with a line per row, the first on top."""
    figure, axes = pyplot.subplots(figsize=(9, 1.3 + row_height * len(rows)), layout="constrained")
    figure.suptitle(title, x=0.01, ha="left", weight="bold", size=12)
    axes.set_yticks(range(len(rows)), [row[0] for row in rows])
    axes.set_ylim(len(rows) - 0.4, -0.6)
    axes.grid(axis="x")
    return figure, axes


def svg(figure, axes, unit):
    """The picture with a line at 1, where the unit is, and its legend."""
    axes.axvline(1, color=INK, linestyle="--", linewidth=1.2)
    axes.annotate(f"1 = {unit}", (1, 1), (0, 4), xycoords=axes.get_xaxis_transform(),
                  textcoords="offset points", ha="center")
    axes.legend(loc="upper center", bbox_to_anchor=(0.5, -0.3 / figure.get_figheight()), ncols=2)
    file = io.StringIO()
    figure.savefig(file, format="svg", metadata={"Date": None, "Creator": None})
    pyplot.close(figure)
    return file.getvalue()


def bars_chart(title, names, unit, rows):
    """`rows`: (family, value of the first run, value of the second run)."""
    figure, axes = chart(title, rows, 0.42)
    styles = [{"color": BLUE}, {"facecolor": "white", "edgecolor": BROWN, "hatch": "///"}]
    for run, (name, style) in enumerate(zip(names, styles)):
        places = [row - 0.19 + 0.38 * run for row in range(len(rows))]
        axes.barh(places, [row[1 + run] for row in rows], 0.32, label=name, **style)
        for place, row in zip(places, rows):  # in a column, clear of the line at 1
            axes.text(1, place, f"{row[1 + run]:.2f}", transform=axes.get_yaxis_transform(),
                      ha="right", va="center", size=9)
    axes.set_xlim(0, max(1.1, max(max(row[1:]) for row in rows)) * 1.08)
    return svg(figure, axes, unit)


def dots_chart(title, names, unit, rows):
    """`rows`: (family, values of the first run, values of the second run), on a logarithmic scale."""
    figure, axes = chart(title, rows, 0.38)
    styles = [{"marker": "o", "color": BLUE}, {"marker": "s", "color": BROWN, "markerfacecolor": "none"}]
    for run, (name, style) in enumerate(zip(names, styles)):
        for row, values in enumerate(rows):
            label = name if row == 0 else None
            height = row - 0.17 + 0.34 * run
            values = sorted(values[1 + run])
            axes.plot(values, [height] * len(values), linewidth=0.8, markersize=5, label=label, **style)
    axes.set_xscale("log")
    axes.xaxis.set_major_locator(ticker.LogLocator(subs=[1, 2, 3, 4, 6, 8]))
    axes.xaxis.set_major_formatter("{x:g}")
    axes.xaxis.set_minor_locator(ticker.NullLocator())
    low, high = axes.get_xlim()
    axes.set_xlim(min(0.8, low), max(2, high))
    return svg(figure, axes, unit)
