# Completion in fish for mfgp-station and mfgp-sim: the words come from the program itself.
function __mfgp_next
    set -l words (commandline -opc) (commandline -ct)
    set -l next ($words[1] completions -- $words[2..] 2>/dev/null)
    test -n "$next" && printf '%s\n' $next || __fish_complete_path (commandline -ct)
end
complete -c mfgp-station -f -a '(__mfgp_next)'
complete -c mfgp-sim -f -a '(__mfgp_next)'
