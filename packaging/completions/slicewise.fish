# Completions of slicewise for fish.

complete -c slicewise -f -a '(__fish_complete_directories)'
complete -c slicewise -s h -l help -d 'Print a help'
complete -c slicewise -l version -d 'Print the version'
complete -c slicewise -l root -x -a '(__fish_complete_directories)' -d 'The directory that is the "/" of the device'
complete -c slicewise -s x -l one-file-system -d "Stay on the root's own file system"
complete -c slicewise -l read-only -d 'Refuse to delete anything'
complete -c slicewise -l allow-delete -d 'Root is to delete from "/", which is read-only otherwise'
complete -c slicewise -s q -l quiet -d 'No log'
complete -c slicewise -l idiom -x -a 'phone pad' -d 'Lay the window out for a phone or a pad'
complete -c slicewise -l dark -d 'Light on dark, whatever the system has'
complete -c slicewise -l light -d 'Dark on light, whatever the system has'
complete -c slicewise -l snapshot -r -d 'Draw the window to a file and end'
complete -c slicewise -l size -x -a '390x844 820x1180 1024x720' -d 'Of the snapshot'
