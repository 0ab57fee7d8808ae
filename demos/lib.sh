# What the demos share. Sourced, not run: needs pelago and trellisd on the PATH.
set -euo pipefail

# A home of its own, so that a demo meets no other device; everything is gone afterwards.
PELAGO_HOME=$(mktemp -d "${TMPDIR:-/tmp}/pelago-demo.XXXXXX")
export PELAGO_HOME
unset PELAGO_DEVICE
work=$PELAGO_HOME/files
mkdir -p "$work"

finish() {
    local code=$?
    if [ "$code" -ne 0 ]; then
        echo "the demo failed; what the devices said:" >&2
        tail -n 15 "$PELAGO_HOME"/state/devices/*/log >&2 || true
    fi
    pelago down --all >/dev/null 2>&1 || true
    [ ! -e "$work/pids" ] || xargs kill <"$work/pids" 2>/dev/null || true
    rm -rf "$PELAGO_HOME"
    exit "$code"
}
trap finish EXIT

say() {
    printf '\n== %s\n' "$*"
}

# Shows a command, then runs it.
do_it() {
    printf '$ %s\n' "$*"
    "$@"
}

# refused CODE COMMAND...: shows a command that is to end with this exit code, and runs it.
refused() {
    local wanted=$1 code=0
    shift
    printf '$ %s\n' "$*"
    "$@" || code=$?
    [ "$code" -eq "$wanted" ] || fail "it ended with $code, not $wanted"
}

fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

# so CONDITION...: waits until the device's state, as `pelago -j watch` shows it, is so: switch.enableState=1
so() {
    local condition
    for condition in "$@"; do
        pelago wait-for state "$condition" --timeout 10 || fail "$condition"
        echo "  $condition"
    done
}

# soon COMMAND...: waits until a command succeeds. For what no device tells: files and processes.
soon() {
    local tries
    for ((tries = 0; tries < 200; tries++)); do
        "$@" && return 0
        sleep 0.05
    done
    fail "$@"
}

# The numbers in a file of a user of the device in $PELAGO_DEVICE: switch.cfg or switch_recover.cfg.
numbers() {
    local file=$PELAGO_HOME/state/devices/$PELAGO_DEVICE/data/service/el2/$2/pelago/$1
    [ -e "$file" ] && od -An -td4 "$file" | xargs
}

# holds FILE USER NUMBERS: the user's file is that.
holds() {
    [ "$(numbers "$1" "$2")" = "$3" ]
}

# kept FILE USER NUMBERS: the same, checked and shown.
kept() {
    holds "$@" || fail "$1 of user $2 holds $3, but: $(numbers "$1" "$2")"
    echo "  $1 of user $2: $3"
}

# logged TEXT: the service of the device said so, in this life or an earlier one.
logged() {
    grep -q "$1" "$PELAGO_HOME/state/devices/$PELAGO_DEVICE/log"
}

# device NAME [ACCOUNT]: starts a device whose offers are taken by an extension that the device starts itself.
device() {
    local id
    id=$(pelago up --name "$1" ${2:+--account "$2"})
    mkdir -p "$work/$id"
    pelago -d "$id" sim command com.corvane.velos.pelago "$(command -v pelago)" receive --dir "$work/$id"
    echo "$id: up"
}

# up_with_front_end NAME [OPTION...]: a device with a front end that is there from the start. It shows what the service
# starts (dialogs, notifications, offers) as lines of `hear NAME-front`; it takes offers, and leaves dialogs to the demo.
# --type and --no-bytes are the device's, the rest is the front end's.
up_with_front_end() {
    local id=$1 of_device=()
    shift
    while [ $# -gt 0 ]; do
        case $1 in
            --no-bytes) of_device+=("$1"); shift ;;
            --type) of_device+=("$1" "$2"); shift 2 ;;
            *) break ;;
        esac
    done
    do_it pelago up --name "$id" "${of_device[@]}"
    mkdir -p "$work/$id"
    start "$id-front" pelago -d "$id" extension --dir "$work/$id" --confirm ignore "$@"
    hear "$id-front" "ready"
}

# pair SENDER RECEIVER [OPTION...]: two devices that share, each with its front end; options are the receiver's.
pair() {
    local sender=$1 receiver=$2
    shift 2
    up_with_front_end "$sender"
    up_with_front_end "$receiver" "$@"
    do_it pelago -d "$sender" on
    do_it pelago -d "$receiver" on
}

# device_pid ID: the daemon's.
device_pid() {
    pelago -j -d "$1" sim show | sed -E 's/.*"pid":([0-9]+),"radios".*/\1/'
}

# start NAME COMMAND...: runs it in the background until the demo ends; what it says is heard by `hear NAME`.
start() {
    local name=$1
    shift
    printf '$ %s &\n' "$*"
    exec {hearing[$name]}< <(exec "$@" 2>&1)
    echo $! >>"$work/pids"
}
declare -A hearing said

# hear NAME TEXT [SECONDS]: waits until NAME says a line with TEXT, behind what was heard of it before.
hear() {
    local line end=$((SECONDS + ${3:-20}))
    while [ "$SECONDS" -lt "$end" ] && IFS= read -r -t $((end - SECONDS)) line <&"${hearing[$1]}"; do
        said[$1]+="  $line"$'\n'
        if [[ $line == *"$2"* ]]; then
            printf '%s: %s\n' "$1" "$line"
            return 0
        fi
    done
    printf '%s never said "%s"; it said:\n%s' "$1" "$2" "${said[$1]:-}" >&2
    return 1
}

# Both folders hold the same bytes under the same names.
same_files() {
    (cd "$1" && sha256sum -- *) >"$2.sums"
    (cd "$2" && sha256sum --quiet --check "$2.sums") && echo "digests agree: $(wc -l <"$2.sums") files"
}

# tell STORY...: plays stories side by side, each a function, and shows them one after the other. All must come true.
tell() {
    local story pids=() failed=()
    for story in "$@"; do
        (trap - EXIT; "$story") >"$work/$story.story" 2>&1 &
        pids+=($!)
    done
    for story in "$@"; do
        wait "${pids[0]}" || failed+=("$story")
        pids=("${pids[@]:1}")
        cat "$work/$story.story"
    done
    [ "${#failed[@]}" -eq 0 ] || fail "${failed[*]}"
}
