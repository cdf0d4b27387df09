"""Draws the chart of all ratios: a column for each place, a group of bars for each recipe, a bar for each script."""

import statistics

from installing.runs import SCRIPTS

COLORS = dict(zip(SCRIPTS, ("#9ecae1", "#2171b5", "#fdd0a2", "#d9640c")))
BAR = 0.2  # of the height of a group


def draw(comparisons, path):
    import matplotlib

    matplotlib.use("svg")
    matplotlib.rcParams.update({"svg.hashsalt": "install", "svg.fonttype": "none", "font.size": 9})
    from matplotlib import pyplot

    places = list(dict.fromkeys(one.place for one in comparisons))
    recipes = list(dict.fromkeys(one.recipe for one in comparisons))
    ratios = {(one.place, one.recipe, name): statistics.median(one.ratios(name, "wall"))
              for one in comparisons for name in SCRIPTS}

    size = (1.6 + 2.2 * len(places), 1.7 + 1.0 * len(recipes))
    figure, columns = pyplot.subplots(1, len(places), figsize=size, sharex=True, sharey=True, squeeze=False)
    for place, axes in zip(places, columns[0]):
        for index, name in enumerate(SCRIPTS):
            heights = [row + (index - 1.5) * BAR for row in range(len(recipes))]
            values = [ratios[place, recipe, name] for recipe in recipes]
            bars = axes.barh(heights, values, BAR * 0.9, color=COLORS[name], label=name)
            background = {"facecolor": "white", "edgecolor": "none", "pad": 0.5}
            axes.bar_label(bars, fmt="%.2f", padding=3, fontsize=8, bbox=background)
        axes.axvline(1, color="black", linewidth=0.8)
        axes.set_title(place)
        axes.set_yticks(range(len(recipes)), recipes)
        axes.set_xlim(0, max(1.25, 1.2 * max(ratios.values())))
        axes.spines[["top", "right"]].set_visible(False)
    columns[0][0].invert_yaxis()

    figure.suptitle("Time of a whole run: zkupdater's divided by the script's (left of the line zkupdater is faster)")
    handles, names = columns[0][0].get_legend_handles_labels()
    figure.legend(handles, names, loc="lower center", ncols=len(names), frameon=False)
    figure.tight_layout(rect=(0, 0.06, 1, 1))
    figure.savefig(path, metadata={"Date": None, "Creator": None})
