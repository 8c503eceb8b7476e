"""How one comes to a sonar."""

from __future__ import annotations

import os
from typing import overload

from . import _errors
from ._fleet import FleetSonar, connect_fleet
from ._sonar import Sonar, connect_here


@overload
def connect(address: str, *, timeout: float | None = None, plugin: str | os.PathLike[str] | None = None,
            name: str | None = None) -> Sonar: ...


@overload
def connect(address: str, *, group: str, vessel: str, sonar: str | None = None,
            ca: str | os.PathLike[str] | None = None, cert: str | os.PathLike[str] | None = None,
            key: str | os.PathLike[str] | None = None, person: str | None = None, limit: float = 10.0,
            timeout: float | None = None) -> FleetSonar: ...


def connect(address: str, *, timeout: float | None = None, plugin: str | os.PathLike[str] | None = None,
            name: str | None = None, group: str | None = None, vessel: str | None = None, sonar: str | None = None,
            ca: str | os.PathLike[str] | None = None, cert: str | os.PathLike[str] | None = None,
            key: str | os.PathLike[str] | None = None, person: str | None = None, limit: float = 10.0) -> Sonar:
    """Connects to the sonar at HOST:PORT and waits until it has told who it is, for 5 s unless `timeout` says otherwise.

    The plug-in is that of this installation unless another file is told. All sonars of a process share one host; they
    may be as many as one likes. Raises qx5.NoSonar, qx5.PluginError or qx5.BadAddress.

    With a broker's URL, mqtts://HOST:PORT, and the names of a fleet's group, a vessel and a sonar aboard (None: the one
    that it has) it is a sonar far away, a qx5.FleetSonar, waited for until what it has is known, for 10 s. `cert` and
    `key` are the files of our certificate, whose name is who we are, `ca` that of whom the broker's must be from (None:
    the system's); a broker of this machine by mqtt://HOST:PORT asks for none, and `person` says who we are. What is
    requested is not done any more after `limit` seconds. Sonars of one vessel share a connection. Raises qx5.NoSonar,
    which says what is there, qx5.BadCertificate or qx5.BadAddress.
    """
    if not address.startswith(("mqtt://", "mqtts://")):
        if any(each is not None for each in (group, vessel, sonar, ca, cert, key, person)):
            raise _errors.BadAddress(f"'{address}' is no broker: group, vessel, sonar, ca, cert, key and person go with "
                                     "mqtts://HOST:PORT")
        return connect_here(address, 5.0 if timeout is None else timeout, plugin, name)
    if group is None or vessel is None:
        raise _errors.BadAddress("with a broker tell whose sonar: group and vessel")
    if plugin is not None or name is not None:
        raise _errors.BadAddress("plugin and name are for a sonar at HOST:PORT")
    return connect_fleet(address, 10.0 if timeout is None else timeout, group, vessel, sonar, ca, cert, key, person,
                         limit)
