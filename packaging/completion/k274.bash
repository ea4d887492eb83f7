# Completion of k274 for bash. It reads what "k274 --help" and "k274 COMMAND --help" show, and so knows the commands and
# options of the very program that is installed. Whose arguments are not told there (texts, numbers) are not completed.

# Below, these belong to _k274: program, help (of the command so far), common (of all commands), word (to complete).
_k274_commands() { sed -n '/^Subcommands:/,$s/^  \([a-z]\{1,\}\).*/\1/p' <<<"$help"; }

# What an option takes as its help tells it (FOLDER, INT in [0 - 7], {on,off}); nothing when it takes nothing.
_k274_value() { sed -n "s/^  $1 \([^ ].*\)/\1/p" <<<"$help"$'\n'"$common" | head -n 1; }

_k274_among() { mapfile -t COMPREPLY < <(compgen "$@" -- "$word"); }

_k274_complete_value() { # the help that stands behind the name
    local cards
    case $1 in
    WHICH*) _k274_among -W "$(grep -o '[0-9]\{1,\} [a-z-]\{1,\}' <<<"$1" | cut -d ' ' -f 2)" ;;
    *{*}*) _k274_among -W "$(sed 's/^[^{]*{\([^}]*\)}.*/\1/; s/,/ /g' <<<"$1")" ;;
    FOLDER*)
        _k274_among -d
        # The name of a sample card will do where no folder here has it.
        cards=$(dirname "$(type -P "$program")")/../share/k274/cards
        if [[ ${#COMPREPLY[@]} = 0 && $word != */* && -d $cards ]]; then
            word=$(cd "$cards" && pwd)/$word
            _k274_among -d
        fi
        ;;
    DIR*) _k274_among -d ;;
    FILE* | IMAGE*) _k274_among -f ;;
    esac
}

_k274() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} program=${COMP_WORDS[0]/#\~/$HOME}
    local help common value='' path=() given=1 i
    COMPREPLY=()
    common=$("$program" --help 2>/dev/null) || return
    help=$common
    # The commands so far: userdata has commands of its own. Values of options are passed over.
    for ((i = 1; i < COMP_CWORD; ++i)); do
        if [[ ${COMP_WORDS[i]} == -* ]]; then
            [[ -z $(_k274_value "${COMP_WORDS[i]}") ]] || ((++i))
        elif _k274_commands | grep -qxF -- "${COMP_WORDS[i]}"; then
            path+=("${COMP_WORDS[i]}")
            help=$("$program" "${path[@]}" --help 2>/dev/null)
        else
            ((++given))
        fi
    done

    [[ $previous != -* ]] || value=$(_k274_value "$previous")
    if [[ -n $value ]]; then
        _k274_complete_value "$value"
    elif [[ $word == -* ]]; then
        _k274_among -W "$(grep -o '^  \(-h,\)\{0,1\}--[a-z-]\{1,\}' <<<"$help"$'\n'"$common" | sed 's/.*--/--/' | sort -u)"
    elif [[ -n $(_k274_commands) ]]; then
        _k274_among -W "$(_k274_commands)"
    else
        _k274_complete_value "$(sed -n '/^Positionals:/,/^$/s/^  [a-z]\{1,\} //p' <<<"$help" | head -n "$given" | tail -n 1)"
    fi
}

complete -o filenames -F _k274 k274
