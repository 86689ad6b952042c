# Completions of slicewise-cli for fish.

function __slicewise_cli_categories
    printf '%s\n' 'Application Data' Applications Books 'Cydia Data' 'Cydia Packages' 'Developer Partition' \
        Downloads Logs 'Message Attachments' Messages 'Operating System' Others Photos ROMs Recordings \
        'Temporary Data' 'User Library' iTunes
end

# Those below which something may be deleted. None goes as a whole, so the path goes on behind the "/".
function __slicewise_cli_deletable
    printf '%s\n' 'Application Data/' Applications/ 'Cydia Packages/' Logs/ 'Message Attachments/' Others/ \
        Photos/ ROMs/ 'Temporary Data/'
end

function __slicewise_cli_scans
    not __fish_seen_subcommand_from classify delete
end

set -l commands scan classify delete

complete -c slicewise-cli -f
complete -c slicewise-cli -s h -l help -d 'Print a help'
complete -c slicewise-cli -l version -n "not __fish_seen_subcommand_from $commands" -d 'Print the version'
complete -c slicewise-cli -l root -x -a '(__fish_complete_directories)' -d 'The directory that is the "/" of the device'
complete -c slicewise-cli -l read-only -d 'Refuse to delete anything'

complete -c slicewise-cli -s x -l one-file-system -n 'not __fish_seen_subcommand_from classify' \
    -d "Stay on the root's own file system"
complete -c slicewise-cli -l no-progress -n 'not __fish_seen_subcommand_from classify' \
    -d 'Show no progress while it runs'
complete -c slicewise-cli -s q -l quiet -n 'not __fish_seen_subcommand_from classify' \
    -d 'No progress, no log, no closing lines'

complete -c slicewise-cli -l path -x -n __slicewise_cli_scans -a '(__slicewise_cli_categories)' \
    -d 'The category to show'
complete -c slicewise-cli -l depth -x -n __slicewise_cli_scans -d 'How many levels to show'
complete -c slicewise-cli -l top -x -n __slicewise_cli_scans -d 'How many rows a level to show'
complete -c slicewise-cli -l json -n __slicewise_cli_scans -d 'Print the tree as JSON'
complete -c slicewise-cli -l errors -n __slicewise_cli_scans -d 'List what could not be read, and why'

complete -c slicewise-cli -n "not __fish_seen_subcommand_from $commands" -a scan -d 'Scan and report'
complete -c slicewise-cli -n "not __fish_seen_subcommand_from $commands" -a classify \
    -d 'Print the category path of each device path'
complete -c slicewise-cli -n "not __fish_seen_subcommand_from $commands" -a delete \
    -d 'Delete what each category stands for'

complete -c slicewise-cli -n '__fish_seen_subcommand_from classify' -F
complete -c slicewise-cli -n '__fish_seen_subcommand_from delete' -a '(__slicewise_cli_deletable)'
complete -c slicewise-cli -l dry-run -n '__fish_seen_subcommand_from delete' -d 'Only say what would go'
complete -c slicewise-cli -l yes -n '__fish_seen_subcommand_from delete' -d 'Do not ask'
complete -c slicewise-cli -l allow-delete -n '__fish_seen_subcommand_from delete' \
    -d 'Root is to delete from "/", which is read-only otherwise'
