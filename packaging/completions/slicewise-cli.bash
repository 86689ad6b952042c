# Completions of slicewise-cli for bash.

# _slicewise_cli_offer TYPED WORD...: the words that begin so.
_slicewise_cli_offer() {
    local IFS=$'\n' typed=$1
    shift
    # Quoted as file names are: they have spaces in them.
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -W "$(printf '%q\n' "$@")" -- "$typed")
}

_slicewise_cli_categories() {
    _slicewise_cli_offer "$1" \
        'Application Data' Applications Books 'Cydia Data' 'Cydia Packages' 'Developer Partition' Downloads Logs \
        'Message Attachments' Messages 'Operating System' Others Photos ROMs Recordings 'Temporary Data' \
        'User Library' iTunes
}

# Those below which something may be deleted. None goes as a whole, so the path goes on behind the "/".
_slicewise_cli_deletable() {
    compopt -o nospace 2>/dev/null
    _slicewise_cli_offer "$1" 'Application Data/' Applications/ 'Cydia Packages/' Logs/ 'Message Attachments/' \
        Others/ Photos/ ROMs/ 'Temporary Data/'
}

_slicewise_cli() {
    local cur prev words cword split
    _init_completion -s || return

    local command='' word before=''
    for word in "${words[@]:1:cword-1}"; do
        # What an option takes is no command.
        case $before in
            --root | --path | --depth | --top)
                before=
                continue
                ;;
        esac
        before=$word
        case $word in
            scan | classify | delete)
                command=$word
                break
                ;;
        esac
    done

    case $prev in
        --root)
            _filedir -d
            return
            ;;
        --path)
            _slicewise_cli_categories "$cur"
            return
            ;;
        --depth | --top)
            return
            ;;
    esac
    $split && return

    if [[ $cur == -* ]]; then
        local options='--help -h --root --read-only'
        [[ $command == classify ]] || options+=' --one-file-system -x --no-progress --quiet -q'
        case $command in
            delete) options+=' --dry-run --yes --allow-delete' ;;
            classify) ;;
            *) options+=' --version --path --depth --top --json --errors' ;;
        esac
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
        return
    fi
    case $command in
        '') mapfile -t COMPREPLY < <(compgen -W 'scan classify delete' -- "$cur") ;;
        classify) _filedir ;;
        delete) _slicewise_cli_deletable "$cur" ;;
    esac
} && complete -F _slicewise_cli slicewise-cli
