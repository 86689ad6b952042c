#compdef slicewise-cli
# Completions of slicewise-cli for zsh.

_slicewise_cli_categories() {
    local -a categories=(
        'Application Data' Applications Books 'Cydia Data' 'Cydia Packages' 'Developer Partition' Downloads Logs
        'Message Attachments' Messages 'Operating System' Others Photos ROMs Recordings 'Temporary Data'
        'User Library' iTunes
    )
    _wanted categories expl category compadd -a categories
}

# Those below which something may be deleted. None goes as a whole, so the path goes on behind the "/".
_slicewise_cli_deletable() {
    local -a deletable=(
        'Application Data' Applications 'Cydia Packages' Logs 'Message Attachments' Others Photos ROMs
        'Temporary Data'
    )
    _wanted categories expl category compadd -S / -a deletable
}

_slicewise_cli() {
    local curcontext=$curcontext state line expl
    local -a everywhere=(
        '(- *)'{-h,--help}'[print a help]'
        '--root=[the directory that is the "/" of the device]:directory:_files -/'
        '--read-only[refuse to delete anything]'
    )
    local -a of_walk=(
        '(-x --one-file-system)'{-x,--one-file-system}"[stay on the root's own file system]"
        '--no-progress[show no progress while it runs]'
        '(-q --quiet)'{-q,--quiet}'[no progress, no log, no closing lines]'
    )
    local -a of_report=(
        '(- *)--version[print the version]'
        '--path=[the category to show]:category:_slicewise_cli_categories'
        '--depth=[how many levels to show]:number:'
        '(--json)--top=[how many rows a level to show]:number:'
        '(--top)--json[print the tree as JSON]'
        '--errors[list what could not be read, and why]'
    )
    local -a commands=(
        'scan:scan and report'
        'classify:print the category path of each device path'
        'delete:delete what each category stands for'
    )

    _arguments -C "$everywhere[@]" "$of_walk[@]" "$of_report[@]" \
        '1:command:->command' '*::argument:->argument' && return
    case $state in
        command)
            _describe command commands
            ;;
        argument)
            case $line[1] in
                classify) _arguments "$everywhere[@]" '*:file:_files' ;;
                delete)
                    _arguments "$everywhere[@]" "$of_walk[@]" \
                        '--dry-run[only say what would go]' \
                        '--yes[do not ask]' \
                        '--allow-delete[root is to delete from "/", which is read-only otherwise]' \
                        '*:category:_slicewise_cli_deletable'
                    ;;
                *) _arguments "$everywhere[@]" "$of_walk[@]" "$of_report[@]" ;;
            esac
            ;;
    esac
}

_slicewise_cli "$@"
