#compdef slicewise
# Completions of slicewise for zsh.

_arguments \
    '(- *)'{-h,--help}'[print a help]' \
    '(- *)--version[print the version]' \
    '(1)--root=[the directory that is the "/" of the device]:directory:_files -/' \
    '(-x --one-file-system)'{-x,--one-file-system}"[stay on the root's own file system]" \
    '--read-only[refuse to delete anything]' \
    '--allow-delete[root is to delete from "/", which is read-only otherwise]' \
    '(-q --quiet)'{-q,--quiet}'[no log]' \
    '--idiom=[lay the window out for a phone or a pad]:idiom:(phone pad)' \
    '(--light)--dark[light on dark, whatever the system has]' \
    '(--dark)--light[dark on light, whatever the system has]' \
    '--snapshot=[draw the window to a file and end]:picture:_files -g "*.png"' \
    '--size=[of the snapshot]:size:(390x844 820x1180 1024x720)' \
    '(--root)1:directory:_files -/'
