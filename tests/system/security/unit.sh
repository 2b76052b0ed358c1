#!/usr/bin/env bash
# unit.sh BUILD MXSD [verify]: the installed systemd unit starts the installed program, with options that it has; with
# "verify", systemd finds nothing wrong with it. 77: there is no systemd here.
set -euo pipefail
build=$1 mxsd=$2 what=${3:-}
if [ "$what" = verify ] && ! command -v systemd-analyze >/dev/null; then
    echo "skipped: there is no systemd-analyze here"
    exit 77
fi
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT

DESTDIR=$stage cmake --install "$build" --component mxsd >"$stage/install.log" || { cat "$stage/install.log"; exit 1; }
unit=$(find "$stage" -path '*/lib/systemd/system/mxsd.service')
test -n "$unit" || { echo "no unit is installed"; exit 1; }
find "$stage" -path '*/lib/sysusers.d/mxsd.conf' | grep -q . || { echo "the unit's user is not made"; exit 1; }

command=$(sed -n 's/^ExecStart=//p' "$unit")
program=${command%% *}
test -x "$stage$program" || { echo "the unit starts $program, which is not installed"; exit 1; }
for option in $(grep -o -e ' --[a-z-]*' <<<"$command"); do
    "$mxsd" --help | grep -q -e "^  $option " || { echo "mxsd has no option $option"; exit 1; }
done

[ "$what" = verify ] || exit 0
mkdir "$stage/verify"
sed "s|^ExecStart=[^ ]*|ExecStart=$stage$program|" "$unit" >"$stage/verify/mxsd.service"
complaints=$(systemd-analyze verify "$stage/verify/mxsd.service" 2>&1) || { echo "$complaints"; exit 1; }
# Warnings leave the status as it is; those about other units of the machine are not ours.
if grep -F mxsd.service <<<"$complaints"; then exit 1; fi
