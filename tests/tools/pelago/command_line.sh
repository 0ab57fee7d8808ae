#!/usr/bin/env bash
# The command line as a shell meets it. With pelago and trellisd on the PATH; DOCS is where the documents are.
set -uo pipefail
PELAGO_HOME=$(mktemp -d "${TMPDIR:-/tmp}/pelago-words.XXXXXX")
export PELAGO_HOME
unset PELAGO_DEVICE
trap 'pelago down --all; rm -rf "$PELAGO_HOME"; exit $failures' EXIT
failures=0

wrong() {
    echo "WRONG: $*" >&2
    failures=1
}

# ends CODE TEXT COMMAND...: the command ends so, and says that.
ends() {
    local said code=0
    said=$("${@:3}" 2>&1) || code=$?
    [ "$code" -eq "$1" ] && [[ $said == *"$2"* ]] || wrong "${*:3}: $code, $said"
}

# completed "WORDS" AS_TYPED...: what is offered for the last word.
source <(pelago completion bash)
completed() {
    COMP_WORDS=(pelago "${@:2}") COMP_CWORD=$(($# - 1))
    _pelago_complete
    [ "${COMPREPLY[*]}" = "$1" ] || wrong "completed ${*:2}: ${COMPREPLY[*]}"
}

# documented PROGRAM VERB OPTION...: the document's paragraph of it names each of these.
documented() {
    local paragraph option
    paragraph=$(awk -v RS= "/\\*\\*\`$1[\` ]/" "$DOCS/cli.md")
    for option in "${@:2}"; do
        case $option in -? | --help | --device | --json) continue ;; esac # said once, for every verb
        [[ $paragraph == *"$option"* ]] || wrong "cli.md does not say: $1 $option"
    done
    [ -n "$paragraph" ] || wrong "cli.md does not say: $1"
}

# Every verb and every option has help, a manual, and a place in the document.
verbs=($(pelago man | sed -n 's/^\.SS pelago \([a-z\-]*\).*/\1/p' | tr -d '\\'))
[ ${#verbs[@]} -gt 20 ] || wrong "the manual has these verbs alone: ${verbs[*]}"
for verb in "${verbs[@]}"; do
    ends 0 "usage: pelago $verb" pelago "$verb" --help
    documented "pelago $verb" $(_pelago_options "$verb")
done
source <(trellisd --completion)
documented trellisd $(_trellisd_options "")

# An error says what, why, and what to type next.
ends 2 "pelago --help" pelago
ends 2 "there is no verb 'sned'" pelago sned
ends 2 "there is no option '--tpye'; see: pelago up --help" pelago up --tpye phone
ends 2 "there is no option '--bogus'" trellisd --bogus
ends 2 "'always' is not one of: hidden, timed, lasting, swing" pelago on --type always
ends 5 "pelago up --name" pelago on
ends 0 "blue-phone" pelago up
ends 1 "is running already" pelago up
ends 5 "pelago -d blue-phone ..." pelago -d red on
ends 1 "sharing is off; switch it on with: pelago on" pelago nearby
ends 9 "cannot send '/dev/null/x'" pelago send /dev/null/x --to a
ends 2 "there is no section 'swich'; there are: " pelago wait-for state swich.user=1
ends 2 "there is no key 'usr' in 'switch'; there are: enableState" pelago wait-for state switch.usr=1
ends 2 "'enableState' is a number and will never be 'one'" pelago wait-for state switch.enableState=one
ends 0 "" pelago wait-for off --timeout 0 # it was never on
ends 0 "pelago sim tap knock" pelago sim
ends 2 "usage: pelago sim tap knock" pelago sim tap nock
ends 0 '"enableState":1' pelago -j on

completed "watch wait-for" wa
completed "blue-phone" -d ""
completed "phone pc" up --type p
completed "tablet tv" up --type = t
completed 'Blue\ phone' -j send a --to Bl
completed "state" wait-for --timeout 3 st
completed "none refuse stuck" sim wifi fail ""
completed "--once" app --on-knock a b --onc

ends 0 "red-b" pelago up --name 'Red$(b)"'
ends 2 "pelago -d red-b ..." pelago off
completed 'Red\$(b)\"' send a --to '"R' # and runs nothing
