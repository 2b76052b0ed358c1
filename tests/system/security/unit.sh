#!/usr/bin/env bash
# unit.sh BUILD MXSD: the installed systemd unit names the installed program, and options that it has; its user is made
# and owns the hardware clocks.
# unit.sh BUILD MXSD verify: systemd finds nothing wrong with it, and no more exposed than we know.
# unit.sh BUILD MXSD bounds: a program that does what the unit does not permit is ended.
# unit.sh BUILD MXSD run TEST [ARGUMENT...]: a test passes whose service does no more than the unit permits.
# 77: systemd is not here.
set -euo pipefail
build=$1 mxsd=$2 what=${3:-}
here=$(dirname "$(realpath "$0")")
skip() { echo "skipped: $1"; exit 77; }
[ -z "$what" ] || command -v systemd-analyze >/dev/null || skip "there is no systemd-analyze here"
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT

DESTDIR=$stage cmake --install "$build" --component mxsd >"$stage/install.log" || { cat "$stage/install.log"; exit 1; }
unit=$(find "$stage" -path '*/lib/systemd/system/mxsd.service')
test -n "$unit" || { echo "no unit is installed"; exit 1; }

case $what in
"")
    user=$(find "$stage" -path '*/lib/sysusers.d/mxsd.conf' -exec sed -n 's/^u \([^ ]*\) .*/\1/p' {} +)
    test -n "$user" || { echo "the unit's user is not made"; exit 1; }
    grep -qx "User=$user" "$unit" || { echo "the unit runs as another user than $user"; exit 1; }
    clocks=$(find "$stage" -path '*/lib/udev/rules.d/60-mxsd.rules')
    grep -qx "SUBSYSTEM==\"ptp\", OWNER=\"$user\"" ${clocks:+"$clocks"} </dev/null ||
        { echo "the hardware clocks are not $user's"; exit 1; }
    commands=$(sed -n 's/^Exec[A-Za-z]*=//p' "$unit")
    [ "$(wc -l <<<"$commands")" = 2 ] || { echo "the unit does not start and clean up: $commands"; exit 1; }
    while read -r command; do
        program=${command%% *}
        test -x "$stage$program" || { echo "the unit starts $program, which is not installed"; exit 1; }
        for option in $(grep -o -e ' --[a-z-]*' <<<"$command"); do
            "$mxsd" --help | grep -q -e "^  $option " || { echo "mxsd has no option $option"; exit 1; }
        done
    done <<<"$commands"
    ;;
verify)
    mkdir "$stage/verify"
    sed "s|^\(Exec[A-Za-z]*\)=[^ ]*|\1=$mxsd|" "$unit" >"$stage/verify/mxsd.service"
    complaints=$(systemd-analyze verify "$stage/verify/mxsd.service" 2>&1) || { echo "$complaints"; exit 1; }
    # Warnings leave the status as it is; those about other units of the machine are not ours.
    if grep -F mxsd.service <<<"$complaints"; then exit 1; fi
    # As exposed as docs/reliability.md says, in tenths; more is a line of the hardening that has gone.
    systemd-analyze security --offline=yes --no-pager --threshold=28 "$stage/verify/mxsd.service" >"$stage/exposure" ||
        { cat "$stage/exposure"; exit 1; }
    ;;
bounds)
    ulimit -c 0
    # The status, 128 and SIGSYS where the filter is what ended it.
    while read -r expected line; do
        status=0
        (exec python3 "$here/confine.py" "$unit" "$(command -v python3)" -c "import mmap, os, socket; $line") || status=$?
        [ "$status" = "$expected" ] || { echo "$line: $status instead of $expected"; exit 1; }
    done <<'LINES'
0 socket.socket(socket.AF_INET, socket.SOCK_DGRAM); mmap.mmap(-1, 4096, prot=mmap.PROT_READ | mmap.PROT_WRITE)
159 os.chroot("/")
159 socket.socket(socket.AF_ALG, socket.SOCK_SEQPACKET)
159 mmap.mmap(-1, 4096, prot=mmap.PROT_READ | mmap.PROT_WRITE | mmap.PROT_EXEC)
LINES
    ;;
run)
    printf '#!/bin/sh\nexec python3 "%s" "%s" "%s" "$@"\n' "$here/confine.py" "$unit" "$mxsd" >"$stage/mxsd"
    chmod +x "$stage/mxsd"
    shift 3
    MXSD_PROGRAM=$stage/mxsd "$@"
    ;;
esac
