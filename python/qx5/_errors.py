"""What can go wrong, each with one clear line; all of it is a qx5.Error."""

from __future__ import annotations

from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from ._sonar import Request


class Error(Exception):
    """What everything that qx5 raises is."""


class PluginError(Error):
    """The sonar's plug-in cannot be loaded."""


class BadAddress(Error, ValueError):
    """No HOST:PORT, no URL of a broker, or a name that vessels cannot have."""


class BadCertificate(Error, ValueError):
    """Our certificate, its key or that of the authority is missing, or no good."""


class NotAshore(Error):
    """For who is aboard alone."""


class NoSonar(Error, ConnectionError):
    """There is no connection to the sonar."""


class UnknownKey(Error, AttributeError, KeyError):
    """There is no such key; the text tells which may have been meant."""

    def __str__(self) -> str:
        return str(self.args[0])


class ReadOnlyKey(Error, AttributeError):
    """The sonar tells this key; nobody sets it."""


class WrongKind(Error, TypeError):
    """A value of another kind than the key takes; nothing was sent."""


class OutOfRange(Error, ValueError):
    """A value that the key's kind cannot hold; nothing was sent."""


class Timeout(Error, TimeoutError):
    """What was waited for did not come in time."""


class SimulatorError(Error):
    """The simulated sonar cannot begin, or does not take a command."""


class RecordingError(Error):
    """A recording cannot be read or written."""


class RecordingDamaged(RecordingError):
    """All that is whole in a recording has been read; something was not."""


class ScenarioError(Error):
    """A scenario cannot be read or run."""


class RequestError(Error):
    """What was asked for is not what the sonar has."""

    def __init__(self, text: str, request: Request | None = None) -> None:
        super().__init__(text)
        self.request = request

    @property
    def reason(self) -> str:
        """Why, in one line."""
        return str(self.args[0])


class RequestRefused(RequestError):
    """It is locked, or not the asker's to ask."""


class LeaseHeld(RequestRefused):
    """It takes the sonar's lease, which somebody else has."""

    def __init__(self, text: str, request: Request | None = None, holder: str | None = None) -> None:
        super().__init__(text, request)
        self.holder = holder
        """Who has it; None for nobody."""


class RequestDropped(RequestError):
    """The plug-in dropped it whole: nothing takes it so, or a value that completes it is found nowhere."""


class RequestFailed(RequestError):
    """An exception broke it off."""


class RequestDiffers(RequestError):
    """The sonar has something else: it clipped the value, or somebody else set it."""


class RequestUnanswered(RequestError):
    """The sonar has told nothing of it."""


class RequestNotSent(RequestError):
    """There was no room in the sonar's queue."""


class RequestReplaced(RequestError):
    """A later request for the same took its place before the sonar told anything of it."""


class ConnectionLost(RequestError, ConnectionError):
    """The connection was not there, or did not stay until the sonar had answered."""


def unknown_key(name: str) -> UnknownKey:
    """The exception for a name that no key has."""
    from difflib import get_close_matches

    from . import _qx5

    names = [each for text, python_name, *_ in _qx5.keys() for each in (text, python_name)]
    near = get_close_matches(name, names, 1)
    meant = f"; did you mean {near[0]}?" if near else "; qx5.KEYS has them all"
    return UnknownKey(f"'{name[:60]}' is no key of the sonar{meant}")
