# The telephony chapter of the demo's story, sourced by story.sh: a telephony controller registers a line with an agent
# that is written as tables. Requests, SIP requests and framework text are transitions of the same machine.
# shellcheck shell=bash disable=SC2154 # here, bin, syncport and asyncport are story.sh's

# Writes a value into the configuration store, as any agent could (docs/framework-protocol.md).
set_value() { # document path value
    local request length answer
    request=$(printf 'SET %s\n%s\n%s' "$@")
    exec 3<> "/dev/tcp/127.0.0.1/$syncport"
    printf '%d\n%s' ${#request} "$request" >&3
    read -r -t "$patience" length <&3 && read -r -t "$patience" -n "$length" answer <&3
    exec 3>&-
    [ "$answer" = 1 ] || fail "the framework daemon answered '$answer'"
}

# A SIP MESSAGE from the network to the agent.
message() { # text
    local port status
    port=$(sed -n 's/^Contact:.*:\([0-9]*\)>.*/\1/p' telephony_agent.cap)
    exec 3<> "/dev/tcp/127.0.0.1/$port"
    printf '%s\r\n' "MESSAGE sip:telephony_agent@127.0.0.1:$port SIP/2.0" \
        "Via: SIP/2.0/TCP 127.0.0.1;rport;branch=z9hG4bK-$1" 'Max-Forwards: 70' \
        'From: <sip:network@127.0.0.1>;tag=1' "To: <sip:telephony_agent@127.0.0.1:$port>" \
        "Call-ID: $1@127.0.0.1" 'CSeq: 1 MESSAGE' 'Content-Type: text/plain' "Content-Length: ${#1}" '' >&3
    printf '%s' "$1" >&3
    read -r -t "$patience" status <&3
    exec 3>&-
    echo "MESSAGE '$1': ${status%$'\r'}"
    [ "${status%$'\r'}" = "SIP/2.0 200 OK" ] || fail "the agent refused '$1'"
}

shown=0 # lines of the controller's output
show_controller() {
    tail -n "+$((shown + 1))" controller.txt
    shown=$(wc -l < controller.txt)
}
await_state() { # name count: the controller was told so often
    await "the state $1" has_new controller "  $1\$" $(($2 - 1))
    show_controller
}

say "an agent for a telephony controller, written as tables"
start agent "$bin/telephony_agent" -fwksyncport "$syncport" -fwkasyncport "$asyncport" -logfile agent.log \
    -siptrace agent.sip
await "the agent's socket" test -S telephony_agent.sock

say "the controller connects both channels, says hello, and registers a line"
start controller "$bin/imstac" telephony_agent --script "$here/controller.tac" --strict --record controller.record
await_state registering 1

say "the network agrees"
message registered
await_state registered 2 # once unasked, once when it asked

say "the line's configuration changes: the agent registers it again"
set_value config /config/line/user bob
await_state registering 2

say "the network refuses, and the controller gives up"
message refused
wait "$controller" || fail "the controller ended with $?"
show_controller
