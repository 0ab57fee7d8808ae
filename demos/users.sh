#!/usr/bin/env bash
# Whose switch it is: first use, set-up, a private space, two users, a locked one.
here=$(dirname "$0")
. "$here/lib.sh"
export PELAGO_DEVICE=blue-phone

# front_end OPTION ANSWER: an extension that answers one dialog as told.
front_end() {
    : >"$work/front-end" # what an earlier one said must not pass for this one's
    pelago extension "$@" --once 2>>"$work/front-end" &
    front_end=$!
    soon grep -q "ready" "$work/front-end"
}

# answered DIALOG: it was shown, and the extension has ended well.
answered() {
    wait "$front_end" || fail "the extension answers"
    sed -n 's/^dialog/  dialog/p' "$work/front-end"
    grep -q "^dialog: $1" "$work/front-end" || fail "this dialog is shown: $1"
}

say "A phone whose owner never made a choice"
pelago up --name "Blue phone"
so switch.user=100 switch.enableState=0

say "The owner switches sharing on for the first time, is asked, and agrees"
front_end --first-use agree
do_it pelago on --ask
answered "share with devices nearby"
so switch.enableState=1 switch.detectableType=2 switch.accountPermission=1
soon holds switch.cfg 100 "1 2 1"

say "With Bluetooth off, whoever switches sharing on is asked before it is started: first no, then yes"
do_it pelago sim slow all 50
do_it pelago sim bluetooth off
so switch.enableState=2
front_end --confirm decline
do_it pelago on --ask
answered "switch on Wi-Fi and Bluetooth"
so device.radios.bluetoothMode=off switch.enableState=2 switch.enabling=false
front_end --confirm agree
do_it pelago on --ask
answered "switch on Wi-Fi and Bluetooth"
so switch.enableState=1 device.radios.bluetoothMode=ble

say "A new user comes to the front while the set-up is in progress: the owner's sharing ends, nothing else begins"
do_it pelago sim user add 101
do_it pelago sim user unlock 101
do_it pelago sim user switch 101
so switch.user=101 switch.enableState=0
[ -z "$(numbers switch.cfg 101)" ] || fail "the new user has made no choice"

say "An update interrupts the set-up; at its end the user agrees, and sharing is on without a dialog"
do_it pelago sim oobe ota start
soon logged "Ota activated"
so switch.enableState=0
do_it pelago sim oobe finish agree
so switch.enableState=1 switch.detectableType=2
soon holds switch.cfg 101 "1 2 1"

say "Another new user declines: sharing stays at first use"
do_it pelago sim user add 102
do_it pelago sim user unlock 102
do_it pelago sim user switch 102
so switch.user=102 switch.enableState=0
do_it pelago sim oobe finish decline
soon logged "RejectEnhanceOobeEvent invoked"
so switch.enableState=0

say "This user is asked when switching sharing on, and declines again"
front_end --first-use decline
do_it pelago on --ask
answered "share with devices nearby"
so switch.enableState=0
[ -z "$(numbers switch.cfg 102)" ] || fail "who declines has made no choice"

say "A private space whose user agreed at set-up: on, and nobody is asked"
do_it pelago sim user add 103 private-space
do_it pelago sim oobe finish agree --user 103
do_it pelago sim user unlock 103
do_it pelago sim user switch 103
so switch.user=103 switch.enableState=1 switch.detectableType=2
soon holds switch.cfg 103 "1 2 1"

say "Two users with different states: each finds the own one again"
do_it pelago sim user switch 100
so switch.user=100 switch.enableState=1
do_it pelago off
soon holds switch.cfg 100 "2 0 1"
do_it pelago sim user switch 101
so switch.user=101 switch.enableState=1
do_it pelago sim user switch 100
so switch.user=100 switch.enableState=2
kept switch.cfg 100 "2 0 1"
kept switch.cfg 101 "1 2 1"

say "A locked user is not taken up before the lock is opened"
do_it pelago sim user lock 101
do_it pelago sim user switch 101
soon logged "switchToUserId 101 not verified"
so switch.user=100 switch.enableState=2
do_it pelago sim user unlock 101
so switch.user=101 switch.enableState=1

say "What cannot be is answered"
for words in "user switch 999" "user remove 101" "user add 101" "user add -1" "user add 99999999999" "user add 200 king" \
    "oobe finish agree --user 999" "wifi sideways" "bluetooth restart twice" "focus nobody" "slow all never"; do
    # shellcheck disable=SC2086 # the words of one command
    pelago sim $words 2>"$work/refused" && fail "pelago sim $words is refused"
    echo "  pelago sim $words: $(head -n 1 "$work/refused")"
done

pelago down
