# Completion in bash for mfgp-station and mfgp-sim: the words come from the program itself.
_mfgp() {
    local words
    words=$("${COMP_WORDS[0]}" completions -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "${COMP_WORDS[COMP_CWORD]}")
    [[ ${COMPREPLY-} != *= ]] || compopt -o nospace # the value follows
}
complete -o default -F _mfgp mfgp-station mfgp-sim
