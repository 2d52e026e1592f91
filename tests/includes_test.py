#!/usr/bin/env python3
"""Includes run one way, between folders and between files.

usage: includes_test.py [TREE]
"""

import pathlib
import re
import shutil
import sys
import tempfile

# Lower folders first; a folder includes only itself and those in lines above it.
LAYERS = {
    "platform": [
        ["zulversion"],
        ["wlog"],
        ["wmsg"],
        ["wfile"],
        ["wcapture"],
        ["zullink"],
        ["zuldict"],
        ["zulobj"],
        ["zuldevice"],
        ["zulcommand"],
        ["zulscenario"],
        ["zulconsole"],
        ["zulhttp"],
        ["zuloptions"],
    ],
    "src": [["common"], ["files"], ["ports"], ["device"], ["dialogs", "scripting", "control"], ["app"]],
    "fleet": [["report"], ["devices"], ["control"], ["app"]],
    "proxy": [["rules"], ["faults"], ["commands", "replay"], ["app"]],
    "capture": [["sessions"], ["options"], ["commands", "diff", "scenario", "show"], ["play"], ["app"]],
    "server": [["io"], ["commands"], ["sessions"], ["report"], ["web"], ["app"]],
}

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')


def files_of(tree):
    return sorted(
        path.relative_to(tree)
        for root in LAYERS
        for path in (tree / root).rglob("*")
        if path.suffix in (".h", ".cpp")
    )


def includes_of(tree):
    """(file, line number, included file) for each include of a file of ours."""
    files = files_of(tree)
    by_name = {}
    for path in files:
        by_name.setdefault(path.name, []).append(path)
    for path in files:
        for number, line in enumerate((tree / path).read_text().splitlines(), 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            name = pathlib.PurePath(match[1])
            # A file of src is included by its name alone, of platform with its folder, of others with both.
            for target in by_name.get(name.name, []):
                near = len(name.parts) > 1 or target.parts[0] == path.parts[0]
                if near and target.parts[-len(name.parts) :] == name.parts:
                    yield path, number, target


def layer_of(path):
    """The number of the folder's layer; None if the table doesn't know the folder."""
    for number, folders in enumerate(LAYERS[path.parts[0]]):
        if path.parts[1] in folders:
            return number
    return None


def is_allowed(source, target):
    if source.parts[:2] == target.parts[:2]:
        return True
    if source.parts[0] != target.parts[0]:
        return target.parts[0] == "platform"
    layers = layer_of(source), layer_of(target)
    return None not in layers and layers[0] > layers[1]


def circle_in(edges):
    """The units of one circle, the first one again at the end; empty if there is none."""
    done = set()

    def visit(unit, way):
        if unit in way:
            return way[way.index(unit) :] + [unit]
        if unit in done:
            return []
        for following in sorted(edges.get(unit, {})):
            circle = visit(following, way + [unit])
            if circle:
                return circle
        done.add(unit)
        return []

    for unit in sorted(edges):
        circle = visit(unit, [])
        if circle:
            return circle
    return []


def complaints_about(tree):
    complaints = [
        f"{path}: no layer is known for the folder" for path in files_of(tree) if layer_of(path) is None
    ]
    edges = {}
    for source, number, target in includes_of(tree):
        if not is_allowed(source, target):
            complaints.append(f'{source}:{number}: includes "{target}", which is not below it')
        # A header and its source are one unit: what the source includes, the header's users depend on.
        units = source.with_suffix(""), target.with_suffix("")
        if units[0] != units[1]:
            edges.setdefault(units[0], {}).setdefault(units[1], f"{source}:{number}")
    circle = circle_in(edges)
    for unit, following in zip(circle, circle[1:]):
        complaints.append(f'{edges[unit][following]}: includes "{following}.h", which is part of a circle')
    return complaints


def check_planted(tree):
    """Each include that is planted in a copy of the tree is complained about; returns what was not."""
    planted = {
        "platform/wmsg/wmsg.h": ["zuldict/zuldict.h", "not below it"],
        "platform/wlog/wlog.h": ["wmsg/wmsg.h", "not below it"],
        "platform/zuldict/zuldict.h": ["zulobj/object.h", "not below it"],
        "platform/zulobj/object.cpp": ["zulobj/device.h", "part of a circle"],
        "platform/zulobj/port.h": ["server/io/jsonline.h", "not below it"],
        "src/common/planted.h": ["planteddevice.h", "not below it"],
        "src/scripting/planted.h": ["planteddialog.h", "not below it"],
        "server/io/jsonline.h": ["server/commands/commandparser.h", "not below it"],
        "server/app/planted.cpp": ["src/app/plantedapp.h", "not below it"],
    }
    missed = []
    for path, (include, reason) in planted.items():
        with tempfile.TemporaryDirectory() as work:
            copy = pathlib.Path(work)
            for root in LAYERS:
                shutil.copytree(tree / root, copy / root)
            for name in ("device/planteddevice.h", "dialogs/planteddialog.h", "app/plantedapp.h"):
                (copy / "src" / name).touch()
            with (copy / path).open("a") as file:
                file.write(f'#include "{include}"\n')
            if not any(path in line and reason in line for line in complaints_about(copy)):
                missed.append(f'nothing is said about "{include}" in {path}')
    return missed


def main():
    default = pathlib.Path(__file__).resolve().parent.parent
    tree = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else default
    complaints = complaints_about(tree)
    complaints = complaints or check_planted(tree)
    for complaint in complaints:
        print(complaint)
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
