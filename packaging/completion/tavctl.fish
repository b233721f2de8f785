# Completion of tavctl for fish: commands, options, interfaces, object names. No bus is opened.

function __tavctl_words
    set -l words (commandline -opc)
    set -e words[1]
    string match -rv -- '^-' $words
end

function __tavctl_commands
    tavctl (__tavctl_words)[1..2] --help 2>/dev/null | awk '/^[A-Z]/ { inside = (index($0, "Subcommands") == 1); next }
        inside && /^  [^ ]/ { name = $1; $1 = ""; print name "\t" $0 }'
end

function __tavctl_objects
    tavctl list 2>/dev/null | awk 'NR > 1 { sub(/^[^ ]+ +/, ""); sub(/  +.*$/, ""); print }'
end

function __tavctl_interfaces
    for folder in /sys/class/net/*
        test (cat $folder/type 2>/dev/null) = 280; and basename $folder
    end
    printf '%s\n' virtual unix:
end

complete -c tavctl -f -a '(__tavctl_commands)'
complete -c tavctl -s b -l bus -x -a '(__tavctl_interfaces)' -d 'Bus'
complete -c tavctl -s c -l config -r -F -d 'Configuration file'
complete -c tavctl -s u -l unit -x -d 'Which drive of the configuration'
complete -c tavctl -s n -l node -x -d 'Node id'
complete -c tavctl -s j -l json -d 'Answer as JSON'
complete -c tavctl -s t -l trace -d 'Show every frame'
complete -c tavctl -n 'contains -- (__tavctl_words)[1] read write' -f -a '(__tavctl_objects)'
