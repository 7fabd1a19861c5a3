"""Many pictures from the shell, on this machine or on a Dask cluster.

    python3 -m velmorant.batch RECIPE INPUT... --output DIR
    python3 -m velmorant.batch --scheduler tcp://host:8786 RECIPE INPUT... --output DIR

RECIPE is a file that `velmorant apply --save-recipe` or velmorant.write_recipe wrote, or a step itself:
"wave --amplitude 20".
"""

import argparse
import dataclasses
import json
import os
import sys

from ._recipes import read_recipe
from .dask import batch


def steps_of(given):
    """Lines of steps: those of the recipe where there is such a file, else the step itself."""
    return read_recipe(given) if os.path.isfile(given) else [given]


def _arguments(words):
    parser = argparse.ArgumentParser(prog="python3 -m velmorant.batch", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("recipe", metavar="RECIPE")
    parser.add_argument("inputs", metavar="INPUT", nargs="+", help="files, patterns in quotes, or addresses for fsspec")
    parser.add_argument("--output", metavar="DIR", required=True)
    parser.add_argument("--scheduler", metavar="ADDRESS", help="of a Dask cluster; without it the threads of this machine")
    parser.add_argument("--seed", type=int, metavar="N", help="picture i is drawn with N + i")
    parser.add_argument("--again", action="store_true", help="makes outputs anew that are there and whole")
    parser.add_argument("--format", help="of all outputs; without it as the inputs")
    parser.add_argument("--quality", type=int, default=0, metavar="N", help="of JPEG, 1 to 100")
    parser.add_argument("--retries", type=int, default=3, metavar="N", help="elsewhere, when memory or a thread was refused")
    parser.add_argument("--report", metavar="FILE", help="a line of JSON for every picture")
    parser.add_argument("--quiet", action="store_true", help="tells of failures alone")
    return parser.parse_args(words)


def _tell(result, done, count, quiet):
    for line in [result.error] if result.error else ([] if quiet else result.notices):
        print(f"velmorant.batch: {line}", file=sys.stderr, flush=True)
    if not quiet:
        print(f"{done} of {count} {result.status} {result.output}", flush=True)


def _go(given, client):
    counts, state, again = {"done": 0, "skipped": 0, "failed": 0}, [], 0
    report = open(given.report, "a", encoding="utf-8") if given.report else None
    results = batch(given.inputs, steps_of(given.recipe), given.output, client, seed=given.seed,
                    resume=not given.again, format=given.format, quality=given.quality, retries=given.retries,
                    progress=lambda done, count: state.append((done, count)))
    for result in results:
        counts[result.status] += 1
        again += result.again
        _tell(result, *state[-1], given.quiet)
        if report:
            report.write(json.dumps(dataclasses.asdict(result)) + "\n")
            report.flush()
    if not given.quiet:
        print(", ".join(f"{count} {status}" for status, count in counts.items()))
        if again:
            print(f"of what was there already, {again} {'was' if again == 1 else 'were'} of other settings and made again")
    return 1 if counts["failed"] else 0


def main(words=None):
    given = _arguments(words)
    client = None
    try:
        if given.scheduler:
            from distributed import Client
            client = Client(given.scheduler)
        return _go(given, client)
    except (ValueError, OSError, ImportError) as error:
        print(f"velmorant.batch: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
    finally:
        if client:
            client.close()


if __name__ == "__main__":
    sys.exit(main())
