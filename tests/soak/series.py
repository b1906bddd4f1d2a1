"""What was measured over a run, and whether it grows."""

import dataclasses
import statistics

import numpy

KILOBYTES = "kB"


@dataclasses.dataclass(frozen=True)
class Gauge:
    name: str
    unit: str = ""
    # How much higher the last fifth's median may be than the first one's: what
    # differs from moment to moment without growing.
    allowance: float = 2
    read: object = dataclasses.field(default=None, compare=False)  # a number, when it is called


class Series:
    """One gauge's readings, each at a number of slides or starts."""

    def __init__(self, gauge):
        self.gauge = gauge
        self.at = []
        self.values = []

    def take(self, at):
        self.at.append(at)
        self.values.append(self.gauge.read())

    def _fifth(self, which):
        """The median of the first (0), middle (2) or last (4) fifth of the readings."""
        count = len(self.values)
        first, last = which * count // 5, max((which + 1) * count // 5, which * count // 5 + 1)
        return statistics.median(self.values[first:last])

    def growth(self):
        return self._fifth(4) - self._fifth(0)

    def slope(self):
        """Of a straight line through all readings, per hundred slides or starts."""
        if len(set(self.at)) < 2:
            return 0.0
        return float(numpy.polyfit(self.at, self.values, 1)[0]) * 100

    def grows(self):
        return bool(self.values) and self.growth() > self.gauge.allowance

    def row(self):
        numbers = [self._fifth(0), self._fifth(2), self._fifth(4), max(self.values)]
        name = f"{self.gauge.name}, {self.gauge.unit}" if self.gauge.unit else self.gauge.name
        return [name] + [f"{n:,.0f}" for n in numbers] + [f"{self.slope():+,.2f}"]


class Readings:
    """All gauges, read together."""

    def __init__(self, gauges):
        self.series = [Series(gauge) for gauge in gauges]

    def take(self, at):
        for series in self.series:
            series.take(at)

    def growing(self):
        """A sentence for each gauge that grows."""
        return [f"{s.gauge.name} grow by {s.growth():,.0f} {s.gauge.unit}".rstrip()
                for s in self.series if s.grows()]

    def table(self, unit):
        """Rows of text; `unit` is what is counted: slides or starts."""
        rows = [["object", "after the warm-up", "in the middle", "at the end", "highest",
                 f"slope per 100 {unit}"]]
        rows += [s.row() for s in self.series if s.values]
        widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
        return ["| " + " | ".join(cell.ljust(width) if n == 0 else cell.rjust(width)
                                  for n, (cell, width) in enumerate(zip(row, widths))) + " |"
                for row in rows]
