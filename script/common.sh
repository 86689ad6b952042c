# shellcheck shell=bash
# What the scripts share: the root of the repository, the list of its own files, quiet commands.
# Sourced, never run.

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck disable=SC2034 # read by the scripts that source this file
jobs=$(nproc)

# What one preset has compiled the others take where their flags are the same (dev and engine), and so does another
# checkout: ccache is to see paths relative to the root.
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
# Seven builds of everything: by its own limit it would throw the first away for the last.
export CCACHE_MAXSIZE=${CCACHE_MAXSIZE:-15G}

# fail SENTENCE...: says why on the error stream and ends the script.
fail() {
    printf '%s\n' "${0##*/}: $*" >&2
    exit 1
}

# own_files PATTERN...: our files whose names match one of the patterns (*.cpp), each ended by a NUL, relative to
# the root. Files that git ignores are not ours; without git (a bare machine, an unpacked archive) everything
# outside build/ is. The repository may belong to another user, as it does where a container mounts it.
own_files() {
    local -a git=(git -C "$root" -c safe.directory='*')
    if [ -e "$root/.git" ] && command -v git >/dev/null; then
        "${git[@]}" ls-files -z --cached --others --exclude-standard -- "$@"
    else
        local -a names=(-false)
        local pattern
        for pattern in "$@"; do
            names+=(-o -name "$pattern")
        done
        (cd "$root" && find . \( -path ./build -o -path ./.git \) -prune -o -type f \( "${names[@]}" \) -printf '%P\0')
    fi | sort -z | while IFS= read -r -d '' file; do
        # A file that was removed and not yet committed is still in git's list.
        if [ -f "$root/$file" ]; then
            printf '%s\0' "$file"
        fi
    done
}

# quietly LOG COMMAND...: runs the command with its output in the file; on failure shows it on the error stream.
quietly() {
    local log=$1
    shift
    mkdir -p "$(dirname "$log")"
    if ! "$@" >"$log" 2>&1; then
        cat "$log" >&2
        return 1
    fi
}
