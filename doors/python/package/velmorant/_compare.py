"""velmorant.compare: two pictures side by side in a notebook, and how many pixels differ."""

import base64
import html
import operator

from ._pictures import Picture


class Comparison:
    """Two pictures; a notebook shows them side by side. `changed` counts the pixels that differ, None when sizes do."""

    def __init__(self, before, after):
        self.before = before if isinstance(before, Picture) else Picture(before)
        self.after = after if isinstance(after, Picture) else Picture(after)
        self.changed = _changed(self.before, self.after)

    def _text(self):
        if self.changed is None:
            return f"{self.before.width} x {self.before.height} became {self.after.width} x {self.after.height}"
        count = self.before.width * self.before.height
        return f"{self.changed} of {count} pixels differ ({100 * self.changed / count:.1f} %)"

    def __repr__(self):
        return f"<velmorant.Comparison: {self._text()}>"

    def _repr_html_(self):
        figures = []
        for name, picture in (("before", self.before), ("after", self.after)):
            data = base64.b64encode(picture._repr_png_()).decode()
            figures.append(f'<figure style="margin:0;flex:1"><img style="max-width:100%" alt="{name}" '
                           f'src="data:image/png;base64,{data}"><figcaption>{name}</figcaption></figure>')
        return f'<div style="display:flex;gap:8px">{"".join(figures)}</div><p>{html.escape(self._text())}</p>'


def _changed(before, after):
    if before.size != after.size:
        return None
    return sum(map(operator.ne, *(memoryview(_bytes(picture)).cast("I") for picture in (before, after))))


def _bytes(picture):
    """Red, green, blue, alpha of every pixel, whatever the type."""
    from ._kinds import RGBA
    memory = bytearray(4 * picture.width * picture.height)
    picture._native.to_buffer(memory, RGBA, picture.size)
    return memory


def compare(before, after):
    """Two pictures of any kind, for a notebook to show side by side."""
    return Comparison(before, after)
