#!/usr/bin/env -S zsh -f
# Checks what zsh offers after the beginning of a command line, with tools/completion/_skeinKeep in a shell of its own.
zmodload zsh/zpty
cd "${0:h}/.." || exit 1
setup="PS1=; fpath=($PWD/tools/completion \$fpath); autoload -Uz compinit; compinit -u -D; unsetopt beep; COLUMNS=120"

# offers LINE OPTION...: each option is offered within ten seconds after LINE.
offers() {
    local line=$1 text="" piece="" option
    shift
    zpty shell zsh -f -i
    zpty -w shell "$setup; print re\"\"ady"
    zpty -r shell piece "*ready*"
    zpty -n -w shell "$line"$'\t\t'
    for ((tries = 0; tries < 100; tries++)); do
        while zpty -rt shell piece; do text+=$piece; done
        [[ $text == *" -- "* ]] && break
        sleep 0.1
    done
    sleep 0.3
    while zpty -rt shell piece; do text+=$piece; done
    zpty -d shell
    for option in "$@"; do
        if [[ $text != *"$option "*"-- "* ]]; then
            print -u2 "After \"$line\" zsh doesn't offer $option:"
            print -ru2 -- "$text"
            exit 1
        fi
    done
}

offers "skeinKeep -" -backup -restore
offers "skeinKeep -file x -" -backup -restore
offers "skeinKeep -debug 5 -file x -" -backup -restore
offers "skeinKeep -backup -" -file -noinherit -root -debug
offers "skeinKeep -file x -restore -" -n -debug
echo "zsh offers what each of 5 command lines can take."
