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
    pelago down --all >/dev/null 2>&1 || true
    if [ "$code" -ne 0 ]; then
        echo "the demo failed; what the devices said:" >&2
        tail -n 15 "$PELAGO_HOME"/state/devices/*/log >&2 || true
    fi
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

# device NAME [ACCOUNT]: starts a device whose offers are taken by an extension that the device starts itself.
device() {
    local id
    id=$(pelago up --name "$1" ${2:+--account "$2"})
    mkdir -p "$work/$id"
    pelago -d "$id" sim command com.corvane.velos.pelago "$(command -v pelago)" receive --dir "$work/$id"
    echo "$id: up"
}

# Both folders hold the same bytes under the same names.
same_files() {
    (cd "$1" && sha256sum -- *) >"$work/sent.sums"
    (cd "$2" && sha256sum --quiet --check "$work/sent.sums") && echo "digests agree: $(wc -l <"$work/sent.sums") files"
}
