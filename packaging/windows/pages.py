#!/usr/bin/python3
"""Makes the pages of Markdown into pages for a browser, for systems where nothing shows Markdown.

    packaging/windows/pages.py FOLDER      README, CHANGELOG and docs/ as FOLDER/README.html and so on, with their pictures

Links between pages lead to the pages that were made; of a link to a source, which is not there, the text stays. cmark-gfm
does the translation.
"""
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
HEAD = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>%s</title>
<style>
body { font: 16px/1.5 system-ui, sans-serif; margin: 0 auto; max-width: 60rem; padding: 1.5rem; color: #222 }
img { max-width: 100%% }
pre { background: #f4f3f0; padding: .75rem; overflow-x: auto }
td, th { border: 1px solid #ccc; padding: .25rem .5rem; text-align: left; vertical-align: top }
table { border-collapse: collapse }
</style>
</head>
<body>
"""


def led(page, body):
    """The body with links that lead somewhere."""
    def link(match):
        target, hash_, place = match.group(1).partition("#")
        if "://" in target or not target:
            return match.group(0)
        goal = (page.parent / target).resolve()
        if goal in PAGES:
            return f'<a href="{target.removesuffix(".md")}.html{hash_}{place}">{match.group(2)}</a>'
        return match.group(0) if goal.suffix in (".png", ".svg") and goal.exists() else match.group(2)
    return re.sub(r'<a href="([^"]*)">(.*?)</a>', link, body, flags=re.DOTALL)


def made(page):
    body = subprocess.run(["cmark-gfm", "--extension", "table", "--unsafe", page], check=True, capture_output=True,
                          text=True, encoding="utf-8").stdout
    title = re.search(r"<h1>(.*?)</h1>", body, re.DOTALL)
    plain = re.sub(r"<[^>]*>", "", title.group(1)) if title else page.stem
    return HEAD % plain + led(page, body) + "</body>\n</html>\n"


if len(sys.argv) != 2 or sys.argv[1] in ("-h", "--help"):
    print(__doc__.strip())
    sys.exit(0 if len(sys.argv) == 2 else 2)
PAGES = {ROOT / "README.md", ROOT / "CHANGELOG.md", *(ROOT / "docs").rglob("*.md")}
folder = pathlib.Path(sys.argv[1])
for source in sorted([*PAGES, *(ROOT / "docs").rglob("*.png"), *(ROOT / "docs").rglob("*.svg")]):
    goal = folder / source.relative_to(ROOT)
    goal.parent.mkdir(parents=True, exist_ok=True)
    if source in PAGES:
        goal.with_suffix(".html").write_text(made(source), encoding="utf-8")
    else:
        shutil.copyfile(source, goal)
