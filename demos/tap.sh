#!/usr/bin/env bash
# Two devices touch: the good story, and each way in which a tap can fail. They are told side by side, since the
# service lets each failure stand for a while before it is shown.
here=$(dirname "$0")
. "$here/lib.sh"

mkdir "$work/card"
head -c 200K /dev/urandom >"$work/card/ada.vcf"

# application DEVICE [OPTION...]: one in focus that wants knocks.
application() {
    local id=$1
    shift
    start "$id-app" pelago -d "$id" app --bundle com.example.contacts --on-knock "$work/card/ada.vcf" "$@"
    hear "$id-app" "ready"
    do_it pelago -d "$id" sim focus com.example.contacts
}

# over SENDER RECEIVER: neither is in a tap any more.
over() {
    do_it pelago -d "$1" wait-for state tap.preparing=false
    do_it pelago -d "$2" wait-for state tap.delivering=false
}

# under_way SENDER RECEIVER
under_way() {
    do_it pelago -d "$1" wait-for state tap.preparing=true
    do_it pelago -d "$2" wait-for state tap.delivering=true
}

# unanswered SENDER RECEIVER: a tap between two new devices is under way, and the application lets it wait.
unanswered() {
    pair "$1" "$2"
    application "$1" --no-answer
    do_it pelago -d "$1" tap "$2"
    hear "$1-app" "knock"
    under_way "$1" "$2"
}

a_card_is_handed_over() {
    say "A tap hands a card over, and both sides see it end"
    pair anna-phone anna-tablet
    application anna-phone
    start anna-watch pelago -d anna-phone watch
    hear anna-watch "switch: on"
    do_it pelago -d anna-phone tap anna-tablet
    hear anna-phone-app "knock"
    hear anna-phone-app "answered the knock"
    hear anna-tablet-front "received"
    same_files "$work/card" "$work/anna-tablet"
    hear anna-watch "UI_CorvaneShare_Send, state 2"
    over anna-phone anna-tablet
}

no_application_wants_it() {
    say "No application wants the tap (1203)"
    pair ben-phone ben-tablet
    refused 1 pelago -d ben-phone tap ben-tablet
    hear ben-tablet-front "the tap failed, error 1203"
    over ben-phone ben-tablet
}

the_peer_is_off() {
    say "Sharing is off on the other device (1207)"
    pair cleo-phone cleo-tablet
    application cleo-phone
    do_it pelago -d cleo-tablet off
    do_it pelago -d cleo-phone tap cleo-tablet
    hear cleo-phone-front "the tap failed, error 1207"
    hear cleo-tablet-front "dialog: a tap needs sharing"
    over cleo-phone cleo-tablet
}

sharing_is_off_here() {
    say "Sharing is off on this device: the user is asked to switch it on"
    pair dora-phone dora-tablet
    application dora-phone
    do_it pelago -d dora-phone off
    do_it pelago -d dora-phone tap dora-tablet
    hear dora-phone-front "dialog: a tap needs sharing"
    do_it pelago -d dora-phone wait-for state tap.preparing=false
}

the_device_is_busy() {
    say "Something is being sent to the other device already (1206)"
    up_with_front_end emma-phone
    up_with_front_end emma-tablet --offers ignore
    do_it pelago -d emma-phone on
    do_it pelago -d emma-tablet on
    application emma-phone
    start emma-send pelago -d emma-phone send --to emma-tablet "$work/card/ada.vcf"
    hear emma-tablet-front "offers"
    do_it pelago -d emma-phone tap emma-tablet
    hear emma-phone-front "the tap failed, error 1206"
    do_it pelago -d emma-phone wait-for state tap.preparing=false
}

nothing_happens() {
    say "The application does not answer: the tap times out; another tap meanwhile finds the device busy"
    unanswered fred-phone fred-tablet
    refused 1 pelago -d fred-phone tap fred-tablet
    start fred-watch pelago -d fred-tablet watch
    hear fred-watch "shareBusy"
    hear fred-phone-front "the tap failed, error 0"
    over fred-phone fred-tablet
}

sharing_goes_off_in_the_middle() {
    say "The radio goes in the middle of a tap, and sharing with it"
    unanswered gina-phone gina-tablet
    do_it pelago -d gina-phone sim wifi off
    do_it pelago -d gina-phone wait-for off
    hear gina-phone-front "the tap failed, error 0"
    over gina-phone gina-tablet
}

one_device_dies_in_the_middle() {
    say "The other device is killed in the middle of a tap"
    unanswered hugo-phone hugo-tablet
    do_it kill -KILL "$(device_pid hugo-tablet)"
    hear hugo-phone-front "the tap failed, error"
    do_it pelago -d hugo-phone wait-for state tap.preparing=false
    do_it pelago -d hugo-phone status
}

tell a_card_is_handed_over no_application_wants_it the_peer_is_off sharing_is_off_here the_device_is_busy \
    nothing_happens sharing_goes_off_in_the_middle one_device_dies_in_the_middle

say "The devices go down"
do_it pelago down --all
