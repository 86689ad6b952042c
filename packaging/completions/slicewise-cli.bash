# Completions of slicewise-cli for bash.

_slicewise_cli_categories() {
    local IFS=$'\n'
    # Quoted as file names are: they have spaces in them. No category ends in "/", so that a space follows.
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -W "$(printf '%q\n' \
        'Application Data' Applications Books 'Cydia Data' 'Cydia Packages' 'Developer Partition' Downloads Logs \
        'Message Attachments' Messages 'Operating System' Others Photos ROMs Recordings 'Temporary Data' \
        'User Library' iTunes)" -- "$1")
}

_slicewise_cli() {
    local cur prev words cword
    _init_completion || return

    local command='' word
    for word in "${words[@]:1:cword-1}"; do
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
        delete) _slicewise_cli_categories "$cur" ;;
    esac
} && complete -F _slicewise_cli slicewise-cli
