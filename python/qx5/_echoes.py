"""What a sonar hears at one ping, as arrays."""

from __future__ import annotations

from typing import TYPE_CHECKING, NamedTuple

from . import _errors

if TYPE_CHECKING:
    import numpy as np
    import numpy.typing as npt


def need_numpy() -> None:
    """Raises qx5.Error where there is no NumPy."""
    try:
        import numpy as _  # noqa: F401
    except ImportError as problem:
        raise _errors.Error("arrays need NumPy: install python3-numpy") from problem


class Sounding(NamedTuple):
    """What a sonar took for the bottom at one ping. The arrays are read only and lie in the block that the host
    received: nothing was copied. Of each there is one number a detection."""

    ping: int
    time: float
    """Of transmission, seconds since 1970 UTC."""
    sound_velocity: float
    """m/s"""
    east: float
    north: float
    depth: float
    """m; of the sonar"""
    heading: float
    roll: float
    """degrees, starboard down"""
    pitch: float
    """degrees, bow up"""
    heave: float
    """m, up"""
    steering: float
    """degrees, of the fan along track"""
    beams: int
    beam: npt.NDArray[np.uint16]
    """Of each detection, from 0, ascending; a beam may have none or several."""
    angle: npt.NDArray[np.float32]
    """degrees across track off the vertical, positive to starboard"""
    travel_time: npt.NDArray[np.float32]
    """s there and back"""
    level: npt.NDArray[np.float32]
    """dB re 1 uPa, gain included"""
    quality: npt.NDArray[np.float32]
    """0 doubtful to 1"""

    def depths(self) -> npt.NDArray[np.float64]:
        """m below the surface, as straight rays in water of that sound velocity give them."""
        import numpy

        slant = self.travel_time.astype(numpy.float64) * (self.sound_velocity / 2.0)
        return numpy.asarray(self.depth + slant * numpy.cos(numpy.radians(self.angle.astype(numpy.float64))))


class WaterColumn(NamedTuple):
    """What a sonar heard at one ping. The arrays are read only and lie in the record itself: nothing was copied."""

    ping: int
    time: float
    """Of transmission, seconds since 1970 UTC."""
    sound_velocity: float
    """m/s"""
    east: float
    north: float
    depth: float
    """m; of the sonar"""
    heading: float
    roll: float
    """degrees, starboard down"""
    pitch: float
    """degrees, bow up"""
    heave: float
    """m, up"""
    steering: float
    """degrees, of the fan along track"""
    beams: int
    interval: float
    """s there and back from one sample to the next; sample k is of k + 1/2 intervals after transmission"""
    floor: float
    """dB re 1 uPa of a level of 0"""
    step: float
    """dB from one level to the next"""
    angle: npt.NDArray[np.float32]
    """degrees across track off the vertical, positive to starboard; one a beam"""
    gain: npt.NDArray[np.float32]
    """dB, of the receiver; one a sample"""
    noise: npt.NDArray[np.float32]
    """dB, mean level of noise; one a sample"""
    levels: npt.NDArray[np.uint8]
    """A row a beam, a column a sample."""

    def decibel(self) -> npt.NDArray[np.float32]:
        """The levels in dB re 1 uPa, gain included: floor + levels x step. A new array."""
        import numpy

        table = (self.floor + self.step * numpy.arange(256)).astype(numpy.float32)
        return table[self.levels]

    def travel_times(self) -> npt.NDArray[np.float64]:
        """s there and back, one a sample."""
        import numpy

        return (numpy.arange(self.levels.shape[1]) + 0.5) * self.interval
