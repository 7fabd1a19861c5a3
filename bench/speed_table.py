#!/usr/bin/python3
# The tables of docs/speed.md out of what the benchmarks write; scripts/speed calls it with two JSON files, of
# vlm_bench_opencv and of vlm_bench's crossings, and the lines of vlm_bench_door.
import json
import os
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PAGE = os.path.join(ROOT, "docs", "speed.md")


def load(path):
    with open(path, encoding="utf-8") as file:
        found = json.load(file)
    for line in found["benchmarks"]:
        if line.get("error_occurred"):
            sys.exit(f"{line['name']}: {line['error_message']}")
        line["name"] = line["name"].split("/iterations")[0]
    return found


def machine(found):
    context = found["context"]
    return (f"Measured on {context['date'][:10]} on {context['num_cpus']} processors, load "
            f"{context['load_avg'][0]:.0f} when it began.")


def beside_opencv(found):
    lines = [
        "| | ours by theirs, one thread | ours by theirs, all threads | all threads by one, ours | all threads by one, theirs |",
        "|---|---|---|---|---|",
    ]
    for line in found["benchmarks"]:
        lines.append(f"| {line['name']} | {line['ratio']:.2f} | {line['ratio_all']:.2f} | {line['gain']:.1f} | "
                     f"{line['gain_cv']:.1f} |")
    return lines + ["", machine(found)]


def crossings(found):
    lines = ["| | microseconds on one thread | all threads by one |", "|---|---|---|"]
    for line in found["benchmarks"]:
        effect, side = line["name"].split("/")[1:3]
        lines.append(f"| {effect}, {side} by {side} | {line['us']:.0f} | {line['ratio']:.2f} |")
    return lines + ["", machine(found)]


def door(path):
    with open(path, encoding="utf-8") as file:
        return ["| | |", "|---|---|"] + file.read().splitlines()


def main(opencv, crossing, calls):
    with open(PAGE, encoding="utf-8") as file:
        page = file.read()
    for name, lines in (("opencv", beside_opencv(load(opencv))), ("crossing", crossings(load(crossing))),
                        ("door", door(calls))):
        start, end = f"<!-- {name}: scripts/speed -->", f"<!-- end of {name} -->"
        head, rest = page.split(start, 1)
        page = head + "\n".join([start, "", *lines, "", end]) + rest.split(end, 1)[1]
    with open(PAGE, "w", encoding="utf-8") as file:
        file.write(page)


main(*sys.argv[1:])
