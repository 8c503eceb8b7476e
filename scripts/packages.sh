# Debian packages for ./dev: what is missing is installed, and where that cannot be, one line says what to do.
# shellcheck shell=bash

# Work that goes on.
say() {
    if [ -t 2 ]; then
        printf '\033[1m%s\033[0m\n' "$*" >&2
    else
        printf '%s\n' "$*" >&2
    fi
}

# The one line on what to do, and the end.
give_up() {
    printf 'dev: %s\n' "$*" >&2
    exit 1
}

# as_root COMMAND...: set by `be_root`.
as_root=()

# be_root ADVICE: from here on as_root runs commands as root; the advice follows what stands in the way.
be_root() {
    [ "$(id -u)" -eq 0 ] && return
    command -v sudo >/dev/null || give_up "there is no sudo; $1"
    # Where somebody sits before it sudo may ask for the password.
    sudo -n true 2>/dev/null || { [ -t 0 ] && sudo -v; } || give_up "no right to sudo; $1"
    as_root=(sudo)
}

# apt_get ARGUMENTS...: what it says is left in `said`. While another program holds the package system it waits.
apt_get() {
    local tries=120
    while ((tries-- > 0)); do
        # Set here, as sudo hands on none of the caller's variables.
        said=$("${as_root[@]}" env LC_ALL=C DEBIAN_FRONTEND=noninteractive apt-get -qq "$@" 2>&1) && return
        case "$said" in
        *"Could not get lock"* | *"was locked by another process"*) ;;
        *) return 1 ;;
        esac
        [ -n "${told_of_lock:-}" ] || say "Another program holds the package system; waiting for it"
        told_of_lock=yes
        sleep 5
    done
    give_up "another program holds the package system for 10 minutes by now; when it has ended, call this again"
}

# need PACKAGE...: installs those that are not there.
need() {
    local package missing=()
    if ! command -v dpkg-query >/dev/null; then
        say "This is no Debian, so nothing is installed; needed is what its packages hold: $*"
        return
    fi
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    local advice="as root install: apt-get install ${missing[*]}"
    be_root "$advice"
    say "Installing ${missing[*]}"
    # The lists that are there may do.
    apt_get update || true
    local updated=$said
    apt_get install -y --no-install-recommends "${missing[@]}" && return
    case "$updated $said" in
    *"Failed to fetch"* | *"Temporary failure resolving"* | *"Could not connect"*)
        give_up "no network to fetch ${missing[*]} from; connect and call this again, or $advice"
        ;;
    esac
    local reason
    reason=$(sed -n '/^E: /{s///p;q}' <<<"$said")
    give_up "${reason:-apt-get fails}; then $advice"
}

# need_program NAME PACKAGE: that it is found where it is looked for.
need_program() {
    command -v "$1" >/dev/null ||
        give_up "there is no $1, though its package is installed; as root install: apt-get install --reinstall $2"
}
