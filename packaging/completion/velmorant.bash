# Completes velmorant's words in bash: commands, effects, options and a setting's choices, all asked of its own help, so that
# nothing is listed here. Files are completed where none of these fits.

# The first words of the lines of a help's group: _velmorant_names HELP GROUP
_velmorant_names() { sed -n "/^$2:/,/^\$/s/^  \([a-z][a-z-]*\) .*/\1/p" <<<"$1"; }

_velmorant()
{
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]} effect="" help i
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        COMPREPLY=($(compgen -W "$(_velmorant_names "$(velmorant --help)" Commands) --help --version" -- "$word"))
        return
    fi
    # What stands behind the command, and behind each --then, is an effect.
    for ((i = 2; i < COMP_CWORD; ++i)); do
        if [ $i -eq 2 ] || [ "${COMP_WORDS[i - 1]}" = --then ]; then effect=${COMP_WORDS[i]}; fi
    done
    case $effect in -*) effect="" ;; esac
    if [ "$command" = effects ]; then help=$(velmorant apply --help 2>/dev/null)
    else help=$(velmorant "$command" --help 2>/dev/null)
    fi
    if [[ $word != -* ]] && { [ "$COMP_CWORD" -eq 2 ] || [ "$before" = --then ]; }; then
        COMPREPLY=($(compgen -W "$(_velmorant_names "$help" Effects)" -- "$word"))
        return
    fi
    [ -z "$effect" ] || help=$(velmorant "$command" "$effect" --help 2>/dev/null) || return
    if [[ $word == -* ]]; then
        COMPREPLY=($(compgen -W "$(sed -nE 's/^  (-h,)?(--[a-z-]+).*/\2/p' <<<"$help")" -- "$word"))
    elif [[ $before == --* ]]; then
        COMPREPLY=($(compgen -W "$(awk -v option="$before" '$1 ~ /^--/ { ours = $1 == option } ours && /^                              / { print $1 }' <<<"$help")" -- "$word"))
    fi
}
complete -o default -F _velmorant velmorant
