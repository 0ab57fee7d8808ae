#!/usr/bin/env bash
# The main job: a file goes from one device to another, then to a contact with two devices.
here=$(dirname "$0")
. "$here/lib.sh"

say "Two devices come up, each a process of its own"
device "Blue phone"
device "Green tablet"

say "Both switch sharing on"
do_it pelago -d blue-phone on
do_it pelago -d green-tablet on
do_it pelago -d blue-phone status

say "The phone discovers the tablet"
do_it pelago -d blue-phone nearby --for 1

say "A client of the phone sends a file of 64 MiB and three small ones; the tablet starts its extension, which takes them"
mkdir "$work/out"
head -c 64M /dev/urandom >"$work/out/film.bin"
for i in 1 2 3; do
    echo "small file $i" >"$work/out/note-$i.txt"
done
do_it pelago -d blue-phone send --to "Green tablet" "$work"/out/*
same_files "$work/out" "$work/green-tablet"

say "A contact with two devices: the first that begins to receive wins, the other is cancelled"
pelago contact account-of-ana --id 7 --name "Ana"
device "Ana phone" account-of-ana
device "Ana watch" account-of-ana
do_it pelago -d ana-phone on
do_it pelago -d ana-watch on
do_it pelago -d blue-phone send --to "Ana" "$work"/out/*
winners=0
for id in ana-phone ana-watch; do
    if [ -e "$work/$id/film.bin" ]; then
        winners=$((winners + 1))
        echo "$id has won"
        same_files "$work/out" "$work/$id"
    elif [ -n "$(ls -A "$work/$id")" ]; then
        echo "$id kept something of a cancelled transfer" >&2
        exit 1
    fi
done
[ "$winners" -eq 1 ]

say "The telemetry of the attempt"
do_it pelago -d blue-phone events

say "The devices go down"
do_it pelago down --all
