#!/bin/bash
# completion.sh TAVCTL: what bash completes of a command line of tavctl.
set -uo pipefail
cd "$(dirname "$(readlink -f "$0")")/../.."
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
ln -s "$(readlink -f "$1")" "$folder/tavctl"
PATH=$folder:$PATH
source packaging/completion/tavctl.bash
status=0

completes() { # LINE... : COMP_WORDS, the last one being typed; the wanted completion stands in $wanted
    COMP_WORDS=("$@")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _tavctl
    local each
    for each in "${COMPREPLY[@]}"; do [ "$each" != "$wanted" ] || return 0; done
    echo "completion: '$*' gives '${COMPREPLY[*]}', not '$wanted'" >&2
    status=1
}

mkdir -p "$folder/net/can7" "$folder/net/eth0"
echo 280 >"$folder/net/can7/type"
echo 1 >"$folder/net/eth0/type"
export TAVCTL_NET=$folder/net

wanted=velocity completes tavctl vel
wanted=velocity completes tavctl --bus can0 vel
wanted=verify completes tavctl config ver
wanted=--plot completes tavctl velocity --pl
wanted=--config completes tavctl --conf
wanted=can7 completes tavctl --bus ca
wanted=virtual completes tavctl --bus vi
wanted=statusword completes tavctl read STATUSW
wanted='Identity\ Object\ Vendor\ Id' completes tavctl read Identity
COMP_WORDS=(tavctl --bus et) COMP_CWORD=2
_tavctl
[ ${#COMPREPLY[@]} -eq 0 ] || { echo "completion: eth0 is no CAN interface" >&2 && status=1; }
exit $status
