#!/usr/bin/python3
# The table of docs/speed.md out of what vlm_bench_opencv writes with --benchmark_format=json; scripts/speed calls it.
import json
import os
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PAGE = os.path.join(ROOT, "docs", "speed.md")
START, END = "<!-- the table: scripts/speed -->", "<!-- end of the table -->"


def table(found):
    lines = [
        "| | ours by theirs, one thread | ours by theirs, all threads | all threads by one, ours | all threads by one, theirs |",
        "|---|---|---|---|---|",
    ]
    for line in found["benchmarks"]:
        if line.get("error_occurred"):
            sys.exit(f"{line['name']}: {line['error_message']}")
        name = line["name"].split("/iterations")[0]
        lines.append(
            f"| {name} | {line['ratio']:.2f} | {line['ratio_all']:.2f} | {line['gain']:.1f} | {line['gain_cv']:.1f} |"
        )
    context = found["context"]
    lines += ["", f"Measured on {context['date'][:10]} on {context['num_cpus']} processors, load "
              f"{context['load_avg'][0]:.0f} when it began."]
    return "\n".join(lines)


def main(arguments):
    with open(arguments[0], encoding="utf-8") as file:
        made = table(json.load(file))
    with open(PAGE, encoding="utf-8") as file:
        page = file.read()
    head, rest = page.split(START, 1)
    tail = rest.split(END, 1)[1]
    with open(PAGE, "w", encoding="utf-8") as file:
        file.write(f"{head}{START}\n\n{made}\n\n{END}{tail}")


main(sys.argv[1:])
