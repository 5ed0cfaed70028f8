#!/usr/bin/env python3
"""Inputs and plots of the gallery that no operator makes.

gallery_data.py inputs FOLDER                         maps, weights, masks and noise for 600x400 pixels
gallery_data.py histogram BINS.json OUT               bars of calc-hist's report
gallery_data.py statistics GRAY.json STATS.json OUT   the histogram with mean and deviation
gallery_data.py transform MATRIX.json OUT             the four corners before and after
gallery_data.py values PHOTO.f32 OUT                  one channel of floats as colours
"""
import json
import sys

import numpy as np

WIDTH, HEIGHT = 600, 400
CORNERS = np.array([[0, 0], [599, 0], [599, 399], [0, 399]], dtype=float)


def inputs(folder):
    y, x = np.mgrid[0:HEIGHT, 0:WIDTH].astype(np.float32)
    u, v = (x - WIDTH / 2) / (WIDTH / 2), (y - HEIGHT / 2) / (WIDTH / 2)
    r2 = u * u + v * v
    barrel = 1 + 0.35 * r2
    (WIDTH / 2 + u * barrel * WIDTH / 2).astype("<f4").tofile(f"{folder}/x.f32")
    (HEIGHT / 2 + v * barrel * WIDTH / 2).astype("<f4").tofile(f"{folder}/y.f32")
    lens = np.clip(1 - 0.75 * r2, 0.1, 1).astype("<f4")
    np.repeat(lens[..., None], 3, axis=2).tofile(f"{folder}/lens.f32")
    disc = ((u * u + v * v < 0.35) * 255).astype(np.uint8)
    disc.tofile(f"{folder}/disc.gray")
    np.repeat(disc[..., None], 3, axis=2).tofile(f"{folder}/disc.rgb")
    noise = np.random.default_rng(7).normal(0, 18, (HEIGHT, WIDTH, 3))
    np.clip(noise, 0, 255).astype(np.uint8).tofile(f"{folder}/more.rgb")
    np.clip(-noise, 0, 255).astype(np.uint8).tofile(f"{folder}/less.rgb")


def figure():
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import pyplot

    return pyplot.subplots(figsize=(6.06, 2.4), dpi=100, layout="tight")


def save(axes, out):
    axes.figure.savefig(out, metadata={"Software": None})


def bars(axes, report):
    counts = json.load(open(report))["histogram"]
    axes.bar(np.arange(len(counts)) * 256 / len(counts), counts, width=256 / len(counts), align="edge", color="#7a4a2b")
    axes.set(xlim=(0, 256), xlabel="gray value", ylabel="pixels")


def histogram(report, out):
    _, axes = figure()
    bars(axes, report)
    save(axes, out)


def statistics(report, statistics_report, out):
    _, axes = figure()
    bars(axes, report)
    found = json.load(open(statistics_report))
    mean, std = found["mean"][0], found["std"][0]
    axes.axvline(mean, color="black", label=f"mean {mean:.2f}")
    axes.axvspan(mean - std, mean + std, color="#4a7ab0", alpha=0.25, label=f"standard deviation {std:.2f}")
    axes.legend()
    save(axes, out)


def transform(report, out):
    _, axes = figure()
    matrix = np.array(json.load(open(report))["matrix"]).reshape(3, 3)
    mapped = np.column_stack([CORNERS, np.ones(4)]) @ matrix.T
    mapped = mapped[:, :2] / mapped[:, 2:]
    for points, style, label in ((CORNERS, "--", "(x, y)"), (mapped, "-", "(u, v), from H (x, y, 1)")):
        closed = np.vstack([points, points[:1]])
        axes.plot(closed[:, 0], closed[:, 1], style + "o", label=label)
    axes.set(aspect="equal", ylim=(420, -20), xlim=(-20, 620), anchor="W")
    rows = "\n".join("".join(f"{value:11.5f}" for value in row) for row in matrix)
    axes.text(1.06, 0.4, "H =\n" + rows, family="monospace", va="center", transform=axes.transAxes)
    axes.legend(loc="upper left", bbox_to_anchor=(1.04, 1))
    save(axes, out)


def values(floats, out):
    figure_, axes = figure()
    red = np.fromfile(floats, dtype="<f4").reshape(HEIGHT, WIDTH, 3)[::2, ::2, 0]
    figure_.colorbar(axes.imshow(red, cmap="RdBu_r", vmin=-3, vmax=3), ax=axes, label="(red - mean) / std")
    axes.set_axis_off()
    save(axes, out)


if __name__ == "__main__":
    {f.__name__: f for f in (inputs, histogram, statistics, transform, values)}[sys.argv[1]](*sys.argv[2:])
