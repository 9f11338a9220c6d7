# Sourced by run, test and .ci/run: named steps, and one plain sentence when one of them fails.
#
# The one who sources it sets "program", the name under which it speaks.
# shellcheck shell=bash

set -Eeuo pipefail
export LC_ALL=C.UTF-8

# So that the compiler's cache serves every clone of the tree, wherever it lies.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1

current_step="looking for its own directory"
trap 'say_what_failed' ERR

say_what_failed() {
    trap - ERR
    printf '\n%s: it failed while %s.\n' "${program:?}" "$current_step" >&2
}

# step TEXT COMMAND...: says TEXT, such as "building the service", and runs the command.
step() {
    current_step=$1
    shift
    printf -- '-- %s\n' "$current_step"
    "$@"
}

# quietly COMMAND...: runs the command and shows what it wrote only when it fails.
quietly() {
    local log status=0
    log=$(mktemp)
    "$@" >"$log" 2>&1 || status=$?
    ((status == 0)) || cat "$log" >&2
    rm -f "$log"
    return "$status"
}
