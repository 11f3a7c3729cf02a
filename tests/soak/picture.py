"""Draws the samples of a soak run as an SVG: one panel for each figure, one band for each life."""

MIB = 1024 * 1024
WIDTH, LEFT, RIGHT, TOP = 860, 78, 20, 48
PANEL, GAP = 104, 34
INK, FAINT, BAND = "#334155", "#cbd5e1", "#f1f5f9"

# Title, unit, the series (name of the column, factor, colour, label).
PANELS = [
    ("Handles", "", [("handles", 1, "#0f766e", "")]),
    ("Threads", "", [("threads", 1, "#7c3aed", "")]),
    ("Private memory", "MiB", [("private_bytes", 1 / MIB, "#b45309", "")]),
    ("Log folder", "MiB", [("compressed_bytes", 1 / MIB, "#1d4ed8", "compressed"),
                           ("plain_bytes", 1 / MIB, "#be123c", "plain")]),
]


def nice_step(span, ticks):
    """The smallest of 1, 2, 5 times a power of ten that gives at most so many ticks."""
    step = 10.0 ** -3
    while True:
        for factor in (1, 2, 5):
            if span / (step * factor) <= ticks:
                return step * factor
        step *= 10


def number(value):
    return f"{value:.6f}".rstrip("0").rstrip(".")


def text(x, y, content, anchor="start", size=11, colour=INK, weight="normal"):
    return (f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" font-size="{size}" '
            f'fill="{colour}" font-weight="{weight}">{content}</text>')


def line(x1, y1, x2, y2, colour):
    return (f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{colour}" '
            f'stroke-width="1"/>')


class Axis:
    """Maps the seconds of a run to the width of a panel."""

    def __init__(self, samples):
        self.longest = max(sample["seconds"] for sample in samples)

    def x(self, seconds):
        return LEFT + (WIDTH - LEFT - RIGHT) * seconds / self.longest

    def ticks(self):
        in_minutes = self.longest > 180
        unit = 60 if in_minutes else 1
        step = nice_step(self.longest / unit, 12)
        count = int(self.longest / unit / step)
        return [(i * step * unit, number(i * step)) for i in range(count + 1)]

    def title(self):
        return "minutes since the first start" if self.longest > 180 else "seconds since the first start"


def lives(samples):
    """The samples of each life, in their order."""
    groups = []
    for sample in samples:
        if not groups or groups[-1][0]["generation"] != sample["generation"]:
            groups.append([])
        groups[-1].append(sample)
    return groups


def path(points, colour):
    steps = "".join(f"{'M' if i == 0 else 'L'}{x:.1f} {y:.1f}" for i, (x, y) in enumerate(points))
    return (f'<path d="{steps}" fill="none" stroke="{colour}" stroke-width="1.6" '
            f'stroke-linejoin="round"/>')


def draw_panel(axis, groups, top, title, unit, series):
    values = [s[name] * factor for group in groups for s in group for name, factor, _, _ in series]
    step = nice_step(max(values) * 1.15, 4)
    highest = max(values) * 1.15

    def y(value):
        return top + PANEL - PANEL * value / highest

    parts = []
    for index, group in enumerate(groups):
        if index % 2 == 0:
            begin, end = axis.x(group[0]["seconds"]), axis.x(group[-1]["seconds"])
            parts.append(f'<rect x="{begin:.1f}" y="{top}" width="{end - begin:.1f}" '
                         f'height="{PANEL}" fill="{BAND}"/>')
    for tick in range(int(highest / step) + 1):
        height = y(tick * step)
        parts.append(line(LEFT, height, WIDTH - RIGHT, height, FAINT))
        parts.append(text(LEFT - 8, height + 4, number(tick * step), "end"))
    parts.append(text(LEFT, top - 8, title + (f" ({unit})" if unit else ""), size=12,
                      weight="bold"))
    legend = WIDTH - RIGHT
    for name, factor, colour, label in series:
        for group in groups:
            parts.append(path([(axis.x(s["seconds"]), y(s[name] * factor)) for s in group], colour))
        if label:
            parts.append(text(legend, top - 8, label, "end", colour=colour, weight="bold"))
            legend -= 8 * len(label) + 14
    return parts


def draw(samples):
    """The picture as text."""
    axis, groups = Axis(samples), lives(samples)
    bottom = TOP + len(PANELS) * (PANEL + GAP)
    height = bottom + 34
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" '
             f'width="{WIDTH}" height="{height}" font-family="sans-serif">',
             f'<rect width="{WIDTH}" height="{height}" fill="#ffffff"/>']
    for index, (title, unit, series) in enumerate(PANELS):
        parts += draw_panel(axis, groups, TOP + index * (PANEL + GAP), title, unit, series)
    for seconds, label in axis.ticks():
        parts.append(line(axis.x(seconds), bottom - GAP, axis.x(seconds), bottom - GAP + 5, INK))
        parts.append(text(axis.x(seconds), bottom - GAP + 19, label, "middle"))
    parts.append(text((LEFT + WIDTH - RIGHT) / 2, bottom + 8, axis.title(), "middle"))
    parts.append(text(WIDTH - RIGHT, height - 8, "each band, shaded or white, is one life of the "
                      "service", "end", size=10, colour="#64748b"))
    return "\n".join(parts + ["</svg>", ""])
