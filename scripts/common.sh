# What the scripts share. Sourced with the repository's root as the working directory.

say() { printf '==> %s\n' "$*"; }
fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

# Whoever calls a script as root in a tree of his own would leave root's files in it: install as root, then go
# on as the owner of the tree.
continue_as_owner() {
    local owner
    owner=$(stat -c %U .)
    if [ "$(id -u)" -eq 0 ] && [ "$owner" != root ] && [ "$owner" != UNKNOWN ]; then
        exec runuser -u "$owner" -- "$@"
    fi
}

# quietly LOGFILE COMMAND...: runs the command with its output in the file, and shows the file when it fails.
quietly() {
    local log=$1
    shift
    mkdir -p "$(dirname "$log")"
    if ! "$@" >"$log" 2>&1; then
        tail -n 200 "$log" >&2
        fail "failed: $* (the whole output is in $log)"
    fi
}
