"""Operates the x5 family of multibeam sonars from Python.

    sonar = qx5.connect("127.0.0.1:7000")
    sonar.range = 50
    sonar.request(x5BeamSteer=(10, -10)).wait()

The chapter "Python" of the manual tells the whole.
"""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

from . import _qx5, _tree

_qx5.set_classes(_tree.Tree, _tree.Value)

from ._connect import connect  # noqa: E402
from ._echoes import Sounding, WaterColumn  # noqa: E402
from ._errors import (  # noqa: E402
    BadAddress,
    BadCertificate,
    ConnectionLost,
    Error,
    LeaseHeld,
    NoSonar,
    NotAshore,
    OutOfRange,
    PluginError,
    ReadOnlyKey,
    RecordingDamaged,
    RecordingError,
    RequestDiffers,
    RequestDropped,
    RequestError,
    RequestFailed,
    RequestNotSent,
    RequestRefused,
    RequestReplaced,
    RequestUnanswered,
    ScenarioError,
    SimulatorError,
    Timeout,
    UnknownKey,
    WrongKind,
)
from ._fleet import FleetSonar, Holder, Lease  # noqa: E402
from ._key import Key  # noqa: E402
from ._recording import Decoded, Frame, Message, Record, Recording, decode  # noqa: E402
from ._scenario import Check, Difference, Scenario, ScenarioResult  # noqa: E402
from ._simulator import Simulator, Understood  # noqa: E402
from ._sonar import (  # noqa: E402
    Change,
    Connection,
    Limits,
    Recorder,
    Request,
    Sonar,
    Subscription,
)
from ._tree import Tree, Value  # noqa: E402

if TYPE_CHECKING:
    from . import aio as aio

__version__ = _qx5.version

SCENES: dict[str, str] = dict(_qx5.scenes())
"""The seabeds of the simulated sonar, with a few words on each."""

MISBEHAVIOURS: dict[str, str] = {name: meaning for name, _, meaning in _qx5.misbehaviours()}
"""The failures of the simulated sonar, with a few words on each."""

KEYS: dict[str, Key] = {row[0]: Key(*row) for row in _qx5.keys()}
"""All keys of the sonar by their text: KEYS["x5Range"].unit is "m"."""

__all__ = [
    "KEYS",
    "MISBEHAVIOURS",
    "SCENES",
    "BadAddress",
    "BadCertificate",
    "Change",
    "Check",
    "Connection",
    "ConnectionLost",
    "Decoded",
    "Difference",
    "Error",
    "FleetSonar",
    "Frame",
    "Holder",
    "Key",
    "Lease",
    "LeaseHeld",
    "Limits",
    "Message",
    "NoSonar",
    "NotAshore",
    "OutOfRange",
    "PluginError",
    "ReadOnlyKey",
    "Record",
    "Recorder",
    "Recording",
    "RecordingDamaged",
    "RecordingError",
    "Request",
    "RequestDiffers",
    "RequestDropped",
    "RequestError",
    "RequestFailed",
    "RequestNotSent",
    "RequestRefused",
    "RequestReplaced",
    "RequestUnanswered",
    "Scenario",
    "ScenarioError",
    "ScenarioResult",
    "Simulator",
    "SimulatorError",
    "Sonar",
    "Sounding",
    "Subscription",
    "Timeout",
    "Tree",
    "Understood",
    "UnknownKey",
    "Value",
    "WaterColumn",
    "WrongKind",
    "connect",
    "decode",
]


def __getattr__(name: str) -> Any:
    # What an event loop needs takes long to load.
    if name == "aio":
        import importlib

        return importlib.import_module(".aio", __name__)
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
