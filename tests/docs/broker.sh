#!/usr/bin/env bash
# broker.sh FOLDER 127.0.0.1:PORT: mosquitto as `qx5 broker-setup` has set it up in that folder, on that endpoint alone.
set -euo pipefail
{
    [ "$(id -u)" -ne 0 ] || echo "user root"
    echo "log_dest stderr"
    sed "s/^listener .*/listener ${2#*:} 127.0.0.1/" "$1/mosquitto.conf"
} >"$1/here.conf"
exec mosquitto -c "$1/here.conf"
