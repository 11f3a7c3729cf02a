#!/usr/bin/env python3
"""Prints the table of a measurement: report.py ROWS FOLDER [--quick].

Reads one JSON object per line, prints the table, and writes it to FOLDER as Markdown and JSON.
"""

import json
import pathlib
import platform
import re
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


def read_cache(build_folder):
    cache = {}
    for line in (build_folder / "CMakeCache.txt").read_text().splitlines():
        name, colon, value = line.partition("=")
        if colon:
            cache[name.partition(":")[0]] = value
    return cache


def compiler(build_folder):
    file, = build_folder.glob("CMakeFiles/*/CMakeCXXCompiler.cmake")
    return re.search(r'set\(CMAKE_CXX_COMPILER "(.*)"\)', file.read_text())[1]


def build_flags(cache):
    build_type = cache["CMAKE_BUILD_TYPE"]
    flags = cache["CMAKE_CXX_FLAGS"] + " " + cache[f"CMAKE_CXX_FLAGS_{build_type.upper()}"]
    return f"{build_type}: {flags.strip()} -static, stripped"


def machine(build_folder):
    cache = read_cache(build_folder)
    return {
        "processor": processor(),
        "processors used": "1",
        "system": first_line("uname", "-sr"),
        "compiler": first_line(compiler(build_folder), "--version"),
        "flags": build_flags(cache),
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


def ratio_of(row):
    product, limit = row["product"][0], row["limit"][0]
    if product == limit:
        return 1.0
    return product / limit if limit else float("inf")


def verdict(row):
    if not row["reach"]:
        return "shown"
    return "reached" if ratio_of(row) <= row["reach"] else "NOT reached"


def table(rows):
    lines = [
        "| Row | Product | Limit | Ratio | Noise | Limit ratio | |",
        "|---|---|---|---|---|---|---|",
    ]
    for row in rows:
        reach = f"{row['reach']:g}" if row["reach"] else ""
        name = row["row"]
        if row["remark"] and row["remark"] != "bytes":
            name += f" ({row['remark']})"
        lines.append(
            f"| {name} | {cell(row['product'], row['remark'])} | {cell(row['limit'], row['remark'])}"
            f" | {ratio_of(row):.2f} | {row['noise']:.2f} | {reach} | {verdict(row)} |"
        )
    return "\n".join(lines)


def main():
    source, build_folder, folder = map(pathlib.Path, sys.argv[1:4])
    rows = [json.loads(line) for line in source.read_text().splitlines() if line]
    if not rows:
        sys.exit("report.py: nothing was measured")
    conditions = machine(build_folder)
    head = "\n".join(f"- {name}: {value}" for name, value in conditions.items())
    if "--quick" in sys.argv:
        head += "\n- a quick run: the figures mean nothing"
    text = f"{head}\n\n{table(rows)}\n"
    print(text)
    (folder / "performance.md").write_text(text)
    (folder / "performance.json").write_text(
        json.dumps({"machine": conditions, "rows": rows}, indent=2) + "\n"
    )


if __name__ == "__main__":
    main()
