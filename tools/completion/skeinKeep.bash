# Completion of skeinKeep's command line for bash.

_skeinKeep() {
    local word=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    -file | -log)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
        ;;
    -root)
        # A colon ends a word, so only the part before it can be completed.
        mapfile -t COMPREPLY < <(compgen -W 'IIS://localhost' -- "$word")
        return
        ;;
    -debug)
        mapfile -t COMPREPLY < <(compgen -W '-1 0 2 4 5 6' -- "$word")
        return
        ;;
    esac

    local options='-backup -restore'
    local given
    for given in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $given in
        -backup) options='-file -noinherit -root -debug' ;;
        -restore) options='-file -n -force -log -debug' ;;
        esac
    done
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
}

complete -F _skeinKeep skeinKeep
