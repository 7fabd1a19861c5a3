# Completes velmorant's words in fish: commands, effects and options, all asked of its own help. Files elsewhere.
function __velmorant_words
    set -l before (commandline -opc)
    set -l word (commandline -ct)
    set -l asked $before[2..3]
    set -l group Effects
    if test (count $before) -eq 1
        set group Commands
    end
    if test "$asked" = effects
        set asked apply
    end
    set -l help (velmorant $asked --help 2>/dev/null)
    if string match -q -- '-*' $word
        printf '%s\n' $help | sed -nE 's/^  (-h,)?(--[a-z-]+).*/\2/p'
    else
        printf '%s\n' $help | sed -n "/^$group:/,/^\$/s/^  \([a-z][a-z-]*\) .*/\1/p"
    end
end
complete -c velmorant -a '(__velmorant_words)'
