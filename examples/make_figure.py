# Writes examples/figure.obj: a standing figure turned around its height (base, legs' flare,
# waist, chest, shoulders, neck, head) with a pole at the feet and one at the top of the head,
# so that its gradient and UV strips meet vertices of valence other than 4.
#
#   python3 examples/make_figure.py
import math
import os

# (height, radius) from the feet up; the poles come from the first and last heights.
profile = [
    (0.00, 0.0), (0.05, 0.9), (0.30, 1.0), (0.80, 0.85), (1.40, 0.75), (2.00, 0.80), (2.50, 0.70),
    (2.90, 0.85), (3.40, 1.10), (3.80, 1.25), (4.10, 1.20), (4.30, 0.90), (4.45, 0.40), (4.65, 0.35),
    (4.85, 0.60), (5.10, 0.80), (5.40, 0.85), (5.70, 0.75), (5.95, 0.50), (6.10, 0.0),
]
around = 24
points, faces = [], []
points.append((0.0, profile[0][0], 0.0))
for y, r in profile[1:-1]:
    for i in range(around):
        a = 2 * math.pi * i / around
        points.append((r * math.cos(a), y, -r * math.sin(a)))
points.append((0.0, profile[-1][0], 0.0))
rings = len(profile) - 2
top = len(points)  # 1-based index of the top pole


def at(ring, i):
    return 2 + ring * around + i % around  # 1-based


for i in range(around):
    faces.append((1, at(0, i + 1), at(0, i)))
for ring in range(rings - 1):
    for i in range(around):
        faces.append((at(ring, i), at(ring, i + 1), at(ring + 1, i + 1), at(ring + 1, i)))
for i in range(around):
    faces.append((at(rings - 1, i), at(rings - 1, i + 1), top))

path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "figure.obj")
with open(path, "w") as f:
    f.write("# A standing figure turned around its height, made by examples/make_figure.py\n")
    for p in points:
        f.write("v %.5f %.5f %.5f\n" % p)
    for face in faces:
        f.write("f " + " ".join(str(v) for v in face) + "\n")
