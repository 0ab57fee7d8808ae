#!/usr/bin/env bash
# A gesture takes something off the screen of one device and puts it onto another: three stories, side by side.
here=$(dirname "$0")
. "$here/lib.sh"

mkdir "$work/photos"
head -c 3M /dev/urandom >"$work/photos/beach.jpg"

the_application_in_focus_answers() {
    say "A focused application answers the gesture, and its file goes to the device that the hand points at"
    pair anna-phone anna-tablet
    start anna-photos pelago -d anna-phone app --bundle com.example.photos --on-gesture "$work/photos/beach.jpg"
    hear anna-photos "ready"
    do_it pelago -d anna-phone sim focus com.example.photos
    do_it pelago -d anna-phone swing --at anna-tablet
    hear anna-photos "gesture"
    hear anna-photos "answered the gesture"
    hear anna-phone-front "dialog: send it to anna-tablet?"
    do_it pelago -d anna-phone swing confirm
    hear anna-tablet-front "received"
    same_files "$work/photos" "$work/anna-tablet"
    do_it pelago -d anna-phone wait-for state gesture.cacheType=0
}

the_gesture_waits_for_an_application() {
    say "No application is ready: the gesture waits, an application registers, and the gesture is played again"
    pair ben-phone ben-tablet
    do_it pelago -d ben-phone swing --at ben-tablet
    do_it pelago -d ben-phone wait-for state gesture.gesture=0
    start ben-photos pelago -d ben-phone app --bundle com.example.photos --on-gesture "$work/photos/beach.jpg"
    hear ben-photos "gesture"
    do_it pelago -d ben-phone wait-for state gesture.gesture=-1
    hear ben-phone-front "dialog: send it to ben-tablet?"
    do_it pelago -d ben-phone swing confirm
    hear ben-tablet-front "received"
    same_files "$work/photos" "$work/ben-tablet"
}

the_target_takes_no_bytes() {
    say "The target cannot take bytes, and the user is told (1222)"
    pair cleo-phone cleo-watch --type watch --no-bytes
    start cleo-notes pelago -d cleo-phone app --bundle com.example.notes --on-gesture --text "buy milk" --bytes
    hear cleo-notes "ready"
    do_it pelago -d cleo-phone sim focus com.example.notes
    do_it pelago -d cleo-phone swing --at cleo-watch
    hear cleo-notes "answered the gesture"
    hear cleo-phone-front "error 1222"
    start cleo-watch-of-phone pelago -d cleo-phone watch
    hear cleo-watch-of-phone '"connectErrCode":1222'
    do_it pelago -d cleo-phone wait-for state gesture.cacheType=0
}

tell the_application_in_focus_answers the_gesture_waits_for_an_application the_target_takes_no_bytes

say "The devices go down"
do_it pelago down --all
