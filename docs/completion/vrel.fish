# Completion of vrel for fish. vrel itself says what may stand at the cursor.
function __vrel_complete
    set -l before (commandline -opc)
    set -l current (commandline -ct | string trim --left --chars '\'"' | string replace --all '\\' '')
    set -l answer ($before[1] __complete words (math (count $before) - 1) $before[2..] "$current" (commandline -op) 2>/dev/null)
    if test "$answer[1]" = files
        __fish_complete_path "$current"
    else
        printf '%s\n' $answer[2..]
    end
end
complete -c vrel -f -a '(__vrel_complete)'
