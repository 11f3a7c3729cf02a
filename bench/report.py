#!/usr/bin/env python3
"""Makes the table of a measurement: report.py ROWS FOLDER [--quick].

Reads one JSON object a line, prints the table, and writes it to FOLDER as Markdown and JSON.
"""

import json
import pathlib
import platform
import subprocess
import sys


def first_line(*command):
    try:
        output = subprocess.run(command, capture_output=True, text=True, check=True).stdout
    except (OSError, subprocess.CalledProcessError):
        return "unknown"
    return output.splitlines()[0].strip() if output else "unknown"


def processor():
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.processor()


def machine():
    return {
        "processor": processor(),
        "processors used": "1",
        "system": first_line("uname", "-sr"),
        "compiler": first_line("x86_64-w64-mingw32-g++-posix", "--version"),
        "flags": "Release: -O3 -DNDEBUG -static, stripped",
        "Wine": first_line("/usr/lib/wine/wine64", "--version"),
    }


def figure(value, remark):
    if "bytes" in remark:
        return f"{value / 1024:,.0f} KiB"
    if "count" in remark:
        return f"{value:,.0f}"
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if value >= size:
            return f"{value / size:.3g} {unit}"
    return f"{value:.3g} ns"


def cell(spread, remark):
    median, lower, upper = spread
    text = figure(median, remark)
    if lower != upper:
        text += f" ({figure(lower, remark)} to {figure(upper, remark)})"
    return text


def verdict(row, ratio):
    if not row["reach"]:
        return "shown"
    return "reached" if ratio <= row["reach"] else "NOT reached"


def table(rows):
    lines = [
        "| Row | Product | Limit | Ratio | Noise | Reach | |",
        "|---|---|---|---|---|---|---|",
    ]
    for row in rows:
        limit = row["limit"][0]
        ratio = row["product"][0] / limit if limit else float("nan")
        reach = f"{row['reach']:g}" if row["reach"] else ""
        name = row["row"]
        if row["remark"] and row["remark"] != "bytes":
            name += f" ({row['remark']})"
        lines.append(
            f"| {name} | {cell(row['product'], row['remark'])} | {cell(row['limit'], row['remark'])}"
            f" | {ratio:.2f} | {row['noise']:.2f} | {reach} | {verdict(row, ratio)} |"
        )
    return "\n".join(lines)


def main():
    source, folder = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    rows = [json.loads(line) for line in source.read_text().splitlines() if line]
    if not rows:
        sys.exit("report.py: nothing was measured")
    head = "\n".join(f"- {name}: {value}" for name, value in machine().items())
    if "--quick" in sys.argv:
        head += "\n- a quick run: the figures mean nothing"
    text = f"{head}\n\n{table(rows)}\n"
    print(text)
    (folder / "performance.md").write_text(text)
    (folder / "performance.json").write_text(
        json.dumps({"machine": machine(), "rows": rows}, indent=2) + "\n"
    )


if __name__ == "__main__":
    main()
