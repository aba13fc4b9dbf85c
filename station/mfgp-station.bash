# bash completion for mfgp-station: all names come from the program itself.

# Prints the words that can follow those typed so far, given the names (one per line) and the words.
_mfgp_station_next() {
    awk -v typed="$2" '
        BEGIN { count = split(typed, words, " ") }
        {
            for (i = 1; i <= count; i++)
                if ($i != words[i]) next
            if (NF > count) print $(count + 1)
        }' <<<"$1"
}

_mfgp_station() {
    local station=${COMP_WORDS[0]} current=${COMP_WORDS[COMP_CWORD]} word typed='' options valued i
    COMPREPLY=()
    options=$("$station" list options 2>/dev/null | tr -d ,)
    # Options with an argument: the next word is not a command.
    valued=$(awk '$NF !~ /^-/ { for (i = 1; i < NF; i++) printf "%s ", $i }' <<<"$options")
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ $word == -* ]]; then
            [[ " $valued" != *" $word "* ]] || ((i++))
        else
            typed+="$word "
        fi
    done
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    elif ((i > COMP_CWORD)) || [[ $typed == 'run ' ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    elif [[ $typed == 'list ' ]]; then
        mapfile -t COMPREPLY < <(compgen -W 'commands options exit-codes' -- "$current")
    else
        word=$(_mfgp_station_next "$("$station" -q list 2>/dev/null)" "$typed")
        mapfile -t COMPREPLY < <(compgen -W "$word" -- "$current" | sort -u)
    fi
}
complete -o filenames -F _mfgp_station mfgp-station
