#compdef velmorant
# Completes velmorant's words in zsh: commands, effects and options, all asked of its own help. Files elsewhere.
local help group=Effects
local -a asked
if ((CURRENT == 2)); then
    help=$(velmorant --help) group=Commands
else
    asked=($words[2])
    ((CURRENT > 3)) && [[ $words[3] != -* ]] && asked+=($words[3])
    [[ $asked == effects ]] && asked=(apply)
    help=$(velmorant $asked --help 2>/dev/null)
fi
if [[ $words[CURRENT] == -* ]]; then
    compadd -- ${(f)"$(sed -nE 's/^  (-h,)?(--[a-z-]+).*/\2/p' <<<$help)"}
elif ((CURRENT <= 3)) || [[ $words[CURRENT-1] == --then ]]; then
    [[ $words[CURRENT-1] == --then ]] && help=$(velmorant $words[2] --help 2>/dev/null)
    compadd -- ${(f)"$(sed -n "/^$group:/,/^\$/s/^  \([a-z][a-z-]*\) .*/\1/p" <<<$help)"}
else
    _files
fi
