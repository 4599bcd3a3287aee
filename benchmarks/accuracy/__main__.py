"""Measures how well the mien command follows the faces in a folder of takes; docs/accuracy.md explains the figures.

Solves every take with each command and each string of options, and compares the weights with what else is known:
lengths on the face, labels, known answers. Layout of a folder:

"""

import argparse
import gzip
import json
import shutil
import sys
import tempfile
from pathlib import Path

import bounds
import calibration
import figures
import shapes
import tables
import takes
from command import solve
from failed import Failed


def arguments():
    parser = argparse.ArgumentParser(
        prog="scripts/accuracy",
        description=__doc__ + takes.__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )
    add = parser.add_argument
    add("data", type=Path, nargs="+", metavar="DATA", help="a folder of takes; sub-folders are read too")
    add("--mien", action="append", required=True, help="the command; give several to compare them")
    add("--options", action="append", help="options of `mien solve` in one string; give several to compare them")
    add("--names", type=names, help="column names for what is compared, separated by commas")
    add("--plain-fit-of", type=names, metavar="MARKERS",
        help="reference markers for the plain fit of the head, separated by commas; for takes that have them all")
    add("--calibrate", action="store_true",
        help="also calibrate each take on a part of it, and measure the rest, with the first command and its options")
    add("--shapes", action="store_true", help="compare the weights of the 52 shapes (arkit52) instead of the templates'")
    add("--takes", action="store_true", help="print a table per take, with a row per side")
    add("--runs", type=int, default=1, help="how often to solve each take; the fastest run counts")
    add("--check", type=Path, metavar="BOUNDS.json", help="fail if a figure of the first column is out of bounds")
    form = parser.add_mutually_exclusive_group()
    form.add_argument("--markdown", action="store_true")
    form.add_argument("--json", action="store_true")

    given = parser.parse_args()
    for folder in given.data:
        if not folder.is_dir():
            parser.error(f"{folder} is not a folder")
    for mien in given.mien:
        if not shutil.which(mien):
            parser.error(f"{mien} cannot be run")
    solves = [(mien, options) for mien in given.mien for options in given.options or [""]]
    letters = [chr(ord("A") + i) for i in range(len(solves))] if len(solves) > 1 else [""]
    named = given.names or letters
    if len(named) != len(solves) or len(set(named)) != len(named):
        parser.error(f"--names needs {len(solves)} different names")
    given.solves = dict(zip(named, solves))
    return given


def names(text):
    return text.split(",")


def unpacked(source, scratch):
    if source.suffix != ".gz":
        return source
    path = scratch / source.stem
    with gzip.open(source) as packed, open(path, "wb") as plain:
        shutil.copyfileobj(packed, plain)
    return path


def measure(given, scratch):
    """Figures by solve and take, the takes of each group, and what could not be used, with the reason."""
    measured, groups, unused = {name: {} for name in given.solves}, {}, []
    for folder, source in ((folder, source) for folder in given.data for source in takes.candidates(folder)):
        name = str(source if len(given.data) > 1 else source.relative_to(folder)).removesuffix(".gz")
        path = source
        try:
            path = unpacked(source, scratch)
            take = takes.read_take(given.mien[-1], path, source, scratch, given.plain_fit_of)
        except (Failed, OSError, ValueError) as fault:
            unused.append(f"{source}: {str(fault).removeprefix(f'{path}:').strip()}")
            continue
        for solve_name, (mien, options) in given.solves.items():
            try:
                if given.shapes:
                    measured[solve_name][name] = shapes.of_take(mien, options, take, path, scratch)
                    continue
                solved = solve(mien, options, path, take.performer, scratch / "solved.json", given.runs)
                measured[solve_name][name] = figures.of_solve(take, solved)
            except Failed as fault:
                unused.append(f"{source}, solved as {solve_name}: {fault}" if solve_name else f"{source}: {fault}")
        if any(name in figures_of for figures_of in measured.values()):
            groups.setdefault(name if given.takes else take.group, []).append(name)
    return measured, groups, unused


def calibrate(given, scratch, measured):
    """The figures of blinks and of poses by take, and what could not be calibrated, with the reason."""
    mien, options = next(iter(given.solves.values()))
    blinks, guided, refused = {}, {}, []
    for folder, source in ((folder, source) for folder in given.data for source in takes.candidates(folder)):
        name = str(source if len(given.data) > 1 else source.relative_to(folder)).removesuffix(".gz")
        if name in measured:
            path = unpacked(source, scratch)
            take = takes.read_take(mien, path, source, scratch, given.plain_fit_of)
            blinks[name], guided[name], faults = calibration.of_take(mien, options, take, path, scratch)
            refused += [f"{source}, {fault}" for fault in faults]
    return blinks, guided, refused


def main():
    given = arguments()
    with tempfile.TemporaryDirectory() as scratch:
        measured, groups, unused = measure(given, Path(scratch))
        blinks, guided, refused = {}, {}, []
        if given.calibrate:
            blinks, guided, refused = calibrate(given, Path(scratch), next(iter(measured.values())))
    if given.json:
        whole = {"format": "mien accuracy 1", "solves": measured, "groups": groups, "unused": unused}
        if given.calibrate:
            whole["calibration"] = {"blinks": blinks, "guided": guided, "refused": refused}
        print(json.dumps(whole, indent=1))
    else:
        for name, (mien, options) in given.solves.items():
            if name and not given.markdown:
                print(f"{name}: {mien} solve {options}".rstrip())
        shown = [*(shapes if given.shapes else tables).tables(measured, groups, given.takes)]
        if given.calibrate:
            shown += tables.calibration_tables(blinks, guided, groups)
        for table in shown:
            if table.rows:
                print()
                print((tables.as_markdown if given.markdown else tables.as_text)(table), end="")
    if refused and not given.json:
        print("\nnot calibrated:", *refused, sep="\n  ", file=sys.stderr)
    if unused and not given.json:
        print("\nnot used:", *unused, sep="\n  ", file=sys.stderr)
    first = next(iter(measured.values()))
    if not first:
        sys.exit("no take could be used")
    if given.check:
        count, broken = bounds.breaches(given.check, first)
        print(*broken, f"{count} bounds, {len(broken)} broken", sep="\n", file=sys.stderr)
        sys.exit(1 if broken or count == 0 else 0)


if __name__ == "__main__":
    main()
