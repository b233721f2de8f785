# Completion of tavctl for bash (and zsh, by bashcompinit): commands, options, interfaces, files, object names.
# No bus is opened: what there is, is asked of `tavctl ... --help` and `tavctl list`.

# The words below one of the headings of a help text, first column.
_tavctl_column() { # HEADING [WORD]...
    local heading=$1
    shift
    tavctl "$@" --help 2>/dev/null | awk -v heading="$heading" '
        /^[A-Z]/ { inside = (index($0, heading) == 1); next }
        inside && /^  [^ ]/ { print $1 }'
}

_tavctl_options() {
    { tavctl "$@" --help; tavctl --help; } 2>/dev/null | grep -oE '^  (-[a-zA-Z],)?--[a-z][a-z-]*' | grep -oE -- '--[a-z-]+' | sort -u
}

_tavctl_interfaces() {
    local folder
    for folder in "${TAVCTL_NET:-/sys/class/net}"/*; do
        [ "$(cat "$folder/type" 2>/dev/null)" = 280 ] && echo "${folder##*/}" # ARPHRD_CAN
    done
    printf '%s\n' virtual unix:
}

# Names of the configured description, with their blanks.
_tavctl_objects() {
    tavctl list 2>/dev/null | awk 'NR > 1 { sub(/^[^ ]+ +/, ""); sub(/  +.*$/, ""); print }'
}

_tavctl() {
    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} word skip=
    local commands=() IFS=$'\n'
    COMPREPLY=()
    case $before in
    --bus | -b) mapfile -t COMPREPLY < <(compgen -W "$(_tavctl_interfaces)" -- "$current") && return ;;
    --config | -c | --scenario | --black-box | --eds) mapfile -t COMPREPLY < <(compgen -f -- "$current") && return ;;
    esac
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [ -n "$skip" ]; then skip= && continue; fi
        case $word in
        --bus | -b | --config | -c | --node | -n | --unit | -u | --host-node | --log | --sdo-timeout | --black-box | --scenario) skip=yes ;;
        -*) ;;
        *) commands+=("$word") ;;
        esac
    done
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_tavctl_options "${commands[@]:0:2}")" -- "$current")
        return
    fi
    case ${commands[0]-} in
    read | write)
        local name
        while read -r name; do
            [[ ${name,,} == "${current,,}"* ]] && COMPREPLY+=("$(printf '%q' "$name")")
        done < <(_tavctl_objects)
        return
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$(_tavctl_column Subcommands "${commands[@]:0:2}")" -- "$current")
    [ ${#COMPREPLY[@]} -gt 0 ] || mapfile -t COMPREPLY < <(compgen -f -- "$current")
}

complete -F _tavctl tavctl
