#!/usr/bin/env bash
# The demo's story: a device whose network link goes down and comes back, and two subscribers who hear of it; then a
# telephony controller that registers a line.
#
#   scripts/demo/story.sh BUILD_BIN_DIR [--keep] [--pictures DIR]
#
# --pictures leaves the message ladders and the agent's state machine in DIR, as SVG.
#
# Everything happens in a network namespace of its own and in a temporary folder; root or user namespaces are needed.
# Exit status 0 only if every expected NOTIFY and telephony message arrived with the right content.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
usage="usage: story.sh BUILD_BIN_DIR [--keep] [--pictures DIR]"
bin=$(cd "${1:?$usage}" && pwd)
arguments=("$@")
keep=no pictures=""
while [ $# -gt 1 ]; do
    case $2 in
    --keep) keep=yes ;;
    --pictures) pictures=$(mkdir -p "${3:?$usage}" && cd "$3" && pwd); shift ;;
    *) echo "$usage" >&2; exit 2 ;;
    esac
    shift
done
patience=${IMSUA_STORY_PATIENCE:-20} # seconds for each thing awaited

if [ -z "${IMSUA_STORY_INSIDE:-}" ]; then
    export IMSUA_STORY_INSIDE=yes
    if [ "$(id -u)" = 0 ]; then exec unshare --net -- "$0" "${arguments[@]}"; fi
    exec unshare --user --map-root-user --net -- "$0" "${arguments[@]}"
fi

dir=$(mktemp -d "${TMPDIR:-/tmp}/imsua-story-XXXXXX")
cd "$dir"
# shellcheck disable=SC2034 # read through their names
pids=() notifier="" framework="" agent="" controller="" # process ids; start() sets the variables named after the programs
passed=no

finish() {
    for pid in "${pids[@]}"; do kill -KILL "$pid" 2> /dev/null || true; done
    if [ $passed = no ]; then
        echo "FAILED; what the programs said:" >&2
        tail -n 40 ./*.log ./*.txt >&2 || true
    fi
    rm -rf "$dir"
}
trap finish EXIT

say() { printf '\n--- %s\n' "$*"; }
fail() { echo "story.sh: $*" >&2; exit 1; }

# Runs "$@" until it succeeds.
await() { # what command...
    local what=$1 until=$((SECONDS + patience))
    shift
    until "$@"; do
        [ $SECONDS -lt $until ] || fail "waited in vain for $what"
        sleep 0.02
    done
}

start() { # name command...
    local name=$1
    shift
    "$@" > "$name.txt" 2> "$name.log" &
    pids+=($!)
    eval "$name=$!"
}

stop() { # name signal [status]: must end with it, 0 if not given
    local pid=${!1} status=0
    kill "-$2" "$pid"
    wait "$pid" || status=$?
    [ $status = "${3:-0}" ] || fail "$1 ended with $status"
}

line_of() { # name pattern: the first line that a subscriber printed with it
    grep -m 1 -E "$2" "$1.txt"
}
lines_with() { grep -c -E "$2" "$1.txt" || true; }

# A NOTIFY after those seen so far.
has_new() { # name pattern count
    [ "$(lines_with "$1" "$2")" -gt "$3" ]
}
expect_both() { # pattern count-before
    local who
    for who in over_udp over_tcp; do
        await "'$1' $who" has_new "$who" "$1" "$2"
        printf '%-9s %s\n' "$who" "$(grep -E "$1" "$who.txt" | tail -n 1)"
    done
}

say "a device with one network link, dev0, in a network namespace of its own"
ip link set lo up
ip link add dev0 address 02:00:00:00:00:01 type veth peer name network
ip address add 192.0.2.1/24 dev dev0
ip link set network up
ip link set dev0 up
ip -brief address show dev dev0

say "the framework daemon with its configuration store"
cp -r "$here/store" store
start framework "$bin/imsfwkd" -store store -portfile ports -logfile framework.log
await "the framework daemon" test -s ports
read -r syncport asyncport < ports
echo "imsfwkd answers at port $syncport, announces at port $asyncport"

say "the link-event notifier"
start notifier "$bin/imslinkevd" -fwksyncport "$syncport" -fwkasyncport "$asyncport" -logfile notifier.log \
    -siptrace notifier.sip
await "the capability file" test -s imslinkevd.cap
cat imslinkevd.cap

say "two subscribers find it through its capability file, one over UDP, one over TCP"
start over_udp "$bin/imswatch" kiv-link-event --transport udp --siptrace over_udp.sip
start over_tcp "$bin/imswatch" kiv-link-event --transport tcp --siptrace over_tcp.sip
up='active.*dev0 is up, operational  ip 192\.0\.2\.1  mac 02:00:00:00:00:01  access IEEE 802\.3 over dev0  profile demo'
down='active.*dev0 is down, admin-down  ip 192\.0\.2\.1  mac 02:00:00:00:00:01'
expect_both "$up" 0

say "the link goes down"
ip link set dev0 down
expect_both "$down" 0

say "the link comes back"
ip link set dev0 up
expect_both "$up" 1

. "$here/telephony.sh"

if [ $keep = yes ]; then
    trap - EXIT
    say "everything is left running, in $dir"
    echo "look:  sudo nsenter --target $notifier --net --wd=$dir $bin/imswatch kiv-link-event"
    echo "       sudo nsenter --target $notifier --net ip link set dev0 down"
    echo "end:   sudo kill ${pids[*]}; sudo rm -rf $dir"
    exit 0
fi

say "the end: the subscribers leave, the daemons are told to stop"
stop over_udp INT
stop over_tcp INT
for who in over_udp over_tcp; do
    line_of "$who" 'terminated \(timeout\)' > /dev/null || fail "$who got no final NOTIFY"
done
stop agent TERM $((128 + 15)) # an agent without an end of its own ends by the signal
[ ! -e telephony_agent.sock ] || fail "the agent's socket is left"
stop notifier TERM
stop framework TERM
[ -s imslinkevd.cap ] || fail "the capability file is gone"

say "the messages"
"$bin/imsladder" --width 120 --svg ladder.svg notifier.sip over_udp.sip over_tcp.sip
"$bin/imsladder" --width 120 --svg telephony-ladder.svg agent.sip
"$bin/telephony_agent" -stategraph | dot -Tsvg -o telephony-agent.svg
for picture in ladder telephony-ladder telephony-agent; do
    grep -q '</svg>' $picture.svg || fail "$picture.svg is no picture"
done
if [ -n "$pictures" ]; then
    cp ./*.svg "$pictures"
    say "pictures: $pictures/ladder.svg and telephony-ladder.svg, what went over SIP; telephony-agent.svg, the agent's states"
fi
passed=yes
say "everything expected arrived"
