#!/usr/bin/env python3
"""Writes a 17-point .cube look-up table that scales each component and
lifts red, for the demo and the benchmarks.

  make-cube.py OUT RED_GAIN RED_LIFT GREEN_GAIN BLUE_GAIN
"""
import sys

out = sys.argv[1]
red_gain, red_lift, green_gain, blue_gain = (float(v) for v in sys.argv[2:6])
n = 17
with open(out, "w") as f:
    f.write("LUT_3D_SIZE %d\n" % n)
    for b in range(n):
        for g in range(n):
            for r in range(n):
                R, G, B = r / (n - 1), g / (n - 1), b / (n - 1)
                f.write("%.5f %.5f %.5f\n" % (min(1, R * red_gain + red_lift), min(1, G * green_gain), B * blue_gain))
