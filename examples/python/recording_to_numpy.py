"""A recording as arrays: its soundings in one file, and the loudest water column in another.

    recording_to_numpy.py RECORDING OUT.npz

OUT.npz holds `detections` and `pings` as qx5.Recording gives them, `depth` in m (one a detection), and of the ping whose
water column is the loudest `levels` in dB (a row a beam) with `angle` in degrees and `travel_time` in s.
"""

import sys

import numpy as np
import numpy.typing as npt

import qx5


def depths(detections: npt.NDArray[np.void], pings: npt.NDArray[np.void]) -> npt.NDArray[np.float64]:
    """m below the surface, by straight rays."""
    of_ping = pings[np.searchsorted(pings["time"], detections["time"])]
    slant = detections["travel_time"] * of_ping["sound_velocity"] / 2.0
    return np.asarray(of_ping["depth"] + slant * np.cos(np.radians(detections["angle"])), dtype=np.float64)


def convert(recording: qx5.Recording, out: str) -> None:
    """Writes the file."""
    detections, pings = recording.detections(), recording.pings()
    arrays: dict[str, npt.NDArray[np.generic]] = {
        "detections": detections, "pings": pings, "depth": depths(detections, pings)}
    # One ping at a time: a water column of an hour does not fit into memory.
    loudest = max(recording.water_column(), key=lambda column: float(column.levels.mean()), default=None)
    if loudest is not None:
        arrays |= {"levels": loudest.decibel(), "angle": loudest.angle, "travel_time": loudest.travel_times()}
    np.savez_compressed(out, **arrays)
    print(f"{len(pings)} pings, {len(detections)} detections -> {out}")


if __name__ == "__main__":
    convert(qx5.Recording(sys.argv[1]), sys.argv[2])
