# Completions of slicewise for bash.

_slicewise() {
    local cur prev words cword split
    _init_completion -s || return

    case $prev in
        --root)
            _filedir -d
            return
            ;;
        --snapshot)
            _filedir png
            return
            ;;
        --idiom)
            mapfile -t COMPREPLY < <(compgen -W 'phone pad' -- "$cur")
            return
            ;;
        --size)
            mapfile -t COMPREPLY < <(compgen -W '390x844 820x1180 1024x720' -- "$cur")
            return
            ;;
    esac
    $split && return

    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '--help -h --version --root --one-file-system -x --read-only
            --allow-delete --quiet -q --idiom --dark --light --snapshot --size' -- "$cur")
        return
    fi
    _filedir -d
} && complete -F _slicewise slicewise
