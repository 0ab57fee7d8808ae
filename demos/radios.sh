#!/usr/bin/env bash
# The switch and its radios: a loss, a short restart, a long one, and a daemon that is killed in between.
here=$(dirname "$0")
. "$here/lib.sh"
export PELAGO_DEVICE=blue-phone

# client: a client of its own process that writes down what it is told.
client() {
    : >"$work/heard" # what an earlier one heard must not pass for this one's
    pelago -j watch --client >>"$work/heard" 2>"$work/client.err" &
    client=$!
    soon told 0
}

# told COUNT: so many changes of the switch reached the client, behind the call that greets it.
told() {
    [ "$(grep -c OnEnableStatusChanged "$work/heard")" -eq $(($1 + 1)) ]
}

# read_on: reads the state file again and again. An empty one is being written and says nothing.
read_on() {
    trap - EXIT
    while [ -d "$work" ]; do
        numbers switch.cfg 100 | grep . >>"$work/read" || true
        sleep 0.01
    done
}

say "A phone with quick radios, sharing with everybody nearby, and a client that watches"
pelago up --name "Blue phone"
do_it pelago sim slow all 50
client
do_it pelago on
soon told 1
kept switch.cfg 100 "1 2 0"

say "Wi-Fi is lost: sharing goes off, the client hears of it, and what was on is kept for later"
do_it pelago sim wifi off
so switch.enableState=2
soon told 2
soon holds switch.cfg 100 "2 0 0"
kept switch.cfg 100 "2 0 0"
kept switch_recover.cfg 100 "1 2"

say "Wi-Fi returns, and sharing with it, as it was"
do_it pelago sim wifi on
so switch.enableState=1 switch.detectableType=2
soon told 3
soon holds switch.cfg 100 "1 2 0"

say "Bluetooth restarts itself, and is back within three seconds: the client hears both, the state file shows nothing"
do_it pelago sim slow away 2500
read_on &
reader=$!
do_it pelago sim bluetooth restart
so switch.enableState=2 switch.bluetoothSelfHealing=true
kept switch.cfg 100 "1 2 0"
so switch.enableState=1 switch.bluetoothSelfHealing=false
soon told 5
kept switch.cfg 100 "1 2 0"
kill "$reader"
wait "$reader" || true # it was told to end
[ "$(sort -u "$work/read" | xargs)" = "1 2 0" ] || fail "whoever read the file saw: $(sort -u "$work/read")"
echo "  who read the file all the while saw $(wc -l <"$work/read") times the same"

say "Bluetooth goes again and stays away: after three seconds the off is real"
do_it pelago sim bluetooth restart away
so switch.enableState=2
kept switch.cfg 100 "1 2 0"
so switch.bluetoothSelfHealing=false
soon holds switch.cfg 100 "2 0 0"
kept switch.cfg 100 "2 0 0"
kept switch_recover.cfg 100 "1 2"
soon told 6

say "The daemon is killed in that state; the client notices"
pid=$(pelago -j sim show | sed 's/.*"pid":\([0-9]*\).*/\1/')
do_it kill -9 "$pid"
wait "$client" && fail "the client ends as if all were well"
grep -q "the device has gone" "$work/client.err" || fail "the client says why it ends"

say "It starts again on the same device: Bluetooth is still away, sharing still off"
do_it pelago up --name "Blue phone"
so device.radios.bluetoothMode=off switch.enableState=2 switch.recoverState=1
client

say "Bluetooth is back, and sharing comes with it"
do_it pelago sim bluetooth on
so switch.enableState=1 switch.detectableType=2
soon told 1
soon holds switch.cfg 100 "1 2 0"

say "Nobody was asked anything"
logged "Dialog() enter" && fail "a dialog was shown"
do_it pelago status
pelago down
wait "$client" || true # the device has gone
