# A fresh, minimal Debian 12 in a folder of its own, for trials: made from where this machine has its packages.
# shellcheck shell=bash
release=bookworm

# inside_and_remove SCRIPT FOLDER KEEP ARGUMENTS...: runs `SCRIPT --inside FOLDER ARGUMENTS...` and removes the folder, unless KEEP
# says something. All mounts are made by that second process, which has its own view of them: they end with it, however it
# ends, so that removing the folder meets none. Returns its exit code, 130 after an interruption.
inside_and_remove() {
    local script=$1 folder=$2 keep=$3 inside code=0
    shift 3
    unshare --mount --pid --fork --kill-child "$script" --inside "$folder" "$@" &
    inside=$!
    # shellcheck disable=SC2064
    trap "kill -KILL $inside; code=130" INT TERM HUP
    wait $inside || [ $code -ne 0 ] || code=1
    trap - INT TERM HUP
    if [ -n "$keep" ]; then
        say "The root is left in $folder/root"
    else
        # What was killed may still be busy going.
        rm -rf --one-file-system "$folder" 2>/dev/null || { sleep 2 && rm -rf --one-file-system "$folder"; }
    fi
    return "$code"
}

# make_debian ROOT PACKAGE...: the minimal base from where this machine has its packages, and these packages.
make_debian() {
    local root=$1 mirror file certificates=()
    shift
    # The columns are names that apt-get fills in.
    # shellcheck disable=SC2016
    mirror=$(apt-get indextargets --format '|$(RELEASE)|$(CODENAME)|$(COMPONENT)|$(REPO_URI)' 'Created-By: Packages' |
        awk -F'|' -v release=$release '($2 == release || $3 == release) && $4 == "main" { print $5; exit }')
    [ -n "$mirror" ] || give_up "this machine has no package sources of Debian 12 to take a root from"
    # The one way to the sources that does not stand beside them.
    eval "$(apt-config shell http_proxy Acquire::http::Proxy https_proxy Acquire::https::Proxy)"
    export http_proxy https_proxy
    [[ $mirror != https:* ]] || certificates=(--include=ca-certificates)
    say "Making a minimal Debian 12"
    debootstrap --variant=minbase "${certificates[@]}" $release "$root" "$mirror" >"$root.log" 2>&1 || {
        tail -5 "$root.log" >&2
        give_up "debootstrap fails, see above"
    }
    for file in resolv.conf hosts apt/sources.list apt/sources.list.d apt/preferences apt/preferences.d apt/keyrings \
        apt/trusted.gpg.d; do
        rm -rf "${root:?}/etc/$file"
        [ ! -e "/etc/$file" ] || cp -rL "/etc/$file" "$root/etc/$file"
    done
    [ ${#certificates[@]} -eq 0 ] || cp /etc/ssl/certs/ca-certificates.crt "$root/etc/ssl/certs/"
    cp -rLn /usr/share/keyrings/. "$root/usr/share/keyrings/"
    # How packages are fetched, without what else this machine has its package system do.
    {
        apt-config dump | grep '^Acquire::'
        [ -z "${http_proxy:-}" ] || echo "Acquire::http::Proxy \"$http_proxy\";"
        [ -z "${https_proxy:-}" ] || echo "Acquire::https::Proxy \"$https_proxy\";"
    } >"$root/etc/apt/apt.conf.d/90fetching"

    mount -t proc proc "$root/proc"
    mount -t devpts -o newinstance,ptmxmode=0666,mode=0620,gid=5 devpts "$root/dev/pts"
    ln -sf pts/ptmx "$root/dev/ptmx"
    mount -t tmpfs -o mode=1777 shm "$root/dev/shm"
    chroot "$root" apt-get -qq update
    chroot "$root" env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends "$@" >"$root.log"
}
